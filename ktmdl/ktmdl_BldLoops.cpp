#include "ktmdl/ktmdl_BldLoops.h"

#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_ComTools.h"

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
    long index{0}; //!< 0: none
    double distance{0.0};
    Ends ends;
};

} // namespace

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
    while (!mEdges->IsEmpty()) {
        Chain chain;
        if (buildChain(chain, tolerances)) {
            mLoops->Append(chain.edges);
        } else {
            leftovers->Append(chain.edges);
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

//! Moves edges from the input into a chain until it closes or nothing fits.
//! @return  whether the chain is closed
bool ktmdl_BldLoops::buildChain(Chain& aChain, const Tolerances& aTolerances)
{
    const Hnd_ktmdl_Topo edge = mEdges->Value(1);
    mEdges->Remove(1);
    aChain.edges = new ktmdl_TopoHSeq();
    aChain.edges->Append(edge);
    const EdgePtr pE(edge->mDispTopo);
    KTMDL_CHECK_POINTER(pE, "pE");
    const Ends ends = endsOf(pE);
    aChain.first = ends.start;
    aChain.current = ends.end;

    bool closed = false;
    while (!closed && !mEdges->IsEmpty()) {
        if (!extendChain(aChain, aTolerances, closed)) {
            break;
        }
    }
    return closed;
}

//! Adds the next edge to a chain, or closes the chain over a small gap.
//! @param aClosed  set when the chain is closed
//! @return         whether the chain goes on or is closed; false: nothing fits
bool ktmdl_BldLoops::extendChain(Chain& aChain, const Tolerances& aTolerances, bool& aClosed)
{
    Candidate best;
    bool taken = false;
    for (long idx = 1; idx <= mEdges->Length() && !taken; ++idx) {
        const EdgePtr pE(mEdges->Value(idx)->mDispTopo);
        KTMDL_CHECK_POINTER(pE, "pE");
        const Ends ends = endsOf(pE);
        if (ends.start.IsEqual(aChain.current, aTolerances.point) != 0) {
            takeEdge(aChain, idx, ends.end);
            taken = true;
        } else if (ends.end.IsEqual(aChain.current, aTolerances.point) != 0) {
            takeEdge(aChain, idx, ends.start);
            taken = true;
        } else {
            const double fromEnd = ends.end.Distance(aChain.current);
            const double fromStart = ends.start.Distance(aChain.current);
            const double distance = fromEnd <= fromStart ? fromEnd : fromStart;
            if ((!aTolerances.strict || distance < aTolerances.gap) &&
                (best.index == 0 || distance < best.distance)) {
                best = {idx, distance, ends};
            }
        }
    }

    if (!taken) {
        const double gap = aChain.first.Distance(aChain.current);
        const bool mayClose = aTolerances.strict && gap < aTolerances.gap;
        if (mayClose && !(best.index != 0 && best.distance <= gap)) {
            aClosed = true;
            return true;
        }
        if (best.index == 0) {
            return false;
        }
        const bool endIsNear =
            best.ends.end.Distance(aChain.current) <= best.ends.start.Distance(aChain.current);
        takeEdge(aChain, best.index, endIsNear ? best.ends.start : best.ends.end);
    }

    if (aChain.current.IsEqual(aChain.first, aTolerances.point) != 0) {
        aClosed = true;
    } else if (mEdges->IsEmpty() && aTolerances.strict) {
        aClosed = aChain.first.Distance(aChain.current) < aTolerances.gap;
    }
    return true;
}

//! Moves an edge from the input to the end of a chain.
void ktmdl_BldLoops::takeEdge(Chain& aChain, long aIdx, const ktmdl_Pnt3d& aFarEnd)
{
    const Hnd_ktmdl_Topo edge = mEdges->Value(aIdx);
    mEdges->Remove(aIdx);
    aChain.edges->Append(edge);
    aChain.current = aFarEnd;
}
