#include "standin/Result.h"

#include "standin/Object.h"
#include "standin/Text.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

namespace standin {
namespace {

const char* const kNotANumber = "not a number";

[[noreturn]] void reject(HRESULT code)
{
    throw CallFailure{code, std::string(), -1};
}

bool isArray(const Value& value)
{
    return std::holds_alternative<Doubles>(value) || std::holds_alternative<Longs>(value) ||
           std::holds_alternative<Bytes>(value) || std::holds_alternative<Objects>(value);
}

bool isObject(const Value& value)
{
    return std::holds_alternative<IDispatchPtr>(value);
}

bool isNumber(const Value& value)
{
    return std::holds_alternative<std::int32_t>(value) || std::holds_alternative<double>(value);
}

bool isNothing(const Value& value)
{
    return std::holds_alternative<std::monostate>(value);
}

//! Applies a function to the array in a value.
template <typename Each>
auto onArray(const Value& value, Each each)
{
    if (const auto* reals = std::get_if<Doubles>(&value)) {
        return each(*reals);
    }
    if (const auto* integers = std::get_if<Longs>(&value)) {
        return each(*integers);
    }
    if (const auto* objects = std::get_if<Objects>(&value)) {
        return each(*objects);
    }
    return each(std::get<Bytes>(value));
}

VARTYPE naturalType(const Value& value)
{
    return std::holds_alternative<Doubles>(value)   ? static_cast<VARTYPE>(VT_R8)
           : std::holds_alternative<Longs>(value)   ? static_cast<VARTYPE>(VT_I4)
           : std::holds_alternative<Objects>(value) ? static_cast<VARTYPE>(VT_DISPATCH)
                                                    : static_cast<VARTYPE>(VT_UI1);
}

template <typename To, typename From>
void copyElements(void* target, const From& source)
{
    To* place = static_cast<To*>(target);
    for (const auto& element : source) {
        if constexpr (std::is_same_v<To, IDispatch*>) {
            *place++ = IDispatchPtr(element).Detach();
        } else if constexpr (std::is_same_v<From, Objects>) {
            *place++ = To(); // an object is no number
        } else {
            *place++ = static_cast<To>(element);
        }
    }
}

//! Owns a new array until the caller gets it.
class NewArray
{
public:
    NewArray() = default;
    NewArray(const NewArray&) = delete;
    NewArray& operator=(const NewArray&) = delete;
    NewArray(NewArray&& other) noexcept : array(other.release()) {}
    NewArray& operator=(NewArray&&) = delete;
    ~NewArray() { SafeArrayDestroy(array); }

