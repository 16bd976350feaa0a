//! @file
//! Checks that a call raises a failure: its class, its whole message and its code. Each gives an
//! AssertionResult, so that the line of the caller is reported.
#pragma once

#include "ktstd/ktstd_fail.h"

#include <gtest/gtest.h>

#include <string>

namespace kt_test {

//! Checks that a call raises a failure of exactly the handle's class, whatever its message.
template <class Handle, class Call>
testing::AssertionResult raisesClass(Call&& aCall)
{
    try {
        aCall();
    } catch (const Handle& failure) {
        if (failure.IsNull() != 0) {
            return testing::AssertionFailure() << "raised a null handle";
        }
        if (failure->DynamicType() != Handle::ObjectType::TypeOfClass()) {
            return testing::AssertionFailure() << "raised another class: " << failure->ClassName()
                                               << ": " << failure->Message();
        }
        return testing::AssertionSuccess();
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        return testing::AssertionFailure()
               << "raised another class: " << failure->ClassName() << ": " << failure->Message();
    }
    return testing::AssertionFailure() << "raised nothing";
}

//! Checks that a call raises a failure of exactly the handle's class with exactly the message.
template <class Handle, class Call>
testing::AssertionResult raises(const std::string& aMessage, Call&& aCall)
{
    std::string message;
    const testing::AssertionResult result = raisesClass<Handle>([&] {
        try {
            aCall();
        } catch (const Hnd_ktstd_fail_Failure& failure) {
            message = failure->Message();
            throw;
        }
    });
    if (result && message != aMessage) {
        return testing::AssertionFailure()
               << "wanted the message \"" << aMessage << "\", found \"" << message << '"';
    }
    return result;
}

//! Checks that a call raises ktstd_fail_FileIO with exactly the code.
template <class Call>
testing::AssertionResult raisesCode(unsigned aCode, Call&& aCall)
{
    unsigned code = 0;
    const testing::AssertionResult result = raisesClass<Hnd_ktstd_fail_FileIO>([&] {
        try {
            aCall();
        } catch (const Hnd_ktstd_fail_FileIO& failure) {
            code = failure->Code();
            throw;
        }
    });
    if (result && code != aCode) {
        return testing::AssertionFailure() << "wanted code " << aCode << ", found " << code;
    }
    return result;
}

//! Checks that a call raises ktstd_fail_FileIO with exactly the code and the message.
template <class Call>
testing::AssertionResult raisesFileIO(unsigned aCode, const std::string& aMessage, Call&& aCall)
{
    std::string message;
    const testing::AssertionResult result = raisesCode(aCode, [&] {
        try {
            aCall();
        } catch (const Hnd_ktstd_fail_Failure& failure) {
            message = failure->Message();
            throw;
        }
    });
    if (result && message != aMessage) {
        return testing::AssertionFailure()
               << "wanted the message \"" << aMessage << "\", found \"" << message << '"';
    }
    return result;
}

} // namespace kt_test
