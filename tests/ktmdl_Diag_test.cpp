#include "com/Com.h"
#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_Debug.h"
#include "support/FakeDispatch.h"
#include "support/LogCapture.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <fstream>
#include <ios>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr long kBusy = static_cast<long>(static_cast<HRESULT>(0x8001010Au));

//! A code with its sign, as a long holds it.
long signedCode(unsigned int aBits)
{
    return static_cast<HRESULT>(aBits);
}

//! The text that the platform has for a code, through a line of the log.
std::string caughtMessage(unsigned int aBits)
{
    const LogCapture log;
    ktmdl_detail::ComReportCaught(_com_error(static_cast<HRESULT>(aBits)), "/src/a.cpp", "f", 7);
    const std::vector<std::string> lines = log.Lines();
    if (lines.size() != 1) {
        return std::to_string(lines.size()) + " lines";
    }
    const std::string head = "COM ERROR caught in /src/a.cpp{f} (7): ";
    const std::size_t tail = lines[0].rfind(" (hr=");
    return lines[0].rfind(head, 0) == 0 && tail != std::string::npos
               ? lines[0].substr(head.size(), tail - head.size())
               : lines[0];
}

//! Sets every formatting state that could spoil a line.
void disturb(std::ostream& aStream)
{
    aStream << std::hex << std::showbase << std::uppercase << std::showpos << std::left;
    aStream.fill('*');
    aStream.precision(3);
}

//! The flags that disturb leaves, less the base.
std::ios::fmtflags flagsButBase(const std::ostream& aStream)
{
    return aStream.flags() & ~std::ios::basefield;
}

Hnd_ktmdl_Topo edgeOn(fake::Object& aObject)
{
    Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->tplType = 2;
    topo->mDispTopo = aObject.Ptr();
    return topo;
}

//! A failure that reads the log while it is acknowledged.
class WatchingFailure : public ktstd_fail_Failure
{
public:
    WatchingFailure(const LogCapture& aLog, std::vector<std::string>& aSeen)
        : ktstd_fail_Failure("watched"),
          mLog(&aLog),
          mSeen(&aSeen)
    {}
    void Caught() override
    {
        ++mCount;
        *mSeen = mLog->Lines();
        ktstd_fail_Failure::Caught();
    }

    int mCount{0};

private:
    const LogCapture* mLog;
    std::vector<std::string>* mSeen;
};

} // namespace

TEST(ktmdl_Diag, MissingObjectWritesItsLineAndRaisesPointer)
{
    const LogCapture log;
    const IDispatchPtr pPartDoc;
    EXPECT_EQ(codeOf([&] { KTMDL_CHECK_POINTER(pPartDoc, "mDimPtrs[0]"); }), E_POINTER);
    expectLines(log, {"COM ERROR: pointer mDimPtrs[0] is NULL (File: <file:ktmdl_Diag_test.cpp>, "
                      "Line: <line>)"});
}

TEST(ktmdl_Diag, MissingObjectLineTellsTheLineOfTheCheck)
{
    const LogCapture log;
    const IDispatchPtr pDisp;
    const long line = __LINE__ + 1;
    EXPECT_EQ(codeOf([&] { KTMDL_CHECK_POINTER(pDisp, "pDisp"); }), E_POINTER);
    LogPlace place;
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_TRUE(isLine(log.Lines()[0], nullPointerForm("ktmdl_Diag_test.cpp", "pDisp"), &place));
    EXPECT_EQ(place.line, line);
    EXPECT_EQ(place.file, __FILE__);
}

TEST(ktmdl_Diag, PresentObjectWritesAndRaisesNothing)
{
    Scene scene;
    const IDispatchPtr pointer = scene.world.Make("object").Ptr();
    EXPECT_EQ(codeOf([&] { KTMDL_CHECK_POINTER(pointer, "pointer"); }), S_OK);
    scene.ExpectLog({});
}

TEST(ktmdl_Diag, FailedCallWritesItsLineAndRaisesItsCode)
{
    const LogCapture log;
    const long line = __LINE__ + 1;
    EXPECT_EQ(codeOf([&] { KTMDL_CHECK_RESULT(signedCode(0x80020003u)); }), DISP_E_MEMBERNOTFOUND);
    LogPlace place;
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_TRUE(
        isLine(log.Lines()[0],
               "COM ERROR: " + std::string(_com_error(DISP_E_MEMBERNOTFOUND).ErrorMessage()) +
                   ", hr=0x80020003 (File: <file:ktmdl_Diag_test.cpp>, Line: <line>)",
               &place));
    EXPECT_EQ(place.line, line);
}

