//! @file
//! Makes an assembly-level reference to an occurrence or to an object inside it.
#pragma once

#include "com/Com.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_Host.h"

//! Finds an occurrence in an assembly, at any depth, and makes the host's reference object for it,
//! or for a face, edge or body inside it, as seen from the top assembly: one reference per level,
//! each around the one before.
//!
//! A direct child without an object needs no reference: the result is the occurrence itself. The
//! builder works once, but for a target that was not found: then the next Compute walks again.
class KTMDL_EXPORT ktmdl_BldReference
{
public:
    //! @param aAssembly    top assembly; null: Compute does nothing
    //! @param aOccurrence  the occurrence to find
    //! @param aObject      what to refer to inside the occurrence; null: the occurrence itself
    //! @param aLevel       how deep the occurrence stands: 1 for a child of the top assembly. Each
    //!                     time the walk meets the occurrence at a higher level than asked for, it
    //!                     counts this down.
    ktmdl_BldReference(const ktmdl_host::AssemblyDocumentPtr& aAssembly,
                       const ktmdl_host::OccurrencePtr& aOccurrence, const IDispatchPtr& aObject,
                       long aLevel);
    ktmdl_BldReference(const ktmdl_BldReference&) = delete;
    ktmdl_BldReference& operator=(const ktmdl_BldReference&) = delete;
    virtual ~ktmdl_BldReference();

    //! Makes the reference on the first call; later calls only give the status. Automation errors
    //! are logged; none leaves.
    //! @return  the status, see Status
    long Compute();

    //! Runs Compute and gives the reference, null when there is none.
    const IDispatchPtr& Reference();
    //! Gives -2 before Compute, and when the target was not found or the assembly shows no
    //! occurrences; 0 after success; 1 when the host failed.
    [[nodiscard]] long Status() const noexcept { return mStatus; }

private:
    long CreateRef(const IDispatchPtr& aParent, IDispatchPtr& aResult, long aDepth);
    [[nodiscard]] bool isTarget(const IDispatchPtr& aOccurrence) const;
    long failed(const _com_error& aError, long aLine);

    ktmdl_host::AssemblyDocumentPtr mAssembly;
    ktmdl_host::OccurrencePtr mOccurrence;
    IDispatchPtr mObject;
    IDispatchPtr mReference;
    long mLevel;
    long mStatus{-2};
};
