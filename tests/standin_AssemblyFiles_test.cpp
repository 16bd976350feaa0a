//! Assemblies from files: the sample, and the real ones where there are any.

#include "standin/step/StepFile.h"
#include "support/AssemblyObjects.h"
#include "support/CensusGuard.h"
#include "support/StepFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <set>

namespace {

using namespace support;
using standin::OccurrenceView;
using standin::geom::Model;

class standin_AssemblyFiles : public HostTest
{
protected:
    standin::Session session;
};

std::string clampFile()
{
    return std::string(KT_SOURCE_DIR) + "/samples/clamp-assembly.step";
}

//! Writes a tree: "base plate(base) clamp(...)", each as the product's name and the occurrence's.
std::string outline(const std::vector<OccurrenceView>& tree)
{
    std::string text;
    for (const OccurrenceView& each : tree) {
        text += (text.empty() ? "" : ", ") + each.name + ": " +
                each.document.substr(each.document.find('!') + 1);
        text += each.subassembly ? " (" + outline(each.occurrences) + ")" : "";
    }
    return text;
}

TEST_F(standin_AssemblyFiles, TheSampleOpensAsDrawn)
{
    const IDispatchPtr document = session.open(clampFile());
    EXPECT_EQ(get(document, 9).text(), clampFile());
    EXPECT_EQ(get(document, 70).number(), 3);
    const std::string clamp = "clamp (jaw: jaw, left bolt: bolt, right bolt: bolt)";
    EXPECT_EQ(outline(session.occurrences(document)),
              "base: base plate, front clamp: " + clamp + ", side clamp: " + clamp);
    EXPECT_EQ(session.documents().size(), 5u);
}

// The side clamp stands at (70, 30, 8) mm with its x along y: its left bolt, at (-9, 0, 10) mm of
// the clamp, stands at (70, 30 - 9, 18).
TEST_F(standin_AssemblyFiles, AReferenceTellsWhereTheSamplesBoltIs)
{
    const IDispatchPtr document = session.open(clampFile());
    const IDispatchPtr side = occurrenceOf(document, 3);
    const IDispatchPtr bolt = occurrenceOf(documentOf(side), 2);
    const IDispatchPtr reference = need(createReference(document, side, bolt));
    Array matrix;
    ASSERT_EQ(method(reference, 8, {support::reference(matrix)}).code, S_OK);
    EXPECT_NEAR(matrix.doubles().at(12), 0.070, 1e-15);
    EXPECT_NEAR(matrix.doubles().at(13), 0.021, 1e-15);
    EXPECT_NEAR(matrix.doubles().at(14), 0.018, 1e-15);
}

TEST_F(standin_AssemblyFiles, PartsAreTheSameDocumentsHoweverTheyWereOpened)
{
    const std::vector<IDispatchPtr> parts = session.openParts(clampFile());
    ASSERT_EQ(parts.size(), 3u);
    const IDispatchPtr assembly = session.openAssembly(clampFile());
    EXPECT_EQ(session.documents().size(), 5u);
    EXPECT_EQ(documentOf(occurrenceOf(assembly, 1)).GetInterfacePtr(), parts[0].GetInterfacePtr());
    session.close(assembly);
    EXPECT_EQ(session.documents().size(), 3u) << "the parts were opened for themselves";
    EXPECT_EQ(get(parts[2], 70).code, S_OK);
    const IDispatchPtr again = session.openAssembly(clampFile());
    const std::vector<IDispatchPtr> same = session.openParts(clampFile());
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(same[i].GetInterfacePtr(), parts[i].GetInterfacePtr());
    }
    session.close(parts[0]);
    EXPECT_EQ(get(parts[0], 70).code, S_OK) << "the assembly shows it";
    session.close(again);
    EXPECT_EQ(get(parts[0], 70).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(get(parts[1], 70).code, S_OK);
}

TEST_F(standin_AssemblyFiles, PartsOpenedAfterAnAssemblyOutliveIt)
{
    const IDispatchPtr assembly = session.openAssembly(clampFile());
    const std::vector<IDispatchPtr> parts = session.openParts(clampFile());
    EXPECT_EQ(session.documents().size(), 5u);
    session.close(assembly);
    EXPECT_EQ(session.documents().size(), 3u);
    EXPECT_EQ(keyOf(bodyOf(parts[1])).size(), 24u);
}

TEST_F(standin_AssemblyFiles, ASubassemblyIsSharedWhenItIsOpenUnderItsName)
{
    const Model model = standin::step::readFile(clampFile());
    const auto found = std::find_if(model.products.begin(), model.products.end(),
                                    [](const auto& product) { return product.name == "clamp"; });
    standin::OpenOptions options;
    options.product = static_cast<std::size_t>(found - model.products.begin());
    options.as = clampFile() + "!clamp";
    const IDispatchPtr clamp = session.openAssembly(clampFile(), options);
    const IDispatchPtr assembly = session.openAssembly(clampFile());
    EXPECT_EQ(documentOf(occurrenceOf(assembly, 2)).GetInterfacePtr(), clamp.GetInterfacePtr());
    session.close(assembly);
    EXPECT_EQ(countOccurrences(clamp), 3);
}

TEST_F(standin_AssemblyFiles, WhatHasChangedOrIsOfTheOtherKindIsInTheWay)
{
    const std::vector<IDispatchPtr> parts = session.openParts(clampFile());
    session.change(parts[0], standin::makeModel({plainBox()}));
    EXPECT_THROW(session.openAssembly(clampFile()), standin::HostError);
    EXPECT_THROW(session.openParts(clampFile()), standin::HostError);
    EXPECT_EQ(session.documents().size(), 3u);
    session.close(parts[0]);
    session.rename(parts[1], clampFile() + "!clamp");
    EXPECT_THROW(session.openAssembly(clampFile()), standin::HostError);
    session.close(parts[1]);
    const IDispatchPtr assembly = session.openAssembly(clampFile());
    EXPECT_EQ(documentOf(occurrenceOf(documentOf(occurrenceOf(assembly, 2)), 2)).GetInterfacePtr(),
              parts[2].GetInterfacePtr());
}

TEST_F(standin_AssemblyFiles, APartFileOpensAsAPart)
{
    const std::string holder = std::string(KT_SOURCE_DIR) + "/samples/holder.step";
    const IDispatchPtr document = session.open(holder);
    EXPECT_EQ(get(document, 70).number(), 1);
    EXPECT_TRUE(session.occurrences(document).empty());
    standin::OpenOptions options;
    options.as = "other";
    EXPECT_THROW(session.openAssembly(holder, options), standin::HostError);
    EXPECT_THROW(session.openAssembly("none.step"), standin::step::StepError);
    EXPECT_THROW(session.open("none.step"), standin::step::StepError);
    EXPECT_EQ(session.documents().size(), 1u);
}

TEST_F(standin_AssemblyFiles, KeysAreTheSameInAnotherSession)
{
    standin::Session other;
    const IDispatchPtr here = session.open(clampFile());
    const IDispatchPtr there = other.open(clampFile());
    EXPECT_EQ(keyOf(occurrenceOf(here, 3)), keyOf(occurrenceOf(there, 3)));
    EXPECT_EQ(keyOf(faceOf(documentOf(occurrenceOf(here, 1)), 2)),
              keyOf(faceOf(documentOf(occurrenceOf(there, 1)), 2)));
}

//! What was counted in a real file, without looking at how this host reads it.
struct Counted
{
    const char* file;
    long occurrences; //!< in the expanded tree, without the root
    long solids;      //!< instances in the expanded tree
    long depth;
    std::size_t documents; //!< products in the tree, the root included
};

class standin_RealAssemblies : public standin_AssemblyFiles
{
protected:
    void walk(const IDispatchPtr& assembly, long level)
    {
        depth = std::max(depth, level);
        for (LONG i = 1; i <= countOccurrences(assembly); ++i) {
            const IDispatchPtr occurrence = occurrenceOf(assembly, i);
            const IDispatchPtr document = documentOf(occurrence);
            ++occurrences;
            if (get(occurrence, 10).flag()) {
                walk(document, level + 1);
            } else {
                solids += get(need(get(document, 24681)), 5).number();
            }
        }
    }

