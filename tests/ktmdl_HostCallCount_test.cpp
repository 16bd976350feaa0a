// How much each operation asks of the host. A call of a host costs far more than the work around
// it, so that one more is a loss. docs/performance.md has the table.

#include "com/Com.h"
#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_BldBBox.h"
#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_BldRectangularProfile.h"
#include "ktmdl/ktmdl_BldReference.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_ShowVariable.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_Archive.h"
#include "support/EdgeSet.h"
#include "support/FakeDispatch.h"
#include "support/HostIds.h"
#include "support/OccurrenceTree.h"
#include "support/ProfileHost.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace {

//! What was asked of host objects.
struct Asked
{
    long names{0};      //!< numbers of members looked up by name
    long calls{0};      //!< members called
    long interfaces{0}; //!< questions for an interface or for the identity
};

Asked operator+(const Asked& aFirst, const Asked& aSecond)
{
    return {aFirst.names + aSecond.names, aFirst.calls + aSecond.calls,
            aFirst.interfaces + aSecond.interfaces};
}
Asked operator*(long aTimes, const Asked& aAsked)
{
    return {aTimes * aAsked.names, aTimes * aAsked.calls, aTimes * aAsked.interfaces};
}
bool operator==(const Asked& aFirst, const Asked& aSecond)
{
    return aFirst.names == aSecond.names && aFirst.calls == aSecond.calls &&
           aFirst.interfaces == aSecond.interfaces;
}
std::ostream& operator<<(std::ostream& aStream, const Asked& aAsked)
{
    return aStream << aAsked.names << " names, " << aAsked.calls << " calls, " << aAsked.interfaces
                   << " interfaces";
}

Asked asked(const Scene& aScene)
{
    const long names = aScene.world.CountOf("*?");
    const long all = static_cast<long>(aScene.world.Calls().size());
    return {names, all - names, aScene.world.Queries()};
}

//! An operation that is ready to run.
using Action = std::function<void()>;
//! Makes the host objects for an operation on N things.
using Prepare = std::function<Action(Scene&, long)>;

//! Holds what an operation on N things asks: something once and something for each.
void hold(const std::string& aOperation, const std::vector<long>& aSizes, const Asked& aOnce,
          const Asked& aEach, const Prepare& aPrepare)
{
    ASSERT_GE(aSizes.size(), 2u) << aOperation << ": one size doesn't show growth";
    for (const long size : aSizes) {
        Scene scene;
        const Action action = aPrepare(scene, size);
        scene.world.Forget();
        action();
        EXPECT_EQ(asked(scene), aOnce + size * aEach) << aOperation << ", n = " << size;
    }
}

const std::vector<long> kSizes = {0, 1, 2, 7};

const Asked kNothing;
//! A member with a name: its number and the call.
const Asked kNamed = {1, 1, 0};
//! A member with a number.
const Asked kCall = {0, 1, 0};
//! An interface, or the identity.
const Asked kInterface = {0, 0, 1};
//! What makes a reference to an object, and what gives its box.
const Asked kKey = kNamed;
const Asked kBox = kNamed;
//! A collection of children: the property and the count.
const Asked kChildren = kNamed + kCall;
const Asked kItem = kCall;

std::string numbered(const char* aName, long aNumber)
{
    return aName + std::to_string(aNumber);
}

Bytes keyAt(long aNumber)
{
    return {static_cast<unsigned char>(aNumber + 1), 7};
}

//! Objects with keys and boxes.
std::vector<fake::Object*> makeChildren(Scene& aScene, const char* aName, long aFrom, long aCount)
{
    std::vector<fake::Object*> children;
    for (long i = aFrom; i < aFrom + aCount; ++i) {
        children.push_back(
            &aScene.Keyed(numbered(aName, i), keyAt(i), {0, 0, 0}, {1, 1, static_cast<double>(i)}));
    }
    return children;
}

//! An object with a key, a box, faces and edges.
fake::Object& makeParent(Scene& aScene, const std::vector<fake::Object*>& aFaces,
                         const std::vector<fake::Object*>& aEdges)
{
    fake::Object& parent = aScene.Keyed("parent", {200}, {0, 0, 0}, {9, 9, 9});
    parent.Property(L"Faces", fake::givesObject(&aScene.Collection("faces", aFaces)));
    parent.Property(L"Edges", fake::givesObject(&aScene.Collection("edges", aEdges)));
    return parent;
}

//! Registered references, whatever they are bound to.
std::vector<Hnd_ktmdl_Topo> makeTopos(long aCount)
{
    std::vector<Hnd_ktmdl_Topo> topos;
    for (long i = 0; i < aCount; ++i) {
        topos.push_back(newTopo(keyAt(i)));
        topos.back()->tplType = 2;
    }
    return topos;
}

} // namespace

// References

