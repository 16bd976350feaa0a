//! @file
//! The way down into nested assemblies.
#pragma once

#include "com/Com.h"
#include "ktmdl/ktmdl_HostCall_detail.h"

namespace ktmdl_detail {

//! One assembly that a walk is inside of, linked to the one around it. Refuses what no assembly can
//! be, so that a host in disorder neither exhausts the stack nor keeps a walk going for ever.
class Nesting
{
public:
    //! Assemblies nested deeper than this are refused.
    static constexpr int kDeepest = 256;

    //! @param aOuter  the assembly around this one; null for the top. Borrowed while this lives.
    //! @throws _com_error  E_UNEXPECTED: the document stands inside itself or too deep
    Nesting(const Nesting* aOuter, IDispatch* aDocument)
        : mOuter(aOuter),
          mIdentity(IDispatchPtr(aDocument)),
          mDepth(aOuter != nullptr ? aOuter->mDepth + 1 : 1)
    {
        bool isRefused = mDepth > kDeepest;
        for (const Nesting* each = mOuter; each != nullptr && !isRefused; each = each->mOuter) {
            isRefused = !IsNull(mIdentity) &&
                        each->mIdentity.GetInterfacePtr() == mIdentity.GetInterfacePtr();
        }
        if (isRefused) {
            _com_issue_error(E_UNEXPECTED);
        }
    }

    //! Gives 1 for the top assembly, 2 for one directly inside it, and so on.
    [[nodiscard]] int Depth() const noexcept { return mDepth; }

private:
    const Nesting* mOuter;
    IUnknownPtr mIdentity;
    int mDepth;
};

} // namespace ktmdl_detail
