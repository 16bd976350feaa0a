//! @file
//! Measures the axis-aligned box of a host object.
#pragma once

#include "com/Com.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_Export.h"

//! Measures a part document, an assembly document or a construction feature.
//!
//! - A part: its first model's body; on request also the solid construction bodies, but for
//!   constructions that hold an inter-part copy.
//! - An assembly: the union of the boxes of its occurrences' documents, each in its own
//!   coordinates: where the occurrences are placed does not count. An occurrence that can't be
//!   measured is logged and left out; when the first one can't, the box starts from the origin.
//! - A derived curve, an inter-part copy or a stitched surface: the body of its parent.
//!
//! The builder works once. It holds the host object until it is destroyed.
class KTMDL_EXPORT ktmdl_BldBBox
{
public:
    //! @param aObject                the object to measure; null: Compute does nothing
    //! @param aIncludeConstructions  1: construction bodies of parts count
    ktmdl_BldBBox(const IDispatchPtr& aObject, unsigned char aIncludeConstructions);
    ktmdl_BldBBox(const ktmdl_BldBBox&) = delete;
    ktmdl_BldBBox& operator=(const ktmdl_BldBBox&) = delete;
    virtual ~ktmdl_BldBBox();

    //! Measures on the first call; later calls only give the status. Automation errors are logged;
    //! none leaves.
    //! @return  the status, see Status
    long Compute();

    //! Gives the box, in the host's unit; the point (0, 0, 0) until there is one. After a failure
    //! it holds what had been measured by then.
    [[nodiscard]] const ktmdl_BBox3d& BBox() const noexcept { return mBBox; }
    //! Gives -2 before Compute and for a null object, 0 after success, 1 when the host failed or
    //! the object is none of those above.
    [[nodiscard]] long Status() const noexcept { return mStatus; }

private:
    [[nodiscard]] HRESULT computeBBox(const IDispatchPtr& aObject, ktmdl_BBox3d& aBox, int aDepth);
    void measurePart(const IDispatchPtr& aObject, ktmdl_BBox3d& aBox) const;
    void measureAssembly(const IDispatchPtr& aObject, ktmdl_BBox3d& aBox, int aDepth);

    IDispatchPtr mObject;
    ktmdl_BBox3d mBBox;
    unsigned char mIncludeConstructions;
    long mStatus{-2};
};
