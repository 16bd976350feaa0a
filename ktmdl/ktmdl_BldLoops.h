//! @file
//! Sorts edge references into closed loops.

#pragma once

#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktstd/ktstd_TransientHSeq.h"

//! Chains edges whose ends meet into closed loops. A closed edge is a loop by itself; edges that
//! can't be closed into a loop are handed back.
//!
//! The builder works once. It shares the caller's sequence: Compute empties that and refills it
//! with the edges left over. Ends meet within half the length of the shortest edge when that is
//! below 1e-4, else within 1e-8; the last gap of a loop, and a gap that nothing fits better, may
//! reach 5e-4. Lengths are the host's. Each edge is asked for its ends once, when the search first
//! comes to it.
class KTMDL_EXPORT ktmdl_BldLoops
{
public:
    //! @param aEdges  references of type 2 with live edges; shared, not copied
    explicit ktmdl_BldLoops(const Hnd_ktmdl_TopoHSeq& aEdges);
    ktmdl_BldLoops(const ktmdl_BldLoops&) = delete;
    ktmdl_BldLoops& operator=(const ktmdl_BldLoops&) = delete;
    virtual ~ktmdl_BldLoops();

    //! Builds the loops on the first call; later calls only give the status.
    //! @return             0 done; -1 no edges, or an earlier call failed
    //! @throws ktstd_fail_NullObject  a handle among the edges is null
    //! @throws _com_error  an edge has no live object (E_POINTER, logged) or the host failed; the
    //!                     status is -1 then, edges and loops hold what was done by then
    long Compute();

    //! Gives one ktmdl_TopoHSeq per closed loop, its edges in chaining order; a null handle when no
    //! loop was found.
    [[nodiscard]] const Hnd_ktstd_TransientHSeq& Loops() const noexcept { return mLoops; }
    //! Gives -2 before Compute, -1 while it works and after it failed, 0 after success.
    [[nodiscard]] long Status() const noexcept { return mStatus; }

private:
    struct Chain;
    struct Tolerances;
    class Supply;

    [[nodiscard]] long takeClosedEdges(double& aShortest);
    [[nodiscard]] Tolerances chooseTolerances(long aShortestIdx, double aShortest);
    [[nodiscard]] static bool buildChain(Supply& aSupply, Chain& aChain,
                                         const Tolerances& aTolerances);
    [[nodiscard]] static bool extendChain(Supply& aSupply, Chain& aChain,
                                          const Tolerances& aTolerances, bool& aClosed);

    Hnd_ktmdl_TopoHSeq mEdges;
    Hnd_ktstd_TransientHSeq mLoops;
    long mStatus{-2};
};
