// The sweep itself: it finds what it is there for.

#include "com/Com.h"
#include "support/AllocationFaults.h"
#include "support/MemorySweep.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using kt_test::Leaves;
using kt_test::Operation;
using kt_test::operation;
using kt_test::Tells;

const char* const kLong = "a text that is longer than what a string keeps within itself";

struct Texts
{
    [[nodiscard]] std::string State() const { return first + "/" + second; }

    std::string first;
    std::string second;
};

template <class Run>
Operation textOperation(Leaves aLeaves, Run aRun)
{
    return operation<Texts>("Operation", aLeaves, Tells::ByRaising, aRun,
                            [](const Texts& t) { return t.State(); });
}

//! What the sweep of an operation reports.
std::vector<std::string> reportsOf(const Operation& aOperation)
{
    testing::TestPartResultArray results;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &results);
        kt_test::sweep(aOperation);
    }
    std::vector<std::string> reports;
    for (int i = 0; i < results.size(); ++i) {
        reports.emplace_back(results.GetTestPartResult(i).message());
    }
    return reports;
}

bool anyHas(const std::vector<std::string>& aReports, const std::string& aText)
{
    for (const std::string& report : aReports) {
        if (report.find(aText) != std::string::npos) {
            return true;
        }
    }
    return false;
}

class MemorySweep : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!kt_test::canFailStrings()) {
            GTEST_SKIP() << "strings and arrays can't be made to fail here";
        }
    }
};

} // namespace

TEST_F(MemorySweep, AcceptsWhatKeepsItsState)
{
    EXPECT_TRUE(reportsOf(textOperation(Leaves::AllAsBefore, [](Texts& t) {
                    std::string first = kLong;
                    t.second = kLong;
                    t.first.swap(first);
                })).empty());
}

TEST_F(MemorySweep, FindsAStateThatChanged)
{
    const auto reports = reportsOf(textOperation(Leaves::AllAsBefore, [](Texts& t) {
        t.first = kLong;
        t.second = kLong;
    }));
    EXPECT_TRUE(anyHas(reports, "Operation, allocation 2 of 2"));
    EXPECT_TRUE(anyHas(reports, "changed, although it raised std::bad_alloc"));
    EXPECT_FALSE(anyHas(reports, "allocation 1 of 2"));
}

TEST_F(MemorySweep, FindsAResultThatIsMissing)
{
    const auto reports = reportsOf(textOperation(Leaves::FreshStart, [](Texts& t) {
        try {
            t.first = kLong;
        } catch (const std::bad_alloc&) {
            return;
        }
    }));
    EXPECT_TRUE(anyHas(reports, "nothing was raised"));
}

TEST_F(MemorySweep, FindsAWrongResultAfterwards)
{
    const auto reports = reportsOf(textOperation(Leaves::FreshStart, [](Texts& t) {
        t.first += "x";
        t.second = kLong;
    }));
    EXPECT_TRUE(anyHas(reports, "the result afterwards"));
}

TEST_F(MemorySweep, FindsAnotherException)
{
    const auto reports = reportsOf(textOperation(Leaves::AllAsBefore, [](Texts& t) {
        try {
            t.first = kLong;
        } catch (const std::bad_alloc&) {
            throw std::runtime_error("another one");
        }
    }));
    EXPECT_TRUE(anyHas(reports, "another one"));
}

TEST_F(MemorySweep, FindsALeak)
{
    std::vector<std::unique_ptr<int>> lost; // freed by the test
    lost.reserve(100);
    const auto reports = reportsOf(textOperation(Leaves::AllAsBefore, [&lost](Texts& t) {
        auto kept = std::make_unique<int>(1);
        try {
            t.first = kLong;
        } catch (...) {
            lost.push_back(std::move(kept));
            throw;
        }
    }));
    EXPECT_TRUE(anyHas(reports, "left behind: 1 blocks"));
    EXPECT_TRUE(anyHas(reports, "Operation, allocation 2 of 2"));
}

TEST_F(MemorySweep, FailsStringsAndArrays)
{
    const kt_test::AllocationFault fault(1, kt_test::Shortage::Lasting);
    EXPECT_EQ(SysAllocString(L"text"), nullptr);
    EXPECT_EQ(SafeArrayCreateVector(VT_UI1, 0, 3), nullptr);
    EXPECT_EQ(kt_test::AllocationFault::Asked(), 2);
}
