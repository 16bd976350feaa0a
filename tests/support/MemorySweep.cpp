#include "support/MemorySweep.h"

#include "com/Com.h"
#include "ktstd/ktstd_fail.h"
#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <new>
#include <ostream>

namespace kt_test {

std::ostream& operator<<(std::ostream& aStream, const Operation& aOperation)
{
    return aStream << aOperation.name;
}

namespace {

// What is being done, for the message of a program that ends in the middle.
const char* sOperation = "";
long sNth = 0;

[[noreturn]] void reportEnd()
{
    std::fprintf(stderr, "terminated in %s, allocation %ld failing\n", sOperation, sNth);
    std::abort();
}

enum class Outcome
{
    Returned,
    OutOfMemory,
    KernelFailure,
    Other
};

struct Attempt
{
    Outcome outcome{Outcome::Returned};
    std::string text;
    long asked{0};
};

//! How the faults of an operation ended.
struct Tally
{
    long raised{0};   //!< as out of memory, or as a kernel failure
    long told{0};     //!< by a status, an empty result or a log line
    long harmless{0}; //!< the operation did without
};

Attempt attempt(const Trial& aTrial, long aNth, Shortage aShortage)
{
    Attempt result;
    sNth = aNth;
    try {
        const AllocationFault fault(aNth, aShortage);
        aTrial.run();
    } catch (const std::bad_alloc&) {
        result.outcome = Outcome::OutOfMemory;
        result.text = "std::bad_alloc";
    } catch (const _com_error& error) {
        result.outcome = error.Error() == E_OUTOFMEMORY ? Outcome::OutOfMemory : Outcome::Other;
        result.text = "_com_error " + std::to_string(error.Error());
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        result.outcome = Outcome::KernelFailure;
        result.text = std::string(failure->ClassName()) + ": " + failure->Message();
    } catch (const std::exception& exception) {
        result.outcome = Outcome::Other;
        result.text = exception.what();
    }
    sNth = 0;
    result.asked = AllocationFault::Asked();
    return result;
}

//! Runs without a fault.
void runWell(const Trial& aTrial)
{
    const Attempt again = attempt(aTrial, 0, Shortage::Once);
    EXPECT_EQ(again.outcome, Outcome::Returned) << again.text;
}

//! Runs with a fault and checks what is left.
void tryFault(const Operation& aOperation, const std::string& aResult, long aNth,
              Shortage aShortage, Tally& aTally)
{
    Trial trial = aOperation.prepare();
    const std::string before = trial.state();
    const Attempt faulted = attempt(trial, aNth, aShortage);
    EXPECT_GE(faulted.asked, aNth) << "this allocation was not asked for";
    const std::string after = trial.state();

    switch (faulted.outcome) {
    case Outcome::Returned:
        if (after == aResult) {
            ++aTally.harmless;
            return; // it does without
        }
        EXPECT_EQ(aOperation.tells, Tells::InItsResult) << "nothing was raised, and the result is\n"
                                                        << after << "\ninstead of\n"
                                                        << aResult;
        ++aTally.told;
        break;
    case Outcome::OutOfMemory:
        ++aTally.raised;
        break;
    case Outcome::KernelFailure:
        ++aTally.raised;
        EXPECT_EQ(aOperation.tells, Tells::ByFailure) << faulted.text;
        break;
    case Outcome::Other:
        ADD_FAILURE() << faulted.text;
    }
    if (aOperation.leaves == Leaves::AllAsBefore) {
        EXPECT_EQ(after, before) << "changed, although it raised " << faulted.text;
    }
    if (aOperation.leaves == Leaves::PartDone) {
        trial = Trial(); // before the new one: there is one registry and one log
        trial = aOperation.prepare();
    }
    runWell(trial);
    EXPECT_EQ(trial.state(), aResult) << "the result afterwards";
}

} // namespace

void sweep(const Operation& aOperation)
{
    if (!canFailStrings()) {
        GTEST_SKIP() << "strings and arrays can't be made to fail here";
    }
    const std::terminate_handler handler = std::set_terminate(&reportEnd);
    sOperation = aOperation.name.c_str();
    std::string result;
    long allocations = 0;
    // Twice: what is made once in a program is made by the first run.
    for (int i = 0; i < 2; ++i) {
        const Trial trial = aOperation.prepare();
        const std::string before = trial.state();
        const Attempt first = attempt(trial, 0, Shortage::Once);
        EXPECT_EQ(first.outcome, Outcome::Returned) << first.text;
        result = trial.state();
        EXPECT_NE(before, result) << "it does nothing that can be seen";
        allocations = first.asked;
    }
    EXPECT_GT(allocations, 0) << "it takes no memory";
    Tally tally;
    for (const Shortage shortage : {Shortage::Once, Shortage::Lasting}) {
        for (long nth = 1; nth <= allocations && !testing::Test::HasFatalFailure(); ++nth) {
            SCOPED_TRACE(testing::Message()
                         << aOperation.name << ", allocation " << nth << " of " << allocations
                         << (shortage == Shortage::Once ? "" : " and all that follow"));
            const Alive before = Alive::Now();
            tryFault(aOperation, result, nth, shortage, tally);
            const Alive after = Alive::Now();
            EXPECT_TRUE(after == before || testing::Test::HasFailure())
                << "left behind: " << after.blocks - before.blocks << " blocks, "
                << after.strings - before.strings << " strings, " << after.arrays - before.arrays
                << " arrays";
        }
    }
    std::printf("%s: %ld allocations; faults: %ld raised, %ld told, %ld harmless\n", sOperation,
                allocations, tally.raised, tally.told, tally.harmless);
    sOperation = "";
    std::set_terminate(handler);
}

void runWithoutMemory(const Operation& aOperation)
{
    if (!canFailStrings()) {
        GTEST_SKIP() << "strings and arrays can't be made to fail here";
    }
    sOperation = aOperation.name.c_str();
    const Alive before = Alive::Now();
    {
        const Trial trial = aOperation.prepare();
        const std::string first = trial.state();
        const Attempt done = attempt(trial, 1, Shortage::Lasting);
        EXPECT_EQ(done.outcome, Outcome::Returned) << done.text;
        EXPECT_EQ(done.asked, 0) << "allocations were asked for";
        EXPECT_NE(trial.state(), first) << "it does nothing that can be seen";
    }
    EXPECT_TRUE(Alive::Now() == before) << "something was left behind, or freed twice";
    sOperation = "";
}

} // namespace kt_test
