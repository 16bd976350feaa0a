#include "ktmdl/ktmdl_Diag_detail.h"

#include "com/ComErrorText.h"
#include "ktstd/ktstd_Debug.h"

#include <cstdint>
#include <fstream>
#include <iomanip>
#include <locale>
#include <new>
#include <sstream>
#include <string>

namespace ktmdl_detail {
namespace {

//! Composes a line with default formatting, so that the state of the log stream does not matter.
class Line
{
public:
    Line() { mText.imbue(std::locale::classic()); }

    template <class T>
    Line& operator<<(const T& aValue)
    {
        mText << aValue;
        return *this;
    }
    //! Adds a code in lower-case hexadecimal.
    Line& hex(HRESULT aCode, int aDigits)
    {
        mText << std::hex << std::setfill('0') << std::setw(aDigits)
              << static_cast<std::uint32_t>(aCode) << std::dec;
        return *this;
    }
    [[nodiscard]] std::string text() const { return mText.str(); }

private:
    std::ostringstream mText;
};

//! Ends a line of the log; the formatting state of the stream stays as it is.
void writeLine(const Line& aLine)
{
    std::fstream& log = ktstd_Debug::LogPrint();
    const std::string text = aLine.text();
    log.width(0);
    log.write(text.data(), static_cast<std::streamsize>(text.size()));
    log.put('\n');
    log.flush();
}

//! Composes a line and writes it. What there is no memory for is lost: a log must not put another
//! error in the place of the one that it tells.
template <class Compose>
void write(Compose aCompose)
{
    try {
        Line line;
        aCompose(line);
        writeLine(line);
    } catch (const std::bad_alloc&) {
        ktstd_Debug::LogPrint().width(0);
    }
}

} // namespace

void ComCheckPointer(const void* aPointer, const char* aName, const char* aFile, long aLine)
{
    if (aPointer != nullptr) {
        return;
    }
    write([&](Line& line) {
        line << "COM ERROR: pointer " << aName << " is NULL (File: " << aFile << ", Line: " << aLine
             << ")";
    });
    _com_issue_error(E_POINTER);
}

void ComCheckResult(long aCode, const char* aFile, long aLine)
{
    ComCheckResult(static_cast<HRESULT>(aCode), nullptr, aFile, aLine);
}

void ComCheckResult(HRESULT aCode, IErrorInfo* aInfo, const char* aFile, long aLine)
{
    const _com_error error(aCode, aInfo);
    if (SUCCEEDED(aCode)) {
        return;
    }
    write([&](Line& line) {
        line << "COM ERROR: " << com::errorText(aCode) << ", hr=0x";
        line.hex(aCode, 8) << " (File: " << aFile << ", Line: " << aLine << ")";
    });
    // On purpose: this line leaves the log with fill character '0' and decimal numbers; readers of
    // the log know it so. Pinned by FailedCallLineLeavesZeroFillAndDecimalBase.
    std::fstream& log = ktstd_Debug::LogPrint();
    log.fill('0');
    log.setf(std::ios_base::dec, std::ios_base::basefield);
    throw _com_error(error);
}

void ComReportCaught(const _com_error& aError, const char* aFile, const char* aFunction, long aLine)
{
    write([&](Line& line) {
        line << "COM ERROR caught in " << aFile << "{" << aFunction << "} (" << aLine
             << "): " << com::errorText(aError.Error()) << " (hr=";
        line.hex(aError.Error(), 0) << ")";
    });
    ktstd_Debug::LogPrint().setf(std::ios_base::dec, std::ios_base::basefield);
}

void ReportCaughtFailure(const Hnd_ktstd_fail_Failure& aFailure, const char* aFile,
                         const char* aFunction, long aLine)
{
    // On purpose: no blank behind the colon, unlike the line of an automation error. Pinned by
    // CaughtFailureWritesTwoLinesAndAcknowledges.
    write([&](Line& line) {
        line << "EXCEPTION caught in " << aFile << "{" << aFunction << "} (" << aLine << "):";
    });
    write([&](Line& line) { line << aFailure; });
    aFailure->Caught();
}

} // namespace ktmdl_detail
