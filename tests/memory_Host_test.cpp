// Topology references, questions to documents and builders when memory runs out in the library; the
// host has enough.

#include "com/Com.h"
#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_BldBBox.h"
#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_BldRectangularProfile.h"
#include "ktmdl/ktmdl_BldReference.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "support/AllocationFaults.h"
#include "support/EdgeSet.h"
#include "support/FakeDispatch.h"
#include "support/HostIds.h"
#include "support/MemorySweep.h"
#include "support/OccurrenceTree.h"
#include "support/ProfileHost.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using kt_test::Leaves;
using kt_test::Operation;
using kt_test::operation;
using kt_test::OwnWork;
using kt_test::Tells;

std::string shown(const ktmdl_BBox3d& aBox)
{
    std::string text = "[";
    for (const double corner : cornersOf(aBox)) {
        text += fake::text(corner) + " ";
    }
    return text + "]";
}

//! A body with a face and two edges, in a document that binds them; and a face and an edge of their
//! own that no reference was made of yet.
struct Part
{
    Part()
    {
        body.Property(L"Faces", fake::givesObject(&scene.Collection("Faces", {&face})));
        body.Property(L"Edges", fake::givesObject(&scene.Collection("Edges", {&edgeA, &edgeB})));
        scriptEdge(edgeA, true);
        scriptFace();
        scriptBind(document, {{{1}, &body}, {{2}, &face}, {{3}, &edgeA}, {{4}, &edgeB}});
        topo = newTopo(body, 6);
        topo->mDispDoc = document.Ptr();
    }

    [[nodiscard]] std::string Shown(const Hnd_ktmdl_Topo& aTopo) const
    {
        if (aTopo.IsNull() != 0) {
            return "null";
        }
        std::string text;
        for (const unsigned char byte : keyOf(aTopo)) {
            text += std::to_string(byte) + ".";
        }
        text += scene.world.NameOf(aTopo->mDispTopo) + " in " +
                scene.world.NameOf(aTopo->mDispDoc) + " \"" + aTopo->mDocName.ToCString() +
                "\" type " + std::to_string(aTopo->tplType) + " child " +
                std::to_string(aTopo->mIsSubTopo) + shown(aTopo->mBBox);
        for (const Hnd_ktmdl_TopoHSeq& children : aTopo->mSubTopos) {
            text += Shown(children);
        }
        return text;
    }
    [[nodiscard]] std::string Shown(const Hnd_ktmdl_TopoHSeq& aList) const
    {
        if (aList.IsNull() != 0) {
            return " none";
        }
        std::string text = " (";
        for (const Hnd_ktmdl_Topo& element : elementsOf(aList)) {
            text += Shown(element) + ", ";
        }
        return text + ")";
    }
    //! The reference, what the operation gave, and which keys are registered.
    [[nodiscard]] std::string State() const
    {
        std::string text = Shown(topo) + " / " + Shown(made) + " / " + result + " / ";
        for (const Hnd_ktmdl_TopoHSeq& list : lists) {
            text += Shown(list);
        }
        for (unsigned char byte = 1; byte < 10; ++byte) {
            text += isRegistered({byte}) ? " " + std::to_string(byte) : "";
        }
        return text;
    }

    void scriptFace()
    {
        face.Answer(ktmdl_host::IID_Face);
        face.Method(47, [](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetNumber(1, 1);
            aArgs.SetReals(2, std::vector<double>(9, 0.5));
            return S_OK;
        });
        face.Method(234, [](const fake::Args& aArgs, VARIANT*) {
            for (const std::size_t place : {std::size_t{2}, std::size_t{3}, std::size_t{4}}) {
                aArgs.SetReals(place, {0.5, 0.5});
            }
            aArgs.SetArray(5, SafeArrayCreateVector(VT_I4, 0, 1));
            return S_OK;
        });
        const fake::Handler gives = [](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetReals(2, {0, 0, 1});
            return S_OK;
        };
        face.Method(229, gives);
        face.Method(233, gives);
        face.Method(232, [](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetReals(0, {0, 0});
            aArgs.SetReals(1, {1, 1});
            return S_OK;
        });
    }

