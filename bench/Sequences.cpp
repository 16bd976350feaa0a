// Sequences of points beside std::list and std::vector of the same points.

#include "Rows.h"
#include "ktmdl/ktmdl_ErosionPos.h"
#include "ktmdl/ktmdl_ErosionPosSeq.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Pnt3dSeq.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_Trsf3dSeq.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <memory>

namespace bench {

namespace {

using List = std::list<ktmdl_Pnt3d>;
using Vector = std::vector<ktmdl_Pnt3d>;

ktmdl_Pnt3d pointAt(long aIdx)
{
    return ktmdl_Pnt3d(static_cast<double>(aIdx), 1.0, 2.0);
}

// The operations, once for each kind of container.

void append(ktmdl_Pnt3dSeq& aPoints, long aIdx)
{
    aPoints.Append(pointAt(aIdx));
}
void append(List& aPoints, long aIdx)
{
    aPoints.push_back(pointAt(aIdx));
}
void append(Vector& aPoints, long aIdx)
{
    aPoints.push_back(pointAt(aIdx));
}

void clear(ktmdl_Pnt3dSeq& aPoints)
{
    aPoints.Clear();
}
void clear(List& aPoints)
{
    aPoints.clear();
}
void clear(Vector& aPoints)
{
    Vector().swap(aPoints);
}

double walk(const ktmdl_Pnt3dSeq& aPoints)
{
    double sum = 0.0;
    const long length = aPoints.Length();
    for (long i = 1; i <= length; ++i) {
        sum += aPoints.Value(i).mX;
    }
    return sum;
}
double walk(const List& aPoints)
{
    double sum = 0.0;
    for (const ktmdl_Pnt3d& point : aPoints) {
        sum += point.mX;
    }
    return sum;
}
double walk(const Vector& aPoints)
{
    double sum = 0.0;
    for (const ktmdl_Pnt3d& point : aPoints) {
        sum += point.mX;
    }
    return sum;
}

//! Walks, and puts a point behind every tenth; then walks and takes those out.
void edit(ktmdl_Pnt3dSeq& aPoints)
{
    for (long i = 10; i <= aPoints.Length(); i += 11) {
        aPoints.InsertAfter(i, pointAt(0));
    }
    for (long i = 11; i <= aPoints.Length(); i += 10) {
        aPoints.Remove(i);
    }
}
void edit(List& aPoints)
{
    auto at = aPoints.begin();
    for (long i = 10; i <= static_cast<long>(aPoints.size()); i += 11) {
        std::advance(at, 10);
        aPoints.insert(at, pointAt(0));
    }
    at = aPoints.begin();
    for (long i = 11; i <= static_cast<long>(aPoints.size()); i += 10) {
        std::advance(at, 10);
        at = aPoints.erase(at);
    }
}

template <class Points>
std::shared_ptr<Points> filled(long aSize)
{
    const auto points = std::make_shared<Points>();
    for (long i = 0; i < aSize; ++i) {
        append(*points, i);
    }
    return points;
}

//! Small sequences are many, so that a pass takes a time that can be measured.
long manyOf(long aSize)
{
    return std::max(1L, 20000 / aSize);
}
template <class Points>
struct Batch
{
    explicit Batch(long aSize) : all(static_cast<std::size_t>(manyOf(aSize))) {}