TEST(ktmdl_Diag, FailedCallPrintsEightLowerCaseDigits)
{
    const LogCapture log;
    EXPECT_EQ(codeOf([] { ktmdl_detail::ComCheckResult(signedCode(0xFFFFABCDu), "/a.cpp", 12); }),
              signedCode(0xFFFFABCDu));
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_NE(log.Lines()[0].find(", hr=0xffffabcd (File: /a.cpp, Line: 12)"), std::string::npos)
        << log.Lines()[0];
}

TEST(ktmdl_Diag, SuccessfulCodesWriteAndRaiseNothing)
{
    const LogCapture log;
    for (const long code : {0L, 1L, 5L, 0x7FFFFFFFL}) {
        EXPECT_EQ(codeOf([&] { ktmdl_detail::ComCheckResult(code, "/a.cpp", 1); }), S_OK) << code;
    }
    EXPECT_EQ(log.Text(), "");
}

TEST(ktmdl_Diag, CaughtErrorWritesOneLine)
{
    const LogCapture log;
    ktmdl_detail::ComReportCaught(_com_error(E_FAIL), "C:\\src\\ktmdl.cpp", "ktmdl::GetFaceInfo",
                                  1234567);
    EXPECT_EQ(log.Text(), "COM ERROR caught in C:\\src\\ktmdl.cpp{ktmdl::GetFaceInfo} (1234567): " +
                              std::string(_com_error(E_FAIL).ErrorMessage()) + " (hr=80004005)\n");
}

TEST(ktmdl_Diag, CaughtErrorPrintsItsCodeWithoutPadding)
{
    const LogCapture log;
    ktmdl_detail::ComReportCaught(_com_error(5), "/a.cpp", "f", 1);
    const std::string text = log.Text();
    ASSERT_GE(text.size(), 8u);
    EXPECT_EQ(text.substr(text.size() - 8), " (hr=5)\n");
}

TEST(ktmdl_Diag, CaughtErrorReportReadsItsPlace)
{
    const LogCapture log;
    const long line = __LINE__ + 1;
    KTMDL_REPORT_CAUGHT(_com_error(E_FAIL), "Class::Function");
    LogPlace place;
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_TRUE(isLine(log.Lines()[0], caughtForm("ktmdl_Diag_test.cpp", "Class::Function", E_FAIL),
                       &place));
    EXPECT_EQ(place.line, line);
}

TEST(ktmdl_Diag, CaughtFailureWritesTwoLinesAndAcknowledges)
{
    const LogCapture log;
    const Hnd_ktstd_fail_Failure failure(new ktstd_fail_OutOfRange("wanted 1, found 2"));
    ktmdl_detail::ReportCaughtFailure(failure, "/src/a.cpp", "ktmdl_A::Compute", 88);
    std::ostringstream inserted;
    inserted << failure;
    EXPECT_EQ(log.Text(),
              "EXCEPTION caught in /src/a.cpp{ktmdl_A::Compute} (88):\n" + inserted.str() + "\n");
    EXPECT_EQ(failure->IsCaught(), 1);
}

TEST(ktmdl_Diag, LineThatMemoryRunsOutForIsLostAndUsesUpTheWidth)
{
    //! There is no memory to tell its class.
    class Untold : public ktstd_fail_Failure
    {
    public:
        using ktstd_fail_Failure::ktstd_fail_Failure;
        const Hnd_ktstd_Type& DynamicType() const override { throw std::bad_alloc(); }
    };
    const LogCapture log;
    const Hnd_ktstd_fail_Failure failure(new Untold("lost"));
    ktstd_Debug::LogPrint().width(90);
    EXPECT_NO_THROW(ktmdl_detail::ReportCaughtFailure(failure, "/a.cpp", "f", 7));
    EXPECT_EQ(log.Text(), "EXCEPTION caught in /a.cpp{f} (7):\n");
    EXPECT_EQ(ktstd_Debug::LogPrint().width(), 0);
    EXPECT_EQ(failure->IsCaught(), 1);
}

TEST(ktmdl_Diag, CaughtFailureReportReadsItsPlace)
{
    const LogCapture log;
    const Hnd_ktstd_fail_Failure failure(new ktstd_fail_ProgramError("x"));
    const long line = __LINE__ + 1;
    KTMDL_REPORT_FAILURE(failure, "Class::Function");
    LogPlace place;
    ASSERT_EQ(log.Lines().size(), 2u);
    EXPECT_TRUE(isLine(
        log.Lines()[0],
        "EXCEPTION caught in <file:ktmdl_Diag_test.cpp>{Class::Function} (<line>):", &place));
    EXPECT_EQ(place.line, line);
}

