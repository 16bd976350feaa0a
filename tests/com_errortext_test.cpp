#include "com/Com.h"
#include "com/ComErrorText.h"
#include "support/Platform.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

HRESULT code(std::uint32_t bits)
{
    return static_cast<HRESULT>(bits);
}

#if defined(_WIN32)

// What the system's own table says about a code, line end and all; empty when nothing.
std::string systemMessage(HRESULT hr)
{
    char text[1024] = {};
    const DWORD length =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                       static_cast<DWORD>(hr), 0, text, sizeof text, nullptr);
    return std::string(text, length);
}

bool hasWindowsTexts()
{
    return !onWine() && PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_ENGLISH;
}

#else

bool hasWindowsTexts()
{
    return true;
}

#endif

struct Text
{
    std::uint32_t bits;
    const char* text;
};

// English Windows' own words, one or more of every family.
const Text kSystemTexts[] = {
    {0x00000000, "The operation completed successfully."},
    {0x00000001, "Incorrect function."},
    {0x00000002, "The system cannot find the file specified."},
    {0x00000005, "Access is denied."},
    {0x00000006, "The handle is invalid."},
    {0x00000020, "The process cannot access the file because it is being used by another process."},
    {0x00000057, "The parameter is incorrect."},
    {0x0000007E, "The specified module could not be found."},
    {0x000006BA, "The RPC server is unavailable."},
    {0x000006BE, "The remote procedure call failed."},
    {0x80004001, "Not implemented"},
    {0x80004002, "No such interface supported"},
    {0x80004003, "Invalid pointer"},
    {0x80004004, "Operation aborted"},
    {0x80004005, "Unspecified error"},
    {0x8000FFFF, "Catastrophic failure"},
    {0x8000000A, "The data necessary to complete this operation is not yet available."},
    {0x80010001, "Call was rejected by callee."},
    {0x80010105, "The server threw an exception."},
    {0x80010106, "Cannot change thread mode after it is set."},
    {0x80010108, "The object invoked has disconnected from its clients."},
    {0x8001010A, "The message filter indicated that the application is busy."},
    {0x8001010B, "The message filter rejected the call."},
    {0x8001010E, "The application called an interface that was marshalled for a different thread."},
    {0x8001FFFF, "An internal error occurred."},
    {0x80020003, "Member not found."},
    {0x80020004, "Parameter not found."},
    {0x80020005, "Type mismatch."},
    {0x80020006, "Unknown name."},
    {0x80020008, "Bad variable type."},
    {0x80020009, "Exception occurred."},
    {0x8002000A, "Out of present range."},
    {0x8002000B, "Invalid index."},
    {0x8002000D, "Memory is locked."},
    {0x8002000E, "Invalid number of parameters."},
    {0x8002000F, "Parameter not optional."},
    {0x8002801D, "Library not registered."},
    {0x8002802B, "Element not found."},
    {0x80029C4A, "Error loading type library/DLL."},
    {0x80030002, "%1 could not be found."},
    {0x80030005, "Access Denied."},
    {0x80040110, "Class does not support aggregation (or class object is remote)"},
    {0x80040111, "ClassFactory cannot supply requested class"},
    {0x80040154, "Class not registered"},
    {0x800401E3, "Operation unavailable"},
    {0x800401F0, "CoInitialize has not been called."},
    {0x800401F3, "Invalid class string"},
    {0x800401FD, "Object is not connected to server"},
    {0x80070002, "The system cannot find the file specified."},
    {0x80070005, "Access is denied."},
    {0x80070006, "The handle is invalid."},
    {0x8007000E, "Not enough memory resources are available to complete this operation."},
    {0x80070057, "The parameter is incorrect."},
    {0x800706BA, "The RPC server is unavailable."},
    {0x800706BE, "The remote procedure call failed."},
    {0x80080005, "Server execution failed"},
};

// Codes for which no system has a text, and what the rule makes of them.
const Text kComposedTexts[] = {
    {0x80040200, "Unknown error 0x80040200"}, {0x80040300, "IDispatch error #256"},
    {0x80047FFF, "IDispatch error #32255"},   {0x8004FFFF, "IDispatch error #65023"},
    {0x8004010F, "Unknown error 0x8004010F"}, {0x80050000, "Unknown error 0x80050000"},
    {0xA0040201, "Unknown error 0xA0040201"}, {0x7FFFFFFF, "Unknown error 0x7FFFFFFF"},
    {0x00ABCDEF, "Unknown error 0xABCDEF"},   {0x8007FFFE, "Unknown error 0x8007FFFE"},
};

} // namespace