    std::vector<Points> all;
};

template <class Points>
Side appendSide(const char* aName, long aSize, double aAim)
{
    return {aName,
            [aSize] {
                const auto batch = std::make_shared<Batch<Points>>(aSize);
                return Steps{nullptr,
                             [batch, aSize] {
                                 for (Points& points : batch->all) {
                                     for (long i = 0; i < aSize; ++i) {
                                         append(points, i);
                                     }
                                 }
                                 consume(batch->all.data());
                             },
                             [batch] {
                                 for (Points& points : batch->all) {
                                     clear(points);
                                 }
                             }};
            },
            0.0, aAim};
}

template <class Points>
Side clearSide(const char* aName, long aSize, double aAim)
{
    return {aName,
            [aSize] {
                const auto batch = std::make_shared<Batch<Points>>(aSize);
                return Steps{[batch, aSize] {
                                 for (Points& points : batch->all) {
                                     for (long i = 0; i < aSize; ++i) {
                                         append(points, i);
                                     }
                                 }
                             },
                             [batch] {
                                 for (Points& points : batch->all) {
                                     clear(points);
                                 }
                                 consume(batch->all.data());
                             },
                             nullptr};
            },
            0.0, aAim};
}

//! Times work on one filled sequence.
template <class Points, class Work>
Side filledSide(const char* aName, long aSize, double aAim, Work aWork)
{
    return {aName,
            [aSize, aWork] {
                const auto points = filled<Points>(aSize);
                return timedOnly([points, aWork] {
                    aWork(*points);
                    consume(points.get());
                });
            },
            0.0, aAim};
}

template <class Points>
Side walkSide(const char* aName, long aSize, double aAim)
{
    return filledSide<Points>(aName, aSize, aAim, [](Points& points) {
        const double sum = walk(points);
        consume(&sum);
    });
}

template <class Points>
Side editSide(const char* aName, long aSize, double aAim)
{
    return filledSide<Points>(aName, aSize, aAim, [](Points& points) { edit(points); });
}

//! Measures the memory of a container of many of the same value.
template <class Container, class Value, class Append>
Side memorySide(const char* aName, long aSize, const Value& aValue, Append aAppend)
{
    Side side{aName};
    side.measure = [aSize, aValue, aAppend] {
        return heapBytesPer(aSize, [&] {
            auto values = std::make_shared<Container>();
            for (long i = 0; i < aSize; ++i) {
                aAppend(*values, aValue);
            }
            return values;
        });
    };
    return side;
}

//! Compares the memory of a kind of sequence with that of the standard containers.
template <class Sequence, class Value>
void addMemory(const char* aName, const Value& aValue)
{
    constexpr long kMany = 1000000;
    const auto pushBack = [](auto& values, const Value& value) { values.push_back(value); };
    add({aName,
         kMany,
         memorySide<Sequence>("ours", kMany, aValue,
                              [](Sequence& values, const Value& value) { values.Append(value); }),
         {memorySide<std::list<Value>>("std::list", kMany, aValue, pushBack),
          memorySide<std::vector<Value>>("std::vector", kMany, aValue, pushBack)},
         nullptr});
}

std::string editedAlike(long aSize)
{
    const auto ours = filled<ktmdl_Pnt3dSeq>(aSize);
    const auto theirs = filled<List>(aSize);
    edit(*ours);
    edit(*theirs);
    if (ours->Length() != static_cast<long>(theirs->size())) {
        return std::to_string(ours->Length()) + " and " + std::to_string(theirs->size());
    }
    long i = 1;
    for (const ktmdl_Pnt3d& point : *theirs) {
        if (point.mX != ours->Value(i++).mX) {
            return "element " + std::to_string(i - 1);
        }
    }
    return "";
}

} // namespace

void addSequences()
{
    for (const long size : {1000L, 10000L, 100000L, 1000000L}) {
        const auto same = [size] {
            return walk(*filled<ktmdl_Pnt3dSeq>(size)) == walk(*filled<List>(size)) ? "" : "sums";
        };
        Row grow{"sequence: append",
                 size,
                 appendSide<ktmdl_Pnt3dSeq>("ours", size, 0.0),
                 {appendSide<List>("std::list", size, 2.0),
                  appendSide<Vector>("std::vector", size, 0.0)},
                 same};
        grow.repeats = manyOf(size);
        add(grow);
        add({"sequence: clear",
             size,
             clearSide<ktmdl_Pnt3dSeq>("ours", size, 0.0),
             {clearSide<List>("std::list", size, 2.0), clearSide<Vector>("std::vector", size, 0.0)},
             same,
             manyOf(size)});
        add({"sequence: walk by index",
             size,
             walkSide<ktmdl_Pnt3dSeq>("ours", size, 0.0),
             {walkSide<List>("std::list", size, 1.0), walkSide<Vector>("std::vector", size, 0.0)},
             same});
        add({"sequence: insert and remove",
             size,
             editSide<ktmdl_Pnt3dSeq>("ours", size, 0.0),
             {editSide<List>("std::list", size, 1.0)},
             [size] { return editedAlike(size); }});
    }
    addMemory<ktmdl_Pnt3dSeq>("sequence of points", ktmdl_Pnt3d());
    addMemory<ktmdl_Trsf3dSeq>("sequence of transformations", ktmdl_Trsf3d());
    addMemory<ktmdl_ErosionPosSeq>("sequence of erosion positions", ktmdl_ErosionPos());
    addMemory<ktmdl_TopoSeq>("sequence of references", Hnd_ktmdl_Topo(new ktmdl_Topo()));
}

} // namespace bench
