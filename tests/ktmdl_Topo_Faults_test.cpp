// Every call that an operation makes fails once: what ends inside, what leaves, and that nothing is
// left behind.

#include "com/Com.h"
#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "support/EdgeSet.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

const HRESULT kGone = static_cast<HRESULT>(0x80010108u);

using Operation = std::function<void()>;
using Setting = std::function<Operation(Scene&)>;
//! Tells whether the failure of a call ends inside the operation.
using EndsInside = std::function<bool(const std::string&)>;

bool always(const std::string&)
{
    return true;
}
bool never(const std::string&)
{
    return false;
}
bool isBox(const std::string& aCall)
{
    return aCall.find("GetExactRange") != std::string::npos;
}

//! Lets each call of an operation fail, with and without answers, as often as it makes calls.
void runFaultLoop(const Setting& aSetting, const EndsInside& aEndsInside)
{
    for (const bool isLate : {false, true}) {
        long nth = 1;
        for (;; ++nth) {
            ASSERT_LT(nth, 1000) << "the operation never completes";
            Scene scene;
            const Operation operation = aSetting(scene);
            scene.world.Forget();
            scene.world.FailCall(nth, kGone, isLate);
            const HRESULT code = codeOf(operation);
            const std::string failed = scene.world.FailedCall();
            if (failed.empty()) {
                EXPECT_EQ(code, S_OK);
                break; // by now every call has failed once
            }
            EXPECT_EQ(code, aEndsInside(failed) ? S_OK : kGone) << failed << ", late " << isLate;
        }
        EXPECT_GT(nth, 1) << "no host call was made, so nothing was checked";
    }
}

//! A body with one face and two edges, in a document that binds them.
Hnd_ktmdl_Topo makeBody(Scene& aScene)
{
    fake::Object& face = aScene.Keyed("face", {2}, {0, 0, 0}, {1, 1, 0});
    fake::Object& edgeA = aScene.Keyed("edgeA", {3}, {0, 0, 0}, {1, 0, 0});
    fake::Object& edgeB = aScene.Keyed("edgeB", {4}, {0, 0, 0}, {0, 1, 0});
    fake::Object& body = aScene.Keyed("body", {1}, {0, 0, 0}, {1, 1, 1});
    body.Property(L"Faces", fake::givesObject(&aScene.Collection("Faces", {&face})));
    body.Property(L"Edges", fake::givesObject(&aScene.Collection("Edges", {&edgeA, &edgeB})));
    fake::Object& document = aScene.Document("doc", L"full", L"short");
    scriptBind(document, {{{1}, &body}, {{2}, &face}, {{3}, &edgeA}, {{4}, &edgeB}});
    Hnd_ktmdl_Topo topo = newTopo(body, 6);
    topo->mDispDoc = document.Ptr();
    return topo;
}

Hnd_ktmdl_Topo makeFace(Scene& aScene)
{
    fake::Object& face = aScene.Keyed("face", {2});
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
    face.Method(229, [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(2, {0, 0, 1});
        return S_OK;
    });
    return newTopo(face, 5);
}

Hnd_ktmdl_Topo makeEdge(Scene& aScene)
{
    fake::Object& geometry = aScene.world.Make("geom");
    geometry.Property(L"Type", fake::givesNumber(1));
    fake::Object& edge = scriptEdge(aScene.Keyed("edge", {3}), false);
    edge.Property(77, fake::givesBool(VARIANT_FALSE));
    edge.Method(272, [](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReal(0, 0);
        aArgs.SetReal(1, 1);
        return S_OK;
    });
    edge.Property(76, fake::givesObject(&geometry));
    return newTopo(edge, 2);
}

} // namespace

TEST(ktmdl_Topo, EveryCallOfNewMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        fake::Object& object = aScene.Keyed("edge", {1});
        return [&object] { (void)ktmdl_Topo::New(object.Ptr()); };
    };
    runFaultLoop(setting, never);
}

