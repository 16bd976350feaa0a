//! @file
//! Tables that describe a class of automation objects: one row per member. A new class is such a
//! table and the functions that it names.

#pragma once

#include "com/Com.h"

#include <string>
#include <vector>

namespace standin {

class Call;
class Object;

//! What a parameter takes. Shapes ending in Out and the arrays are by reference.
enum class Shape
{
    longIn,     //!< a number that fits 32 bits
    doubleIn,   //!< a number
    boolIn,     //!< VT_BOOL, or a number: not zero is true
    variantIn,  //!< anything
    textIn,     //!< VT_BSTR; a null one is empty
    objectIn,   //!< VT_DISPATCH, not null
    longOut,    //!< VT_BYREF | VT_I4
    doubleOut,  //!< VT_BYREF | VT_R8
    textOut,    //!< VT_BYREF | VT_BSTR; what stood there before is not freed
    objectOut,  //!< VT_BYREF | VT_DISPATCH; what stood there before is not released
    variantOut, //!< VT_BYREF | VT_VARIANT, or VT_BYREF | VT_I4 for a number
    bytes,      //!< VT_BYREF | VT_ARRAY | VT_UI1, one-dimensional, in and out
    doubles,    //!< VT_BYREF | VT_ARRAY | VT_R8, one-dimensional, in and out
    longs,      //!< VT_BYREF | VT_ARRAY | VT_I4, one-dimensional, in and out
    objects,    //!< VT_BYREF | VT_ARRAY | VT_DISPATCH, one-dimensional, in and out
};

struct Parameter
{
    const wchar_t* name = nullptr;
    Shape shape{};
    bool optional = false; //!< only behind those that are not
};

//! Does a member's work: reads its arguments from the call and leaves its answers there.
using Handler = void (*)(Object& object, Call& call);

//! Ways to call a member, as Invoke's flags have them.
constexpr WORD kMethod = DISPATCH_METHOD;
constexpr WORD kGet = DISPATCH_PROPERTYGET;
constexpr WORD kPut = DISPATCH_PROPERTYPUT;

//! One way to call a member. A property that can be set has a row of its own for that, behind the
//! one for reading; the row's last parameter is the new value.
struct Member
{
    DISPID id;
    const char* name;
    WORD kinds;
    std::vector<Parameter> parameters;
    Handler handler;
};

//! A class of automation objects.
struct ClassInfo
{
    const char* name;
    const IID* iid; //!< null: none of its own
    std::vector<Member> members;

    //! Finds the row of a member that answers a call of these kinds, the member's first row when
    //! none does.
    [[nodiscard]] const Member* find(DISPID id, WORD kinds) const noexcept;
    //! Finds a member by its name, letters of either case.
    [[nodiscard]] const Member* find(const wchar_t* memberName) const noexcept;
};

//! Finds a parameter by its name, letters of either case.
//! @return its index, -1 when there is none
[[nodiscard]] DISPID findParameter(const Member& member, const wchar_t* name) noexcept;

//! Makes a handler from a member function: handle<Face, &Face::facetData>.
template <typename T, void (T::*function)(Call&)>
void handle(Object& object, Call& call)
{
    (static_cast<T&>(object).*function)(call);
}

} // namespace standin