TEST(HostCalls, NewAsksForTheKey)
{
    for (const bool isRegistered : {false, true}) {
        hold(isRegistered ? "New, registered" : "New", kSizes, kNothing, kKey,
             [isRegistered](Scene& scene, long n) {
                 const auto objects = makeChildren(scene, "object", 0, n);
                 std::vector<Hnd_ktmdl_Topo> held;
                 for (long i = 0; isRegistered && i < n; ++i) {
                     held.push_back(newTopo(keyAt(i)));
                 }
                 return [objects, held] {
                     for (fake::Object* const object : objects) {
                         ktmdl_Topo::New(object->Ptr());
                     }
                 };
             });
    }
}

TEST(HostCalls, BuildBBoxAsksForTheRange)
{
    hold("BuildBBox", kSizes, kNothing, kBox, [](Scene& scene, long n) {
        const auto objects = makeChildren(scene, "object", 0, n);
        return [objects] {
            for (fake::Object* const object : objects) {
                EXPECT_EQ(ktmdl_Topo::BuildBBox(object->Ptr()).mMax.mX, 1.0);
            }
        };
    });
    hold("BuildBBox of nothing", kSizes, kNothing, kNothing, [](Scene&, long n) {
        return [n] {
            for (long i = 0; i < n; ++i) {
                EXPECT_EQ(ktmdl_Topo::BuildBBox(IDispatchPtr()).mMax.mX, 0.0);
            }
        };
    });
}

TEST(HostCalls, BuildPersistentDataAsksForEachChild)
{
    const auto build = [](unsigned char type, long faces, long edges) {
        return [type, faces, edges](Scene& scene, long n) -> Action {
            const Hnd_ktmdl_Topo topo =
                newTopo(makeParent(scene, makeChildren(scene, "face", 0, faces * n + 1),
                                   makeChildren(scene, "edge", 50, edges * n + 1)),
                        type);
            return [topo] { EXPECT_EQ(topo->BuildPersistentData(), 0); };
        };
    };
    // Each list holds one child more than the size says.
    const Asked child = kItem + kKey + kBox;
    hold("BuildPersistentData, edge", kSizes, kBox, kNothing, build(2, 1, 1));
    hold("BuildPersistentData, face, per edge", kSizes, kBox + kChildren + child, child,
         build(5, 0, 1));
    hold("BuildPersistentData, face, per face of its body", kSizes, kBox + kChildren + child,
         kNothing, build(5, 1, 0));
    const Asked body = kBox + 2 * (kChildren + child);
    hold("BuildPersistentData, body, per face", kSizes, body, child, build(6, 1, 0));
    hold("BuildPersistentData, body, per edge", kSizes, body, child, build(6, 0, 1));
}

// Documents

namespace {

//! A document that binds every key to one object.
fake::Object& makeDocument(Scene& aScene)
{
    fake::Object& bound = aScene.world.Make("bound");
    fake::Object& document = aScene.Document("doc", L"C:\\a.par", L"a.par");
    return document.Method(L"BindKeyToObject", [&bound](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetObject(1, &bound);
        return S_OK;
    });
}

} // namespace

TEST(HostCalls, UpdateDispatchBindsTheKey)
{
    for (const bool hasName : {true, false}) {
        hold(hasName ? "UpdateDispatch" : "UpdateDispatch, no name", kSizes, kNothing,
             (hasName ? kNothing : kNamed) + kNamed, [hasName](Scene& scene, long n) -> Action {
                 const auto topos = makeTopos(n);
                 fake::Object& document = makeDocument(scene);
                 for (const Hnd_ktmdl_Topo& topo : topos) {
                     topo->mDispDoc = document.Ptr();
                     topo->mDocName = hasName ? "a.par" : "";
                 }
                 return [topos] {
                     for (const Hnd_ktmdl_Topo& topo : topos) {
                         EXPECT_EQ(topo->UpdateDispatch(), 0);
                     }
                 };
             });
    }
}

TEST(HostCalls, ReconnectDocumentBindsTheReferencesOfThatName)
{
    const auto reconnect = [](const char* nameOfEach, bool hasDocument, const char* given) {
        return [=](Scene& scene, long n) -> Action {
            const auto topos = makeTopos(n);
            fake::Object& document = makeDocument(scene);
            for (const Hnd_ktmdl_Topo& topo : topos) {
                topo->mDocName = nameOfEach;
                topo->mDispDoc = hasDocument ? document.Ptr() : IDispatchPtr();
            }
            beginSession();
            return [&document, given] {
                ktstd_AsciiString name(given);
                ktmdl_Topo::ReconnectDocument(document.Ptr(), name);
            };
        };
    };
    hold("ReconnectDocument", kSizes, kNothing, kNamed, reconnect("a.par", false, "a.par"));
    hold("ReconnectDocument, name to be read", kSizes, kNamed, kNamed,
         reconnect("[C:\\a.par]", false, ""));
    hold("ReconnectDocument, other name", kSizes, kNothing, kNothing,
         reconnect("b.par", true, "a.par"));
    hold("ReconnectDocument, references without name and document", kSizes, kNothing, kNothing,
         reconnect("", false, "a.par"));
    hold("ReconnectDocument, references without name", kSizes, kNothing, 2 * kInterface + kNamed,
         reconnect("", true, "a.par"));
}

