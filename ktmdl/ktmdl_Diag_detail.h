//! @file
//! The one way in which failures of the host are reported: a line in the diagnostic log where the
//! fault shows, an automation error, and a second line where a public operation ends it.

#pragma once

#include "com/Com.h"
#include "ktstd/ktstd_fail.h"

//! Reports a host object that is missing: writes its line and raises E_POINTER when the smart
//! pointer is null. The name stands in the line as it is given.
#define KTMDL_CHECK_POINTER(aPointer, aName)                                                       \
    ktmdl_detail::ComCheckPointer((aPointer).GetInterfacePtr(), (aName), __FILE__, __LINE__)

//! Reports a failing code: writes its line and raises it.
#define KTMDL_CHECK_RESULT(aCode) ktmdl_detail::ComCheckResult((aCode), __FILE__, __LINE__)

//! Reports an automation error that ends in the named operation.
#define KTMDL_REPORT_CAUGHT(aError, aFunction)                                                     \
    ktmdl_detail::ComReportCaught((aError), __FILE__, (aFunction), __LINE__)

//! Reports a kernel failure that ends in the named operation.
#define KTMDL_REPORT_FAILURE(aFailure, aFunction)                                                  \
    ktmdl_detail::ReportCaughtFailure((aFailure), __FILE__, (aFunction), __LINE__)

namespace ktmdl_detail {

// A line for which there is no memory is lost, or cut short; what it reports is not.

//! @throws _com_error  E_POINTER when the pointer is null, after the log line
void ComCheckPointer(const void* aPointer, const char* aName, const char* aFile, long aLine);

//! @param aCode        a 32-bit status, whatever the width of long
//! @throws _com_error  the code when it is failing, after the log line
void ComCheckResult(long aCode, const char* aFile, long aLine);

//! As above, with the error information that came with the code, which is taken over.
void ComCheckResult(HRESULT aCode, IErrorInfo* aInfo, const char* aFile, long aLine);

//! Writes the line of an automation error that was caught.
void ComReportCaught(const _com_error& aError, const char* aFile, const char* aFunction,
                     long aLine);

//! Writes the lines of a kernel failure that was caught and acknowledges it.
void ReportCaughtFailure(const Hnd_ktstd_fail_Failure& aFailure, const char* aFile,
                         const char* aFunction, long aLine);

} // namespace ktmdl_detail
