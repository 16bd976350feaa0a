// Chaining edges into loops beside GEOS, which is given the end points.

#include "BareHost.h"
#include "Rows.h"

#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"

#include <geos/geom/Coordinate.h>
#include <geos/geom/CoordinateArraySequence.h>
#include <geos/geom/GeometryFactory.h>
#include <geos/geom/LineString.h>
#include <geos/operation/linemerge/LineMerger.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>

namespace bench {

namespace {

constexpr long kCorners = 10;

struct Segment
{
    double start[3];
    double end[3];
};

//! The edges of polygons side by side, in any order and direction.
std::vector<Segment> segments(long aCount)
{
    std::mt19937 random(1);
    std::vector<Segment> all;
    for (long polygon = 0; polygon * kCorners < aCount; ++polygon) {
        const double x = 3.0 * static_cast<double>(polygon % 300);
        const double y = 3.0 * static_cast<double>(polygon / 300);
        const auto corner = [&](long aIdx, double (&aPoint)[3]) {
            const double angle =
                2.0 * 3.14159265358979 * static_cast<double>(aIdx % kCorners) / kCorners;
            aPoint[0] = x + std::cos(angle);
            aPoint[1] = y + std::sin(angle);
            aPoint[2] = 0.0;
        };
        for (long i = 0; i < kCorners; ++i) {
            Segment segment{};
            const bool forward = random() % 2 == 0;
            corner(forward ? i : i + 1, segment.start);
            corner(forward ? i + 1 : i, segment.end);
            all.push_back(segment);
        }
    }
    std::shuffle(all.begin(), all.end(), random);
    return all;
}

//! Edge references over host objects that answer at once.
struct Edges
{
    explicit Edges(long aCount)
    {
        for (const Segment& segment : segments(aCount)) {
            objects.push_back(std::make_unique<BareEdge>(segment.start, segment.end));
            const Hnd_ktmdl_Topo topo(new ktmdl_Topo());
            topo->tplType = 2;
            topo->mDispTopo = objects.back().get();
            topos.push_back(topo);
        }
    }
    [[nodiscard]] Hnd_ktmdl_TopoHSeq list() const
    {
        const Hnd_ktmdl_TopoHSeq list(new ktmdl_TopoHSeq());
        for (const Hnd_ktmdl_Topo& topo : topos) {
            list->Append(topo);
        }
        return list;
    }

    std::vector<std::unique_ptr<BareEdge>> objects;
    std::vector<Hnd_ktmdl_Topo> topos;
};

//! What GEOS works on.
struct Lines
{
    explicit Lines(long aCount) : factory(geos::geom::GeometryFactory::create())
    {
        for (const Segment& segment : segments(aCount)) {
            auto points = std::make_unique<geos::geom::CoordinateArraySequence>(std::size_t{0},
                                                                                std::size_t{2});
            points->add(geos::geom::Coordinate(segment.start[0], segment.start[1]));
            points->add(geos::geom::Coordinate(segment.end[0], segment.end[1]));
            lines.push_back(factory->createLineString(std::move(points)));
        }
    }
    [[nodiscard]] std::size_t merge() const
    {
        geos::operation::linemerge::LineMerger merger;
        for (const auto& line : lines) {
            merger.add(line.get());
        }
        return merger.getMergedLineStrings().size();
    }

    geos::geom::GeometryFactory::Ptr factory;
    std::vector<std::unique_ptr<geos::geom::LineString>> lines;
};

long loopsIn(const Hnd_ktmdl_TopoHSeq& aEdges)
{
    ktmdl_BldLoops builder(aEdges);
    builder.Compute();
    return builder.Loops().IsNull() != 0 ? 0 : builder.Loops()->Length();
}

Side ours(long aSize)
{
    return {"ours", [aSize] {
                const auto edges = std::make_shared<Edges>(aSize);
                const auto list = std::make_shared<Hnd_ktmdl_TopoHSeq>();
                return Steps{[edges, list] { *list = edges->list(); },
                             [list] {
                                 const long found = loopsIn(*list);
                                 consume(&found);
                             },
                             nullptr};
            }};
}

Side theirs(long aSize)
{
    return {"GEOS LineMerger",
            [aSize] {
                const auto lines = std::make_shared<Lines>(aSize);
                return timedOnly([lines] {
                    const std::size_t found = lines->merge();
                    consume(&found);
                });
            },
            0.0, 1.0};
}

} // namespace

void addLoops()
{
    for (const long size : {100L, 1000L, 10000L, 100000L}) {
        add({"loops: chain edges", size, ours(size), {theirs(size)}, [size] {
                 const long checked = std::min(size, 1000L);
                 const Edges edges(checked);
                 const long found = loopsIn(edges.list());
                 return found == checked / kCorners &&
                                found == static_cast<long>(Lines(checked).merge())
                            ? ""
                            : "number of loops";
             }});
    }
}

} // namespace bench