TEST(HostCalls, DisconnectDocumentAsksForIdentities)
{
    const auto disconnect = [](bool isBound, const char* given) {
        return [=](Scene& scene, long n) -> Action {
            const auto topos = makeTopos(n);
            fake::Object& document = makeDocument(scene);
            fake::Object& object = scene.world.Make("object");
            for (const Hnd_ktmdl_Topo& topo : topos) {
                topo->mDispDoc = document.Ptr();
                topo->mDispTopo = isBound ? object.Ptr() : IDispatchPtr();
            }
            beginSession();
            return [&document, given] {
                ktstd_AsciiString name(given);
                ktmdl_Topo::DisconnectDocument(document.Ptr(), name);
            };
        };
    };
    hold("DisconnectDocument", kSizes, kNothing, 2 * kInterface, disconnect(true, "a.par"));
    hold("DisconnectDocument, name to be read", kSizes, kNamed, 2 * kInterface,
         disconnect(true, ""));
    hold("DisconnectDocument, unbound references", kSizes, kNothing, kNothing,
         disconnect(false, "a.par"));
}

TEST(HostCalls, BindAllToposInMapAsksForTheKeys)
{
    for (const bool isBound : {true, false}) {
        hold(isBound ? "BindAllToposInMap" : "BindAllToposInMap, unbound", kSizes, kNothing,
             isBound ? kKey : kNothing, [isBound](Scene& scene, long n) -> Action {
                 const auto topos = makeTopos(n);
                 const auto objects = makeChildren(scene, "object", 0, n);
                 for (std::size_t i = 0; isBound && i < topos.size(); ++i) {
                     topos[i]->mDispTopo = objects[i]->Ptr();
                 }
                 return [] { ktmdl_Topo::BindAllToposInMap(); };
             });
    }
}

TEST(HostCalls, SavingAsksForMissingNames)
{
    for (const bool hasName : {true, false}) {
        hold(hasName ? "Serialize, storing" : "Serialize, storing, no name", kSizes, kNothing,
             hasName ? kNothing : kNamed, [hasName](Scene& scene, long n) -> Action {
                 fake::Object& document = makeDocument(scene);
                 const auto topos = std::make_shared<ktmdl_TopoSeq>();
                 for (const Hnd_ktmdl_Topo& topo : makeTopos(n)) {
                     topo->mDispDoc = document.Ptr();
                     topo->mDocName = hasName ? "a.par" : "";
                     topos->Append(topo);
                 }
                 return [topos] {
                     ktstd_Archive archive;
                     topos->Serialize(archive);
                 };
             });
    }
    hold("Serialize, loading", kSizes, kNothing, kNothing, [](Scene& scene, long n) -> Action {
        fake::Object& document = makeDocument(scene);
        ktmdl_TopoSeq topos;
        for (const Hnd_ktmdl_Topo& topo : makeTopos(n)) {
            topo->mDispDoc = document.Ptr();
            topos.Append(topo);
        }
        ktstd_Archive stored;
        topos.Serialize(stored);
        return [data = stored.Finish()] {
            ktstd_Archive archive(data);
            ktmdl_TopoSeq loaded;
            loaded.Serialize(archive);
        };
    });
}

// Questions

TEST(HostCalls, BuildNormalSplitsTheFaceUntilItHasFacets)
{
    // The facets, then the parameters at a point and the normal there.
    hold("BuildNormal, per tolerance", {1, 2, 5}, kInterface + 2 * kCall, kCall,
         [](Scene& scene, long n) -> Action {
             fake::Object& face = scene.world.Make("face").Answer(hostids::Face);
             const auto tries = std::make_shared<long>(n);
             face.Method(47, [tries](const fake::Args& args, VARIANT*) {
                 args.SetNumber(1, --*tries > 0 ? 0 : 1);
                 args.SetReals(2, {0, 0, 0, 1, 0, 0, 0, 1, 0});
                 return S_OK;
             });
             face.Method(234, [](const fake::Args& args, VARIANT*) {
                 args.SetReals(4, {0.5, 0.5});
                 return S_OK;
             });
             face.Method(229, [](const fake::Args& args, VARIANT*) {
                 args.SetReals(2, {0, 0, 1});
                 return S_OK;
             });
             const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
             topo->tplType = 5;
             topo->mDispTopo = face.Ptr();
             return [topo] { EXPECT_EQ(topo->BuildNormal().mZ, 1.0); };
         });
}