    void fill(const Packed& packed)
    {
        const VARTYPE type =
            packed.elementType == VT_EMPTY ? naturalType(packed.value) : packed.elementType;
        onArray(packed.value, [&](const auto& elements) {
            array =
                SafeArrayCreateVector(type, packed.lowerBound, static_cast<ULONG>(elements.size()));
            void* data = nullptr;
            if (array == nullptr || FAILED(SafeArrayAccessData(array, &data))) {
                reject(E_OUTOFMEMORY);
            }
            if (type == VT_R8) {
                copyElements<double>(data, elements);
            } else if (type == VT_I4) {
                copyElements<LONG>(data, elements);
            } else if constexpr (std::is_same_v<std::decay_t<decltype(elements)>, Objects>) {
                copyElements<IDispatch*>(data, elements);
            } else {
                copyElements<BYTE>(data, elements);
            }
            SafeArrayUnaccessData(array);
        });
    }
    SAFEARRAY* release() noexcept { return std::exchange(array, nullptr); }

private:
    SAFEARRAY* array = nullptr;
};

//! Packs a value as a variant.
_variant_t pack(const Packed& packed)
{
    _variant_t variant;
    const Value& value = packed.value;
    if (const auto* integer = std::get_if<std::int32_t>(&value)) {
        V_VT(&variant) = VT_I4;
        V_I4(&variant) = *integer;
    } else if (const auto* real = std::get_if<double>(&value)) {
        V_VT(&variant) = VT_R8;
        V_R8(&variant) = *real;
    } else if (const auto* flag = std::get_if<bool>(&value)) {
        V_VT(&variant) = VT_BOOL;
        V_BOOL(&variant) = *flag ? VARIANT_TRUE : VARIANT_FALSE;
    } else if (const auto* text = std::get_if<std::string>(&value)) {
        V_BSTR(&variant) = makeBstr(*text);
        if (V_BSTR(&variant) == nullptr) {
            reject(E_OUTOFMEMORY);
        }
        V_VT(&variant) = VT_BSTR;
    } else if (const auto* object = std::get_if<IDispatchPtr>(&value)) {
        V_VT(&variant) = VT_DISPATCH;
        V_DISPATCH(&variant) = object->GetInterfacePtr();
        if (V_DISPATCH(&variant) != nullptr) {
            V_DISPATCH(&variant)->AddRef();
        }
    } else if (const auto* whole = std::get_if<_variant_t>(&value)) {
        variant = *whole;
    } else if (isArray(value)) {
        NewArray array;
        if (!packed.nullArray) {
            array.fill(packed);
        }
        V_ARRAY(&variant) = array.release();
        V_VT(&variant) = static_cast<VARTYPE>(
            VT_ARRAY | (packed.elementType == VT_EMPTY ? naturalType(value) : packed.elementType));
    }
    return variant;
}

//! Tells whether the caller's array takes the answer as it is.
bool fits(SAFEARRAY* array, const Packed& packed)
{
    LONG from = 0;
    LONG to = -1;
    // An array of objects is always made anew: the caller's elements are the caller's.
    if (array == nullptr || packed.tampered || std::holds_alternative<Objects>(packed.value) ||
        FAILED(SafeArrayGetLBound(array, 1, &from)) || FAILED(SafeArrayGetUBound(array, 1, &to))) {
        return false;
    }
    const auto held = static_cast<long long>(to) - from + 1;
    return onArray(packed.value, [held](const auto& elements) {
        return static_cast<long long>(elements.size()) == held;
    });
}

void overwrite(SAFEARRAY* array, const Value& value)
{
    void* data = nullptr;
    if (FAILED(SafeArrayAccessData(array, &data))) {
        return;
    }
    onArray(value, [data](const auto& elements) {
        using Element = typename std::decay_t<decltype(elements)>::value_type;
        if constexpr (std::is_trivially_copyable_v<Element>) {
            if (!elements.empty()) {
                std::memcpy(data, elements.data(), elements.size() * sizeof(Element));
            }
        }
    });
    SafeArrayUnaccessData(array);
}

//! Tells whether a by-reference argument is untyped, so that its type can be changed.
bool isUntyped(const Member& member, std::size_t parameter)
{
    return member.parameters[parameter].shape == Shape::variantOut;
}

bool changesArray(FaultKind kind)
{
    return kind == FaultKind::nullArray || kind == FaultKind::emptyArray ||
           kind == FaultKind::shortArray || kind == FaultKind::otherElementType ||
           kind == FaultKind::otherLowerBound;
}

bool canChangeOne(FaultKind kind, const Value& value, bool untyped)
{
    if (changesArray(kind)) {
        const bool nothingToTake = kind == FaultKind::shortArray && isArray(value) &&
                                   onArray(value, [](const auto& all) { return all.empty(); });
        return isArray(value) && !nothingToTake;
    }
    switch (kind) {
    case FaultKind::nullObject:
        return isObject(value);
    case FaultKind::wrongType:
        return untyped && !isNothing(value) && !isArray(value);
    case FaultKind::textForNumber:
        return untyped && (isNumber(value) || std::holds_alternative<bool>(value));
    case FaultKind::differentAnswer:
        return !isNothing(value);
    default:
        return false;
    }
}

void cutArray(Value& value, bool whole)
{
    std::visit(
        [whole](auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, Doubles> || std::is_same_v<Held, Longs> ||
                          std::is_same_v<Held, Bytes> || std::is_same_v<Held, Objects>) {
                held.resize(whole || held.empty() ? 0 : held.size() - 1);
            }
        },
        value);
}

void changeArray(FaultKind kind, Packed& packed)
{
    packed.tampered = true;
    switch (kind) {
    case FaultKind::nullArray:
        packed.nullArray = true;
        break;
    case FaultKind::emptyArray:
        cutArray(packed.value, true);
        break;
    case FaultKind::shortArray:
        cutArray(packed.value, false);
        break;
    case FaultKind::otherElementType:
        packed.elementType = std::holds_alternative<Doubles>(packed.value)
                                 ? static_cast<VARTYPE>(VT_I4)
                                 : static_cast<VARTYPE>(VT_R8);
        break;
    default:
        packed.lowerBound = 5;
        break;
    }
}

void replaceByTwin(IDispatchPtr& object)
{
    if (auto* known = dynamic_cast<Object*>(object.GetInterfacePtr())) {
        object = known->twin();
    }
}

void answerDifferently(Value& value)
{
    if (auto* integer = std::get_if<std::int32_t>(&value)) {
        *integer = static_cast<std::int32_t>(static_cast<std::uint32_t>(*integer) + 1u);
    } else if (auto* real = std::get_if<double>(&value)) {
        *real += 1.0;
    } else if (auto* flag = std::get_if<bool>(&value)) {
        *flag = !*flag;
    } else if (auto* text = std::get_if<std::string>(&value)) {
        *text += "~";
    } else if (auto* object = std::get_if<IDispatchPtr>(&value)) {
        replaceByTwin(*object);
    } else if (auto* objects = std::get_if<Objects>(&value)) {
        std::for_each(objects->begin(), objects->end(), replaceByTwin);
    } else if (auto* reals = std::get_if<Doubles>(&value)) {
        for (double& each : *reals) {
            each += 1.0;
        }
    } else if (auto* integers = std::get_if<Longs>(&value)) {
        for (std::int32_t& each : *integers) {
            each = static_cast<std::int32_t>(static_cast<std::uint32_t>(each) + 1u);
        }
    } else if (auto* bytes = std::get_if<Bytes>(&value); bytes != nullptr && !bytes->empty()) {
        bytes->back() = static_cast<unsigned char>(~bytes->back() & 0xFFu);
    }
}

void changeType(Value& value, Object& called)
{
    if (isObject(value)) {
        value = asLong(7);
    } else if (std::holds_alternative<std::string>(value)) {
        value = asDouble(0.5);
    } else {
        value = asObject(IDispatchPtr(static_cast<IDispatch*>(&called)));
    }
}

void changeOne(FaultKind kind, Packed& packed, Object& called)
{
    if (changesArray(kind)) {
        changeArray(kind, packed);
        return;
    }
    switch (kind) {
    case FaultKind::nullObject:
        packed.value = asObject(IDispatchPtr());
        break;
    case FaultKind::wrongType:
        changeType(packed.value, called);
        break;
    case FaultKind::textForNumber:
        packed.value = asText(kNotANumber);
        break;
    default:
        packed.tampered = isArray(packed.value);
        answerDifferently(packed.value);
        break;
    }
}

//! One answer, made and waiting to be handed over.
struct Ready
{
    VARIANTARG* target = nullptr;
    const Packed* packed = nullptr;
    Shape shape{};
    bool inPlace = false;
    NewArray array;
    _variant_t variant;
};

void prepareArray(Ready& ready)
{
    SAFEARRAY* const held = *V_ARRAYREF(ready.target);
    ready.inPlace = fits(held, *ready.packed);
    if (ready.inPlace) {
        return;
    }
    if (held != nullptr && held->cLocks > 0) {
        reject(DISP_E_ARRAYISLOCKED);
    }
    if (!ready.packed->nullArray) {
        ready.array.fill(*ready.packed);
    }
}

void prepare(Ready& ready)
{
    if (V_ISARRAY(ready.target)) {
        prepareArray(ready);
        return;
    }
    ready.variant = pack(*ready.packed);
    LONG number = 0;
    if (ready.shape == Shape::variantOut && V_VT(ready.target) == (VT_BYREF | VT_I4) &&
        FAILED(toLong(ready.variant, number))) {
        // A text does not go into the caller's number; the caller sees that nothing came.
        ready.variant = _variant_t(static_cast<LONG>(0));
    }
}

void handOverArray(Ready& ready)
{
    SAFEARRAY** const place = V_ARRAYREF(ready.target);
    if (ready.inPlace) {
        overwrite(*place, ready.packed->value);
        return;
    }
    SafeArrayDestroy(*place);
    *place = ready.array.release();
}

void handOver(Ready& ready)
{
    VARIANTARG* const target = ready.target;
    if (V_ISARRAY(target)) {
        handOverArray(ready);
        return;
    }
    const VARTYPE type = V_VT(target);
    if (type == (VT_BYREF | VT_I4)) {
        LONG number = 0;
        if (SUCCEEDED(toLong(ready.variant, number))) {
            *V_I4REF(target) = number;
        }
    } else if (type == (VT_BYREF | VT_R8)) {
        double number = 0.0;
        if (SUCCEEDED(toDouble(ready.variant, number))) {
            *V_R8REF(target) = number;
        }
    } else if (type == (VT_BYREF | VT_BSTR)) {
        *V_BSTRREF(target) = V_BSTR(&ready.variant);
        V_VT(&ready.variant) = VT_EMPTY;
    } else if (type == (VT_BYREF | VT_DISPATCH)) {
        *V_DISPATCHREF(target) = V_DISPATCH(&ready.variant);
        V_VT(&ready.variant) = VT_EMPTY;
    } else {
        VariantClear(V_VARIANTREF(target));
        *V_VARIANTREF(target) = ready.variant.Detach();
    }
}

std::string describeOne(const Packed& packed)
{
    if (isArray(packed.value) && packed.nullArray) {
        return "null array";
    }
    return describe(pack(packed));
}

} // namespace