    Scene scene;
    fake::Object& body{scene.Keyed("body", {1}, {0, 0, 0}, {1, 1, 1})};
    fake::Object& face{scene.Keyed("face", {2}, {0, 0, 0}, {1, 1, 0})};
    fake::Object& edgeA{scene.Keyed("edgeA", {3}, {0, 0, 0}, {1, 0, 0})};
    fake::Object& edgeB{scene.Keyed("edgeB", {4}, {0, 0, 0}, {0, 1, 0})};
    fake::Object& document{
        scene.Document("doc", L"C:\\a folder\\the full name of the document", L"a short name")};
    OwnArray key{Bytes{9}};
    Hnd_ktmdl_Topo topo;
    Hnd_ktmdl_Topo made;
    ktstd_AsciiString name{"the name of a document that was opened before"};
    ktmdl_BBox3d box;
    Hnd_ktmdl_TopoHSeq lists[8];
    std::unique_ptr<ktstd_Archive> archive;
    std::string result;
};

//! Notes what an operation gave.
template <class Number>
void note(Part& aPart, Number aNumber)
{
    const OwnWork own;
    aPart.result = std::to_string(aNumber);
}

//! A body with a long key; short ones are copied without taking memory.
struct LongKeyedPart : Part
{
    LongKeyedPart()
    {
        scriptKey(body, Bytes(100, 1));
        topo = newTopo(body, 6);
    }
};

//! Besides, a reference that only the registry holds.
struct UnusedPart : Part
{
    UnusedPart() { ktmdl_Topo::New(edgeB.Ptr()); }
};

//! The body does not tell its box.
struct UnmeasurablePart : Part
{
    UnmeasurablePart() { body.Method(L"GetExactRange", fake::fails(E_FAIL)); }
};

//! References of a face and an edge that are bound to their objects.
struct BoundPart : Part
{
    BoundPart()
    {
        faceTopo = newTopo(face, 5);
        edgeTopo = newTopo(edgeA, 2);
        faceTopo->mDispDoc = document.Ptr();
        edgeTopo->mDispDoc = document.Ptr();
    }
    [[nodiscard]] std::string State() const
    {
        return Part::State() + " / " + Shown(faceTopo) + " / " + Shown(edgeTopo);
    }

    Hnd_ktmdl_Topo faceTopo;
    Hnd_ktmdl_Topo edgeTopo;
};

//! The same, with objects whose keys have changed since.
struct RekeyedPart : BoundPart
{
    RekeyedPart()
    {
        scriptKey(face, {8});
        scriptKey(edgeA, {7});
    }
};

//! The same, with the names that a session keeps, unbound.
struct ClosedPart : BoundPart
{
    ClosedPart()
    {
        beginSession();
        ktmdl_Topo::DisconnectDocument(document.Ptr(), name);
        name.Destroy();
    }
};

//! A body whose children are cached, and has one edge and one face less, or more, since.
struct ChangedPart : Part
{
    ChangedPart()
    {
        topo->BuildPersistentData();
        fake::Object& newFace = scene.Keyed("newFace", {5}, {0, 0, 0}, {1, 0, 1});
        body.Property(L"Faces", fake::givesObject(&scene.Collection("Faces2", {&newFace})));
    }
};

//! A part whose references are in an archive.
struct StoredPart : Part
{
    StoredPart()
    {
        topo->BuildPersistentData();
        ktstd_Archive storing;
        storing << Hnd_ktstd_Transient(topo);
        archive = std::make_unique<ktstd_Archive>(storing.Finish());
        topo.Nullify();
        ktmdl_Topo::ClearAllTopos();
    }
};

struct StoringPart : Part
{
    StoringPart()
    {
        topo->BuildPersistentData();
        archive = std::make_unique<ktstd_Archive>();
    }
    [[nodiscard]] std::string State() const
    {
        return std::to_string(archive->Position()) + " bytes, " +
               std::to_string(archive->Objects().size()) + " objects";
    }
};