TEST(HostCalls, IsClosedAsksEdgesOnly)
{
    for (const unsigned char type :
         {static_cast<unsigned char>(2), static_cast<unsigned char>(5)}) {
        hold("IsClosed of type " + std::to_string(type), kSizes, kNothing,
             type == 2 ? kInterface + kCall : kNothing, [type](Scene& scene, long n) -> Action {
                 std::vector<Hnd_ktmdl_Topo> topos;
                 for (long i = 0; i < n; ++i) {
                     topos.emplace_back(new ktmdl_Topo);
                     topos.back()->tplType = type;
                     topos.back()->mDispTopo =
                         scriptEdge(scene.world.Make(numbered("edge", i)), false).Ptr();
                 }
                 return [topos] {
                     for (const Hnd_ktmdl_Topo& topo : topos) {
                         EXPECT_EQ(topo->IsClosed(), 0);
                     }
                 };
             });
    }
}

TEST(HostCalls, DumpOfAnEdgeAsksForItsParameters)
{
    for (const bool isLive : {true, false}) {
        hold(isLive ? "ShowVariable, live edge" : "ShowVariable, unbound", kSizes, kNothing,
             isLive ? kInterface + 3 * kCall + kNamed : kNothing,
             [isLive](Scene& scene, long n) -> Action {
                 fake::Object& geometry = scene.world.Make("geom");
                 geometry.Property(L"Type", fake::givesNumber(1));
                 fake::Object& edge = scene.world.Make("edge").Answer(ktmdl_host::IID_Edge);
                 edge.Property(77, fake::givesBool(VARIANT_FALSE));
                 edge.Property(76, fake::givesObject(&geometry));
                 edge.Method(272, [](const fake::Args&, VARIANT*) { return S_OK; });
                 const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
                 topo->tplType = 2;
                 topo->mDispTopo = isLive ? edge.Ptr() : IDispatchPtr();
                 return [topo, n] {
                     for (long i = 0; i < n; ++i) {
                         ShowVariable("e", topo);
                     }
                 };
             });
    }
}

// Changes

namespace {

//! What a change check meets.
struct Family
{
    long kept{0}; //!< children with a box that were there before
    long boxless{0};
    long fresh{0};
    long gone{0};
};

//! A change check of a reference.
Prepare checkChanges(unsigned char aType, bool aQuick, const Family& aOnce, const Family& aEach,
                     bool aBoxDiffers = false)
{
    return [=](Scene& scene, long n) -> Action {
        const auto count = [n](long once, long each) { return once + n * each; };
        const long kept = count(aOnce.kept, aEach.kept);
        const long boxless = count(aOnce.boxless, aEach.boxless);
        const long fresh = count(aOnce.fresh, aEach.fresh);
        const long gone = count(aOnce.gone, aEach.gone);
        const auto objects = makeChildren(scene, "child", 0, kept + boxless + fresh + gone);
        const bool isBody = aType >= 6;
        std::vector<Hnd_ktmdl_Topo> cached;
        for (long i = 0; i < static_cast<long>(objects.size()); ++i) {
            if (i < kept + boxless || i >= kept + boxless + fresh) {
                cached.push_back(newTopo(keyAt(i)));
                if (i < kept) {
                    cached.back()->mBBox = ktmdl_BBox3d(0, 0, 0, 1, 1, 1);
                }
            }
        }
        const std::vector<fake::Object*> current(objects.begin(),
                                                 objects.begin() + kept + boxless + fresh);
        fake::Object& parent =
            isBody ? makeParent(scene, current, {}) : makeParent(scene, {}, current);
        const Hnd_ktmdl_Topo topo = newTopo(parent, aType);
        topo->mSubTopos[isBody ? 1 : 0] = listOf(cached);
        if (aBoxDiffers) {
            topo->mBBox = ktmdl_BBox3d(0, 0, 0, 9, 9, 9);
        }
        return [topo, aQuick] {
            ktmdl_BBox3d box;
            Hnd_ktmdl_TopoHSeq lists[8];
            topo->HasChanged(aQuick ? 1 : 0, box, lists[0], lists[1], lists[2], lists[3], lists[4],
                             lists[5], lists[6], lists[7]);
        };
    };
}

} // namespace

TEST(HostCalls, AFullChangeCheckAsksForEachChildAndForBoxesThatAreNotKnown)
{
    const Asked known = kItem + kKey;
    for (const auto& [type, name] : {std::pair<unsigned char, std::string>{5, "HasChanged, face, "},
                                     {6, "HasChanged, body, "}}) {
        hold(name + "known child", kSizes, kChildren, known, checkChanges(type, false, {}, {1}));
        hold(name + "known child, box of the whole differs", kSizes, kChildren, known,
             checkChanges(type, false, {}, {1}, true));
        hold(name + "child without box", kSizes, kChildren, known + kBox,
             checkChanges(type, false, {}, {0, 1}));
        hold(name + "new child", kSizes, kChildren, known + kBox,
             checkChanges(type, false, {}, {0, 0, 1}));
        hold(name + "child that is gone", kSizes, kChildren, kNothing,
             checkChanges(type, false, {}, {0, 0, 0, 1}));
    }
    hold("HasChanged, edge", kSizes, kNothing, kNothing, checkChanges(2, false, {}, {1}));
}

