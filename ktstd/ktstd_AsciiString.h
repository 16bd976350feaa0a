//! @file
//! 8-bit character string value, in UTF-8.
#pragma once

#include "ktstd/ktstd_Export.h"

#include <iosfwd>
#include <string>

// NOLINTNEXTLINE(bugprone-reserved-identifier): the platform calls it so
class _bstr_t;
class ktstd_Archive;

//! A text of 8-bit characters; what comes from wide text is UTF-8.
//! Two strings are equal when their bytes are. A copy shares nothing. Default is the empty string.
class KTSTD_EXPORT ktstd_AsciiString
{
public:
    ktstd_AsciiString() noexcept = default;
    //! @param aText  copied up to its NUL; null gives the empty string
    // NOLINTNEXTLINE(google-explicit-constructor): a text literal stands wherever a string may
    ktstd_AsciiString(const char* aText);
    //! @param aNumber  written in decimal
    explicit ktstd_AsciiString(long aNumber);
    //! @param aText  converted to UTF-8, up to its length; what is no UTF-16 or UTF-32 becomes
    //!               U+FFFD
    explicit ktstd_AsciiString(const _bstr_t& aText);

    //! Becomes equal to another string.
    void Copy(const ktstd_AsciiString& aOther);
    //! Becomes the empty string.
    void Destroy() noexcept;
    //! Appends a text; the string itself is allowed.
    void AssignCat(const ktstd_AsciiString& aOther);
    //! Appends a text.
    //! @param aText  up to its NUL; null appends nothing; may be this string's own text
    void AssignCat(const char* aText);
    //! Gives 1 when both strings have the same bytes, else 0.
    [[nodiscard]] unsigned char IsEqual(const ktstd_AsciiString& aOther) const noexcept;
    //! Gives 0 when both strings have the same bytes, else 1.
    [[nodiscard]] unsigned char IsDifferent(const ktstd_AsciiString& aOther) const noexcept;

    //! Gives 1 when the string has no byte, else 0.
    [[nodiscard]] unsigned char IsEmpty() const noexcept { return mText.empty() ? 1 : 0; }
    //! Gives the number of bytes.
    [[nodiscard]] long Length() const noexcept { return static_cast<long>(mText.size()); }
    //! Gives the bytes, ended by a NUL; borrowed until the string changes.
    [[nodiscard]] const char* ToCString() const noexcept { return mText.c_str(); }

private:
    friend KTSTD_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive,
                                                  ktstd_AsciiString& aString);

    std::string mText;
};

inline bool operator==(const ktstd_AsciiString& aFirst, const ktstd_AsciiString& aSecond) noexcept
{
    return aFirst.IsEqual(aSecond) != 0;
}
inline bool operator!=(const ktstd_AsciiString& aFirst, const ktstd_AsciiString& aSecond) noexcept
{
    return !(aFirst == aSecond);
}

//! Writes the bytes of a string.
KTSTD_EXPORT std::ostream& operator<<(std::ostream& aStream, const ktstd_AsciiString& aString);

//! Stores a string: its length in 4 bytes, then its bytes.
//! @throws ktstd_fail_FileIO  the string is longer than 2,147,483,647 bytes; nothing is stored
KTSTD_EXPORT ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktstd_AsciiString& aString);
//! Loads a string, which is left as it was when that fails.
//! @throws ktstd_fail_FileIO  the archive ends before the string does
KTSTD_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktstd_AsciiString& aString);
