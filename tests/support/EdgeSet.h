//! @file
//! Scripted edges for tests of the loop builder, and what they are asked.
#pragma once

#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "support/TopoScene.h"

#include <string>
#include <vector>

//! What an edge answers.
struct EdgeSpec
{
    Triple start{};
    Triple end{};
    bool isClosed{false};
    double length{1};
};

//! Edges named by their place: e0, e1, ... with parameters from 0.25 to place + 1.
class EdgeSet
{
public:
    EdgeSet(Scene& aScene, const std::vector<EdgeSpec>& aSpecs);

    [[nodiscard]] fake::Object& Object(std::size_t aIdx) const { return *mObjects[aIdx]; }
    [[nodiscard]] const Hnd_ktmdl_Topo& Topo(std::size_t aIdx) const { return mTopos[aIdx]; }
    //! Gives a sequence of all edges, in their order.
    [[nodiscard]] Hnd_ktmdl_TopoHSeq All() const { return listOf(mTopos); }
    //! Gives the places of the edges in a list; -1 for what is none of them.
    [[nodiscard]] std::vector<int> PlacesIn(const Hnd_ktmdl_TopoHSeq& aList) const;
    //! Gives the places of the edges of each loop.
    [[nodiscard]] std::vector<std::vector<int>>
    PlacesIn(const Hnd_ktstd_TransientHSeq& aLoops) const;

private:
    std::vector<fake::Object*> mObjects;
    std::vector<Hnd_ktmdl_Topo> mTopos;
};

//! The calls that an edge gets: the first pass of one that is closed, and of one that is not; and
//! the reading of its end points.
std::vector<std::string> closedCalls(std::size_t aIdx);
std::vector<std::string> openCalls(std::size_t aIdx);
std::vector<std::string> endCalls(std::size_t aIdx);