TEST(HostCalls, AQuickChangeCheckStopsAtTheFirstChange)
{
    for (const auto& [type, name] :
         {std::pair<unsigned char, std::string>{5, "HasChanged, quick, face, "},
          {6, "HasChanged, quick, body, "}}) {
        hold(name + "box differs", kSizes, kNothing, kNothing,
             checkChanges(type, true, {}, {1}, true));
        hold(name + "number differs", kSizes, kChildren, kNothing,
             checkChanges(type, true, {0, 0, 1}, {1}));
        hold(name + "first child differs", kSizes, kChildren + kItem + kKey, kNothing,
             checkChanges(type, true, {1}, {1}));
    }
}

// Loops

TEST(HostCalls, ChainingReadsEachEdgeOnce)
{
    // Closed or not, the length of two calls, and the ends; each asks for the edge first.
    const Asked isClosed = kInterface + kCall;
    const Asked length = kInterface + 2 * kCall;
    const Asked ends = kInterface + kCall;
    const auto chain = [](Scene& scene, const std::vector<EdgeSpec>& specs) -> Action {
        const auto edges = std::make_shared<EdgeSet>(scene, specs);
        return [edges] {
            ktmdl_BldLoops builder(edges->All());
            EXPECT_EQ(builder.Compute(), 0);
        };
    };
    const auto cornerAt = [](long i) { return Triple{static_cast<double>(i), 0, 0}; };
    // A polygon whose edges come in the order in which each search finds its edge last.
    for (const bool isInOrder : {true, false}) {
        hold(isInOrder ? "BldLoops, edges in order" : "BldLoops, edges against the order",
             {1, 2, 5, 20}, kNothing, isClosed + length + ends, [&](Scene& scene, long n) {
                 std::vector<EdgeSpec> specs;
                 for (long i = 0; i < n; ++i) {
                     const long at = isInOrder || i == 0 ? i : n - i;
                     specs.push_back({cornerAt(at), cornerAt((at + 1) % n)});
                 }
                 return chain(scene, specs);
             });
    }
    hold("BldLoops, closed edges", {1, 2, 20}, kNothing, isClosed, [&](Scene& scene, long n) {
        return chain(scene,
                     std::vector<EdgeSpec>(static_cast<std::size_t>(n), EdgeSpec{{}, {}, true}));
    });
    hold("BldLoops, edges apart", {1, 2, 20}, kNothing, isClosed + length + ends,
         [&](Scene& scene, long n) {
             std::vector<EdgeSpec> specs;
             for (long i = 0; i < n; ++i) {
                 specs.push_back({cornerAt(2 * i), cornerAt(2 * i + 1)});
             }
             return chain(scene, specs);
         });
}

// Boxes

namespace {

fake::Object& makeBody(Scene& aScene, bool aIsSolid = true)
{
    fake::Object& body = aScene.world.Make("body");
    body.Property(65, fake::givesBool(aIsSolid ? VARIANT_TRUE : VARIANT_FALSE));
    return body.Method(129, [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(0, {0, 0, 0});
        aArgs.SetReals(1, {1, 1, 1});
        return S_OK;
    });
}

//! A model or a construction.
fake::Object& makeModel(Scene& aScene, long aFeatures, bool aIsSolid = true)
{
    std::vector<fake::Object*> features;
    for (long i = 0; i < aFeatures; ++i) {
        features.push_back(&aScene.world.Make("feature"));
    }
    fake::Object& model = aScene.world.Make("model").Answer(hostids::ConstructionModel);
    model.Property(49, fake::givesObject(&makeBody(aScene, aIsSolid)));
    return model.Property(30, fake::givesObject(&aScene.Collection("features", features, 5)));
}

fake::Object& makePart(Scene& aScene, const std::vector<fake::Object*>& aConstructions)
{
    fake::Object& part = aScene.world.Make("part").Answer(hostids::PartDocument);
    part.Property(L"Type", fake::givesNumber(hostids::typePartDocument));
    part.Property(24681,
                  fake::givesObject(&aScene.Collection("models", {&makeModel(aScene, 0)}, 5)));
    return part.Property(24686,
                         fake::givesObject(&aScene.Collection("constructions", aConstructions, 5)));
}

fake::Object& makeAssembly(Scene& aScene, const std::vector<fake::Object*>& aDocuments)
{
    std::vector<fake::Object*> occurrences;
    for (fake::Object* const document : aDocuments) {
        occurrences.push_back(&aScene.world.Make("occurrence"));
        occurrences.back()->Property(38, fake::givesObject(document));
    }
    fake::Object& assembly = aScene.world.Make("assembly").Answer(hostids::AssemblyDocument);
    assembly.Property(L"Type", fake::givesNumber(hostids::typeAssemblyDocument));
    return assembly.Property(16390,
                             fake::givesObject(&aScene.Collection("occurrences", occurrences, 3)));
}

Action measure(fake::Object& aObject, bool aWithConstructions)
{
    return [&aObject, aWithConstructions] {
        ktmdl_BldBBox builder(aObject.Ptr(), aWithConstructions ? 1 : 0);
        EXPECT_EQ(builder.Compute(), 0);
    };
}

//! The type, the interface, the models and the first of them, its body, the range.
const Asked kPartBox = kNamed + kInterface + 4 * kCall;

} // namespace