TEST(ktmdl_Diag, FailureIsAcknowledgedOnceAfterBothLinesAreOnDisk)
{
    const LogCapture log;
    std::vector<std::string> seen;
    WatchingFailure* const watching = new WatchingFailure(log, seen);
    const Hnd_ktstd_fail_Failure failure(watching);
    ktmdl_detail::ReportCaughtFailure(failure, "/a.cpp", "f", 1);
    EXPECT_EQ(watching->mCount, 1);
    EXPECT_EQ(seen.size(), 2u);
}

TEST(ktmdl_Diag, EveryLineIsOnDiskAtOnce)
{
    const LogCapture log;
    EXPECT_EQ(codeOf([] { ktmdl_detail::ComCheckPointer(nullptr, "a", "/a.cpp", 1); }), E_POINTER);
    EXPECT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(codeOf([] { ktmdl_detail::ComCheckResult(E_FAIL, "/a.cpp", 1); }), E_FAIL);
    EXPECT_EQ(log.Lines().size(), 2u);
    ktmdl_detail::ComReportCaught(_com_error(E_FAIL), "/a.cpp", "f", 1);
    EXPECT_EQ(log.Lines().size(), 3u);
}

TEST(ktmdl_Diag, LinesEndInALineFeedAlone)
{
    const LogCapture log;
    EXPECT_EQ(codeOf([] { ktmdl_detail::ComCheckPointer(nullptr, "pBody", "/a.cpp", 3); }),
              E_POINTER);
    EXPECT_EQ(log.Text(), "COM ERROR: pointer pBody is NULL (File: /a.cpp, Line: 3)\n");
}

// What the formatting state leaves alone, and what leaves it alone.

TEST(ktmdl_Diag, NullPointerLineIgnoresTheStreamsFormatting)
{
    const LogCapture log;
    disturb(ktstd_Debug::LogPrint());
    ktstd_Debug::LogPrint().width(90);
    EXPECT_EQ(codeOf([] { ktmdl_detail::ComCheckPointer(nullptr, "pRef", "/a.cpp", 254); }),
              E_POINTER);
    EXPECT_EQ(log.Text(), "COM ERROR: pointer pRef is NULL (File: /a.cpp, Line: 254)\n");
    EXPECT_EQ(ktstd_Debug::LogPrint().width(), 0) << "a width is good for one output";
}

TEST(ktmdl_Diag, NullPointerLineLeavesTheFormattingAsItWas)
{
    const LogCapture log;
    std::ostream& stream = ktstd_Debug::LogPrint();
    disturb(stream);
    const std::ios::fmtflags flags = stream.flags();
    EXPECT_EQ(codeOf([] { ktmdl_detail::ComCheckPointer(nullptr, "a", "/a.cpp", 1); }), E_POINTER);
    EXPECT_EQ(stream.flags(), flags);
    EXPECT_EQ(stream.fill(), '*');
    EXPECT_EQ(stream.precision(), 3);
}

TEST(ktmdl_Diag, FailedCallLineIgnoresTheStreamsFormatting)
{
    const LogCapture log;
    disturb(ktstd_Debug::LogPrint());
    ktstd_Debug::LogPrint().width(90);
    EXPECT_EQ(codeOf([] { ktmdl_detail::ComCheckResult(signedCode(0x8000ABCDu), "/a.cpp", 26); }),
              signedCode(0x8000ABCDu));
    EXPECT_EQ(
        log.Text(),
        "COM ERROR: " + std::string(_com_error(static_cast<HRESULT>(0x8000ABCDu)).ErrorMessage()) +
            ", hr=0x8000abcd (File: /a.cpp, Line: 26)\n");
}

TEST(ktmdl_Diag, FailedCallLineLeavesZeroFillAndDecimalBase)
{
    const LogCapture log;
    std::ostream& stream = ktstd_Debug::LogPrint();
    disturb(stream);
    const std::ios::fmtflags others = flagsButBase(stream);
    EXPECT_EQ(codeOf([] { ktmdl_detail::ComCheckResult(E_FAIL, "/a.cpp", 1); }), E_FAIL);
    EXPECT_EQ(stream.fill(), '0');
    EXPECT_EQ(stream.flags() & std::ios::basefield, std::ios::dec);
    EXPECT_EQ(flagsButBase(stream), others);
    EXPECT_EQ(stream.precision(), 3);
}

