//! @file
//! Late-bound calls to the host, typed: arguments in declared order, arrays owned, results
//! checked. Whatever the host answers, nothing leaks and nothing is believed unread.

#pragma once

#include "com/Com.h"
#include "ktstd/ktstd_AsciiString.h"

#include <initializer_list>

namespace ktmdl_detail {

//! Owns an array that the host fills or reads.
class HostArray
{
public:
    //! @param aType  element type that the array is passed as
    explicit HostArray(VARTYPE aType) noexcept : mType(aType) {}
    HostArray(const HostArray&) = delete;
    HostArray& operator=(const HostArray&) = delete;
    ~HostArray() { Destroy(); }

    //! Destroys the array, leaving none.
    void Destroy() noexcept;
    [[nodiscard]] SAFEARRAY* Get() const noexcept { return mArray; }
    //! Gives the place that receives an array; holds none when it is asked for.
    [[nodiscard]] SAFEARRAY** Receive() noexcept
    {
        Destroy();
        return &mArray;
    }
    //! Gives the array as a by-reference argument.
    [[nodiscard]] VARIANT ByRef() noexcept;
    //! Copies three doubles out, starting behind the first aSkip elements.
    //! @return  a failing code, and aOut as it was, when the array has no such doubles
    [[nodiscard]] HRESULT GetTriple(long aSkip, double (&aOut)[3]) const noexcept;

private:
    VARTYPE mType;
    SAFEARRAY* mArray{nullptr};
};

//! Gives the number of elements of a one-dimensional array, 0 for any other and for null.
[[nodiscard]] long ArrayLength(SAFEARRAY* aArray) noexcept;

// Arguments. They borrow what they refer to for the duration of the call.
[[nodiscard]] VARIANT In(LONG aValue) noexcept;
[[nodiscard]] VARIANT In(SHORT aValue) noexcept;
[[nodiscard]] VARIANT In(double aValue) noexcept;
[[nodiscard]] VARIANT In(const _bstr_t& aValue) noexcept;
[[nodiscard]] VARIANT InObject(IDispatch* aValue) noexcept;
//! The truth value "true".
[[nodiscard]] VARIANT True() noexcept;
[[nodiscard]] VARIANT ByRef(LONG& aValue) noexcept;
[[nodiscard]] VARIANT ByRef(double& aValue) noexcept;
[[nodiscard]] VARIANT ByRef(VARIANT& aValue) noexcept;
[[nodiscard]] VARIANT ByRef(IDispatch*& aValue) noexcept;
//! An optional argument that is left out.
[[nodiscard]] VARIANT Missing() noexcept;

//! Calls a member.
//! @param aObject  the host object; null gives E_POINTER
//! @param aKind    DISPATCH_METHOD, DISPATCH_PROPERTYGET or, with the new value as only argument,
//!                 DISPATCH_PROPERTYPUT
//! @param aArgs    in declared order
//! @param aResult  receives the result; may be null
//! @param aInfo    receives the host's error information when the call fails; may be null
//! @return         the host's code; for an exception that the host describes, the code inside it
[[nodiscard]] HRESULT TryInvoke(IDispatch* aObject, DISPID aMember, WORD aKind,
                                std::initializer_list<VARIANT> aArgs, VARIANT* aResult,
                                IErrorInfo** aInfo);

//! Calls a method.
//! @throws _com_error  the host's code and error information
void Call(IDispatch* aObject, DISPID aMember, std::initializer_list<VARIANT> aArgs);

//! Calls a method that answers a 32-bit integer.
//! @throws _com_error  the host's code; that of the conversion when the answer is no number
[[nodiscard]] LONG CallLong(IDispatch* aObject, DISPID aMember,
                            std::initializer_list<VARIANT> aArgs);

//! Sets a property.
//! @throws _com_error  the host's code and error information
void Put(IDispatch* aObject, DISPID aMember, VARIANT aValue);

//! Reads a property or calls a method that gives an object.
//! @return             the object, null when the host gives none
//! @throws _com_error  the host's code; DISP_E_TYPEMISMATCH when the answer is no object
[[nodiscard]] IDispatchPtr FetchObject(IDispatch* aObject, DISPID aMember, WORD aKind,
                                       std::initializer_list<VARIANT> aArgs);

//! Reads a property that gives an object, as FetchObject.
[[nodiscard]] IDispatchPtr PropertyObject(IDispatch* aObject, DISPID aMember);

//! Gives an item of a collection by its index, 1 for the first one. Item is member 0 of every
//! collection.
//! @return             the object, null when the host gives none
//! @throws _com_error  as FetchObject
[[nodiscard]] IDispatchPtr ItemOf(IDispatch* aCollection, LONG aIndex);

//! Reads a property, or calls a method, that gives a text.
//! @throws _com_error  the host's code; that of the conversion when the answer is no text
[[nodiscard]] ktstd_AsciiString FetchText(IDispatch* aObject, DISPID aMember, WORD aKind,
                                          std::initializer_list<VARIANT> aArgs);

//! Reads a property that gives a number.
//! @throws _com_error  the host's code; that of the conversion when the answer is no number
[[nodiscard]] double GetDouble(IDispatch* aObject, DISPID aMember);

//! Reads a property that gives a 32-bit integer.
//! @throws _com_error  the host's code; that of the conversion when the answer is no number
[[nodiscard]] LONG GetLong(IDispatch* aObject, DISPID aMember);

//! Reads a property that gives a truth value, as the 16 bits that the host answers: a Boolean or an
//! integer is not normalised.
//! @throws _com_error  the host's code; that of the conversion when the answer is no truth value
[[nodiscard]] VARIANT_BOOL GetBool(IDispatch* aObject, DISPID aMember);

//! Looks up the number of a member by its name, on this very object.
//! @throws _com_error  the look-up's code
[[nodiscard]] DISPID MemberId(IDispatch* aObject, const wchar_t* aName);

//! Tells whether two pointers designate one COM object; two null pointers do.
//! @throws _com_error  a pointer refuses IUnknown with a code other than E_NOINTERFACE
[[nodiscard]] bool IsSameComObject(const IDispatchPtr& aFirst, const IDispatchPtr& aSecond);

} // namespace ktmdl_detail
