#include "ktmdl/ktmdl_BldReference.h"

#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktmdl/ktmdl_Nesting_detail.h"
#include "ktstd/ktstd_ComTools.h"

using ktmdl_detail::FetchObject;
using ktmdl_detail::GetBool;
using ktmdl_detail::GetLong;
using ktmdl_detail::InObject;
using ktmdl_detail::IsNull;
using ktmdl_detail::IsSameComObject;
using ktmdl_detail::ItemOf;
using ktmdl_detail::Nesting;
using ktmdl_detail::PropertyObject;
using ktmdl_host::AssemblyDocumentPtr;

namespace {

//! Gives the assembly document that a parent is or stands for.
//! @param aType  the parent's type: assembly document or subassembly
AssemblyDocumentPtr assemblyOf(const IDispatchPtr& aParent, LONG aType)
{
    if (aType == ktmdl_host::igAssemblyDocument) {
        return AssemblyDocumentPtr(aParent);
    }
    const ktmdl_host::OccurrencePtr pOcc(aParent);
    KTMDL_CHECK_POINTER(pOcc, "pOcc");
    return AssemblyDocumentPtr(PropertyObject(pOcc, ktmdl_host::Occurrence::OccurrenceDocument));
}

//! Lets an assembly make a reference to an object inside one of its occurrences.
IDispatchPtr createReference(IDispatch* aAssembly, IDispatch* aOccurrence, IDispatch* aObject)
{
    return FetchObject(aAssembly, ktmdl_host::AssemblyDocument::CreateReference, DISPATCH_METHOD,
                       {InObject(aOccurrence), InObject(aObject)});
}

} // namespace

ktmdl_BldReference::ktmdl_BldReference(const AssemblyDocumentPtr& aAssembly,
                                       const ktmdl_host::OccurrencePtr& aOccurrence,
                                       const IDispatchPtr& aObject, long aLevel)
    : mAssembly(aAssembly),
      mOccurrence(aOccurrence),
      mObject(aObject),
      mLevel(aLevel)
{}

ktmdl_BldReference::~ktmdl_BldReference() = default;

long ktmdl_BldReference::Compute()
{
    if (mStatus != -2 || IsNull(mAssembly)) {
        return mStatus;
    }
    try {
        if (IsNull(PropertyObject(mAssembly, ktmdl_host::AssemblyDocument::Occurrences))) {
            return mStatus;
        }
    } catch (const _com_error& error) {
        return failed(error, __LINE__);
    }
    CreateRef(IDispatchPtr(mAssembly.GetInterfacePtr()), mReference, nullptr);
    if (!IsNull(mReference)) {
        mStatus = 0;
    }
    return mStatus;
}

const IDispatchPtr& ktmdl_BldReference::Reference()
{
    Compute();
    return mReference;
}

//! Walks an assembly for the target and makes the reference that this assembly owns.
//! @param aParent  the assembly document, or a subassembly occurrence
//! @param aResult  receives the reference; untouched when there is none
//! @param aAround  the assembly that shows the parent; null for the top
//! @return         the builder's status
long ktmdl_BldReference::CreateRef(const IDispatchPtr& aParent, IDispatchPtr& aResult,
                                   const Nesting* aAround)
{
    try {
        LONG type = 0;
        KTMDL_CHECK_RESULT(ComGetProperty(aParent, L"Type", VT_I4, &type));
        if (type != ktmdl_host::igAssemblyDocument && type != ktmdl_host::igSubAssembly) {
            mStatus = 1;
            return mStatus;
        }
        const AssemblyDocumentPtr pAsmDoc = assemblyOf(aParent, type);
        KTMDL_CHECK_POINTER(pAsmDoc, "pAsmDoc");
        const Nesting nesting(aAround, pAsmDoc);

        IDispatchPtr pWayDown; // the subassembly entered last
        IDispatchPtr pInnerRef;
        const IDispatchPtr pOccurrences =
            PropertyObject(pAsmDoc, ktmdl_host::AssemblyDocument::Occurrences);
        KTMDL_CHECK_POINTER(pOccurrences, "pOccurrences");
        const LONG count = GetLong(pOccurrences, ktmdl_host::Occurrences::Count);
        for (LONG i = 1; i <= count; ++i) {
            const IDispatchPtr pOccurrence = ItemOf(pOccurrences, i);
            KTMDL_CHECK_POINTER(pOccurrence, "pOccurrence");
            if (isTarget(pOccurrence)) {
                if (mLevel != 1) {
                    // On purpose: the walk goes on, to meet the target again at the level asked
                    // for. Pinned by LevelIsLoweredAtEachPlaceOfTheTarget.
                    if (mLevel > 1) {
                        --mLevel;
                    }
                    continue;
                }
                mStatus = 0;
                if (IsNull(mObject) && nesting.Depth() == 1) {
                    aResult = pOccurrence;
                    return mStatus;
                }
                const IDispatchPtr createdRef = createReference(pAsmDoc, pOccurrence, mObject);
                KTMDL_CHECK_POINTER(createdRef, "createdRef");
                aResult = createdRef;
                break;
            }
            if (GetBool(pOccurrence, ktmdl_host::Occurrence::Subassembly) != VARIANT_FALSE) {
                pWayDown = pOccurrence;
                pInnerRef = nullptr;
                mStatus = CreateRef(pOccurrence, pInnerRef, &nesting);
                if (mStatus == 0) {
                    break;
                }
            }
        }
        if (!IsNull(aResult) || mStatus != 0) {
            return mStatus;
        }

        if (!IsNull(pInnerRef)) {
            aResult = createReference(pAsmDoc, pWayDown, pInnerRef);
        } else if (IsNull(mObject)) {
            // On purpose: stands although a walk that found the target has made a reference; no
            // result shows it.
            aResult = createReference(pAsmDoc, pWayDown, mOccurrence);
        }
        KTMDL_CHECK_POINTER(aResult, "aRetRef");
        return mStatus;
    } catch (const _com_error& error) {
        return failed(error, __LINE__);
    }
}

bool ktmdl_BldReference::isTarget(const IDispatchPtr& aOccurrence) const
{
    IDispatch* const pTarget = mOccurrence.GetInterfacePtr();
    return pTarget != nullptr && (aOccurrence.GetInterfacePtr() == pTarget ||
                                  IsSameComObject(aOccurrence, IDispatchPtr(pTarget)));
}

//! Reports an automation error that ends here.
//! @return  the status
long ktmdl_BldReference::failed(const _com_error& aError, long aLine)
{
    ktmdl_detail::ComReportCaught(aError, __FILE__, "ktmdl_BldReference::CreateRef", aLine);
    if (mStatus <= 0) {
        mStatus = 1;
    }
    return mStatus;
}