void addReferences(std::vector<Operation>& aAll)
{
    const auto add = [&](auto aPart, const std::string& aOperation, Leaves aLeaves, Tells aTells,
                         auto aRun) {
        using Subject = typename decltype(aPart)::element_type;
        aAll.push_back(operation<Subject>("ktmdl_Topo" + aOperation, aLeaves, aTells, aRun,
                                          [](const Subject& p) { return p.State(); }));
    };
    using Open = std::unique_ptr<Part>;
    using LongKeyed = std::unique_ptr<LongKeyedPart>;
    using Unmeasurable = std::unique_ptr<UnmeasurablePart>;
    using Bound = std::unique_ptr<BoundPart>;
    using Rekeyed = std::unique_ptr<RekeyedPart>;
    using Closed = std::unique_ptr<ClosedPart>;
    using Changed = std::unique_ptr<ChangedPart>;
    using Stored = std::unique_ptr<StoredPart>;
    using Store = std::unique_ptr<StoringPart>;
    const Leaves all = Leaves::AllAsBefore;
    const Leaves fresh = Leaves::FreshStart;
    const Tells raises = Tells::ByRaising;
    const Tells shows = Tells::InItsResult;

    add(Open(), "Construction", all, raises, [](Part& p) { p.made = new ktmdl_Topo; });
    add(Open(), "NewOfAKey", all, raises, [](Part& p) { p.made = ktmdl_Topo::New(1, p.key); });
    add(Open(), "NewOfAnObject", all, raises,
        [](Part& p) { p.made = ktmdl_Topo::New(p.face.Ptr()); });
    add(LongKeyed(), "NewOfAKnownObjectWithALongKey", all, raises,
        [](LongKeyedPart& p) { p.made = ktmdl_Topo::New(p.body.Ptr()); });
    add(Open(), "BuildPersistentData", fresh, shows,
        [](Part& p) { note(p, p.topo->BuildPersistentData()); });
    add(Changed(), "HasChanged", fresh, shows, [](ChangedPart& p) {
        auto& l = p.lists;
        note(p, p.topo->HasChanged(0, p.box, l[0], l[1], l[2], l[3], l[4], l[5], l[6], l[7]));
    });
    add(Unmeasurable(), "BuildBBox", fresh, shows, [](UnmeasurablePart& p) {
        const ktmdl_BBox3d box = ktmdl_Topo::BuildBBox(p.body.Ptr());
        const OwnWork own;
        p.result = shown(box);
    });
    add(Bound(), "BuildNormal", fresh, shows, [](BoundPart& p) {
        const ktmdl_Vec3d normal = p.faceTopo->BuildNormal();
        note(p, normal.mZ);
    });
    add(Bound(), "UpdateDispatch", fresh, shows,
        [](BoundPart& p) { note(p, p.topo->UpdateDispatch()); });
    add(Bound(), "UpdateDispatchInASession", fresh, shows, [](BoundPart& p) {
        {
            const OwnWork own;
            beginSession();
        }
        note(p, p.edgeTopo->UpdateDispatch());
    });
    add(Bound(), "DisconnectDocument", fresh, raises,
        [](BoundPart& p) { note(p, ktmdl_Topo::DisconnectDocument(p.document.Ptr(), p.name)); });
    add(Closed(), "ReconnectDocument", fresh, shows, [](ClosedPart& p) {
        {
            const OwnWork own;
            p.name = p.topo->mDocName;
        }
        note(p, ktmdl_Topo::ReconnectDocument(p.document.Ptr(), p.name));
    });
    add(Rekeyed(), "UpdateReferenceKey", all, raises,
        [](RekeyedPart& p) { p.faceTopo->UpdateReferenceKey(); });
    add(Rekeyed(), "UpdateReferenceKeyOfOneThatIsNotRegistered", fresh, raises, [](RekeyedPart& p) {
        ktmdl_Topo::RemoveFromMap(p.edgeTopo);
        p.edgeTopo->UpdateReferenceKey();
    });
    add(Rekeyed(), "BindAllToposInMap", fresh, raises,
        [](RekeyedPart&) { ktmdl_Topo::BindAllToposInMap(); });
    // The name that was read for it stays in the reference.
    add(Store(), "Store", all, raises,
        [](StoringPart& p) { *p.archive << Hnd_ktstd_Transient(p.topo); });
    add(Stored(), "Load", Leaves::PartDone, raises, [](StoredPart& p) { *p.archive >> p.topo; });
}

