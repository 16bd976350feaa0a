//! @file
//! What a call answers, kept aside until it is complete, changed by the fault plan, and only then
//! written to the caller's memory.

#pragma once

#include "com/Com.h"
#include "standin/Arguments.h"
#include "standin/FaultPlan.h"

#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace standin {

class Object;

using Doubles = std::vector<double>;
using Longs = std::vector<std::int32_t>;
using Bytes = std::vector<unsigned char>;
using Objects = std::vector<IDispatchPtr>;

//! An answer; monostate: nothing. Texts are UTF-8.
using Value = std::variant<std::monostate, std::int32_t, double, bool, std::string, IDispatchPtr,
                           Doubles, Longs, Bytes, Objects, _variant_t>;

[[nodiscard]] inline Value asLong(LONG value)
{
    return Value(std::in_place_type<std::int32_t>, value);
}
[[nodiscard]] inline Value asDouble(double value)
{
    return Value(std::in_place_type<double>, value);
}
[[nodiscard]] inline Value asBool(bool value)
{
    return Value(std::in_place_type<bool>, value);
}
[[nodiscard]] inline Value asText(std::string value)
{
    return Value(std::in_place_type<std::string>, std::move(value));
}
[[nodiscard]] inline Value asObject(IDispatchPtr value)
{
    return Value(std::in_place_type<IDispatchPtr>, std::move(value));
}
template <typename Array>
[[nodiscard]] Value asArray(Array value)
{
    return Value(std::in_place_type<Array>, std::move(value));
}

//! A value and how it is to be packed.
struct Packed
{
    Value value;
    VARTYPE elementType = VT_EMPTY; //!< of an array; VT_EMPTY: the type of its values
    LONG lowerBound = 0;
    bool nullArray = false;
    bool tampered = false; //!< an array is to be made anew even when the caller's fits
};

//! The answers of one call.
class Result
{
public:
    void setResult(Value value) { result.value = std::move(value); }
    void setOut(std::size_t parameter, Value value);

    //! Tells whether a fault can change these answers.
    [[nodiscard]] bool canChange(const Fault& fault, const Member& member) const;
    //! Changes the answers as a fault says.
    void change(const Fault& fault, const Member& member, Object& called);

    //! Writes the answers to the caller's memory: all or, when it fails, nothing.
    //! @param variant  receives the result; null: it is dropped
    //! @throws CallFailure  E_OUTOFMEMORY, DISP_E_ARRAYISLOCKED
    void deliver(const Member& member, const Arguments& arguments, VARIANT* variant);

    //! Writes the answers for the journal.
    [[nodiscard]] std::string text() const;

private:
    Packed result;
    std::vector<std::pair<std::size_t, Packed>> outs;
};

} // namespace standin