TEST(ComErrorText, SystemTextsAreTheSystems)
{
    if (!hasWindowsTexts()) {
        GTEST_SKIP() << "this system has other words, see SystemTextLosesItsLineEndOnly";
    }
    for (const Text& one : kSystemTexts) {
        EXPECT_EQ(com::errorText(code(one.bits)), one.text) << std::hex << one.bits;
    }
}

TEST(ComErrorText, EveryFamilyIsComplete)
{
    if (!hasWindowsTexts()) {
        GTEST_SKIP() << "this system leaves out whole families";
    }
    const struct
    {
        std::uint32_t first;
        std::uint32_t last;
    } ranges[] = {
        {0x80004001, 0x80004021}, {0x80020003, 0x80020013}, {0x80010001, 0x80010012},
        {0x80010100, 0x80010114}, {0x80010117, 0x8001013D}, {0x80028027, 0x8002802F},
        {0x80028CA0, 0x80028CA3}, {0x800401F0, 0x800401FF}, {0x80040150, 0x80040156},
        {0x80040110, 0x80040112}, {0x80080001, 0x80080008}, {0x800401E0, 0x800401EF},
        {0x800706A4, 0x800706C2}, {0x800300FA, 0x80030109},
    };
    for (const auto& range : ranges) {
        for (std::uint32_t bits = range.first; bits <= range.last; ++bits) {
            const std::string text = com::errorText(code(bits));
            EXPECT_EQ(text.find("Unknown error 0x"), std::string::npos) << text;
            EXPECT_EQ(text.find("IDispatch error"), std::string::npos) << text;
            EXPECT_FALSE(text.empty());
        }
    }
}

TEST(ComErrorText, RuleComposesTheRest)
{
    for (const Text& one : kComposedTexts) {
        EXPECT_EQ(com::errorText(code(one.bits)), one.text);
    }
}

TEST(ComErrorText, FirstCodeOfTheRuleIsNumberOne)
{
#if defined(_WIN32)
    if (!systemMessage(code(0x80040201)).empty()) {
        GTEST_SKIP() << "this system has a text for 0x80040201";
    }
#endif
    EXPECT_EQ(com::errorText(code(0x80040201)), "IDispatch error #1");
}

TEST(ComErrorText, PlaceholdersStay)
{
    const std::string text = com::errorText(code(317));
#if defined(_WIN32)
    EXPECT_NE(text.find("%1"), std::string::npos) << text;
#else
    EXPECT_EQ(text, "The system cannot find message text for message number 0x%1 in the message "
                    "file for %2.");
#endif
}

TEST(ComErrorText, WrappedErrorsReadAsTheirNumber)
{
    for (std::uint32_t number = 1; number <= 2000; ++number) {
        const std::string bare = com::errorText(code(number));
        const std::string wrapped = com::errorText(code(0x80070000 | number));
        if (bare.rfind("Unknown error", 0) == 0) {
            char expected[40];
            std::snprintf(expected, sizeof expected, "Unknown error 0x8007%04X", number);
            EXPECT_EQ(wrapped, expected);
        } else {
            EXPECT_EQ(wrapped, bare) << number;
        }
    }
}

TEST(ComErrorText, NoTextEndsALine)
{
    for (std::uint32_t number = 0; number <= 2000; ++number) {
        const std::string text = com::errorText(code(number));
        ASSERT_FALSE(text.empty()) << number;
        EXPECT_NE(text.back(), '\n') << number;
        EXPECT_NE(text.back(), '\r') << number;
    }
}

#if defined(_WIN32)

TEST(ComErrorText, SystemTextLosesItsLineEndOnly)
{
    // Which texts there are is this system's affair: Wine 8 has the bare Win32 errors, in words
    // of its own, and none of the families above 0x80000000; Windows has all of them.
    int found = 0;
    for (const Text& one : kSystemTexts) {
        const std::string message = systemMessage(code(one.bits));
        const std::string text = com::errorText(code(one.bits));
        if (message.empty()) {
            char expected[40];
            std::snprintf(expected, sizeof expected, "Unknown error 0x%X",
                          static_cast<unsigned int>(one.bits));
            EXPECT_EQ(text, expected);
        } else {
            ++found;
            EXPECT_EQ(message, text + "\r\n");
        }
    }
    EXPECT_GT(found, 0);
}

#endif
