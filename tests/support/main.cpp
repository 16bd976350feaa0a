//! @file
//! Entry point of every test program; closes with one line that counts.

#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    const int result = RUN_ALL_TESTS();
    const testing::UnitTest& unit = *testing::UnitTest::GetInstance();
    std::printf("%d passed, %d failed, %d skipped\n", unit.successful_test_count(),
                unit.failed_test_count(), unit.skipped_test_count());
    if (unit.test_to_run_count() == 0) {
        std::printf("no test was selected\n");
        return 1;
    }
    return result;
}
