#include "ktmdl/ktmdl_BldReference.h"

#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktstd/ktstd_ComTools.h"

using ktmdl_detail::FetchObject;
using ktmdl_detail::GetBool;
using ktmdl_detail::GetLong;
using ktmdl_detail::InObject;
using ktmdl_detail::IsSameComObject;
using ktmdl_detail::ItemOf;
using ktmdl_detail::PropertyObject;
using ktmdl_host::AssemblyDocumentPtr;

namespace {

//! Assemblies nested deeper than this are refused, so that a host that shows an assembly inside
//! itself does not exhaust the stack.
constexpr long kDeepest = 256;

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
    if (mStatus != -2 || mAssembly == nullptr) {
        return mStatus;
    }
    try {
        if (PropertyObject(mAssembly, ktmdl_host::AssemblyDocument::Occurrences) == nullptr) {
            return mStatus;
        }
    } catch (const _com_error& error) {
        return failed(error, __LINE__);
    }
    CreateRef(IDispatchPtr(mAssembly.GetInterfacePtr()), mReference, 1);
    if (mReference != nullptr) {
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
//! @param aDepth   1 for the top assembly
//! @return         the builder's status
long ktmdl_BldReference::CreateRef(const IDispatchPtr& aParent, IDispatchPtr& aResult, long aDepth)
{
    try {
        KTMDL_CHECK_RESULT(aDepth > kDeepest ? E_UNEXPECTED : S_OK);
        LONG type = 0;
        KTMDL_CHECK_RESULT(ComGetProperty(aParent, L"Type", VT_I4, &type));
        if (type != ktmdl_host::igAssemblyDocument && type != ktmdl_host::igSubAssembly) {
            mStatus = 1;
            return mStatus;
        }
        const AssemblyDocumentPtr pAsmDoc = assemblyOf(aParent, type);
        KTMDL_CHECK_POINTER(pAsmDoc, "pAsmDoc");

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
                    // for. Pinned by ATargetMetAboveItsLevelCountsTheLevelDown.
                    --mLevel;
                    continue;
                }
                mStatus = 0;
                if (mObject == nullptr && aDepth == 1) {
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
                mStatus = CreateRef(pOccurrence, pInnerRef, aDepth + 1);
                if (mStatus == 0) {
                    break;
                }
            }
        }
        if (aResult != nullptr || mStatus != 0) {
            return mStatus;
        }

        if (pInnerRef != nullptr) {
            aResult = createReference(pAsmDoc, pWayDown, pInnerRef);
        } else if (mObject == nullptr) {
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
