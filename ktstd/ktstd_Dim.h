//! @file
//! A dimensioned quantity: a number, a length or an angle.
#pragma once

#include "ktstd/ktstd_Export.h"

#include <iosfwd>

class ktstd_Archive;

//! A value and what it measures. Default is the plain number 0.
//! Values are kept bit for bit, infinite and not-a-number too.
class KTSTD_EXPORT ktstd_Dim
{
public:
    //! What a value measures. The numbers stand in archives.
    enum Kind : unsigned char
    {
        kNumber = 0, //!< a plain number
        kLength = 1, //!< metres
        kAngle = 2   //!< radians
    };

    ktstd_Dim() noexcept = default;
    //! @param aKind  a number that is no kind makes a plain number
    explicit ktstd_Dim(double aValue, Kind aKind = kNumber) noexcept
        : mValue(aValue),
          mKind(aKind <= kAngle ? aKind : kNumber)
    {}

    //! Takes over value and kind of another quantity.
    void Copy(const ktstd_Dim& aOther) noexcept { *this = aOther; }

    //! Gives the value in the unit of its kind.
    [[nodiscard]] double Value() const noexcept { return mValue; }
    [[nodiscard]] Kind Measures() const noexcept { return mKind; }
    //! Changes the value, not what it measures.
    void SetValue(double aValue) noexcept { mValue = aValue; }
    //! Gives 1 when both measure the same and have equal values, else 0. As numbers compare: -0
    //! equals 0, not-a-number equals nothing.
    [[nodiscard]] unsigned char IsEqual(const ktstd_Dim& aOther) const noexcept;

private:
    double mValue{0.0};
    Kind mKind{kNumber};
};

inline bool operator==(const ktstd_Dim& aFirst, const ktstd_Dim& aSecond) noexcept
{
    return aFirst.IsEqual(aSecond) != 0;
}
inline bool operator!=(const ktstd_Dim& aFirst, const ktstd_Dim& aSecond) noexcept
{
    return !(aFirst == aSecond);
}

//! Writes a quantity as "0.5", "0.5 m" or "0.5 rad": up to 15 significant digits, a point whatever
//! the locale, "infinity", "-infinity" or "not a number" for such values.
KTSTD_EXPORT std::ostream& operator<<(std::ostream& aStream, const ktstd_Dim& aDim);

//! Stores a quantity: its kind in 1 byte, then the 8 bytes of its value.
KTSTD_EXPORT ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktstd_Dim& aDim);
//! Loads a quantity, which is left as it was when that fails.
//! @throws ktstd_fail_FileIO  the archive ends too early, or the kind is none that there is
KTSTD_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktstd_Dim& aDim);
