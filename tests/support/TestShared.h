//! @file
//! Shared classes for tests of the kernel: a parent, its child and an unrelated one. They count
//! what is done to them.
#pragma once

#include "ktstd/ktstd_TShared.h"

#include <string>
#include <vector>

class TestShared;
class TestChild;
class TestOther;
KTSTD_HANDLE(TestShared, Hnd_ktstd_TShared)
KTSTD_HANDLE(TestChild, Hnd_TestShared)
KTSTD_HANDLE(TestOther, Hnd_ktstd_TShared)
Hnd_ktstd_Type& TestShared_Type_();
Hnd_ktstd_Type& TestChild_Type_();
Hnd_ktstd_Type& TestOther_Type_();

//! A number and a handle to another object. Persistent, version 3.
class TestShared : public ktstd_TShared
{
public:
    explicit TestShared(long aNumber = 0, const Hnd_ktstd_Transient& aNext = Hnd_ktstd_Transient());
    TestShared(const TestShared&) = delete;
    TestShared& operator=(const TestShared&) = delete;
    ~TestShared() override;

    void Delete() const override;
    void Serialize(ktstd_Archive& aArchive) override;
    KTSTD_DECLARE_TYPE(TestShared)

    long number;
    Hnd_ktstd_Transient next;

    static long alive;             //!< objects that exist
    static std::vector<long> gone; //!< numbers of the objects whose Delete was called, in order
    static long serialized;        //!< calls of Serialize
};

class TestChild : public TestShared
{
public:
    using TestShared::TestShared;
    ~TestChild() override;
    KTSTD_DECLARE_TYPE(TestChild)
};

//! A class that no archive knows.
class TestOther : public ktstd_TShared
{
public:
    ~TestOther() override;
    KTSTD_DECLARE_TYPE(TestOther)
};

namespace kt_test {

//! Stands first in a test: forgets what was counted, and checks at the end that nothing is alive.
class SharedGuard
{
public:
    SharedGuard();
    SharedGuard(const SharedGuard&) = delete;
    SharedGuard& operator=(const SharedGuard&) = delete;
    ~SharedGuard();
};

} // namespace kt_test
