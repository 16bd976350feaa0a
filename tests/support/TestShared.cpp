#include "support/TestShared.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

#include <gtest/gtest.h>

long TestShared::alive = 0;
std::vector<long> TestShared::gone;
long TestShared::serialized = 0;

namespace {

Hnd_ktstd_Transient makeShared()
{
    return new TestShared();
}

Hnd_ktstd_Transient makeChild()
{
    return new TestChild();
}

const ktstd_SchemaEntry sharedEntry("TestShared", 3, makeShared);
const ktstd_SchemaEntry childEntry("TestChild", 0, makeChild);

} // namespace

TestShared::TestShared(long aNumber, const Hnd_ktstd_Transient& aNext)
    : number(aNumber),
      next(aNext)
{
    ++alive;
}

TestShared::~TestShared()
{
    --alive;
}

void TestShared::Delete() const
{
    gone.push_back(number);
    ktstd_TShared::Delete();
}

void TestShared::Serialize(ktstd_Archive& aArchive)
{
    ++serialized;
    if (aArchive.IsStoring() != 0) {
        aArchive << number << next;
    } else {
        aArchive >> number >> next;
    }
}

TestChild::~TestChild() = default;
TestOther::~TestOther() = default;

KTSTD_DEFINE_TYPE(TestShared, ktstd_TShared)
KTSTD_DEFINE_TYPE(TestChild, TestShared)
KTSTD_DEFINE_TYPE(TestOther, ktstd_TShared)

namespace kt_test {

SharedGuard::SharedGuard()
{
    EXPECT_EQ(TestShared::alive, 0) << "left by an earlier test";
    TestShared::gone.clear();
    TestShared::serialized = 0;
}

SharedGuard::~SharedGuard()
{
    EXPECT_EQ(TestShared::alive, 0) << "an object was not deleted";
}

} // namespace kt_test