// Questions to documents

//! A part document with a dimension.
struct Document
{
    Document()
    {
        document.Answer(hostids::PartDocument);
        document.Property(0x2001, fake::givesObject(&variables));
        dimension.Answer(hostids::Dimension);
        dimension.Property(L"Type", fake::givesNumber(hostids::typeDimension));
        dimension.Property(16487, fake::givesText(L"V200 of a name that is not short"));
        dimension.Property(3, fake::givesNumber(1));
        dimension.Property(DISPID{0}, fake::givesReal(0.5));
        variables.Method(25, fake::givesText(L"its name"));
        variables.Method(27, fake::givesObject(&scene.Collection("list", {&dimension}, 50)));
    }
    [[nodiscard]] std::string State() const
    {
        return scene.world.NameOf(found) + " " + fake::text(normal[2]) + " " +
               std::to_string(status);
    }

    Scene scene;
    fake::Object& document{scene.world.Make("doc")};
    fake::Object& variables{scene.world.Make("vars")};
    fake::Object& dimension{scene.world.Make("dimension")};
    ktstd_AsciiString name{"V200 of a name that is not short"};
    IDispatchPtr found;
    double normal[3] = {0, 0, 0};
    double point[3] = {0, 0, 0};
    long status{-7};
};

void addQueries(std::vector<Operation>& aAll)
{
    const auto add = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<Document>("ktmdl" + aOperation, Leaves::FreshStart,
                                           Tells::InItsResult, aRun,
                                           [](const Document& d) { return d.State(); }));
    };
    add("GetDimVarFromName",
        [](Document& d) { d.found = ktmdl::GetDimVarFromName(d.document.Ptr(), d.name); });
    add("GetDimVarFromSystemName",
        [](Document& d) { d.found = ktmdl::GetDimVarFromSystemName(d.document.Ptr(), d.name); });
    // Where the host fails as well, its error is logged.
    add("GetFaceInfoOfNoFace",
        [](Document& d) { d.status = ktmdl::GetFaceInfo(d.document.Ptr(), d.normal, d.point); });
    add("GetPlaneInfoThatFails", [](Document& d) {
        {
            const OwnWork own;
            d.dimension.Method(L"GetNormal", fake::fails(E_FAIL));
        }
        d.status = ktmdl::GetPlaneInfo(d.dimension.Ptr(), d.normal, d.point);
    });
}

// Builders

//! Two squares of edges, one of them a closed edge, and an edge left over.
struct Loops
{
    [[nodiscard]] std::string State() const
    {
        std::string text = std::to_string(loops.Status()) + " left:";
        for (const int place : edges.PlacesIn(given)) {
            text += " " + std::to_string(place);
        }
        if (loops.Loops().IsNull() != 0) {
            return text;
        }
        for (const std::vector<int>& loop : edges.PlacesIn(loops.Loops())) {
            text += " loop:";
            for (const int place : loop) {
                text += " " + std::to_string(place);
            }
        }
        return text;
    }

    Scene scene;
    EdgeSet edges{
        scene,
        {EdgeSpec{{0, 0, 0}, {1, 0, 0}, false, 1}, EdgeSpec{{1, 0, 0}, {1, 1, 0}, false, 1},
         EdgeSpec{{1, 1, 0}, {0, 0, 0}, false, 1}, EdgeSpec{{5, 5, 5}, {5, 5, 5}, true, 1},
         EdgeSpec{{8, 0, 0}, {9, 0, 0}, false, 1}}};
    Hnd_ktmdl_TopoHSeq given{edges.All()};
    ktmdl_BldLoops loops{given};
};

//! A rectangle with all that can be asked for.
struct RectangleHost
{
    RectangleHost()
    {
        scriptNormal(host.At("plane"), {1, 0, 0});
        builder = std::make_unique<ktmdl_BldRectangularProfile>(0.06, 0.04, host.At("plane").Ptr(),
                                                                host.At("doc").Ptr(), 1, 0, 1);
    }
    [[nodiscard]] std::string State() const { return std::to_string(builder->Status()) + result; }

