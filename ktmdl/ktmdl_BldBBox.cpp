#include "ktmdl/ktmdl_BldBBox.h"

#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktstd/ktstd_ComTools.h"

using ktmdl_detail::Call;
using ktmdl_detail::GetBool;
using ktmdl_detail::GetLong;
using ktmdl_detail::HostArray;
using ktmdl_detail::ItemOf;
using ktmdl_detail::PropertyObject;

namespace {

//! Assemblies nested deeper than this are refused, so that a host that shows an assembly inside
//! itself does not exhaust the stack.
constexpr int kDeepest = 256;

//! Gives the body of a model or of a construction.
IDispatchPtr bodyOf(IDispatch* aModel)
{
    IDispatchPtr pBody = PropertyObject(aModel, ktmdl_host::Model::Body);
    KTMDL_CHECK_POINTER(pBody, "pBody");
    return pBody;
}

ktmdl_BBox3d rangeOf(IDispatch* aBody)
{
    HostArray low(VT_R8);
    HostArray high(VT_R8);
    Call(aBody, ktmdl_host::Body::GetExactRange, {low.ByRef(), high.ByRef()});
    double min[3];
    double max[3];
    KTMDL_CHECK_RESULT(GetValuesFromSafeArray(low.Get(), 3, min));
    KTMDL_CHECK_RESULT(GetValuesFromSafeArray(high.Get(), 3, max));
    return {ktmdl_Pnt3d(min), ktmdl_Pnt3d(max)};
}

//! Tells whether a construction holds a copy of another part's geometry.
bool isInterpartCopy(IDispatch* aConstruction)
{
    const IDispatchPtr pConstrModelFeats =
        PropertyObject(aConstruction, ktmdl_host::Model::Features);
    KTMDL_CHECK_POINTER(pConstrModelFeats, "pConstrModelFeats");
    const LONG count = GetLong(pConstrModelFeats, ktmdl_host::Constructions::Count);
    for (LONG i = 1; i <= count; ++i) {
        const IDispatchPtr pFeature = ItemOf(pConstrModelFeats, i);
        KTMDL_CHECK_POINTER(pFeature, "pFeature");
        if (ktmdl_host::InterpartConstructionPtr(pFeature) != nullptr) {
            return true;
        }
    }
    return false;
}

//! Adds the construction bodies of a part.
void addConstructions(IDispatch* aPartDocument, ktmdl_BBox3d& aBox)
{
    const IDispatchPtr pConstructions =
        PropertyObject(aPartDocument, ktmdl_host::PartDocument::Constructions);
    KTMDL_CHECK_POINTER(pConstructions, "pConstructions");
    const LONG count = GetLong(pConstructions, ktmdl_host::Constructions::Count);
    for (LONG i = 1; i <= count; ++i) {
        const IDispatchPtr pConstruction = ItemOf(pConstructions, i);
        KTMDL_CHECK_POINTER(pConstruction, "pConstruction");
        if (isInterpartCopy(pConstruction)) {
            continue;
        }
        const IDispatchPtr pBody = bodyOf(pConstruction);
        if (GetBool(pBody, ktmdl_host::Body::IsSolid) != VARIANT_FALSE) {
            aBox.Add(rangeOf(pBody));
        }
    }
}

} // namespace

ktmdl_BldBBox::ktmdl_BldBBox(const IDispatchPtr& aObject, unsigned char aIncludeConstructions)
    : mObject(aObject),
      mIncludeConstructions(aIncludeConstructions)
{}

ktmdl_BldBBox::~ktmdl_BldBBox() = default;

long ktmdl_BldBBox::Compute()
{
    if (mStatus != -2 || mObject == nullptr) {
        return mStatus;
    }
    mStatus = 0;
    if (FAILED(computeBBox(mObject, mBBox, 1))) {
        mStatus = 1;
    }
    return mStatus;
}

//! Measures an object.
//! @param aBox    replaced, or after a failure left as far as it came
//! @param aDepth  1 for the builder's own object, one more for each assembly around this one
//! @return        S_OK, or the code of the error, which is logged; E_FAIL, not logged, for an
//!                object that can't be measured
HRESULT ktmdl_BldBBox::computeBBox(const IDispatchPtr& aObject, ktmdl_BBox3d& aBox, int aDepth)
{
    try {
        KTMDL_CHECK_POINTER(aObject, "aIDP");
        KTMDL_CHECK_RESULT(aDepth > kDeepest ? E_UNEXPECTED : S_OK);
        LONG type = 0;
        KTMDL_CHECK_RESULT(ComGetProperty(aObject, L"Type", VT_I4, &type));
        switch (type) {
        case ktmdl_host::igPartDocument:
            measurePart(aObject, aBox);
            return S_OK;
        case ktmdl_host::igAssemblyDocument:
            measureAssembly(aObject, aBox, aDepth);
            return S_OK;
        case ktmdl_host::igDerivedCurveObject:
        case ktmdl_host::igInterpartConstructionObject:
        case ktmdl_host::igStitchSurfaceObject: {
            const ktmdl_host::ConstructionModelPtr pModel(ComGetParent(aObject));
            KTMDL_CHECK_POINTER(pModel, "pModel");
            aBox = rangeOf(bodyOf(pModel));
            return S_OK;
        }
        default:
            return E_FAIL;
        }
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl_BldBBox::ComputeBBox");
        return error.Error();
    }
}

void ktmdl_BldBBox::measurePart(const IDispatchPtr& aObject, ktmdl_BBox3d& aBox) const
{
    const ktmdl_host::PartDocumentPtr pPartDoc(aObject);
    KTMDL_CHECK_POINTER(pPartDoc, "pPartDoc");
    const IDispatchPtr pModels = PropertyObject(pPartDoc, ktmdl_host::PartDocument::Models);
    KTMDL_CHECK_POINTER(pModels, "pModels");
    const IDispatchPtr pModel = ItemOf(pModels, 1);
    KTMDL_CHECK_POINTER(pModel, "pModel");
    aBox = rangeOf(bodyOf(pModel));
    if (mIncludeConstructions != 0) {
        addConstructions(pPartDoc, aBox);
    }
}

void ktmdl_BldBBox::measureAssembly(const IDispatchPtr& aObject, ktmdl_BBox3d& aBox, int aDepth)
{
    const ktmdl_host::AssemblyDocumentPtr pAsmDoc(aObject);
    KTMDL_CHECK_POINTER(pAsmDoc, "pAsmDoc");
    const IDispatchPtr pOccs = PropertyObject(pAsmDoc, ktmdl_host::AssemblyDocument::Occurrences);
    KTMDL_CHECK_POINTER(pOccs, "pOccs");
    const LONG count = GetLong(pOccs, ktmdl_host::Occurrences::Count);
    for (LONG i = 1; i <= count; ++i) {
        const IDispatchPtr pOccurrence = ItemOf(pOccs, i);
        KTMDL_CHECK_POINTER(pOccurrence, "pOccurrence");
        // On purpose: the box is taken in the document's own coordinates, wherever the occurrence
        // is placed. Pinned by AnAssemblyIgnoresPlacements.
        ktmdl_BBox3d box;
        if (FAILED(
                computeBBox(PropertyObject(pOccurrence, ktmdl_host::Occurrence::OccurrenceDocument),
                            box, aDepth + 1))) {
            continue;
        }
        // On purpose: only the first occurrence starts the box; when it fails, the second is added
        // to the box as it stood. Pinned by AfterAFailedFirstOccurrenceTheBoxStartsAtTheOrigin.
        if (i == 1) {
            aBox = box;
        } else {
            aBox.Add(box);
        }
    }
}