TEST(HostCalls, TheBoxOfAPartAsksForEachConstructionWantedAndItsFeatures)
{
    const auto part = [](long constructions, long features, bool isSolid, bool isWanted) {
        return [=](Scene& scene, long n) {
            std::vector<fake::Object*> models;
            for (long i = 0; i < (constructions != 0 ? n : 1); ++i) {
                models.push_back(&makeModel(scene, features * n, isSolid));
            }
            return measure(makePart(scene, models), isWanted);
        };
    };
    // The item, its features and their number, its body and whether that is solid.
    const Asked construction = kItem + 4 * kCall;
    const Asked range = kCall;
    const Asked list = 2 * kCall; // the constructions and their number
    hold("BldBBox, part, constructions not wanted", kSizes, kPartBox, kNothing,
         part(1, 0, true, false));
    hold("BldBBox, part, constructions", kSizes, kPartBox + list, construction + range,
         part(1, 0, true, true));
    hold("BldBBox, part, constructions that are not solid", kSizes, kPartBox + list, construction,
         part(1, 0, false, true));
    hold("BldBBox, part, features of a construction", kSizes,
         kPartBox + list + construction + range, kItem + kInterface, part(0, 1, true, true));
}

TEST(HostCalls, TheBoxOfAnAssemblyAsksForEachDocument)
{
    // The type, the interface and the identity, the occurrences and their number.
    const Asked assembly = kNamed + 2 * kInterface + 2 * kCall;
    const Asked document = kItem + kCall;
    hold("BldBBox, assembly, occurrences", kSizes, assembly, document + kPartBox,
         [](Scene& scene, long n) {
             std::vector<fake::Object*> parts;
             for (long i = 0; i < n; ++i) {
                 parts.push_back(&makePart(scene, {}));
             }
             return measure(makeAssembly(scene, parts), false);
         });
    hold("BldBBox, assemblies inside one another", kSizes, kPartBox, assembly + document,
         [](Scene& scene, long n) {
             fake::Object* inner = &makePart(scene, {});
             for (long i = 0; i < n; ++i) {
                 inner = &makeAssembly(scene, {inner});
             }
             return measure(*inner, false);
         });
}

TEST(HostCalls, TheBoxOfAFeatureAsksItsParent)
{
    // Type and parent, the interface, the body, the range.
    hold("BldBBox, features", kSizes, kNothing, 2 * kNamed + kInterface + 2 * kCall,
         [](Scene& scene, long n) -> Action {
             fake::Object& feature = scene.world.Make("feature");
             feature.Property(L"Type", fake::givesNumber(hostids::typeStitchSurface));
             feature.Property(L"Parent", fake::givesObject(&makeModel(scene, 0)));
             return [&feature, n] {
                 for (long i = 0; i < n; ++i) {
                     measure(feature, true)();
                 }
             };
         });
}

// References inside assemblies

TEST(HostCalls, AReferenceAsksEachOccurrenceOnTheWay)
{
    const auto refer = [](bool isDeep, bool hasObject) {
        return [=](Scene& scene, long n) -> Action {
            std::string text = "T";
            for (long i = 0; i < n; ++i) {
                text = isDeep ? numbered("S", i) + "[" + text + "]" : numbered("x", i) + " " + text;
            }
            const auto tree = std::make_shared<OccurrenceTree>(scene, text);
            fake::Object& object = scene.world.Make("object");
            const auto builder = std::make_shared<ktmdl_BldReference>(
                ktmdl_host::AssemblyDocumentPtr(tree->At("top").Ptr()),
                ktmdl_host::OccurrencePtr(tree->At("T").Ptr()),
                hasObject ? object.Ptr() : IDispatchPtr(), 1);
            return [tree, builder] { EXPECT_EQ(builder->Compute(), 0); };
        };
    };
    // The occurrences, to see that there are any; the type, the interface and the identity, the
    // occurrences and their number; the target.
    const Asked top = kCall + kNamed + 2 * kInterface + 2 * kCall + kItem;
    const Asked make = kCall;
    // Compared with the target by identity; then whether it is a subassembly.
    const Asked other = kItem + 2 * kInterface + kCall;
    // A subassembly's type, interface and document, that one's interface and identity, the
    // occurrences and their number, and the reference made for this level.
    const Asked enter = kNamed + kInterface + kCall + 2 * kInterface + 2 * kCall + make;
    hold("BldReference to an occurrence, per occurrence before it", kSizes, top, other,
         refer(false, false));
    hold("BldReference to an object, per occurrence before it", kSizes, top + make, other,
         refer(false, true));
    hold("BldReference to an object, per level", kSizes, top + make, other + enter,
         refer(true, true));
}

