//! @file
//! Sends the diagnostic log to a file of its own for one test, and compares its lines.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

//! The log of one test: empty and with a fresh stream's formatting at the start.
class LogCapture
{
public:
    LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    //! Gives what reached the file so far. Nothing is flushed for it: lines must be on disk
    //! already.
    [[nodiscard]] std::string Text() const;
    //! Gives the lines that reached the file since the last Forget.
    [[nodiscard]] std::vector<std::string> Lines() const;
    //! Leaves the lines so far out of Lines.
    void Forget();

private:
    std::string mPath;
    std::size_t mForgotten{0};
};

//! A line of the log with its place taken out.
struct LogPlace
{
    std::string file; //!< as printed, empty when the line has not the form asked for
    long line{0};
};

//! Compares a line with a form to the letter. In the form, <file:NAME> stands for a path that ends
//! in NAME behind a separator, and <line> for a decimal number above 0.
testing::AssertionResult isLine(const std::string& aLine, const std::string& aForm,
                                LogPlace* aPlace = nullptr);

//! Compares all lines, one form each.
void expectLines(const std::vector<std::string>& aLines, const std::vector<std::string>& aForms);
void expectLines(const LogCapture& aLog, const std::vector<std::string>& aForms);

//! Forms of the lines, of the class whose source is named. A code's text is that of the platform.
std::string nullPointerForm(const std::string& aSource, const std::string& aVariable);
std::string failedCallForm(const std::string& aSource, long aCode);
std::string caughtForm(const std::string& aSource, const std::string& aFunction, long aCode);
