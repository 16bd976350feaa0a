#include "standin/Call.h"

#include "com/ComText.h"
#include "standin/Text.h"

#include <cmath>
#include <limits>

namespace standin {
namespace {

//! The most points that one call may ask about.
constexpr LONG kMostPoints = 1000000;

//! Gives an array's elements; the caller has checked dimension and type.
template <typename Element>
std::vector<Element> elements(const VARIANTARG& argument)
{
    std::vector<Element> values;
    SAFEARRAY* const array = *V_ARRAYREF(&argument);
    if (array == nullptr) {
        return values;
    }
    LONG from = 0;
    LONG to = -1;
    void* data = nullptr;
    if (FAILED(SafeArrayGetLBound(array, 1, &from)) || FAILED(SafeArrayGetUBound(array, 1, &to)) ||
        FAILED(SafeArrayAccessData(array, &data))) {
        failCall(E_FAIL, "an array can't be read");
    }
    const auto* first = static_cast<const Element*>(data);
    values.assign(first, first + (static_cast<std::ptrdiff_t>(to) - from + 1));
    SafeArrayUnaccessData(array);
    return values;
}

std::string name(const Member& member, std::size_t parameter)
{
    return com::toUtf8(member.parameters[parameter].name);
}

} // namespace

void failCall(HRESULT code, const std::string& text)
{
    throw CallFailure{code, text, -1};
}

double Call::real(std::size_t parameter) const
{
    const double value = given_.real(parameter);
    if (!std::isfinite(value)) {
        failCall(E_INVALIDARG, name(calledMember, parameter) + " is not a finite number");
    }
    return value;
}

LONG Call::variantNumber(std::size_t parameter, LONG otherwise) const
{
    if (!given_.given(parameter)) {
        return otherwise;
    }
    LONG number = 0;
    const HRESULT result = toLong(given_.variant(parameter), number);
    if (FAILED(result)) {
        throw CallFailure{result, std::string(), static_cast<int>(parameter)};
    }
    return number;
}

std::size_t Call::index(std::size_t parameter, std::size_t count) const
{
    const LONG number = variantNumber(parameter, 0);
    if (number < 1 || static_cast<std::size_t>(number) > count) {
        throw CallFailure{DISP_E_BADINDEX, std::string(), static_cast<int>(parameter)};
    }
    return static_cast<std::size_t>(number) - 1;
}

std::size_t Call::count(std::size_t parameter) const
{
    const LONG number = given_.integer(parameter);
    if (number < 1 || number > kMostPoints) {
        failCall(E_INVALIDARG, name(calledMember, parameter) + " is " + std::to_string(number) +
                                   ", from 1 to " + std::to_string(kMostPoints) + " is allowed");
    }
    return static_cast<std::size_t>(number);
}

Doubles Call::doubles(std::size_t parameter) const
{
    return elements<double>(given_.raw(parameter));
}

Doubles Call::doubles(std::size_t parameter, std::size_t count) const
{
    Doubles values = doubles(parameter);
    if (values.size() < count) {
        failCall(E_INVALIDARG, name(calledMember, parameter) + " holds " +
                                   std::to_string(values.size()) + " numbers, " +
                                   std::to_string(count) + " are needed");
    }
    values.resize(count);
    for (const double value : values) {
        if (!std::isfinite(value)) {
            failCall(E_INVALIDARG, name(calledMember, parameter) + " holds a number that is not "
                                                                   "finite");
        }
    }
    return values;
}

Bytes Call::bytes(std::size_t parameter) const
{
    return elements<unsigned char>(given_.raw(parameter));
}

void Call::put(std::size_t parameter, Value value)
{
    if (given_.given(parameter)) {
        answers.setOut(parameter, std::move(value));
    }
}

} // namespace standin
