#include "support/LogCapture.h"

#include "com/Com.h"
#include "ktstd/ktstd_Debug.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <ios>
#include <sstream>

namespace {

std::string newPath()
{
    static long sCount = 0;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    const std::string name =
        "ktmdl_test_" + std::to_string(now) + "_" + std::to_string(++sCount) + ".log";
    return (std::filesystem::temp_directory_path() / name).u8string();
}

} // namespace

LogCapture::LogCapture() : mPath(newPath())
{
    ktstd_Debug::SetLogPath(mPath.c_str());
    std::ios fresh(nullptr);
    ktstd_Debug::LogPrint().copyfmt(fresh);
}

LogCapture::~LogCapture()
{
    ktstd_Debug::LogPrint().copyfmt(std::ios(nullptr));
    ktstd_Debug::SetLogPath(nullptr);
    std::error_code ignored;
    std::filesystem::remove(std::filesystem::u8path(mPath), ignored);
}

std::string LogCapture::Text() const
{
    std::ifstream file(std::filesystem::u8path(mPath), std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::vector<std::string> LogCapture::Lines() const
{
    std::vector<std::string> lines;
    std::istringstream text(Text().substr(mForgotten));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

void LogCapture::Forget()
{
    mForgotten = Text().size();
}

namespace {

bool isSeparator(char aChar)
{
    return aChar == '/' || aChar == '\\';
}

//! Takes a path that ends in a name off the front of a text; the shortest one counts.
bool takeFile(std::string& aText, const std::string& aName, LogPlace& aPlace)
{
    const std::size_t found = aText.find(aName);
    if (found == std::string::npos || found == 0 || !isSeparator(aText[found - 1])) {
        return false;
    }
    aPlace.file = aText.substr(0, found + aName.size());
    aText.erase(0, found + aName.size());
    return true;
}

bool takeNumber(std::string& aText, LogPlace& aPlace)
{
    std::size_t digits = 0;
    while (digits < aText.size() && aText[digits] >= '0' && aText[digits] <= '9') {
        ++digits;
    }
    if (digits == 0 || digits > 7 || aText[0] == '0') {
        return false;
    }
    aPlace.line = std::stol(aText.substr(0, digits));
    aText.erase(0, digits);
    return aPlace.line > 0;
}

} // namespace

testing::AssertionResult isLine(const std::string& aLine, const std::string& aForm,
                                LogPlace* aPlace)
{
    const testing::AssertionResult failure = testing::AssertionFailure()
                                             << "found  " << aLine << "\nwanted " << aForm;
    LogPlace place;
    std::string text = aLine;
    std::string form = aForm;
    while (!form.empty()) {
        if (form.rfind("<file:", 0) == 0) {
            const std::size_t end = form.find('>');
            if (!takeFile(text, form.substr(6, end - 6), place)) {
                return failure;
            }
            form.erase(0, end + 1);
        } else if (form.rfind("<line>", 0) == 0) {
            if (!takeNumber(text, place)) {
                return failure;
            }
            form.erase(0, 6);
        } else if (!text.empty() && text[0] == form[0]) {
            text.erase(0, 1);
            form.erase(0, 1);
        } else {
            return failure;
        }
    }
    if (!text.empty()) {
        return failure;
    }
    if (aPlace != nullptr) {
        *aPlace = place;
    }
    return testing::AssertionSuccess();
}

void expectLines(const std::vector<std::string>& aLines, const std::vector<std::string>& aForms)
{
    for (std::size_t i = 0; i < aLines.size() && i < aForms.size(); ++i) {
        EXPECT_TRUE(isLine(aLines[i], aForms[i])) << "line " << i + 1;
    }
    for (std::size_t i = aForms.size(); i < aLines.size(); ++i) {
        ADD_FAILURE() << "one line too many: " << aLines[i];
    }
    for (std::size_t i = aLines.size(); i < aForms.size(); ++i) {
        ADD_FAILURE() << "line missing: " << aForms[i];
    }
}

void expectLines(const LogCapture& aLog, const std::vector<std::string>& aForms)
{
    expectLines(aLog.Lines(), aForms);
}

namespace {

std::string messageOf(long aCode)
{
    return _com_error(static_cast<HRESULT>(aCode)).ErrorMessage();
}

std::string hexOf(long aCode, int aDigits)
{
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%0*x", aDigits, static_cast<unsigned int>(aCode));
    return buffer;
}

} // namespace

std::string nullPointerForm(const std::string& aSource, const std::string& aVariable)
{
    return "COM ERROR: pointer " + aVariable + " is NULL (File: <file:" + aSource +
           ">, Line: <line>)";
}

std::string failedCallForm(const std::string& aSource, long aCode)
{
    return "COM ERROR: " + messageOf(aCode) + ", hr=0x" + hexOf(aCode, 8) +
           " (File: <file:" + aSource + ">, Line: <line>)";
}

std::string caughtForm(const std::string& aSource, const std::string& aFunction, long aCode)
{
    return "COM ERROR caught in <file:" + aSource + ">{" + aFunction +
           "} (<line>): " + messageOf(aCode) + " (hr=" + hexOf(aCode, 1) + ")";
}
