#include "support/EdgeSet.h"

#include "ktmdl/ktmdl_Topo.h"

#include <gtest/gtest.h>

namespace {

void script(fake::Object& aObject, std::size_t aIdx, const EdgeSpec& aSpec)
{
    scriptEdge(aObject, aSpec.isClosed);
    aObject.Method(272, [aIdx](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReal(0, 0.25);
        aArgs.SetReal(1, static_cast<double>(aIdx + 1));
        return S_OK;
    });
    aObject.Method(268, [aSpec](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReal(2, aSpec.length);
        return S_OK;
    });
    aObject.Method(267, [aSpec](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(0, {aSpec.start[0], aSpec.start[1], aSpec.start[2]});
        aArgs.SetReals(1, {aSpec.end[0], aSpec.end[1], aSpec.end[2]});
        return S_OK;
    });
}

std::string nameOf(std::size_t aIdx)
{
    return "e" + std::to_string(aIdx);
}

} // namespace

EdgeSet::EdgeSet(Scene& aScene, const std::vector<EdgeSpec>& aSpecs)
{
    for (std::size_t i = 0; i < aSpecs.size(); ++i) {
        mObjects.push_back(&aScene.world.Make(nameOf(i)));
        script(*mObjects.back(), i, aSpecs[i]);
        const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
        topo->tplType = 2;
        topo->mDispTopo = mObjects.back()->Ptr();
        mTopos.push_back(topo);
    }
}

std::vector<int> EdgeSet::PlacesIn(const Hnd_ktmdl_TopoHSeq& aList) const
{
    std::vector<int> places;
    for (const Hnd_ktmdl_Topo& topo : elementsOf(aList)) {
        int place = -1;
        for (std::size_t i = 0; i < mTopos.size(); ++i) {
            place = mTopos[i] == topo ? static_cast<int>(i) : place;
        }
        places.push_back(place);
    }
    return places;
}

std::vector<std::vector<int>> EdgeSet::PlacesIn(const Hnd_ktstd_TransientHSeq& aLoops) const
{
    std::vector<std::vector<int>> loops;
    for (long i = 1; aLoops.IsNull() == 0 && i <= aLoops->Length(); ++i) {
        const Hnd_ktmdl_TopoHSeq loop = Hnd_ktmdl_TopoHSeq::DownCast(aLoops->Value(i));
        EXPECT_EQ(loop.IsNull(), 0) << "loop " << i;
        loops.push_back(PlacesIn(loop));
    }
    return loops;
}

std::vector<std::string> closedCalls(std::size_t aIdx)
{
    return {nameOf(aIdx) + ".get 85()"};
}

std::vector<std::string> openCalls(std::size_t aIdx)
{
    return {nameOf(aIdx) + ".get 85()", nameOf(aIdx) + ".272(R8& *, R8& *)",
            nameOf(aIdx) + ".268(R8 0.25, R8 " + std::to_string(aIdx + 1) + ", R8& *)"};
}

std::vector<std::string> endCalls(std::size_t aIdx)
{
    return {nameOf(aIdx) + ".267(R8[]& *, R8[]& *)"};
}
