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

//! @param arguments  the last one first
_variant_t call(const IDispatchPtr& object, const wchar_t* name, WORD kind, VARIANT* arguments,
                UINT count)
{
    std::wstring text(name);
    LPOLESTR names[] = {text.data()};
    DISPID id = 0;
    check(object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id));
    DISPPARAMS params{};
    params.rgvarg = arguments;
    params.cArgs = count;
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

//! Owns an array that the host fills with objects.
class ObjectArray
{
public:
    ObjectArray() = default;
    ObjectArray(const ObjectArray&) = delete;
    ObjectArray& operator=(const ObjectArray&) = delete;
    ~ObjectArray() { SafeArrayDestroy(array); }

    [[nodiscard]] SAFEARRAY** place() { return &array; }
    [[nodiscard]] std::vector<IDispatchPtr> objects() const
    {
        std::vector<IDispatchPtr> all;
        LONG low = 0;
        LONG high = -1;
        VARTYPE type = VT_EMPTY;
        if (array == nullptr) {
            return all;
        }
        check(SafeArrayGetVartype(array, &type));
        check(type == VT_DISPATCH && SafeArrayGetDim(array) == 1 ? S_OK : DISP_E_TYPEMISMATCH);
        check(SafeArrayGetLBound(array, 1, &low));
        check(SafeArrayGetUBound(array, 1, &high));
        for (LONG i = low; i <= high; ++i) {
            IDispatch* object = nullptr;
            check(SafeArrayGetElement(array, &i, &object));
            check(object != nullptr ? S_OK : E_POINTER);
            all.emplace_back(object, false);
        }
        return all;
    }

private:
    SAFEARRAY* array = nullptr;
};

} // namespace

IDispatchPtr objectProperty(const IDispatchPtr& object, const wchar_t* name)
{
    return asObject(call(object, name, DISPATCH_PROPERTYGET, nullptr, 0));
}

long longProperty(const IDispatchPtr& object, const wchar_t* name)
{
    _variant_t value = call(object, name, DISPATCH_PROPERTYGET, nullptr, 0);
    check(VariantChangeType(&value, &value, 0, VT_I4));
    return value.lVal;
}

std::string textProperty(const IDispatchPtr& object, const wchar_t* name)
{
    _variant_t value = call(object, name, DISPATCH_PROPERTYGET, nullptr, 0);
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
        result.push_back(asObject(call(collection, L"Item", DISPATCH_METHOD, &index, 1)));
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

bool isSame(const IDispatchPtr& first, const IDispatchPtr& second)
{
    return IUnknownPtr(first) == IUnknownPtr(second);
}

std::vector<IDispatchPtr> occurrencesInPath(const IDispatchPtr& reference)
{
    IDispatch* top = nullptr;
    LONG below = 0;
    LONG bound = 0;
    ObjectArray array;
    VARIANT arguments[4] = {};
    arguments[3].vt = VT_BYREF | VT_DISPATCH;
    arguments[3].ppdispVal = &top;
    arguments[2].vt = VT_BYREF | VT_I4;
    arguments[2].plVal = &below;
    arguments[1].vt = VT_BYREF | VT_I4;
    arguments[1].plVal = &bound;
    arguments[0].vt = VT_BYREF | VT_ARRAY | VT_DISPATCH;
    arguments[0].pparray = array.place();
    call(reference, L"GetOccurrencesInPath", DISPATCH_METHOD, arguments, 4);
    const IDispatchPtr first(top, false);
    check(first != nullptr ? S_OK : E_POINTER);
    std::vector<IDispatchPtr> path = array.objects();
    path.insert(path.begin(), first);
    return path;
}

} // namespace demo
