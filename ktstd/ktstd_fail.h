//! @file
//! Failures: what the libraries throw when one of their own checks fails.
//! They are thrown as typed handles, and catch (const Hnd_ktstd_fail_Failure&) catches them all.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_Handle.h"
#include "ktstd/ktstd_StrStream.h"
#include "ktstd/ktstd_Transient.h"
#include "ktstd/ktstd_Type.h"

#include <iosfwd>
#include <string>

class ktstd_fail_Failure;
class ktstd_fail_ProgramError;
class ktstd_fail_DivideByZero;
class ktstd_fail_DomainError;
class ktstd_fail_NoSuchObject;
class ktstd_fail_NullObject;
class ktstd_fail_OutOfRange;
class ktstd_fail_FileIO;

KTSTD_HANDLE(ktstd_fail_Failure, Hnd_ktstd_Transient)
KTSTD_HANDLE(ktstd_fail_ProgramError, Hnd_ktstd_fail_Failure)
KTSTD_HANDLE(ktstd_fail_DivideByZero, Hnd_ktstd_fail_Failure)
KTSTD_HANDLE(ktstd_fail_DomainError, Hnd_ktstd_fail_Failure)
KTSTD_HANDLE(ktstd_fail_NoSuchObject, Hnd_ktstd_fail_Failure)
KTSTD_HANDLE(ktstd_fail_NullObject, Hnd_ktstd_fail_Failure)
KTSTD_HANDLE(ktstd_fail_OutOfRange, Hnd_ktstd_fail_Failure)
KTSTD_HANDLE(ktstd_fail_FileIO, Hnd_ktstd_fail_Failure)

KTSTD_EXPORT Hnd_ktstd_Type& ktstd_fail_Failure_Type_();
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_fail_ProgramError_Type_();
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_fail_DivideByZero_Type_();
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_fail_DomainError_Type_();
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_fail_NoSuchObject_Type_();
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_fail_NullObject_Type_();
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_fail_OutOfRange_Type_();
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_fail_FileIO_Type_();

//! Common base of the failures: a class name and a message.
//! Each class has static Raise operations that throw a handle of the class and never return. They
//! take the message as text (null stands for an empty one) or in a string stream, whose text ends
//! at its first NUL, or at its end when it has none; the stream's buffer is left unfrozen. A text
//! for which there was no memory ends where the stream gave up.
class KTSTD_EXPORT ktstd_fail_Failure : public ktstd_Transient
{
public:
    explicit ktstd_fail_Failure(const char* aMessage);
    ktstd_fail_Failure(const ktstd_fail_Failure&) = delete;
    ktstd_fail_Failure& operator=(const ktstd_fail_Failure&) = delete;
    ~ktstd_fail_Failure() override;

    KTSTD_DECLARE_TYPE(ktstd_fail_Failure)
    //! Acknowledges the failure: whoever caught and reported it calls this once it is dealt with.
    virtual void Caught();

    [[noreturn]] static void Raise(const char* aMessage);
    [[noreturn]] static void Raise(std::strstream& aMessage);

    //! Gives the name of the failure's class, such as "ktstd_fail_FileIO".
    [[nodiscard]] const char* ClassName() const;
    //! Gives the message.
    [[nodiscard]] const char* Message() const noexcept { return mMessage.c_str(); }
    //! Tells whether the failure was acknowledged: 1 or 0.
    [[nodiscard]] unsigned char IsCaught() const noexcept { return mIsCaught; }

private:
    std::string mMessage;
    unsigned char mIsCaught{0};
};

//! Writes "CLASS: MESSAGE" without end of line; a null handle writes "no failure".
KTSTD_EXPORT std::ostream& operator<<(std::ostream& aStream,
                                      const Hnd_ktstd_fail_Failure& aFailure);

//! Something that can't be computed: the angle of a zero vector, a singular transformation.
class KTSTD_EXPORT ktstd_fail_ProgramError : public ktstd_fail_Failure
{
public:
    using ktstd_fail_Failure::ktstd_fail_Failure;
    ~ktstd_fail_ProgramError() override;
    KTSTD_DECLARE_TYPE(ktstd_fail_ProgramError)
    [[noreturn]] static void Raise(const char* aMessage);
    [[noreturn]] static void Raise(std::strstream& aMessage);
};

