#include "ktmdl/ktmdl_BldLoops.h"

#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_ComTools.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

using ktmdl_detail::ByRef;
using ktmdl_detail::Call;
using ktmdl_detail::HostArray;
using ktmdl_detail::In;
using ktmdl_host::EdgePtr;

//! A chain of edges that is being built.
struct ktmdl_BldLoops::Chain
{
    Hnd_ktmdl_TopoHSeq edges;
    ktmdl_Pnt3d first;
    ktmdl_Pnt3d current;
};

struct ktmdl_BldLoops::Tolerances
{
    double point;
    double gap;
    bool strict;
};

namespace {

struct Ends
{
    ktmdl_Pnt3d start;
    ktmdl_Pnt3d end;
};

//! Measures an edge over its whole parameter range.
double lengthOf(const EdgePtr& aEdge)
{
    double min = 0.0;
    double max = 0.0;
    double length = 0.0;
    Call(aEdge.GetInterfacePtr(), ktmdl_host::Edge::GetParamExtents, {ByRef(min), ByRef(max)});
    Call(aEdge.GetInterfacePtr(), ktmdl_host::Edge::GetLengthAtParam,
         {In(min), In(max), ByRef(length)});
    return length;
}

ktmdl_Pnt3d pointFrom(const HostArray& aArray)
{
    double point[3];
    const long code = GetValuesFromSafeArray(aArray.Get(), 3, point);
    if (code < 0) {
        _com_issue_error(static_cast<HRESULT>(code));
    }
    return ktmdl_Pnt3d(point);
}

Ends endsOf(const EdgePtr& aEdge)
{
    HostArray start(VT_R8);
    HostArray end(VT_R8);
    Call(aEdge.GetInterfacePtr(), ktmdl_host::Edge::GetEndPoints, {start.ByRef(), end.ByRef()});
    return {pointFrom(start), pointFrom(end)};
}

//! The edge that comes nearest to the end of a chain without meeting it.
struct Candidate
{
    std::size_t place{0};
    double distance{0.0};
    bool isNone{true};
};

//! Finds what is near a point: a table of cubes, each with the places that were put there.
class Grid
{
public:
    //! @param aRadius  how far "near" reaches in each direction
    //! @param aCount   points that will be put in, at most
    Grid(double aRadius, std::size_t aCount) : mRadius(aRadius)
    {
        std::size_t size = 16;
        while (size < aCount) {
            size *= 2;
        }
        mHeads.assign(size, kNone);
        mItems.reserve(aCount);
    }

    void Add(const ktmdl_Pnt3d& aPoint, std::size_t aPlace)
    {
        std::uint32_t& head = mHeads[Slot(CubeOf(aPoint.mX), CubeOf(aPoint.mY), CubeOf(aPoint.mZ))];
        mItems.push_back({aPlace, head});
        head = static_cast<std::uint32_t>(mItems.size() - 1);
    }

    //! Lists, in ascending order, all places near a point, and maybe others.
    void Near(const ktmdl_Pnt3d& aPoint, std::vector<std::size_t>& aPlaces) const
    {
        aPlaces.clear();
        // Wider than needed, so that no rounding loses a point.
        const double reach = mRadius * 1.001;
        const auto eachCube = [this, reach](double aAt, auto&& aVisit) {
            const double low = CubeOf(aAt - reach);
            const double high = CubeOf(aAt + reach);
            aVisit(low);
            if (high != low) {
                aVisit(high);
            }
        };
        eachCube(aPoint.mX, [&](double x) {
            eachCube(aPoint.mY, [&](double y) {
                eachCube(aPoint.mZ, [&](double z) { List(Slot(x, y, z), aPlaces); });
            });
        });
        std::sort(aPlaces.begin(), aPlaces.end());
        aPlaces.erase(std::unique(aPlaces.begin(), aPlaces.end()), aPlaces.end());
    }

private:
    static constexpr std::uint32_t kNone = 0xFFFFFFFFU;

    struct Item
    {
        std::size_t place;
        std::uint32_t next;
    };

    [[nodiscard]] double CubeOf(double aCoordinate) const noexcept
    {
        return std::floor(aCoordinate / (4.0 * mRadius)) + 0.0; // not -0
    }
    [[nodiscard]] std::size_t Slot(double aX, double aY, double aZ) const noexcept
    {
        std::uint64_t hash = 0;
        for (const double cube : {aX, aY, aZ}) {
            std::uint64_t bits = 0;
            std::memcpy(&bits, &cube, sizeof(bits));
            hash = (hash ^ bits) * 0x9E3779B97F4A7C15U;
            hash ^= hash >> 32;
        }
        return static_cast<std::size_t>(hash) & (mHeads.size() - 1);
    }
    void List(std::size_t aSlot, std::vector<std::size_t>& aPlaces) const
    {
        for (std::uint32_t i = mHeads[aSlot]; i != kNone; i = mItems[i].next) {
            aPlaces.push_back(mItems[i].place);
        }
    }

    double mRadius;
    std::vector<std::uint32_t> mHeads;
    std::vector<Item> mItems;
};

} // namespace

