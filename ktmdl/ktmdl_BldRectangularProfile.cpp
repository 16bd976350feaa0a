#include "ktmdl/ktmdl_BldRectangularProfile.h"

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktstd/ktstd_Debug.h"

#include <cmath>
#include <fstream>
#include <limits>

using ktmdl_detail::Call;
using ktmdl_detail::CallLong;
using ktmdl_detail::FetchObject;
using ktmdl_detail::GetLong;
using ktmdl_detail::In;
using ktmdl_detail::InObject;
using ktmdl_detail::ItemOf;
using ktmdl_detail::Missing;
using ktmdl_detail::PropertyObject;
using ktmdl_detail::Put;
using ktmdl_detail::True;
using ktmdl_host::AssemblyDocumentPtr;
using ktmdl_host::DimensionPtr;
using ktmdl_host::PartDocumentPtr;
using ktmdl_host::ProfilePtr;

namespace Dimension = ktmdl_host::Dimension;
namespace Relations2d = ktmdl_host::Relations2d;

//! The document as the one of two kinds that it is.
struct ktmdl_BldRectangularProfile::Document
{
    PartDocumentPtr pPartDoc;
    AssemblyDocumentPtr pAsmDoc; //!< asked for only when it is no part
};

//! The sides, counter-clockwise from the lower one.
struct ktmdl_BldRectangularProfile::Rectangle
{
    IDispatchPtr lines[4];
};

namespace {

bool isSize(double aValue)
{
    return std::isfinite(aValue) && aValue > 0.0;
}

void warn(const char* aText)
{
    ktstd_Debug::LogPrint() << aText << std::endl;
}

//! A plane's normal; not-a-number when the plane tells none, so that it equals no other.
struct Normal
{
    explicit Normal(const IDispatchPtr& aPlane)
    {
        KTMDL_CHECK_RESULT(ktmdl::GetPlaneInfo(aPlane, xyz, nullptr));
    }

    [[nodiscard]] bool isSameAs(const Normal& aOther) const
    {
        constexpr double kTolerance = 1e-06;
        return std::fabs(xyz[0] - aOther.xyz[0]) <= kTolerance &&
               std::fabs(xyz[1] - aOther.xyz[1]) <= kTolerance &&
               std::fabs(xyz[2] - aOther.xyz[2]) <= kTolerance;
    }

    static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    double xyz[3] = {kNone, kNone, kNone};
};

//! Joins the end of a line to the start of another.
void joinEndToStart(IDispatch* aRelations, IDispatch* aFirst, IDispatch* aSecond)
{
    Call(aRelations, Relations2d::AddKeypoint,
         {InObject(aFirst), In(Relations2d::igLineEnd), InObject(aSecond),
          In(Relations2d::igLineStart), Missing()});
}

//! Puts the middles of two lines on one horizontal or vertical.
void alignMiddles(IDispatch* aRelations, DISPID aHow, IDispatch* aFirst, IDispatch* aSecond)
{
    Call(aRelations, aHow,
         {InObject(aFirst), In(Relations2d::igLineMiddle), InObject(aSecond),
          In(Relations2d::igLineMiddle), True()});
}

DimensionPtr addLength(IDispatch* aDimensions, IDispatch* aLine)
{
    return DimensionPtr(FetchObject(aDimensions, ktmdl_host::Dimensions::AddLength, DISPATCH_METHOD,
                                    {InObject(aLine)}));
}

//! Lets a dimension drive its line.
//! @param aLength  metres
void drive(IDispatch* aDimension, double aLength)
{
    constexpr double kTrackDistance = 0.015;
    Put(aDimension, Dimension::Constraint, True());
    Put(aDimension, Dimension::Value, In(aLength));
    Put(aDimension, Dimension::TrackDistance, In(kTrackDistance));
    Put(aDimension, Dimension::ProjectionLineDirection, True());
}

} // namespace

ktmdl_BldRectangularProfile::ktmdl_BldRectangularProfile(
    double aX, double aY, const IDispatchPtr& aRefPlane, const IDispatchPtr& aDocument,
    unsigned char aConstrain, unsigned char aUseProfileSet, unsigned char aValidate)
    : mX(aX),
      mY(aY),
      mRefPlane(aRefPlane),
      mDocument(aDocument),
      mConstrain(aConstrain),
      mUseProfileSet(aUseProfileSet),
      mValidate(aValidate)
{}

ktmdl_BldRectangularProfile::~ktmdl_BldRectangularProfile() = default;