//! Division by, or normalisation with, a length that counts as zero.
class KTSTD_EXPORT ktstd_fail_DivideByZero : public ktstd_fail_Failure
{
public:
    using ktstd_fail_Failure::ktstd_fail_Failure;
    ~ktstd_fail_DivideByZero() override;
    KTSTD_DECLARE_TYPE(ktstd_fail_DivideByZero)
    [[noreturn]] static void Raise(const char* aMessage);
    [[noreturn]] static void Raise(std::strstream& aMessage);
};

//! An operation on an object that is not in the state for it.
class KTSTD_EXPORT ktstd_fail_DomainError : public ktstd_fail_Failure
{
public:
    using ktstd_fail_Failure::ktstd_fail_Failure;
    ~ktstd_fail_DomainError() override;
    KTSTD_DECLARE_TYPE(ktstd_fail_DomainError)
    [[noreturn]] static void Raise(const char* aMessage);
    [[noreturn]] static void Raise(std::strstream& aMessage);
};

//! An element asked for that isn't there: first of an empty sequence, key of a finished iterator.
class KTSTD_EXPORT ktstd_fail_NoSuchObject : public ktstd_fail_Failure
{
public:
    using ktstd_fail_Failure::ktstd_fail_Failure;
    ~ktstd_fail_NoSuchObject() override;
    KTSTD_DECLARE_TYPE(ktstd_fail_NoSuchObject)
    [[noreturn]] static void Raise(const char* aMessage);
    [[noreturn]] static void Raise(std::strstream& aMessage);
};

//! Use of a null handle.
class KTSTD_EXPORT ktstd_fail_NullObject : public ktstd_fail_Failure
{
public:
    using ktstd_fail_Failure::ktstd_fail_Failure;
    ~ktstd_fail_NullObject() override;
    KTSTD_DECLARE_TYPE(ktstd_fail_NullObject)
    [[noreturn]] static void Raise(const char* aMessage);
    [[noreturn]] static void Raise(std::strstream& aMessage);
};

//! An index or a number outside its range.
class KTSTD_EXPORT ktstd_fail_OutOfRange : public ktstd_fail_Failure
{
public:
    using ktstd_fail_Failure::ktstd_fail_Failure;
    ~ktstd_fail_OutOfRange() override;
    KTSTD_DECLARE_TYPE(ktstd_fail_OutOfRange)
    [[noreturn]] static void Raise(const char* aMessage);
    [[noreturn]] static void Raise(std::strstream& aMessage);
};

//! An archive that can't be written, or holds what can't be read.
class KTSTD_EXPORT ktstd_fail_FileIO : public ktstd_fail_Failure
{
public:
    //! What went wrong. 16 and 17 belong to the records of classes, the others to the archive.
    enum Reason : unsigned char
    {
        kUnspecified = 0,       //!< raised without a code
        kCannotOpen = 1,        //!< the file is missing, no plain file, or not accessible
        kCannotRead = 2,        //!< the file can't be read to its end
        kCannotWrite = 3,       //!< the file can't be written, flushed or moved in place
        kForeign = 4,           //!< the bytes are no archive
        kBadFormat = 5,         //!< the archive's format version is not one that can be read
        kTruncated = 6,         //!< the archive ends too early
        kAltered = 7,           //!< the archive is whole, but its bytes were changed
        kDamaged = 8,           //!< a length, count or kind that can't be
        kUnknownClass = 9,      //!< an object of a class that the program doesn't know
        kWrongClass = 10,       //!< an object of another class than the reader expects
        kBadReference = 11,     //!< a reference to an object that was not read before
        kTooDeep = 12,          //!< objects nested deeper than the stack allows
        kValueOutOfRange = 13,  //!< a value to be stored doesn't fit its field
        kWrongMode = 14,        //!< read while storing, write while loading or when finished
        kBadClassVersion = 16,  //!< a class version that the program can't read
        kMissingEndOfClass = 17 //!< a record doesn't end where it should
    };

    //! @param aMessage  what is wrong, where and why
    //! @param aCode     a Reason
    explicit ktstd_fail_FileIO(const char* aMessage, unsigned char aCode = kUnspecified);
    ~ktstd_fail_FileIO() override;
    KTSTD_DECLARE_TYPE(ktstd_fail_FileIO)
    [[noreturn]] static void Raise(const char* aMessage, unsigned char aCode = kUnspecified);
    [[noreturn]] static void Raise(std::strstream& aMessage, unsigned char aCode = kUnspecified);

    //! Gives the code that the failure was raised with.
    [[nodiscard]] unsigned char Code() const noexcept { return mCode; }

private:
    unsigned char mCode;
};