//! The edges that are in no chain yet, by their places in the input. Each is asked for its ends
//! once, in the order of the input, when a search first comes to it. The input itself loses the
//! edges that were taken when this object goes, whatever ends the work.
class ktmdl_BldLoops::Supply
{
public:
    Supply(const Hnd_ktmdl_TopoHSeq& aInput, double aRadius)
        : mInput(aInput),
          mGrid(aRadius, 2 * static_cast<std::size_t>(aInput->Length()))
    {
        const long count = aInput->Length();
        mEdges.reserve(static_cast<std::size_t>(count));
        for (long i = 1; i <= count; ++i) {
            mEdges.push_back(aInput->Value(i));
        }
        mEnds.reserve(mEdges.size());
        mIsTaken.assign(mEdges.size(), 0);
        mLeft = mEdges.size();
    }
    Supply(const Supply&) = delete;
    Supply& operator=(const Supply&) = delete;
    ~Supply()
    {
        long idx = 1;
        for (std::size_t place = 0; place < mEdges.size() && idx <= mInput->Length(); ++place) {
            if (mIsTaken[place] != 0) {
                mInput->Remove(idx);
            } else {
                ++idx;
            }
        }
    }

    [[nodiscard]] bool IsEmpty() const noexcept { return mLeft == 0; }
    [[nodiscard]] const Ends& EndsAt(std::size_t aPlace) const { return mEnds[aPlace]; }

    //! Takes an edge out, whether its ends are known or not.
    const Hnd_ktmdl_Topo& Take(std::size_t aPlace)
    {
        mIsTaken[aPlace] = 1;
        --mLeft;
        return mEdges[aPlace];
    }
    //! Gives the place of the first edge that is left.
    std::size_t First()
    {
        while (mIsTaken[mFirst] != 0) {
            ++mFirst;
        }
        return mFirst;
    }
    //! Tells whether an edge's ends were read.
    [[nodiscard]] bool IsKnown(std::size_t aPlace) const noexcept { return aPlace < mEnds.size(); }
    [[nodiscard]] bool AreAllKnown() const noexcept { return mEnds.size() == mEdges.size(); }

    //! Reads the ends of the first edge that is not known yet. Gives its place.
    //! @throws _com_error  the edge has no live object (E_POINTER, logged) or the host failed
    std::size_t ReadNext()
    {
        const std::size_t place = mEnds.size();
        const EdgePtr pE(mEdges[place]->mDispTopo);
        KTMDL_CHECK_POINTER(pE, "pE");
        mEnds.push_back(endsOf(pE));
        mGrid.Add(mEnds.back().start, place);
        mGrid.Add(mEnds.back().end, place);
        return place;
    }

    //! Lists in their order the known edges that may have an end near a point, or all of them.
    [[nodiscard]] const std::vector<std::size_t>& Known(const ktmdl_Pnt3d& aPoint, bool aNear)
    {
        if (aNear) {
            mGrid.Near(aPoint, mNear);
        } else {
            mNear.resize(mEnds.size());
            std::iota(mNear.begin(), mNear.end(), std::size_t{0});
        }
        mNear.erase(std::remove_if(mNear.begin(), mNear.end(),
                                   [this](std::size_t place) { return mIsTaken[place] != 0; }),
                    mNear.end());
        return mNear;
    }

private:
    Hnd_ktmdl_TopoHSeq mInput;
    Grid mGrid;
    std::vector<Hnd_ktmdl_Topo> mEdges;
    std::vector<Ends> mEnds; //!< of the first edges, as far as they were read
    std::vector<unsigned char> mIsTaken;
    std::vector<std::size_t> mNear;
    std::size_t mLeft{0};
    std::size_t mFirst{0};
};

ktmdl_BldLoops::ktmdl_BldLoops(const Hnd_ktmdl_TopoHSeq& aEdges) : mEdges(aEdges) {}

ktmdl_BldLoops::~ktmdl_BldLoops() = default;

long ktmdl_BldLoops::Compute()
{
    if (mStatus != -2) {
        return mStatus;
    }
    mStatus = -1;
    if (mEdges.IsNull() || mEdges->IsEmpty()) {
        return mStatus;
    }
    mLoops = new ktstd_TransientHSeq();

    double shortest = 0.0;
    const long shortestIdx = takeClosedEdges(shortest);
    const Tolerances tolerances = chooseTolerances(shortestIdx, shortest);

    const Hnd_ktmdl_TopoHSeq leftovers(new ktmdl_TopoHSeq());
    {
        Supply supply(mEdges, tolerances.gap);
        while (!supply.IsEmpty()) {
            Chain chain;
            if (buildChain(supply, chain, tolerances)) {
                mLoops->Append(chain.edges);
            } else {
                leftovers->Append(chain.edges);
            }
        }
    }

    mEdges->Clear();
    mEdges->Append(leftovers);
    if (mLoops->Length() == 0) {
        mLoops.Nullify();
    }
    mStatus = 0;
    return mStatus;
}

