//! Whole parts through the automation objects: the samples, and the real parts where there are any.

#include "standin/step/StepFile.h"
#include "support/CensusGuard.h"
#include "support/HostObjects.h"
#include "support/StepFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <utility>

namespace {

using namespace support;
using standin::geom::Body;
using standin::geom::Vec;

using Key = std::vector<unsigned char>;

struct Box
{
    std::vector<double> min;
    std::vector<double> max;
};

Box boxOf(const IDispatchPtr& object)
{
    Array min;
    Array max;
    const Outcome outcome =
        named(object, L"GetExactRange", DISPATCH_METHOD, {reference(min), reference(max)});
    EXPECT_EQ(outcome.code, S_OK) << outcome.description;
    return {min.doubles(), max.doubles()};
}

class standin_Parts : public HostTest, public testing::WithParamInterface<std::string>
{
protected:
    standin::Session session;
    std::vector<IDispatchPtr> documents = session.openParts(GetParam());
};

std::string nameOf(const testing::TestParamInfo<std::string>& info)
{
    std::string name = info.param.substr(info.param.find_last_of('/') + 1);
    for (char& c : name) {
        const bool plain =
            (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
        c = plain ? c : '_';
    }
    return name;
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(standin_Parts);
INSTANTIATE_TEST_SUITE_P(Files, standin_Parts, testing::ValuesIn(allStepFiles()), nameOf);

TEST_P(standin_Parts, ObjectsAreAsManyAsInTheFile)
{
    for (const IDispatchPtr& document : documents) {
        const std::vector<Body>& bodies = session.bodies(document);
        ASSERT_EQ(get(need(get(document, 24681)), 5).number(), static_cast<LONG>(bodies.size()));
        for (std::size_t i = 0; i < bodies.size(); ++i) {
            const IDispatchPtr body = bodyOf(document, static_cast<LONG>(i) + 1);
            EXPECT_EQ(countOf(facesOf(body)), static_cast<LONG>(bodies[i].faces.size()));
            EXPECT_EQ(countOf(edgesOf(body)), static_cast<LONG>(bodies[i].edges.size()));
        }
    }
}

TEST_P(standin_Parts, EveryKeyBindsToItsObject)
{
    for (const IDispatchPtr& document : documents) {
        std::set<Key> keys;
        long objects = 0;
        const auto check = [&](const IDispatchPtr& object) {
            const Key key = keyOf(object);
            EXPECT_TRUE(keys.insert(key).second) << "the key is another object's";
            EXPECT_EQ(bindKey(document, key).GetInterfacePtr(), object.GetInterfacePtr());
            ++objects;
        };
        for (std::size_t i = 0; i < session.bodies(document).size(); ++i) {
            const IDispatchPtr body = bodyOf(document, static_cast<LONG>(i) + 1);
            check(body);
            const std::vector<IDispatchPtr> faces = itemsOf(facesOf(body));
            const std::vector<IDispatchPtr> edges = itemsOf(edgesOf(body));
            std::for_each(faces.begin(), faces.end(), check);
            std::for_each(edges.begin(), edges.end(), check);
        }
        EXPECT_GT(objects, 2);
    }
}

TEST_P(standin_Parts, KeysAreTheSameInAnotherSession)
{
    standin::Session other;
    const std::vector<IDispatchPtr> again = other.openParts(GetParam());
    ASSERT_EQ(again.size(), documents.size());
    for (std::size_t i = 0; i < documents.size(); ++i) {
        EXPECT_EQ(get(again[i], 9).text(), get(documents[i], 9).text());
        EXPECT_EQ(keyOf(bodyOf(again[i])), keyOf(bodyOf(documents[i])));
        const std::vector<IDispatchPtr> here = itemsOf(facesOf(bodyOf(documents[i])));
        const std::vector<IDispatchPtr> there = itemsOf(facesOf(bodyOf(again[i])));
        ASSERT_EQ(here.size(), there.size());
        for (std::size_t k = 0; k < here.size(); ++k) {
            EXPECT_EQ(keyOf(there[k]), keyOf(here[k]));
        }
    }
}

TEST_P(standin_Parts, BoxesEncloseWhatTheyAreOf)
{
    for (const IDispatchPtr& document : documents) {
        for (std::size_t i = 0; i < session.bodies(document).size(); ++i) {
            const IDispatchPtr body = bodyOf(document, static_cast<LONG>(i) + 1);
            const Box whole = boxOf(body);
            for (const auto& vertex : session.bodies(document)[i].vertices) {
                const double at[] = {vertex.point.x, vertex.point.y, vertex.point.z};
                for (std::size_t k = 0; k < 3; ++k) {
                    EXPECT_GE(at[k], whole.min[k] - 1e-6);
                    EXPECT_LE(at[k], whole.max[k] + 1e-6);
                }
            }
            for (const IDispatchPtr& edge : itemsOf(edgesOf(body))) {
                const Box box = boxOf(edge);
                for (std::size_t k = 0; k < 3; ++k) {
                    EXPECT_LE(box.min[k], box.max[k]);
                    EXPECT_GE(box.min[k], whole.min[k] - 1e-6);
                    EXPECT_LE(box.max[k], whole.max[k] + 1e-6);
                }
            }
        }
    }
}

TEST_P(standin_Parts, FacesAnswerForAPointOnThem)
{
    for (const IDispatchPtr& document : documents) {
        for (std::size_t i = 0; i < session.bodies(document).size(); ++i) {
            for (const IDispatchPtr& face :
                 itemsOf(facesOf(bodyOf(document, static_cast<LONG>(i) + 1)))) {
                LONG count = 0;
                Array facets;
                ASSERT_TRUE(
                    method(face, 47, {value(0.05), reference(count), reference(facets)}).ok());
                ASSERT_GT(count, 0);
                const std::vector<double> corners = facets.doubles();
                ASSERT_EQ(corners.size(), 9u * static_cast<std::size_t>(count));
                Array point{corners[0], corners[1], corners[2]};
                Array guesses;
                Array deviations;
                Array params;
                Array flags(VT_I4, 0);
                ASSERT_TRUE(
                    method(face, 234,
                           {value(LONG{1}), reference(point), reference(guesses),
                            reference(deviations), reference(params), reference(flags, VT_I4)})
                        .ok());
                EXPECT_LT(deviations.doubles().at(0), 1e-6);
                Array normals;
                ASSERT_TRUE(
                    method(face, 229, {value(LONG{1}), reference(params), reference(normals)})
                        .ok());
                const std::vector<double> n = normals.doubles();
                EXPECT_NEAR(std::hypot(n.at(0), n.at(1), n.at(2)), 1.0, 1e-9);
            }
        }
    }
}

TEST_P(standin_Parts, OpenedAsItselfAfterClosingNothingChanges)
{
    std::vector<Key> before;
    for (const IDispatchPtr& edge : itemsOf(edgesOf(bodyOf(documents[0])))) {
        before.push_back(keyOf(edge));
    }
    for (const IDispatchPtr& document : documents) {
        session.close(document);
    }
    const std::vector<IDispatchPtr> again = session.openParts(GetParam());
    std::vector<Key> after;
    for (const IDispatchPtr& edge : itemsOf(edgesOf(bodyOf(again[0])))) {
        after.push_back(keyOf(edge));
    }
    EXPECT_EQ(before, after);
}

//! A part before and after a change.
struct Change
{
    std::string old;
    std::string now;
};

//! Finds the pairs name-v1, name-v2 and name, name-changed.
std::vector<Change> changes()
{
    std::vector<Change> all;
    const std::vector<std::string> files = allStepFiles();
    for (const std::string& now : files) {
        for (const auto& [behind, before] :
             {std::pair("-v2.", "-v1."), std::pair("-changed.", ".")}) {
            const std::size_t at = now.find(behind);
            std::string old = now;
            if (at != std::string::npos &&
                std::find(files.begin(), files.end(),
                          old.replace(at, std::string(behind).size(), before)) != files.end()) {
                all.push_back({old, now});
            }
        }
    }
    return all;
}

//! What tells a face without asking for its key: its kind, its box, and the ends of its edges.
std::string portrait(const IDispatchPtr& face)
{
    const auto rounded = [](double value) {
        return std::to_string(std::llround(value * 1e6)); // micrometres
    };
    std::vector<std::string> ends;
    for (const IDispatchPtr& edge : itemsOf(need(get(face, 38)))) {
        Array start;
        Array end;
        method(edge, 267, {reference(start), reference(end)});
        std::vector<std::string> both;
        for (const Array* each : {&start, &end}) {
            std::string text;
            for (const double value : each->doubles()) {
                text += rounded(value) + ",";
            }
            both.push_back(text);
        }
        std::sort(both.begin(), both.end());
        ends.push_back(both[0] + both[1]);
    }
    std::sort(ends.begin(), ends.end());
    std::string text =
        std::to_string(named(need(get(face, 39)), L"Type", DISPATCH_PROPERTYGET).number()) + ":";
    const Box box = boxOf(face);
    for (const auto* corner : {&box.min, &box.max}) {
        for (const double value : *corner) {
            text += rounded(value) + ",";
        }
    }
    for (const std::string& end : ends) {
        text += ";" + end;
    }
    return text;
}

//! Portraits that occur once, with the key of their face.
std::map<std::string, Key> gallery(const std::vector<IDispatchPtr>& faces)
{
    std::map<std::string, Key> found;
    std::set<std::string> twice;
    for (const IDispatchPtr& face : faces) {
        const std::string text = portrait(face);
        if (!found.emplace(text, keyOf(face)).second) {
            twice.insert(text);
        }
    }
    for (const std::string& text : twice) {
        found.erase(text);
    }
    return found;
}

std::string nameOfChange(const testing::TestParamInfo<Change>& info)
{
    return nameOf({info.param.old, info.index});
}

class standin_ChangedParts : public HostTest, public testing::WithParamInterface<Change>
{
protected:
    standin::Session session;
};

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(standin_ChangedParts);
INSTANTIATE_TEST_SUITE_P(Files, standin_ChangedParts, testing::ValuesIn(changes()), nameOfChange);

TEST_P(standin_ChangedParts, WhatHasNotChangedKeepsItsKey)
{
    standin::OpenOptions options;
    options.as = "part";
    const IDispatchPtr old = session.openPart(GetParam().old, options);
    const Key body = keyOf(bodyOf(old));
    const std::map<std::string, Key> before = gallery(itemsOf(facesOf(bodyOf(old))));
    session.close(old);
    const IDispatchPtr now = session.openPart(GetParam().now, options);
    EXPECT_EQ(keyOf(bodyOf(now)), body);
    const std::map<std::string, Key> after = gallery(itemsOf(facesOf(bodyOf(now))));
    long same = 0;
    for (const auto& [text, key] : after) {
        const auto found = before.find(text);
        if (found != before.end()) {
            EXPECT_EQ(key, found->second);
            ++same;
        }
    }
    EXPECT_GT(same, 0) << "the pair has nothing in common";
}

TEST_P(standin_ChangedParts, FacesThatKeepTheirKeyAreOfOneKindAndNoneIsUsedTwice)
{
    std::map<Key, LONG> kinds;
    const auto kindOf = [](const IDispatchPtr& face) {
        return named(need(get(face, 39)), L"Type", DISPATCH_PROPERTYGET).number();
    };
    std::size_t oldFaces = 0;
    {
        standin::Session before;
        const IDispatchPtr old = before.openPart(GetParam().old);
        for (const IDispatchPtr& face : itemsOf(facesOf(bodyOf(old)))) {
            kinds[keyOf(face)] = kindOf(face);
            ++oldFaces;
        }
    }
    const IDispatchPtr now = session.openChanged(GetParam().old, GetParam().now);
    EXPECT_EQ(get(now, 9).text(), GetParam().old);
    std::set<Key> seen;
    std::size_t kept = 0;
    for (const IDispatchPtr& face : itemsOf(facesOf(bodyOf(now)))) {
        const Key key = keyOf(face);
        EXPECT_TRUE(seen.insert(key).second);
        const auto found = kinds.find(key);
        if (found != kinds.end()) {
            EXPECT_EQ(kindOf(face), found->second);
            ++kept;
        }
    }
    EXPECT_GT(kept, oldFaces / 4);
    std::size_t bound = 0;
    for (const auto& [key, kind] : kinds) {
        bound += bindKey(now, key).GetInterfacePtr() != nullptr ? 1u : 0u;
    }
    EXPECT_EQ(bound, kept) << "keys of faces that are gone bind to nothing";
}

TEST_P(standin_ChangedParts, EveryRunFindsTheSame)
{
    std::vector<std::vector<Key>> runs;
    for (int i = 0; i < 2; ++i) {
        standin::Session fresh;
        const IDispatchPtr now = fresh.openChanged(GetParam().old, GetParam().now);
        std::vector<Key> keys;
        for (const IDispatchPtr& edge : itemsOf(edgesOf(bodyOf(now)))) {
            keys.push_back(keyOf(edge));
        }
        runs.push_back(keys);
    }
    EXPECT_EQ(runs[0], runs[1]);
}

} // namespace
