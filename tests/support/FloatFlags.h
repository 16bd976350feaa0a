//! @file
//! Tells whether calculations raise floating-point exception flags other than "inexact".
#pragma once

#include <cfenv>

namespace kt_test {

//! Flags raised since this object was made; puts back the flags of before at its end.
class FloatFlags
{
public:
    FloatFlags()
    {
        std::fegetexceptflag(&mSaved, FE_ALL_EXCEPT);
        std::feclearexcept(FE_ALL_EXCEPT);
    }
    FloatFlags(const FloatFlags&) = delete;
    FloatFlags& operator=(const FloatFlags&) = delete;
    ~FloatFlags() { std::fesetexceptflag(&mSaved, FE_ALL_EXCEPT); }

    //! Gives the bits of FE_INVALID, FE_DIVBYZERO, FE_OVERFLOW and FE_UNDERFLOW that are raised.
    [[nodiscard]] int raised() const
    {
        return std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
    }

private:
    std::fexcept_t mSaved{};
};

//! A number that the compiler can't calculate with beforehand.
inline double opaque(double aValue)
{
    volatile double value = aValue;
    return value;
}

} // namespace kt_test