void Result::setOut(std::size_t parameter, Value value)
{
    Packed packed;
    packed.value = std::move(value);
    outs.emplace_back(parameter, std::move(packed));
}

bool Result::canChange(const Fault& fault, const Member& member) const
{
    if (fault.kind == FaultKind::noResult || fault.kind == FaultKind::replaceResult) {
        return !isNothing(result.value);
    }
    if (canChangeOne(fault.kind, result.value, true)) {
        return true;
    }
    for (const auto& [parameter, packed] : outs) {
        if (canChangeOne(fault.kind, packed.value, isUntyped(member, parameter))) {
            return true;
        }
    }
    return false;
}

void Result::change(const Fault& fault, const Member& member, Object& called)
{
    if (fault.kind == FaultKind::noResult) {
        result.value = Value();
        return;
    }
    if (fault.kind == FaultKind::replaceResult) {
        result.value = Value(std::in_place_type<_variant_t>, fault.value);
        return;
    }
    if (canChangeOne(fault.kind, result.value, true)) {
        changeOne(fault.kind, result, called);
    }
    for (auto& [parameter, packed] : outs) {
        if (canChangeOne(fault.kind, packed.value, isUntyped(member, parameter))) {
            changeOne(fault.kind, packed, called);
        }
    }
}

void Result::deliver(const Member& member, const Arguments& arguments, VARIANT* variant)
{
    std::vector<Ready> ready;
    ready.reserve(outs.size());
    for (const auto& [parameter, packed] : outs) {
        Ready one;
        one.target = &arguments.raw(parameter);
        one.packed = &packed;
        one.shape = member.parameters[parameter].shape;
        prepare(one);
        ready.push_back(std::move(one));
    }
    _variant_t answer = pack(result);
    for (Ready& one : ready) {
        handOver(one);
    }
    if (variant != nullptr) {
        *variant = answer.Detach();
    }
}

std::string Result::text() const
{
    std::string text = isNothing(result.value) ? std::string() : describeOne(result);
    for (const auto& [parameter, packed] : outs) {
        text += (text.empty() ? "" : ", ") + describeOne(packed);
    }
    return text;
}

} // namespace standin
