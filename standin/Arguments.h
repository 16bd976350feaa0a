//! @file
//! Takes the arguments of a late-bound call apart and holds them against the member's parameters.

#pragma once

#include "com/Com.h"
#include "standin/Member.h"

#include <cstdint>
#include <string>
#include <vector>

namespace standin {

//! Why a call ends without doing its work.
struct CallFailure
{
    HRESULT code{};
    std::string text;   //!< for EXCEPINFO; empty: the code is answered as it is
    int parameter = -1; //!< the parameter at fault, -1: none; below: an argument without parameter
};

//! The arguments of one call, by the index of the parameter. The caller's memory is borrowed.
class Arguments
{
public:
    //! Assigns arguments to parameters and checks count, names and types.
    //! @param params  null counts as no arguments
    //! The new value of a property that is set must come as the argument named DISPID_PROPERTYPUT.
    //! @throws CallFailure  DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTFOUND, DISP_E_PARAMNOTOPTIONAL,
    //!                      DISP_E_TYPEMISMATCH, DISP_E_OVERFLOW, E_POINTER
    Arguments(const Member& member, const DISPPARAMS* params);

    //! Gives the index in DISPPARAMS::rgvarg of a parameter's argument, 0 when there is none.
    [[nodiscard]] static UINT position(const DISPPARAMS* params, int parameter) noexcept;

    [[nodiscard]] bool given(std::size_t parameter) const { return slots[parameter].given; }
    [[nodiscard]] LONG integer(std::size_t parameter) const { return slots[parameter].integer; }
    [[nodiscard]] double real(std::size_t parameter) const { return slots[parameter].real; }
    [[nodiscard]] bool flag(std::size_t parameter) const { return slots[parameter].integer != 0; }
    //! Gives a text as UTF-8.
    [[nodiscard]] std::string textOf(std::size_t parameter) const;
    //! Gives an object, borrowed.
    [[nodiscard]] IDispatch* object(std::size_t parameter) const { return slots[parameter].object; }
    //! Gives the variant behind a by-value argument.
    [[nodiscard]] const VARIANT& variant(std::size_t parameter) const
    {
        return *slots[parameter].value;
    }
    //! Gives the caller's argument itself.
    [[nodiscard]] VARIANTARG& raw(std::size_t parameter) const { return *slots[parameter].raw; }

    //! Writes arguments for the journal, in declared order.
    [[nodiscard]] static std::string text(const DISPPARAMS* params);

private:
    struct Slot
    {
        VARIANTARG* raw = nullptr;
        const VARIANT* value = nullptr; //!< raw, or what its by-reference VARIANT points to
        bool given = false;
        LONG integer = 0;
        double real = 0.0;
        BSTR text = nullptr;         //!< the caller's
        IDispatch* object = nullptr; //!< the caller's
    };

    void assign(const Member& member, const DISPPARAMS* params);
    //! Gives the parameter that a named argument is for, the count of parameters when none has the
    //! name.
    [[nodiscard]] std::size_t parameterNamed(const Member& member, DISPID name) const noexcept;
    void check(const Parameter& parameter, Slot& slot, int index) const;

    std::vector<Slot> slots;
};

//! Converts a number of whatever type to a 32-bit one, rounding halves to even.
//! @return S_OK, DISP_E_TYPEMISMATCH when it is no number, DISP_E_OVERFLOW when it does not fit
[[nodiscard]] HRESULT toLong(const VARIANT& value, LONG& number) noexcept;
//! Converts a number of whatever type.
//! @return S_OK, DISP_E_TYPEMISMATCH when it is no number
[[nodiscard]] HRESULT toDouble(const VARIANT& value, double& number) noexcept;

//! Takes the object out of a value: VT_DISPATCH, also by reference, which may be null.
//! @param object  borrowed
//! @return S_OK, DISP_E_TYPEMISMATCH for all else
[[nodiscard]] HRESULT toObject(const VARIANT& value, IDispatch*& object) noexcept;

//! Writes an argument or a result for the journal: 3, 0.05, "text", double[3]&, missing.
[[nodiscard]] std::string describe(const VARIANT& value);

} // namespace standin