// Rectangles

namespace {

Prepare drawRectangles(Container aContainer, bool aConstrain, bool aValidate)
{
    return [=](Scene& scene, long n) -> Action {
        std::vector<std::shared_ptr<ProfileHost>> hosts;
        for (long i = 0; i < (aConstrain ? 1 : n); ++i) {
            hosts.push_back(std::make_shared<ProfileHost>(scene, aContainer));
            if (aConstrain) { // drawn on the default plane of that number
                const Triple normals[] = {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}};
                scriptNormal(hosts.back()->At("plane"), normals[n - 1]);
            }
        }
        return [=] {
            for (const auto& host : hosts) {
                ktmdl_BldRectangularProfile builder(
                    0.06, 0.04, host->At("plane").Ptr(), host->At("doc").Ptr(), aConstrain ? 1 : 0,
                    aContainer == Container::ProfileSet ? 1 : 0, aValidate ? 1 : 0);
                EXPECT_EQ(builder.Compute(), 0);
            }
        };
    };
}

} // namespace

TEST(HostCalls, ARectangleIsDrawnWithItsLinesAndRelations)
{
    for (const Container container : kContainers) {
        const bool isLayout = container == Container::Layout;
        // Part or assembly document. In a part: the sets and their number, a new one, its profiles
        // and their number, a new one. In an assembly: the layouts, the plane's interface, a new
        // layout and its profile. The profile's interface.
        const Asked made = isLayout ? 2 * kInterface + 3 * kCall + kInterface + kInterface
                                    : kInterface + 6 * kCall + kInterface;
        // The lines and each of them, the relations and each corner.
        const Asked drawn = made + 5 * kCall + 5 * kCall;
        const std::string name =
            "BldRectangularProfile " + std::to_string(static_cast<int>(container));
        hold(name, kSizes, kNothing, drawn, drawRectangles(container, false, false));
        hold(name + ", validated", kSizes, kNothing, drawn + kCall,
             drawRectangles(container, false, true));

        const Asked normal = 2 * kNamed; // the type and the normal
        // The normal, the default planes and the chosen one, the projection and its interface.
        const Asked plane = normal + 2 * kCall + kCall + kInterface;
        // The relations and six of them.
        const Asked tied = 7 * kCall;
        // The dimensions and their interface; two of them, each with its interface and four values.
        const Asked driven = kCall + kInterface + 2 * (kCall + kInterface + 4 * kCall);
        hold(name + ", constrained, per default plane asked", {1, 2, 3},
             drawn + plane + tied + driven, kItem + normal, drawRectangles(container, true, false));
    }
}

// Documents

namespace {

//! A part document with dimensions and variables. A criterion of "*" lists them all, any other
//! those whose system name it is.
struct Variables
{
    Variables(Scene& aScene, long aDimensions, long aVariables)
        : document(aScene.world.Make("doc").Answer(hostids::PartDocument))
    {
        fake::Object& variables = aScene.world.Make("vars");
        std::vector<fake::Object*> items;
        for (long i = 0; i < aDimensions; ++i) {
            fake::Object& item = aScene.world.Make("dim").Answer(hostids::Dimension);
            item.Property(L"Type", fake::givesNumber(hostids::typeDimension));
            item.Property(16487, fake::givesText(std::to_wstring(i + 1).c_str()));
            item.Property(3, fake::givesNumber(1));
            item.Property(DISPID{0}, fake::givesReal(0.5));
            items.push_back(&item);
        }
        for (long i = 0; i < aVariables; ++i) {
            fake::Object& item = aScene.world.Make("var").Answer(hostids::Variable);
            item.Property(L"Type", fake::givesNumber(hostids::typeVariable));
            item.Property(1, fake::givesText(L"formula"));
            item.Method(9, fake::givesText(L"1.00 mm"));
            items.push_back(&item);
        }
        fake::Object& all = aScene.Collection("all", items, 50);
        fake::Object& one = aScene.Collection("one", {items.empty() ? nullptr : items.front()}, 50);
        fake::Object& none = aScene.Collection("none", {}, 50);
        document.Property(0x2001, fake::givesObject(&variables));
        variables.Method(25, fake::givesText(L"name"));
        variables.Method(27, [&all, &one, &none](const fake::Args& aArgs, VARIANT* aResult) {
            const std::string criterion = aArgs.Text(0);
            fake::Object& list = criterion == "*" ? all : criterion == "one" ? one : none;
            return fake::givesObject(&list)(aArgs, aResult);
        });
    }

