//! @file
//! Makes an assembly-level reference to an occurrence or to an object inside it.
#pragma once

#include "com/Com.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Host.h"

namespace ktmdl_detail {
class Nesting;
} // namespace ktmdl_detail

//! Finds an occurrence in an assembly, at any depth, and makes the host's reference object for it,
//! or for a face, edge or body inside it, as seen from the top assembly: one reference per level,
//! each around the one before.
//!
//! A direct child without an object needs no reference: the result is the occurrence itself.
//! Deeper, the innermost reference is asked for with no object. The builder works once, but for a
//! target that was not found: then the next Compute walks again, with the level as the last walk
//! left it. Assemblies are followed 256 levels deep.
class KTMDL_EXPORT ktmdl_BldReference
{
public:
    //! @param aAssembly    top assembly; null: Compute does nothing
    //! @param aOccurrence  the occurrence to find; null: it is never found
    //! @param aObject      what to refer to inside the occurrence; null: the occurrence itself
    //! @param aLevel       the level of the occurrence: 1 for a child of the top assembly. What it
    //!                     does: with 1 the first place where the walk meets the occurrence counts;
    //!                     above 1 a meeting lowers the level by 1 and is passed over. So an
    //!                     occurrence that stands in one place only is found by the n-th Compute,
    //!                     or by the first one when 1 is given; below 1 it is never found.
    ktmdl_BldReference(const ktmdl_host::AssemblyDocumentPtr& aAssembly,
                       const ktmdl_host::OccurrencePtr& aOccurrence, const IDispatchPtr& aObject,
                       long aLevel);
    ktmdl_BldReference(const ktmdl_BldReference&) = delete;
    ktmdl_BldReference& operator=(const ktmdl_BldReference&) = delete;
    virtual ~ktmdl_BldReference();

    //! Walks and makes the reference while the status is -2; later calls only give the status.
    //! Automation errors are logged; none leaves. Others, such as std::bad_alloc, do.
    //! @return  the status, see Status
    long Compute();

    //! Runs Compute and gives the reference, null when there is none.
    const IDispatchPtr& Reference();
    //! Gives -2 before Compute, and when the target was not found, the assembly is null or shows
    //! no occurrences; 0 after success; 1 when the host failed, or when what should be an assembly
    //! is of another kind (not logged).
    [[nodiscard]] long Status() const noexcept { return mStatus; }

private:
    long CreateRef(const IDispatchPtr& aParent, IDispatchPtr& aResult,
                   const ktmdl_detail::Nesting* aAround);
    [[nodiscard]] bool isTarget(const IDispatchPtr& aOccurrence) const;
    long failed(const _com_error& aError, long aLine);

    ktmdl_host::AssemblyDocumentPtr mAssembly;
    ktmdl_host::OccurrencePtr mOccurrence;
    IDispatchPtr mObject;
    IDispatchPtr mReference;
    long mLevel;
    long mStatus{-2};
};
