//! @file
//! Runs a function on a stack as small as a host may give.
#pragma once

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <functional>

namespace kt_test {

//! Runs a function on a stack of 1 MiB, the least that a host gives.
inline void onSmallStack(const std::function<void()>& aFunction)
{
    struct Runner
    {
        static void* run(void* aRun)
        {
            (*static_cast<const std::function<void()>*>(aRun))();
            return nullptr;
        }
    };
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{1} << 20), 0);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, Runner::run,
                             const_cast<std::function<void()>*>(&aFunction)),
              0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
}

} // namespace kt_test
