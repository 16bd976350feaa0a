//! @file
//! Draws a rectangle on a reference plane.
#pragma once

#include "com/Com.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Host.h"

//! Draws a closed rectangle round the origin of a reference plane: in a part inside a new sketch or
//! profile set, in an assembly inside a new layout. On request it ties the rectangle to a default
//! plane of the document and gives it two driving length dimensions.
//!
//! The builder works once, when Compute or any accessor but Status is first called. What it has
//! made in the host stays there when it fails. It holds its host objects until it is destroyed.
class KTMDL_EXPORT ktmdl_BldRectangularProfile
{
public:
    //! @param aX              width along the profile's x axis, metres, above 0
    //! @param aY              height along the profile's y axis, metres, above 0
    //! @param aRefPlane       the plane to draw on: one of a part or of an assembly
    //! @param aDocument       part or assembly document
    //! @param aConstrain      1: add relations and dimensions. The plane must have the direction of
    //!                        a default plane of the document then, not the opposite one.
    //! @param aUseProfileSet  1: in a part, draw in a profile set instead of a sketch
    //! @param aValidate       1: let the host close and check the profile at the end
    ktmdl_BldRectangularProfile(double aX, double aY, const IDispatchPtr& aRefPlane,
                                const IDispatchPtr& aDocument, unsigned char aConstrain,
                                unsigned char aUseProfileSet, unsigned char aValidate);
    ktmdl_BldRectangularProfile(const ktmdl_BldRectangularProfile&) = delete;
    ktmdl_BldRectangularProfile& operator=(const ktmdl_BldRectangularProfile&) = delete;
    virtual ~ktmdl_BldRectangularProfile();

    //! Draws on the first call; later calls only give the status. Automation errors and kernel
    //! failures are logged; none leaves.
    //! @return  the status, see Status
    long Compute();
    //! Gives -2 before Compute; 0 after success; -1 when a size or an object is missing or bad
    //! (logged), the document is neither a part nor an assembly, no default plane has the plane's
    //! direction, or the host finds the profile invalid; 1 when the host failed.
    [[nodiscard]] long Status() const noexcept { return mStatus; }

    // The accessors below run Compute and give what it made, null when there is none. They raise
    // _com_error when the host's object refuses to tell its kind.

    //! Gives the profile.
    ktmdl_host::ProfilePtr Profile();
    //! Gives the profile set, when that is what the profile was drawn in.
    ktmdl_host::ProfileSetPtr ProfileSet();
    //! Gives the sketch, when that is what the profile was drawn in.
    ktmdl_host::SketchPtr Sketch();
    //! Gives the layout, when that is what the profile was drawn in.
    ktmdl_host::LayoutPtr Layout();
    //! Gives a dimension of a constrained rectangle that is done.
    //! @param aSecond  0: of the width; 1: of the height
    ktmdl_host::DimensionPtr DimPtrI(unsigned char aSecond);

private:
    struct Document;
    struct Rectangle;

    [[nodiscard]] long draw();
    [[nodiscard]] ktmdl_host::ProfilePtr newProfile(const Document& aDocument);
    [[nodiscard]] Rectangle drawLines(IDispatch* aProfile) const;
    [[nodiscard]] IDispatchPtr planeToTieTo(const Document& aDocument) const;
    void constrain(IDispatch* aProfile, const Rectangle& aRectangle, IDispatch* aPlane);

    double mX;
    double mY;
    IDispatchPtr mRefPlane;
    IDispatchPtr mDocument;
    unsigned char mConstrain;
    unsigned char mUseProfileSet;
    unsigned char mValidate;
    ktmdl_host::ProfilePtr mProfile;
    ktmdl_host::DimensionPtr mDimPtrs[4];
    IDispatchPtr mSketchOrLayoutPtr;
    long mStatus{-2};
};