//! Makes loops of the edges that are closed by themselves and measures the others.
//! @param aShortest  receives the length of the shortest short edge
//! @return           its index, 0 when no edge is shorter than 1e-4
long ktmdl_BldLoops::takeClosedEdges(double& aShortest)
{
    long shortestIdx = 0;
    aShortest = 1e-4;
    long idx = 1;
    while (idx <= mEdges->Length()) {
        const Hnd_ktmdl_Topo edge = mEdges->Value(idx);
        if (edge->IsClosed() != 0) {
            const Hnd_ktmdl_TopoHSeq loop(new ktmdl_TopoHSeq());
            loop->Append(edge);
            mLoops->Append(loop);
            mEdges->Remove(idx);
            continue;
        }
        const EdgePtr pE(edge->mDispTopo);
        KTMDL_CHECK_POINTER(pE, "pE");
        const double length = lengthOf(pE);
        if (length < aShortest) {
            aShortest = length;
            shortestIdx = idx;
        }
        ++idx;
    }
    return shortestIdx;
}

//! Chooses how near ends must come, and puts the edge that decides it first.
ktmdl_BldLoops::Tolerances ktmdl_BldLoops::chooseTolerances(long aShortestIdx, double aShortest)
{
    Tolerances tolerances{1e-08, 0.0005, true};
    if (!mEdges->IsEmpty() && aShortestIdx != 0) {
        tolerances.point = aShortest / 2.0;
        const Hnd_ktmdl_Topo edge = mEdges->Value(aShortestIdx);
        mEdges->Remove(aShortestIdx);
        mEdges->Prepend(edge);
    }
    // On purpose: with short edges below 1e-4 only, neither branch is ever taken; they stand for
    // the day when that bound moves; no result shows it.
    if (tolerances.point > 0.001) {
        tolerances.strict = false;
    } else if (tolerances.point > 0.0005) {
        tolerances.gap = 2.0 * tolerances.point;
    }
    return tolerances;
}

//! Moves edges from the supply into a chain until it closes or nothing fits.
//! @return  whether the chain is closed
bool ktmdl_BldLoops::buildChain(Supply& aSupply, Chain& aChain, const Tolerances& aTolerances)
{
    const std::size_t place = aSupply.First();
    aChain.edges = new ktmdl_TopoHSeq();
    aChain.edges->Append(aSupply.Take(place));
    if (!aSupply.IsKnown(place)) {
        aSupply.ReadNext();
    }
    aChain.first = aSupply.EndsAt(place).start;
    aChain.current = aSupply.EndsAt(place).end;

    bool closed = false;
    while (!closed && !aSupply.IsEmpty()) {
        if (!extendChain(aSupply, aChain, aTolerances, closed)) {
            break;
        }
    }
    return closed;
}

//! Adds the next edge to a chain, or closes the chain over a small gap.
//! @param aClosed  set when the chain is closed
//! @return         whether the chain goes on or is closed; false: nothing fits
bool ktmdl_BldLoops::extendChain(Supply& aSupply, Chain& aChain, const Tolerances& aTolerances,
                                 bool& aClosed)
{
    Candidate best;
    const auto take = [&](std::size_t place, const ktmdl_Pnt3d& farEnd) {
        aChain.edges->Append(aSupply.Take(place));
        aChain.current = farEnd;
    };
    const auto takeIfItFits = [&](std::size_t place) {
        const Ends& ends = aSupply.EndsAt(place);
        if (ends.start.IsEqual(aChain.current, aTolerances.point) != 0) {
            take(place, ends.end);
            return true;
        }
        if (ends.end.IsEqual(aChain.current, aTolerances.point) != 0) {
            take(place, ends.start);
            return true;
        }
        const double distance =
            std::min(ends.end.Distance(aChain.current), ends.start.Distance(aChain.current));
        if ((!aTolerances.strict || distance < aTolerances.gap) &&
            (best.isNone || distance < best.distance)) {
            best = {place, distance, false};
        }
        return false;
    };
    const std::vector<std::size_t>& known = aSupply.Known(aChain.current, aTolerances.strict);
    bool taken = std::any_of(known.begin(), known.end(), takeIfItFits);
    while (!taken && !aSupply.AreAllKnown()) {
        taken = takeIfItFits(aSupply.ReadNext());
    }

    if (!taken) {
        const double gap = aChain.first.Distance(aChain.current);
        const bool mayClose = aTolerances.strict && gap < aTolerances.gap;
        if (mayClose && (best.isNone || best.distance > gap)) {
            aClosed = true;
            return true;
        }
        if (best.isNone) {
            return false;
        }
        const Ends& ends = aSupply.EndsAt(best.place);
        const bool endIsNear =
            ends.end.Distance(aChain.current) <= ends.start.Distance(aChain.current);
        take(best.place, endIsNear ? ends.start : ends.end);
    }

    if (aChain.current.IsEqual(aChain.first, aTolerances.point) != 0) {
        aClosed = true;
    } else if (aSupply.IsEmpty() && aTolerances.strict) {
        aClosed = aChain.first.Distance(aChain.current) < aTolerances.gap;
    }
    return true;
}