    Scene scene;
    ProfileHost host{scene, Container::Sketch};
    std::unique_ptr<ktmdl_BldRectangularProfile> builder;
    std::string result;
};

//! An occurrence three levels deep, with an object in it.
struct Assembly
{
    [[nodiscard]] std::string State() const
    {
        return std::to_string(builder.Status()) + " " + result;
    }

    Scene scene;
    OccurrenceTree tree{scene, "a S[b R[T] c] d"};
    fake::Object& object{scene.world.Make("object")};
    ktmdl_BldReference builder{ktmdl_host::AssemblyDocumentPtr(tree.At("top").Ptr()),
                               ktmdl_host::OccurrencePtr(tree.At("T").Ptr()), object.Ptr(), 1};
    std::string result;
};

//! A part with a model of a body.
struct Measured
{
    Measured()
    {
        body.Property(65, fake::givesBool(VARIANT_TRUE));
        body.Method(129, [](const fake::Args& aArgs, VARIANT*) {
            aArgs.SetReals(0, {1, 2, 3});
            aArgs.SetReals(1, {4, 5, 6});
            return S_OK;
        });
        model.Property(49, fake::givesObject(&body));
        model.Property(30, fake::givesObject(&scene.Collection("features", {}, 5)));
        part.Answer(hostids::PartDocument);
        part.Property(L"Type", fake::givesNumber(hostids::typePartDocument));
        part.Property(24681, fake::givesObject(&scene.Collection("models", {&model}, 5)));
        part.Property(24686, fake::givesObject(&scene.Collection("constructions", {&model}, 5)));
        nothing.Property(L"Type", fake::fails(E_FAIL));
        assembly.Answer(hostids::AssemblyDocument);
        assembly.Property(L"Type", fake::givesNumber(hostids::typeAssemblyDocument));
        ofPart.Answer(hostids::Occurrence).Property(38, fake::givesObject(&part));
        ofNothing.Answer(hostids::Occurrence).Property(38, fake::givesObject(&nothing));
        assembly.Property(16390, fake::givesObject(&scene.Collection(
                                     "occurrences", {&ofPart, &ofNothing, &ofPart}, 3)));
        builder = std::make_unique<ktmdl_BldBBox>(assembly.Ptr(), 1);
    }
    [[nodiscard]] std::string State() const
    {
        return std::to_string(builder->Status()) + " " + shown(builder->BBox());
    }

    Scene scene;
    fake::Object& body{scene.world.Make("body")};
    fake::Object& model{scene.world.Make("model")};
    fake::Object& part{scene.world.Make("part")};
    fake::Object& nothing{scene.world.Make("nothing")};
    fake::Object& assembly{scene.world.Make("assembly")};
    fake::Object& ofPart{scene.world.Make("ofPart")};
    fake::Object& ofNothing{scene.world.Make("ofNothing")};
    std::unique_ptr<ktmdl_BldBBox> builder;
};

const auto computeRectangle = [](RectangleHost& r) {
    r.builder->Compute();
    const bool isThere = r.builder->Profile() != nullptr && r.builder->Sketch() != nullptr &&
                         r.builder->DimPtrI(1) != nullptr;
    const OwnWork own;
    r.result = isThere ? " all there" : " not all there";
};
const auto computeReference = [](Assembly& a) {
    const IDispatchPtr found = a.builder.Reference();
    const OwnWork own;
    a.result = a.scene.world.NameOf(found);
};

//! The host lets a rectangle be drawn and then fails.
struct FailingRectangleHost : RectangleHost
{
    FailingRectangleHost() { host.At("prof").Method(100, fake::fails(E_FAIL)); }
};

//! The innermost document fails.
struct FailingAssembly : Assembly
{
    FailingAssembly() { tree.At("R").Property(L"Type", fake::fails(E_FAIL)); }
};