TEST(ktmdl_Diag, CaughtErrorLineIgnoresTheStreamsFormatting)
{
    const LogCapture log;
    disturb(ktstd_Debug::LogPrint());
    ktstd_Debug::LogPrint().width(90);
    ktmdl_detail::ComReportCaught(_com_error(static_cast<HRESULT>(0x8000ABCDu)), "/a.cpp", "f", 27);
    EXPECT_EQ(log.Text(),
              "COM ERROR caught in /a.cpp{f} (27): " +
                  std::string(_com_error(static_cast<HRESULT>(0x8000ABCDu)).ErrorMessage()) +
                  " (hr=8000abcd)\n");
}

TEST(ktmdl_Diag, CaughtErrorLineLeavesDecimalBaseAndTheRestAsItWas)
{
    const LogCapture log;
    std::ostream& stream = ktstd_Debug::LogPrint();
    disturb(stream);
    const std::ios::fmtflags others = flagsButBase(stream);
    ktmdl_detail::ComReportCaught(_com_error(E_FAIL), "/a.cpp", "f", 1);
    EXPECT_EQ(stream.fill(), '*');
    EXPECT_EQ(stream.flags() & std::ios::basefield, std::ios::dec);
    EXPECT_EQ(flagsButBase(stream), others);
    EXPECT_EQ(stream.precision(), 3);
}

TEST(ktmdl_Diag, CaughtFailureLinesLeaveTheFormattingAsItWas)
{
    const LogCapture log;
    std::ostream& stream = ktstd_Debug::LogPrint();
    disturb(stream);
    const std::ios::fmtflags flags = stream.flags();
    const Hnd_ktstd_fail_Failure failure(new ktstd_fail_ProgramError("x"));
    ktmdl_detail::ReportCaughtFailure(failure, "/a.cpp", "f", 31);
    ASSERT_FALSE(log.Lines().empty());
    EXPECT_EQ(log.Lines()[0], "EXCEPTION caught in /a.cpp{f} (31):");
    EXPECT_EQ(stream.flags(), flags);
    EXPECT_EQ(stream.fill(), '*');
    EXPECT_EQ(stream.precision(), 3);
}

// Texts of codes.

TEST(ktmdl_Diag, CodeInTheDispatchRangeWithoutSystemTextPrintsItsNumber)
{
    EXPECT_EQ(caughtMessage(0x8004FFFFu), "IDispatch error #65023"); // 0xFFFF - 0x200
    EXPECT_EQ(caughtMessage(0x8004A300u), "IDispatch error #41216"); // 0xA300 - 0x200
#if !defined(_WIN32) // Windows itself has a text for this one; elsewhere there is none
    EXPECT_EQ(caughtMessage(0x80040201u), "IDispatch error #1");
#endif
}

TEST(ktmdl_Diag, OtherCodeWithoutSystemTextPrintsAsUnknown)
{
#if !defined(_WIN32) // Windows itself has a text for this one; elsewhere there is none
    EXPECT_EQ(caughtMessage(0x80040200u), "Unknown error 0x80040200");
#endif
    EXPECT_EQ(caughtMessage(0xABCDEF01u), "Unknown error 0xABCDEF01");
    EXPECT_EQ(caughtMessage(0x8005FFFEu), "Unknown error 0x8005FFFE");
}

#if !defined(_WIN32)
TEST(ktmdl_Diag, CodeWithSystemTextPrintsThatTextWithoutLineEnd)
{
    // The texts of the Windows message table.
    EXPECT_EQ(caughtMessage(0x80004003u), "Invalid pointer");
    EXPECT_EQ(caughtMessage(0x80004005u), "Unspecified error");
    EXPECT_EQ(caughtMessage(0x80020003u), "Member not found.");
    EXPECT_EQ(caughtMessage(0x8001010Au),
              "The message filter indicated that the application is busy.");
}
#endif

// The same through public operations.

TEST(ktmdl_Diag, FaultAndOperationLeaveTwoLines)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    document.Method(L"BindKeyToObject", fake::fails(E_FAIL));
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    topo->tplType = 2;
    topo->mDispDoc = document.Ptr();
    topo->mDocName = ktstd_AsciiString("part");
    EXPECT_EQ(topo->UpdateDispatch(), 0);
    scene.ExpectLog({failedCallForm("ktmdl_Topo.cpp", E_FAIL),
                     caughtForm("ktmdl_Topo.cpp", "ktmdl_Topo::UpdateDocDispatches", E_FAIL)});
}

