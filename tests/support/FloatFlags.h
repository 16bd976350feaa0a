//! @file
//! Tells whether calculations raise floating-point exception flags other than "inexact".
#pragma once

#include <cfenv>

namespace kt_test {

//! Flags raised since this object was made. It clears those of before and does not put them back:
//! on Windows, the functions that would do so also let the next such calculation trap.
class FloatFlags
{
public:
    FloatFlags() { std::feclearexcept(FE_ALL_EXCEPT); }

    //! Gives the bits of FE_INVALID, FE_DIVBYZERO, FE_OVERFLOW and FE_UNDERFLOW that are raised.
    [[nodiscard]] static int raised()
    {
        return std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
    }
};

//! A number that the compiler can't calculate with beforehand.
inline double opaque(double aValue)
{
    volatile double value = aValue;
    return value;
}

} // namespace kt_test