long ktmdl_BldRectangularProfile::Compute()
{
    if (mStatus != -2) {
        return mStatus;
    }
    if (!isSize(mX) || !isSize(mY)) {
        warn("WARNING: bad x or/and y dimension ...");
        mStatus = -1;
        return mStatus;
    }
    if (mDocument == nullptr || mRefPlane == nullptr) {
        warn("WARNING: bad SEDoc or/and refPpln ...");
        mStatus = -1;
        return mStatus;
    }
    try {
        mStatus = draw();
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl_BldRectangularProfile::Compute");
        mStatus = 1;
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        KTMDL_REPORT_FAILURE(failure, "ktmdl_BldRectangularProfile::Compute");
        mStatus = 1;
    }
    return mStatus;
}

//! Draws the rectangle.
//! @return  0, or -1 when it can't be drawn as asked
long ktmdl_BldRectangularProfile::draw()
{
    Document document;
    document.pPartDoc = mDocument;
    if (document.pPartDoc == nullptr) {
        document.pAsmDoc = mDocument;
        if (document.pAsmDoc == nullptr) {
            return -1;
        }
    }
    const ProfilePtr pProfile = newProfile(document);
    const Rectangle rectangle = drawLines(pProfile);
    if (mConstrain != 0) {
        const IDispatchPtr pPlane = planeToTieTo(document);
        if (pPlane == nullptr) {
            return -1;
        }
        constrain(pProfile, rectangle, pPlane);
    }
    if (mValidate != 0 && CallLong(pProfile, ktmdl_host::Profile::End,
                                   {In(ktmdl_host::Profile::igProfileClosed)}) != 0) {
        return -1;
    }
    mProfile = pProfile;
    return 0;
}

//! Makes the sketch, profile set or layout and an empty profile in it.
ProfilePtr ktmdl_BldRectangularProfile::newProfile(const Document& aDocument)
{
    namespace SketchSet = ktmdl_host::SketchSet;
    ProfilePtr pRectangleProf;
    if (aDocument.pPartDoc != nullptr) {
        IDispatchPtr pSets;
        if (mUseProfileSet != 0) {
            pSets = PropertyObject(aDocument.pPartDoc, ktmdl_host::PartDocument::ProfileSets);
            KTMDL_CHECK_POINTER(pSets, "pProfileSets");
        } else {
            pSets = PropertyObject(aDocument.pPartDoc, ktmdl_host::PartDocument::Sketches);
            KTMDL_CHECK_POINTER(pSets, "pSketches");
        }
        // On purpose: both counts are read and not used.
        // Pinned by the call sequences of a sketch and of a profile set.
        static_cast<void>(GetLong(pSets, SketchSet::Count));
        mSketchOrLayoutPtr = FetchObject(pSets, SketchSet::Add, DISPATCH_METHOD, {});
        KTMDL_CHECK_POINTER(mSketchOrLayoutPtr, "mSketchOrLayoutPtr");
        const IDispatchPtr pProfs = PropertyObject(mSketchOrLayoutPtr, SketchSet::Profiles);
        KTMDL_CHECK_POINTER(pProfs, "pProfs");
        static_cast<void>(GetLong(pProfs, ktmdl_host::Profiles::Count));
        pRectangleProf =
            FetchObject(pProfs, ktmdl_host::Profiles::Add, DISPATCH_METHOD, {InObject(mRefPlane)});
    } else {
        const IDispatchPtr pLays =
            PropertyObject(aDocument.pAsmDoc, ktmdl_host::AssemblyDocument::Layouts);
        KTMDL_CHECK_POINTER(pLays, "pLays");
        const ktmdl_host::AsmRefPlanePtr pAsmRefPln(mRefPlane);
        KTMDL_CHECK_POINTER(pAsmRefPln, "pAsmRefPln");
        mSketchOrLayoutPtr =
            FetchObject(pLays, ktmdl_host::Layouts::Add, DISPATCH_METHOD, {InObject(pAsmRefPln)});
        KTMDL_CHECK_POINTER(mSketchOrLayoutPtr, "mSketchOrLayoutPtr");
        pRectangleProf = PropertyObject(mSketchOrLayoutPtr, ktmdl_host::Layout::Profile);
    }
    KTMDL_CHECK_POINTER(pRectangleProf, "pRectangleProf");
    return pRectangleProf;
}

