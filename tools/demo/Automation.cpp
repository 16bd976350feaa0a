#include "demo/Automation.h"

#include "com/ComText.h"

#include <map>

namespace demo {
namespace {

void check(HRESULT code)
{
    if (FAILED(code)) {
        _com_issue_error(code);
    }
}

_variant_t call(const IDispatchPtr& object, const wchar_t* name, WORD kind, VARIANT* argument)
{
    std::wstring text(name);
    LPOLESTR names[] = {text.data()};
    DISPID id = 0;
    check(object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id));
    DISPPARAMS params{};
    params.rgvarg = argument;
    params.cArgs = argument != nullptr ? 1 : 0;
    _variant_t result;
    check(object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, kind, &params, &result, nullptr,
                         nullptr));
    return result;
}

IDispatchPtr asObject(const _variant_t& value)
{
    IDispatchPtr object = value.vt == VT_DISPATCH ? IDispatchPtr(value.pdispVal) : IDispatchPtr();
    if (object == nullptr) {
        _com_issue_error(E_POINTER);
    }
    return object;
}

} // namespace

IDispatchPtr objectProperty(const IDispatchPtr& object, const wchar_t* name)
{
    return asObject(call(object, name, DISPATCH_PROPERTYGET, nullptr));
}

long longProperty(const IDispatchPtr& object, const wchar_t* name)
{
    _variant_t value = call(object, name, DISPATCH_PROPERTYGET, nullptr);
    check(VariantChangeType(&value, &value, 0, VT_I4));
    return value.lVal;
}

std::string textProperty(const IDispatchPtr& object, const wchar_t* name)
{
    _variant_t value = call(object, name, DISPATCH_PROPERTYGET, nullptr);
    check(VariantChangeType(&value, &value, 0, VT_BSTR));
    return com::toUtf8(value.bstrVal, SysStringLen(value.bstrVal));
}

std::vector<IDispatchPtr> items(const IDispatchPtr& collection)
{
    std::vector<IDispatchPtr> result;
    const long count = longProperty(collection, L"Count");
    for (long i = 1; i <= count; ++i) {
        VARIANT index{};
        VariantInit(&index);
        index.vt = VT_I4;
        index.lVal = static_cast<LONG>(i);
        result.push_back(asObject(call(collection, L"Item", DISPATCH_METHOD, &index)));
    }
    return result;
}

std::string surfaceName(const IDispatchPtr& face)
{
    // The host's codes for the kinds of surface.
    static const std::map<long, std::string> names = {
        {-1909484335, "plane"}, {-114972029, "cylinder"}, {-114972031, "cone"},
        {-114972027, "sphere"}, {-114972025, "torus"},    {1465959633, "B-spline"}};
    const auto found = names.find(longProperty(objectProperty(face, L"Geometry"), L"Type"));
    return found != names.end() ? found->second : "surface";
}

} // namespace demo
