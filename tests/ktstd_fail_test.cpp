#include "ktstd/ktstd_fail.h"

#include "ktstd/ktstd_TShared.h"
#include "support/Failures.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <type_traits>

static_assert(std::is_base_of_v<Hnd_ktstd_fail_Failure, Hnd_ktstd_fail_ProgramError>);
static_assert(std::is_base_of_v<Hnd_ktstd_fail_Failure, Hnd_ktstd_fail_DivideByZero>);
static_assert(std::is_base_of_v<Hnd_ktstd_fail_Failure, Hnd_ktstd_fail_DomainError>);
static_assert(std::is_base_of_v<Hnd_ktstd_fail_Failure, Hnd_ktstd_fail_NoSuchObject>);
static_assert(std::is_base_of_v<Hnd_ktstd_fail_Failure, Hnd_ktstd_fail_OutOfRange>);
static_assert(std::is_base_of_v<Hnd_ktstd_fail_Failure, Hnd_ktstd_fail_FileIO>);

namespace {

void compose(std::strstream& aStream)
{
    aStream << "value " << 12 << " of " << 3.5 << std::ends;
}

//! Checks what every failure class must do. @tparam Other  the handle of another class
template <class Handle, class Other>
void expectRaised(const char* aClassName, const Hnd_ktstd_Type& aType)
{
    using Failure = typename Handle::ObjectType;
    char text[] = "what went wrong";
    EXPECT_TRUE(kt_test::raises<Handle>("what went wrong", [&] { Failure::Raise(text); }));
    EXPECT_TRUE(kt_test::raises<Handle>("value 12 of 3.5", [] {
        std::strstream stream;
        compose(stream);
        Failure::Raise(stream);
    }));
    EXPECT_TRUE(kt_test::raises<Handle>("", [] { Failure::Raise(""); }));

    // By the common base, with everything known.
    bool isCaught = false;
    try {
        Failure::Raise("what went wrong");
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        isCaught = true;
        EXPECT_STREQ(failure->Message(), "what went wrong");
        EXPECT_STREQ(failure->ClassName(), aClassName);
        EXPECT_EQ(failure->DynamicType(), aType);
        EXPECT_STREQ(aType->Name(), aClassName);
        EXPECT_EQ(failure->IsKind(aType), 1);
        EXPECT_EQ(failure->IsKind(ktstd_fail_Failure_Type_()), 1);
        EXPECT_EQ(failure->IsKind(ktstd_Transient_Type_()), 1);
        EXPECT_EQ(failure->IsKind(Other::ObjectType::TypeOfClass()), 0);
        EXPECT_EQ(failure->IsKind(ktstd_TShared_Type_()), 0);
        EXPECT_EQ(Handle::DownCast(failure), failure);
        EXPECT_EQ(Other::DownCast(failure).IsNull(), 1);
        std::ostringstream stream;
        stream << failure;
        EXPECT_NE(stream.str().find("what went wrong"), std::string::npos);
        EXPECT_NE(stream.str().find(aClassName), std::string::npos);
    }
    EXPECT_TRUE(isCaught);

    // By its own handle, not by another's.
    int place = 0;
    try {
        Failure::Raise("what went wrong");
    } catch (const Other&) {
        place = 1;
    } catch (const Handle&) {
        place = 2;
    }
    EXPECT_EQ(place, 2);

    // By the root of all handles.
    place = 0;
    try {
        Failure::Raise("what went wrong");
    } catch (const Hnd_ktstd_Transient& object) {
        place = object->IsKind(aType);
    }
    EXPECT_EQ(place, 1);
}

} // namespace

TEST(ktstd_fail_Failure, IsRaisedItself)
{
    const auto messageOf = [](const std::function<void()>& aCall) -> std::string {
        try {
            aCall();
        } catch (const Hnd_ktstd_fail_Failure& failure) {
            EXPECT_EQ(failure->DynamicType(), ktstd_fail_Failure_Type_());
            EXPECT_STREQ(failure->ClassName(), "ktstd_fail_Failure");
            return failure->Message();
        }
        return "raised nothing";
    };
    EXPECT_EQ(ktstd_fail_Failure::TypeOfClass(), ktstd_fail_Failure_Type_());
    const char* const none = nullptr;
    EXPECT_EQ(messageOf([] { ktstd_fail_Failure::Raise("what went wrong"); }), "what went wrong");
    EXPECT_EQ(messageOf([&] { ktstd_fail_Failure::Raise(none); }), "");
    EXPECT_EQ(messageOf([] {
                  std::strstream stream;
                  compose(stream);
                  ktstd_fail_Failure::Raise(stream);
              }),
              "value 12 of 3.5");
}

