//! @file
//! The record that a failing call by dispatch number fills.
#pragma once

#include "com/Com.h"

namespace com {

//! Receives what a called object says of its exception, and owns its texts.
struct ExceptionInfo : EXCEPINFO
{
    ExceptionInfo() noexcept : EXCEPINFO() {}
    ExceptionInfo(const ExceptionInfo&) = delete;
    ExceptionInfo& operator=(const ExceptionInfo&) = delete;
    ~ExceptionInfo()
    {
        if (bstrSource != nullptr || bstrDescription != nullptr || bstrHelpFile != nullptr) {
            SysFreeString(bstrSource);
            SysFreeString(bstrDescription);
            SysFreeString(bstrHelpFile);
        }
    }

    //! Lets the called object fill in what it has put off. Call it once, after DISP_E_EXCEPTION.
    void complete()
    {
        if (pfnDeferredFillIn != nullptr) {
            pfnDeferredFillIn(this);
        }
    }

    //! Gives the code inside the exception. An exception that carries none, or one of success, is
    //! still a failed call: DISP_E_EXCEPTION.
    [[nodiscard]] HRESULT code() const noexcept
    {
        if (FAILED(scode)) {
            return scode;
        }
        return wCode != 0 ? _com_error::WCodeToHRESULT(wCode) : DISP_E_EXCEPTION;
    }
};

} // namespace com
