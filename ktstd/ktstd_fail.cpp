#include "ktstd/ktstd_fail.h"

#include <algorithm>
#include <ostream>

namespace {

//! Leaves the buffer to a stream whose text was asked for.
struct Unfreezing
{
    explicit Unfreezing(std::strstream& aStream) noexcept : stream(aStream) {}
    Unfreezing(const Unfreezing&) = delete;
    Unfreezing& operator=(const Unfreezing&) = delete;
    ~Unfreezing() { stream.freeze(false); }

    std::strstream& stream;
};

//! Takes the text out of a stream, up to its NUL.
std::string textOf(std::strstream& aStream)
{
    const std::streamsize length = aStream.pcount();
    const Unfreezing unfreezing(aStream);
    const char* const text = aStream.str(); // freezes the buffer
    return text != nullptr ? std::string(text, std::find(text, text + length, '\0'))
                           : std::string();
}

} // namespace

#define KTSTD_DEFINE_FAILURE(CLASS, PARENT)                                                        \
    KTSTD_DEFINE_TYPE(CLASS, PARENT)                                                               \
    CLASS::~CLASS() = default;

#define KTSTD_DEFINE_RAISE(CLASS)                                                                  \
    void CLASS::Raise(const char* aMessage)                                                        \
    {                                                                                              \
        throw Hnd_##CLASS(new CLASS(aMessage));                                                    \
    }                                                                                              \
    void CLASS::Raise(std::strstream& aMessage)                                                    \
    {                                                                                              \
        Raise(textOf(aMessage).c_str());                                                           \
    }

KTSTD_DEFINE_FAILURE(ktstd_fail_Failure, ktstd_Transient)
KTSTD_DEFINE_FAILURE(ktstd_fail_ProgramError, ktstd_fail_Failure)
KTSTD_DEFINE_FAILURE(ktstd_fail_DivideByZero, ktstd_fail_Failure)
KTSTD_DEFINE_FAILURE(ktstd_fail_DomainError, ktstd_fail_Failure)
KTSTD_DEFINE_FAILURE(ktstd_fail_NoSuchObject, ktstd_fail_Failure)
KTSTD_DEFINE_FAILURE(ktstd_fail_NullObject, ktstd_fail_Failure)
KTSTD_DEFINE_FAILURE(ktstd_fail_OutOfRange, ktstd_fail_Failure)
KTSTD_DEFINE_FAILURE(ktstd_fail_FileIO, ktstd_fail_Failure)

KTSTD_DEFINE_RAISE(ktstd_fail_Failure)
KTSTD_DEFINE_RAISE(ktstd_fail_ProgramError)
KTSTD_DEFINE_RAISE(ktstd_fail_DivideByZero)
KTSTD_DEFINE_RAISE(ktstd_fail_DomainError)
KTSTD_DEFINE_RAISE(ktstd_fail_NoSuchObject)
KTSTD_DEFINE_RAISE(ktstd_fail_NullObject)
KTSTD_DEFINE_RAISE(ktstd_fail_OutOfRange)

ktstd_fail_Failure::ktstd_fail_Failure(const char* aMessage)
    : mMessage(aMessage != nullptr ? aMessage : "")
{}

void ktstd_fail_Failure::Caught()
{
    mIsCaught = 1;
}

const char* ktstd_fail_Failure::ClassName() const
{
    return DynamicType()->Name();
}

std::ostream& operator<<(std::ostream& aStream, const Hnd_ktstd_fail_Failure& aFailure)
{
    if (aFailure.IsNull() != 0) {
        return aStream << "no failure";
    }
    return aStream << aFailure->ClassName() << ": " << aFailure->Message();
}

ktstd_fail_FileIO::ktstd_fail_FileIO(const char* aMessage, unsigned char aCode)
    : ktstd_fail_Failure(aMessage),
      mCode(aCode)
{}

void ktstd_fail_FileIO::Raise(const char* aMessage, unsigned char aCode)
{
    throw Hnd_ktstd_fail_FileIO(new ktstd_fail_FileIO(aMessage, aCode));
}

void ktstd_fail_FileIO::Raise(std::strstream& aMessage, unsigned char aCode)
{
    Raise(textOf(aMessage).c_str(), aCode);
}