    long occurrences = 0;
    long solids = 0;
    long depth = 0;
};

TEST_F(standin_RealAssemblies, HaveTheTreesThatWereCounted)
{
    if (stepDataFolder().empty()) {
        GTEST_SKIP() << "KTMDL_STEP_DATA names no folder";
    }
    for (const Counted& counted :
         {Counted{"as1-pe-203.stp", 27, 18, 3, 9}, Counted{"dm1-id-214.stp", 7, 7, 1, 4}}) {
        SCOPED_TRACE(counted.file);
        occurrences = solids = depth = 0;
        const IDispatchPtr document = session.open(stepDataFolder() + "/" + counted.file);
        walk(document, 1);
        EXPECT_EQ(occurrences, counted.occurrences);
        EXPECT_EQ(solids, counted.solids);
        EXPECT_EQ(depth, counted.depth);
        EXPECT_EQ(session.documents().size(), counted.documents);
        session.close(document);
        EXPECT_TRUE(session.documents().empty());
    }
}

//! Writes what the reader found below a product.
std::string outline(const Model& model, std::size_t product)
{
    std::string text;
    for (const auto& each : model.products[product].occurrences) {
        const auto& used = model.products[each.product];
        text += "[" + each.name + "|" + used.name;
        for (const double value : each.placement.row) {
            text += " " + std::to_string(value);
        }
        text += outline(model, each.product) + "]";
    }
    return text;
}

std::string outlineOf(const std::vector<OccurrenceView>& tree)
{
    std::string text;
    for (const OccurrenceView& each : tree) {
        text += "[" + each.name + "|" + each.document.substr(each.document.find('!') + 1);
        for (const double value : each.placement.row) {
            text += " " + std::to_string(value);
        }
        text += outlineOf(each.occurrences) + "]";
    }
    return text;
}

TEST_F(standin_RealAssemblies, ShowWhatTheReaderFound)
{
    long assemblies = 0;
    for (const std::string& file : allStepFiles()) {
        SCOPED_TRACE(file);
        const Model model = standin::step::readFile(file);
        const IDispatchPtr document = session.open(file);
        std::vector<std::size_t> roots;
        for (const std::size_t root : model.roots) {
            if (!model.products[root].occurrences.empty()) {
                roots.push_back(root);
            }
        }
        EXPECT_EQ(get(document, 70).number(), roots.empty() ? 1 : 3);
        if (!roots.empty()) {
            ASSERT_EQ(roots.size(), 1u);
            EXPECT_EQ(outlineOf(session.occurrences(document)), outline(model, roots[0]));
            ++assemblies;
        }
        session.close(document);
    }
    EXPECT_EQ(assemblies, stepDataFolder().empty() ? 1 : 3);
}

} // namespace