//! Draws the four sides and joins them.
ktmdl_BldRectangularProfile::Rectangle
ktmdl_BldRectangularProfile::drawLines(IDispatch* aProfile) const
{
    const IDispatchPtr pLines2d = PropertyObject(aProfile, ktmdl_host::Profile::Lines2d);
    KTMDL_CHECK_POINTER(pLines2d, "pLines2d");
    const double a = mX / 2.0;
    const double b = mY / 2.0;
    const double corners[5][2] = {{-a, -b}, {a, -b}, {a, b}, {-a, b}, {-a, -b}};
    const char* const names[4] = {"pLine1", "pLine2", "pLine3", "pLine4"};
    Rectangle rectangle;
    for (int i = 0; i < 4; ++i) {
        const double(&from)[2] = corners[i];
        const double(&to)[2] = corners[i + 1];
        rectangle.lines[i] =
            FetchObject(pLines2d, ktmdl_host::Lines2d::AddBy2Points, DISPATCH_METHOD,
                        {In(from[0]), In(from[1]), In(to[0]), In(to[1])});
        KTMDL_CHECK_POINTER(rectangle.lines[i], names[i]);
    }
    const IDispatchPtr pRelations2d = PropertyObject(aProfile, ktmdl_host::Profile::Relations2d);
    KTMDL_CHECK_POINTER(pRelations2d, "pRelations2d");
    for (int i = 0; i < 4; ++i) {
        joinEndToStart(pRelations2d, rectangle.lines[i], rectangle.lines[(i + 1) % 4]);
    }
    return rectangle;
}

//! Chooses the default plane that the rectangle is tied to: the one behind that which has the
//! normal of the plane drawn on.
//! @return  null when no default plane has that normal
IDispatchPtr ktmdl_BldRectangularProfile::planeToTieTo(const Document& aDocument) const
{
    const Normal normal(mRefPlane);
    const IDispatchPtr pRefPlanes =
        aDocument.pPartDoc != nullptr
            ? PropertyObject(aDocument.pPartDoc, ktmdl_host::PartDocument::RefPlanes)
            : PropertyObject(aDocument.pAsmDoc, ktmdl_host::AssemblyDocument::AsmRefPlanes);
    KTMDL_CHECK_POINTER(pRefPlanes, "pRefPlanes");
    for (LONG i = 1; i <= 3; ++i) {
        if (normal.isSameAs(Normal(ItemOf(pRefPlanes, i)))) {
            IDispatchPtr pPlane = ItemOf(pRefPlanes, i % 3 + 1);
            KTMDL_CHECK_POINTER(pPlane, "pRefPlane");
            return pPlane;
        }
    }
    return IDispatchPtr();
}

//! Adds the relations and the driving dimensions.
void ktmdl_BldRectangularProfile::constrain(IDispatch* aProfile, const Rectangle& aRectangle,
                                            IDispatch* aPlane)
{
    const ktmdl_host::Line2dPtr pLineRefPlane(FetchObject(
        aProfile, ktmdl_host::Profile::ProjectRefPlane, DISPATCH_METHOD, {InObject(aPlane)}));
    KTMDL_CHECK_POINTER(pLineRefPlane, "pLineRefPlane");

    const IDispatchPtr(&lines)[4] = aRectangle.lines;
    const IDispatchPtr pRels = PropertyObject(aProfile, ktmdl_host::Profile::Relations2d);
    KTMDL_CHECK_POINTER(pRels, "pRels");
    Call(pRels, Relations2d::AddHorizontal, {InObject(lines[0]), True()});
    Call(pRels, Relations2d::AddHorizontal, {InObject(lines[2]), True()});
    Call(pRels, Relations2d::AddVertical, {InObject(lines[1]), True()});
    Call(pRels, Relations2d::AddVertical, {InObject(lines[3]), True()});
    alignMiddles(pRels, Relations2d::AddVerticalAlign, lines[0], pLineRefPlane);
    alignMiddles(pRels, Relations2d::AddHorizontalAlign, lines[1], pLineRefPlane);

    const ktmdl_host::DimensionsPtr pDims(
        PropertyObject(aProfile, ktmdl_host::Profile::Dimensions));
    KTMDL_CHECK_POINTER(pDims, "pDims");
    mDimPtrs[0] = addLength(pDims, lines[0]);
    KTMDL_CHECK_POINTER(mDimPtrs[0], "mDimPtrs[0]");
    mDimPtrs[1] = addLength(pDims, lines[1]);
    KTMDL_CHECK_POINTER(mDimPtrs[1], "mDimPtrs[1]");
    drive(mDimPtrs[0], mX);
    drive(mDimPtrs[1], mY);
}

ProfilePtr ktmdl_BldRectangularProfile::Profile()
{
    Compute();
    return mProfile;
}

ktmdl_host::ProfileSetPtr ktmdl_BldRectangularProfile::ProfileSet()
{
    Compute();
    return mSketchOrLayoutPtr;
}

ktmdl_host::SketchPtr ktmdl_BldRectangularProfile::Sketch()
{
    Compute();
    return mSketchOrLayoutPtr;
}

ktmdl_host::LayoutPtr ktmdl_BldRectangularProfile::Layout()
{
    Compute();
    return mSketchOrLayoutPtr;
}

DimensionPtr ktmdl_BldRectangularProfile::DimPtrI(unsigned char aSecond)
{
    Compute();
    if (mConstrain == 0 || mStatus != 0) {
        return DimensionPtr();
    }
    return mDimPtrs[aSecond != 0 ? 1 : 0];
}