TEST(ktstd_fail_ProgramError, IsRaisedWithItsMessage)
{
    expectRaised<Hnd_ktstd_fail_ProgramError, Hnd_ktstd_fail_DivideByZero>(
        "ktstd_fail_ProgramError", ktstd_fail_ProgramError_Type_());
}

TEST(ktstd_fail_DivideByZero, IsRaisedWithItsMessage)
{
    expectRaised<Hnd_ktstd_fail_DivideByZero, Hnd_ktstd_fail_DomainError>(
        "ktstd_fail_DivideByZero", ktstd_fail_DivideByZero_Type_());
}

TEST(ktstd_fail_DomainError, IsRaisedWithItsMessage)
{
    expectRaised<Hnd_ktstd_fail_DomainError, Hnd_ktstd_fail_NoSuchObject>(
        "ktstd_fail_DomainError", ktstd_fail_DomainError_Type_());
}

TEST(ktstd_fail_NoSuchObject, IsRaisedWithItsMessage)
{
    expectRaised<Hnd_ktstd_fail_NoSuchObject, Hnd_ktstd_fail_OutOfRange>(
        "ktstd_fail_NoSuchObject", ktstd_fail_NoSuchObject_Type_());
}

TEST(ktstd_fail_NullObject, IsRaisedWithItsMessage)
{
    expectRaised<Hnd_ktstd_fail_NullObject, Hnd_ktstd_fail_OutOfRange>(
        "ktstd_fail_NullObject", ktstd_fail_NullObject_Type_());
}

TEST(ktstd_fail_OutOfRange, IsRaisedWithItsMessage)
{
    expectRaised<Hnd_ktstd_fail_OutOfRange, Hnd_ktstd_fail_FileIO>("ktstd_fail_OutOfRange",
                                                                   ktstd_fail_OutOfRange_Type_());
}

TEST(ktstd_fail_FileIO, IsRaisedWithItsMessage)
{
    expectRaised<Hnd_ktstd_fail_FileIO, Hnd_ktstd_fail_ProgramError>("ktstd_fail_FileIO",
                                                                     ktstd_fail_FileIO_Type_());
}

TEST(ktstd_fail_FileIO, CarriesItsCode)
{
    for (const unsigned code : {0U, 16U, 17U, 255U}) {
        EXPECT_TRUE(kt_test::raisesFileIO(code, "value 12 of 3.5", [code] {
            std::strstream stream;
            compose(stream);
            ktstd_fail_FileIO::Raise(stream, static_cast<unsigned char>(code));
        }));
    }
}

TEST(ktstd_fail_Failure, StreamWithoutBufferGivesAnEmptyMessage)
{
    EXPECT_TRUE(kt_test::raises<Hnd_ktstd_fail_OutOfRange>("", [] {
        std::strstream stream(nullptr, 0, std::ios_base::out);
        ktstd_fail_OutOfRange::Raise(stream);
    }));
}

TEST(ktstd_fail_Failure, OutlivesItsCatchBlockInAHandle)
{
    Hnd_ktstd_fail_Failure kept;
    try {
        std::strstream stream;
        compose(stream);
        ktstd_fail_OutOfRange::Raise(stream);
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        kept = failure;
    }
    ASSERT_EQ(kept.IsNull(), 0);
    EXPECT_EQ(kept->RefCount(), 1);
    EXPECT_STREQ(kept->Message(), "value 12 of 3.5");
    EXPECT_STREQ(kept->ClassName(), "ktstd_fail_OutOfRange");
}

TEST(ktstd_fail_Failure, LeavesTheStreamItsBuffer)
{
    std::strstream stream;
    compose(stream);
    EXPECT_TRUE(kt_test::raises<Hnd_ktstd_fail_OutOfRange>(
        "value 12 of 3.5", [&] { ktstd_fail_OutOfRange::Raise(stream); }));
    stream << std::string(10000, 'x');
    EXPECT_TRUE(stream.good()) << "a frozen buffer does not grow";
}

TEST(ktstd_fail_Failure, MessageIsACopy)
{
    Hnd_ktstd_fail_Failure kept;
    char text[] = "before";
    try {
        ktstd_fail_ProgramError::Raise(text);
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        text[0] = 'X';
        kept = failure;
    }
    EXPECT_STREQ(kept->Message(), "before");
}

TEST(ktstd_fail_Failure, IsAcknowledgedByCaught)
{
    try {
        ktstd_fail_ProgramError::Raise("what went wrong");
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        EXPECT_EQ(failure->IsCaught(), 0);
        failure->Caught();
        EXPECT_EQ(failure->IsCaught(), 1);
    }
}
