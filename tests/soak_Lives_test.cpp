// Random lives against a plain model. Environment: KTMDL_SOAK_SECONDS, KTMDL_SOAK_SEED. A failure
// tells the seed of its life; as KTMDL_SOAK_SEED, with 0 seconds, it plays that life alone.

#ifndef _WIN32
#include "support/AllocationFaults.h"
#endif
#include "support/SoakLife.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using soak::Plan;
using soak::Sabotage;
using soak::Size;
using soak::Tally;
using soak::Violation;
using Clock = std::chrono::steady_clock;

// On Windows each library takes memory with its own operator new, and may leave it to the program
// to give it back, so that nobody can count.
#ifdef _WIN32
constexpr bool kCountsBlocks = false;
long liveBlocks()
{
    return 0;
}
#else
constexpr bool kCountsBlocks = true;
long liveBlocks()
{
    return kt_test::Alive::Now().blocks;
}
#endif

std::uint64_t fromEnvironment(const char* name, std::uint64_t otherwise)
{
    const char* const text = std::getenv(name);
    return text != nullptr && *text != '\0' ? std::strtoull(text, nullptr, 10) : otherwise;
}

double secondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

void printLine(const Tally& tally, double seconds)
{
    const double steps = static_cast<double>(tally.steps());
    std::printf("%.0f s: %ld lives, %.0f operations, %.0f a second; %ld with faults waiting, %ld "
                "struck; %ld references compared; at most %ld faces, %ld references; %ld blocks "
                "alive\n",
                seconds, tally.lives, steps, seconds > 0.0 ? steps / seconds : 0.0, tally.faulty,
                tally.struck, tally.checked, tally.mostFaces, tally.mostReferences, liveBlocks());
    std::fflush(stdout);
}

void print(const Tally& tally, double seconds)
{
    printLine(tally, seconds);
    for (const auto& [name, count] : tally.operations) {
        std::printf("  %9ld %s\n", count, name.c_str());
    }
    std::fflush(stdout);
}

//! Plays a life again and looks at the memory that it took: none is kept from the first time on.
void expectNoGrowth(const Plan& plan)
{
    Tally ignored;
    soak::playLife(plan, ignored);
    const long before = liveBlocks();
    soak::playLife(plan, ignored);
    EXPECT_EQ(liveBlocks(), before) << "blocks after the same life, seed " << plan.seed;
}

TEST(Lives, KeepToTheModel)
{
    const double seconds = static_cast<double>(fromEnvironment("KTMDL_SOAK_SECONDS", 3));
    const std::uint64_t first = fromEnvironment("KTMDL_SOAK_SEED", 1);
    std::printf("seed %llu, %.0f s\n", static_cast<unsigned long long>(first), seconds);
    Tally tally;
    const Clock::time_point start = Clock::now();
    double told = 0.0;
    for (Plan plan{first};; ++plan.seed) {
        try {
            soak::playLife(plan, tally);
            if (kCountsBlocks && plan.seed % 16 == 0) {
                expectNoGrowth({plan.seed, Size::little});
            }
        } catch (const Violation& violation) {
            ADD_FAILURE() << violation.what();
        } catch (const std::exception& error) {
            ADD_FAILURE() << "seed " << plan.seed << ": " << error.what();
        } catch (...) {
            ADD_FAILURE() << "seed " << plan.seed << ": an exception that no operation expects";
        }
        const double passed = secondsSince(start);
        if (HasFailure() || passed >= seconds) {
            break;
        }
        if (passed >= told + 60.0) {
            told = passed;
            printLine(tally, passed);
        }
    }
    print(tally, secondsSince(start));
}

TEST(Lives, OfTwentyThousandFaces)
{
    Tally tally;
    const Clock::time_point start = Clock::now();
    try {
        soak::playLife({fromEnvironment("KTMDL_SOAK_SEED", 1), Size::largest}, tally);
    } catch (const Violation& violation) {
        FAIL() << violation.what();
    }
    EXPECT_EQ(tally.mostFaces, 20000);
    EXPECT_GT(tally.mostReferences, 60000); // the body, its faces, as many edges again and more
    print(tally, secondsSince(start));
}

TEST(Lives, TakeNoMoreMemoryWhenLivedAgain)
{
    if (!kCountsBlocks) {
        GTEST_SKIP() << "blocks of memory are not counted here";
    }
    for (std::uint64_t seed = 1000; seed < 1010 && !HasFailure(); ++seed) {
        expectNoGrowth({seed, Size::little});
    }
}

//! What is made wrong must be noticed, or the lives prove nothing.
class WrongLives : public testing::TestWithParam<int>
{
};

TEST_P(WrongLives, AreNoticed)
{
    const auto sabotage = static_cast<Sabotage>(GetParam());
    int done = 0;
    for (std::uint64_t seed = 1; seed <= 40 && done < 5; ++seed) {
        Tally tally;
        std::string found;
        try {
            soak::playLife({seed, Size::little, sabotage}, tally);
        } catch (const Violation& violation) {
            found = violation.what();
        }
        if (tally.isSabotaged) {
            ++done;
            EXPECT_NE(found, "") << "seed " << seed;
        } else {
            EXPECT_EQ(found, "") << "nothing was wrong";
        }
    }
    EXPECT_EQ(done, 5) << "lives with something to make wrong";
}

std::string sabotageName(const testing::TestParamInfo<int>& info)
{
    static const char* const names[] = {"None",       "Type",   "Box",     "DocName", "Bound",
                                        "Registered", "Handle", "Archive", "List",    "Object"};
    return names[info.param];
}

INSTANTIATE_TEST_SUITE_P(Kinds, WrongLives, testing::Range(1, static_cast<int>(Sabotage::count)),
                         sabotageName);

} // namespace
