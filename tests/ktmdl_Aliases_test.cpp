//! Objects given to their own operations, or reached again while they change.

#include "ktmdl/ktmdl_BBox2d.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_CrdSys3d.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoMap.h"
#include "ktmdl/ktmdl_Vec2d.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace {

//! Made before the tests begin, as an add-in's own constants are.
const double lengthAtStart = ktmdl_CrdSys3d::YOZ().mDirX.Magnitude() +
                             ktmdl_Axis3d::AY().mDir.Magnitude() + ktmdl_Vec3d::VZ().Magnitude() +
                             ktmdl_Pnt3d::Origin().mX;

const double planarLengthAtStart = ktmdl_Vec2d::VX().Magnitude() + ktmdl_Vec2d::VY().Magnitude() +
                                   ktmdl_Pnt2d::Origin().mX + ktmdl_Trsf2d::Identity().Value(2, 2);

//! A reference that asks and changes a map as it dies.
class Watcher : public ktmdl_Topo
{
public:
    Watcher(ktmdl_TopoMap& aMap, const Hnd_ktmdl_Topo& aNext) : mMap(&aMap), mNext(aNext) {}
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;
    ~Watcher() override
    {
        extentSeen = mMap->Extent();
        mMap->Add(mNext);
    }

    static long extentSeen;

private:
    ktmdl_TopoMap* mMap;
    Hnd_ktmdl_Topo mNext;
};
long Watcher::extentSeen = -1;

} // namespace

TEST(ktmdl_Axis3d, ConstantsAreThereBeforeMain)
{
    EXPECT_EQ(lengthAtStart, 3.0);
}

TEST(ktmdl_Vec2d, ConstantsAreThereBeforeMain)
{
    EXPECT_EQ(planarLengthAtStart, 3.0);
}

TEST(ktmdl_BBox2d, MayBeCentredOnItsOwnCorner)
{
    for (const bool isMax : {false, true}) {
        ktmdl_BBox2d box(1, 2, 1, 2);
        box.SetCenterSize(isMax ? box.mMax : box.mMin, 2, 4);
        double numbers[4];
        box.Get(numbers[0], numbers[1], numbers[2], numbers[3]);
        EXPECT_EQ(numbers[0], 0);
        EXPECT_EQ(numbers[1], 0);
        EXPECT_EQ(numbers[2], 2);
        EXPECT_EQ(numbers[3], 4);
    }
}

TEST(ktmdl_CrdSys3d, TurnsAboutItsOwnAxisAsAboutAnEqualOne)
{
    const ktmdl_Axis3d axis(ktmdl_Pnt3d(1, 2, 3), ktmdl_Vec3d(2, 3, 6));
    const ktmdl_CrdSys3d start(axis, ktmdl_Vec3d(6, 2, -3));
    ktmdl_CrdSys3d byItself(start);
    byItself.Rotate(byItself, 0.5);
    ktmdl_CrdSys3d byAnother(start);
    byAnother.Rotate(axis, 0.5);
    EXPECT_EQ(byItself.IsEqual(byAnother, 0.0), 1);
    EXPECT_EQ(byItself.IsEqual(start, 0.1), 0) << "the turn must show";
}

TEST(ktmdl_BBox3d, MayBeCentredOnItsOwnCorner)
{
    ktmdl_BBox3d box(1, 2, 3, 4, 5, 6);
    box.SetCenterSize(box.mMin, 2, 4, 6);
    EXPECT_EQ(box.IsEqual(ktmdl_BBox3d(0, 0, 0, 2, 4, 6)), 1);
}

TEST(ktmdl_TopoMap, IsEmptyForWhatDiesWhenItIsCleared)
{
    ktmdl_TopoMap map(1);
    const Hnd_ktmdl_Topo next(new ktmdl_Topo());
    map.Add(Hnd_ktmdl_Topo(new ktmdl_Topo()));
    map.Add(Hnd_ktmdl_Topo(new Watcher(map, next)));
    map.Add(Hnd_ktmdl_Topo(new ktmdl_Topo()));
    Watcher::extentSeen = -1;
    map.Clear();
    EXPECT_EQ(Watcher::extentSeen, 0);
    EXPECT_EQ(map.Extent(), 1);
    EXPECT_EQ(map.Contains(next), 1);
}

TEST(ktmdl_TopoMap, KeyOfItsOwnNodeCanBeRemoved)
{
    ktmdl_TopoMap map(1);
    map.Add(Hnd_ktmdl_Topo(new ktmdl_Topo()));
    const ktmdl_MapIteratorOfTopoMap it(map);
    EXPECT_EQ(map.Remove(it.Key()), 1);
    EXPECT_EQ(map.Extent(), 0);
}