TEST(ktmdl_Topo, EveryCallOfBuildPersistentDataMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        return [topo = makeBody(aScene)] { topo->BuildPersistentData(); };
    };
    runFaultLoop(setting, isBox);
}

TEST(ktmdl_Topo, EveryCallOfHasChangedMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        return [topo = makeBody(aScene)] {
            ktmdl_BBox3d box;
            Hnd_ktmdl_TopoHSeq lists[8];
            (void)topo->HasChanged(0, box, lists[0], lists[1], lists[2], lists[3], lists[4],
                                   lists[5], lists[6], lists[7]);
        };
    };
    runFaultLoop(setting, isBox);
}

TEST(ktmdl_Topo, EveryCallOfUpdateDispatchMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        return [topo = makeBody(aScene)] { topo->UpdateDispatch(); };
    };
    const EndsInside isBinding = [](const std::string& aCall) {
        return aCall.find("Name") == std::string::npos;
    };
    runFaultLoop(setting, isBinding);
}

TEST(ktmdl_Topo, EveryCallOfReconnectDocumentMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        (void)beginSession();
        Hnd_ktmdl_Topo topo = makeBody(aScene);
        EXPECT_EQ(topo->BuildPersistentData(), 0);
        return [topo] {
            const IDispatchPtr document = topo->mDispDoc;
            ktstd_AsciiString name;
            ktmdl_Topo::ReconnectDocument(document, name);
        };
    };
    const EndsInside isBinding = [](const std::string& aCall) {
        return aCall.find("FullName") == std::string::npos;
    };
    runFaultLoop(setting, isBinding);
}

TEST(ktmdl_Topo, EveryCallOfDisconnectDocumentMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        (void)beginSession();
        return [topo = makeBody(aScene)] {
            const IDispatchPtr document = topo->mDispDoc;
            ktstd_AsciiString name;
            ktmdl_Topo::DisconnectDocument(document, name);
        };
    };
    runFaultLoop(setting, never);
}

TEST(ktmdl_Topo, EveryCallOfBindAllToposInMapMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        Hnd_ktmdl_Topo topo = makeBody(aScene);
        EXPECT_EQ(topo->BuildPersistentData(), 0);
        return [topo] { ktmdl_Topo::BindAllToposInMap(); };
    };
    runFaultLoop(setting, always);
}

TEST(ktmdl_Topo, EveryCallOfBuildBBoxMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        return [topo = makeBody(aScene)] { (void)ktmdl_Topo::BuildBBox(topo->mDispTopo); };
    };
    runFaultLoop(setting, always);
}

TEST(ktmdl_Topo, EveryCallOfBuildNormalMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        return [topo = makeFace(aScene)] { (void)topo->BuildNormal(); };
    };
    runFaultLoop(setting, always);
}

TEST(ktmdl_Topo, EveryCallOfIsClosedMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        return [topo = makeEdge(aScene)] { (void)topo->IsClosed(); };
    };
    runFaultLoop(setting, always);
}

TEST(ktmdl_Topo, EveryCallOfShowVariableMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        return [topo = makeEdge(aScene)] { ShowVariable("e", topo); };
    };
    runFaultLoop(setting, always);
}

TEST(ktmdl_BldLoops, EveryCallMayFail)
{
    const Setting setting = [](Scene& aScene) -> Operation {
        const EdgeSet set(aScene, {EdgeSpec{{0, 0, 0}, {0, 0, 0}, true, 1},
                                   EdgeSpec{{0, 0, 0}, {1, 0, 0}, false, 1},
                                   EdgeSpec{{0, 1, 0}, {0, 0, 0}, false, 1},
                                   EdgeSpec{{1, 0, 0}, {0, 1, 0}, false, 1}});
        return [edges = set.All()] {
            ktmdl_BldLoops builder(edges);
            builder.Compute();
        };
    };
    const EndsInside isClosedFlag = [](const std::string& aCall) {
        return aCall.find("get 85") != std::string::npos;
    };
    runFaultLoop(setting, isClosedFlag);
}