TEST(ktmdl_Diag, FailedCallOfAPublicOperationLeavesZeroFill)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    document.Method(L"BindKeyToObject", fake::fails(E_FAIL));
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    topo->tplType = 2;
    topo->mDispDoc = document.Ptr();
    topo->mDocName = ktstd_AsciiString("part");
    ASSERT_EQ(ktstd_Debug::LogPrint().fill(), ' ');
    EXPECT_EQ(topo->UpdateDispatch(), 0);
    EXPECT_EQ(ktstd_Debug::LogPrint().fill(), '0');
}

TEST(ktmdl_Diag, ObjectWithoutTheInterfaceSurfacesAsPointer)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = edgeOn(scene.world.Make("no edge"));
    EXPECT_EQ(topo->IsClosed(), 0);
    scene.ExpectLog(
        {nullPointerForm("ktmdl_Topo.cpp", "pE"),
         caughtForm("ktmdl_Topo.cpp", "ktmdl_Topo::IsClosed", signedCode(0x80004003u))});
    ASSERT_EQ(scene.log.Lines().size(), 2u);
    EXPECT_NE(scene.log.Lines()[1].find(" (hr=80004003)"), std::string::npos);
}

TEST(ktmdl_Diag, FailingQueryWritesTheCaughtLineOnly)
{
    Scene scene;
    fake::Object& object = scene.world.Make("busy");
    object.Refuse(ktmdl_host::IID_Edge, static_cast<HRESULT>(kBusy));
    const Hnd_ktmdl_Topo topo = edgeOn(object);
    EXPECT_EQ(topo->IsClosed(), 0);
    scene.ExpectLog({caughtForm("ktmdl_Topo.cpp", "ktmdl_Topo::IsClosed", kBusy)});
    ASSERT_EQ(scene.log.Lines().size(), 1u);
    EXPECT_NE(scene.log.Lines()[0].find(" (hr=8001010a)"), std::string::npos);
}

TEST(ktmdl_Diag, DispatchErrorOfTheHostPrintsItsText)
{
    Scene scene;
    fake::Object& object = scene.world.Make("edge");
    scriptEdge(object, true).Property(85, fake::fails(static_cast<HRESULT>(0x8004A300u)));
    const Hnd_ktmdl_Topo topo = edgeOn(object);
    EXPECT_EQ(topo->IsClosed(), 0);
    ASSERT_EQ(scene.log.Lines().size(), 1u);
    EXPECT_TRUE(isLine(scene.log.Lines()[0],
                       "COM ERROR caught in <file:ktmdl_Topo.cpp>{ktmdl_Topo::IsClosed} (<line>): "
                       "IDispatch error #41216 (hr=8004a300)"));
}

TEST(ktmdl_Diag, DescribedExceptionSurfacesWithTheCodeInside)
{
    Scene scene;
    fake::Object& object = scene.world.Make("edge");
    scriptEdge(object, true).Property(85, [](const fake::Args& aArgs, VARIANT*) {
        return aArgs.Exception(static_cast<SCODE>(0x80010108u), L"the edge was deleted");
    });
    const Hnd_ktmdl_Topo topo = edgeOn(object);
    EXPECT_EQ(topo->IsClosed(), 0);
    scene.ExpectLog(
        {caughtForm("ktmdl_Topo.cpp", "ktmdl_Topo::IsClosed", signedCode(0x80010108u))});
}

TEST(ktmdl_Diag, PrintedLineIsTheLineOfTheCheck)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = edgeOn(scene.world.Make("no edge"));
    EXPECT_EQ(topo->IsClosed(), 0);
    const std::vector<std::string> lines = scene.log.Lines();
    ASSERT_EQ(lines.size(), 2u);
    const std::string forms[] = {nullPointerForm("ktmdl_Topo.cpp", "pE"),
                                 caughtForm("ktmdl_Topo.cpp", "ktmdl_Topo::IsClosed", E_POINTER)};
    const std::string marks[] = {"KTMDL_CHECK_POINTER(", "KTMDL_REPORT_CAUGHT("};
    for (std::size_t i = 0; i < 2; ++i) {
        LogPlace place;
        ASSERT_TRUE(isLine(lines[i], forms[i], &place));
        std::ifstream source(std::string(KT_SOURCE_DIR) + "/ktmdl/ktmdl_Topo.cpp");
        ASSERT_TRUE(source.is_open()) << "the sources are not where they were built";
        std::string text;
        for (long line = 0; line < place.line; ++line) {
            std::getline(source, text);
        }
        EXPECT_NE(text.find(marks[i]), std::string::npos)
            << "line " << place.line << " reads: " << text;
    }
}