//! Builders work once: after a failure it takes a new one.
void addBuilders(std::vector<Operation>& aAll)
{
    const auto add = [&](auto aSubject, const std::string& aName, auto aRun) {
        using Subject = typename decltype(aSubject)::element_type;
        aAll.push_back(operation<Subject>(aName, Leaves::PartDone, Tells::InItsResult, aRun,
                                          [](const Subject& s) { return s.State(); }));
    };
    add(std::unique_ptr<Loops>(), "ktmdl_BldLoops", [](Loops& l) { l.loops.Compute(); });
    add(std::unique_ptr<Measured>(), "ktmdl_BldBBox", [](Measured& m) { m.builder->Compute(); });
    add(std::unique_ptr<FailingRectangleHost>(), "ktmdl_BldRectangularProfileThatFails",
        computeRectangle);
    add(std::unique_ptr<FailingAssembly>(), "ktmdl_BldReferenceThatFails", computeReference);
}

//! Operations that take no memory unless the host fails.
std::vector<Operation> frugalOperations()
{
    std::vector<Operation> all;
    const auto add = [&](auto aSubject, const std::string& aName, auto aRun) {
        using Subject = typename decltype(aSubject)::element_type;
        all.push_back(operation<Subject>(aName, Leaves::AllAsBefore, Tells::ByRaising, aRun,
                                         [](const Subject& s) { return s.State(); }));
    };
    add(std::unique_ptr<RectangleHost>(), "ktmdl_BldRectangularProfile", computeRectangle);
    add(std::unique_ptr<Assembly>(), "ktmdl_BldReference", computeReference);
    add(std::unique_ptr<BoundPart>(), "ktmdl_TopoClearAllTopos",
        [](BoundPart&) { ktmdl_Topo::ClearAllTopos(); });
    add(std::unique_ptr<UnusedPart>(), "ktmdl_TopoClearUnusedToposOnly",
        [](UnusedPart&) { ktmdl_Topo::ClearUnusedToposOnly(); });
    add(std::unique_ptr<BoundPart>(), "ktmdl_TopoRemoveFromMap",
        [](BoundPart& p) { ktmdl_Topo::RemoveFromMap(p.edgeTopo); });
    add(std::unique_ptr<BoundPart>(), "ktmdl_TopoIsClosed",
        [](BoundPart& p) { note(p, p.edgeTopo->IsClosed()); });
    return all;
}

std::vector<Operation> operations()
{
    std::vector<Operation> all;
    addReferences(all);
    addQueries(all);
    addBuilders(all);
    return all;
}

class FrugalHostCalls : public testing::TestWithParam<Operation>
{
};

class HostCalls : public testing::TestWithParam<Operation>
{
};

} // namespace

TEST(memory_HostCall, ErrorOfTheHostKeepsItsCodeWithoutMemoryForItsText)
{
    constexpr HRESULT kDenied = static_cast<HRESULT>(0x80070005u);
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    object.Method(1, [](const fake::Args& aArgs, VARIANT*) {
        return aArgs.Exception(kDenied, L"not allowed");
    });
    const IDispatchPtr held = object.Ptr();
    for (const long nth : {1L, 0L}) {
        HRESULT code = S_OK;
        bool hasText = false;
        {
            const kt_test::AllocationFault fault(nth, kt_test::Shortage::Lasting);
            try {
                ktmdl_detail::Call(held, 1, {});
            } catch (const _com_error& error) {
                code = error.Error();
                const OwnWork own;
                hasText = error.Description().length() != 0;
            }
        }
        EXPECT_EQ(code, kDenied);
        EXPECT_TRUE(hasText || nth != 0);
    }
}

TEST_P(HostCalls, LoseNothingWhenMemoryRunsOut)
{
    kt_test::sweep(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Memory, HostCalls, testing::ValuesIn(operations()),
                         [](const auto& aInfo) { return aInfo.param.name; });

TEST_P(FrugalHostCalls, NeedNoMemory)
{
    kt_test::runWithoutMemory(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Memory, FrugalHostCalls, testing::ValuesIn(frugalOperations()),
                         [](const auto& aInfo) { return aInfo.param.name; });