    fake::Object& document;
};

} // namespace

TEST(HostCalls, DimensionsAreLookedForInLists)
{
    // The part's interface, its variables, a query, how many it found.
    const Asked query = kInterface + 3 * kCall;
    const auto bySystemName = [](bool isThere) {
        return [isThere](Scene& scene, long n) -> Action {
            fake::Object& document = Variables(scene, n, 0).document;
            const ktstd_AsciiString name(isThere ? std::to_string(n).c_str() : "0");
            return [&document, name, isThere] {
                const IDispatchPtr found = ktmdl::GetDimVarFromSystemName(document.Ptr(), name);
                EXPECT_EQ(found.GetInterfacePtr() != nullptr, isThere);
            };
        };
    };
    const Asked looked = kItem + kInterface + kCall; // each one's name
    hold("GetDimVarFromSystemName, per dimension up to it", {1, 2, 7}, query + kInterface, looked,
         bySystemName(true));
    hold("GetDimVarFromSystemName, none", kSizes, query, looked, bySystemName(false));

    const auto byName = [](const char* name, long dimensions, long variables) {
        return [=](Scene& scene, long n) -> Action {
            fake::Object& document =
                Variables(scene, 1 + dimensions * n, 1 + variables * n).document;
            return [&document, name] {
                const IDispatchPtr found =
                    ktmdl::GetDimVarFromName(document.Ptr(), ktstd_AsciiString(name));
                EXPECT_EQ(found.GetInterfacePtr() != nullptr, std::string(name) == "one");
            };
        };
    };
    hold("GetDimVarFromName", kSizes, query + kItem + 2 * kInterface, kNothing,
         byName("one", 1, 1));
    // A second query, and what a listing needs of each: the type, the interface, the name; of a
    // dimension its system name, kind and value; of a variable its formula and value.
    const Asked dimension = kItem + kNamed + kInterface + 4 * kCall;
    const Asked variable = kItem + kNamed + kInterface + 3 * kCall;
    const Asked listing = query + 2 * kCall + dimension + variable;
    hold("GetDimVarFromName, none, per dimension", kSizes, listing, dimension,
         byName("none", 1, 0));
    hold("GetDimVarFromName, none, per variable", kSizes, listing, variable, byName("none", 0, 1));
}

TEST(HostCalls, FacesAndPlanesAreAskedForWhatIsWanted)
{
    for (const bool isWanted : {true, false}) {
        double normal[3];
        double point[3];
        double* const first = isWanted ? normal : nullptr;
        double* const second = isWanted ? point : nullptr;
        const std::string suffix = isWanted ? "" : ", nothing wanted";
        hold("GetFaceInfo" + suffix, kSizes, kNothing,
             kInterface + kCall + (isWanted ? 2 : 0) * kCall,
             [first, second](Scene& scene, long n) -> Action {
                 fake::Object& face = scene.world.Make("face").Answer(hostids::Face);
                 face.Method(232, [](const fake::Args& args, VARIANT*) {
                     args.SetReals(0, {0, 0});
                     args.SetReals(1, {1, 1});
                     return S_OK;
                 });
                 for (const DISPID member : {229, 233}) {
                     face.Method(member, [](const fake::Args& args, VARIANT*) {
                         args.SetReals(2, {0, 0, 1});
                         return S_OK;
                     });
                 }
                 return [&face, first, second, n] {
                     for (long i = 0; i < n; ++i) {
                         EXPECT_EQ(ktmdl::GetFaceInfo(face.Ptr(), first, second), S_OK);
                     }
                 };
             });
        for (const bool isReference : {false, true}) {
            hold((isReference ? "GetPlaneInfo of a reference" : "GetPlaneInfo") + suffix, kSizes,
                 kNothing,
                 kNamed + (isReference ? kInterface + kCall : kNothing) +
                     (isWanted ? 2 : 0) * kNamed,
                 [first, second, isReference](Scene& scene, long n) -> Action {
                     fake::Object& plane = scene.world.Make("plane");
                     plane.Property(L"Type", fake::givesNumber(hostids::typeRefPlane));
                     for (const wchar_t* const member : {L"GetNormal", L"GetRootPoint"}) {
                         plane.Method(member, [](const fake::Args& args, VARIANT*) {
                             args.SetReals(0, {0, 0, 1});
                             return S_OK;
                         });
                     }
                     fake::Object& reference = scene.world.Make("ref").Answer(hostids::Reference);
                     reference.Property(L"Type", fake::givesNumber(hostids::typeReference));
                     reference.Property(4, fake::givesObject(&plane));
                     fake::Object& object = isReference ? reference : plane;
                     return [&object, first, second, n] {
                         for (long i = 0; i < n; ++i) {
                             EXPECT_EQ(ktmdl::GetPlaneInfo(object.Ptr(), first, second), S_OK);
                         }
                     };
                 });
        }
    }
}
