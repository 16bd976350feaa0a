// What a Windows compiler brings in a library of its own: needed off Windows, and with mingw-w64,
// which declares these functions and has no library for them.

#include "com/Com.h"
#include "com/ComExport.h"
#include "com/ComText.h"

#include <cstring>
#include <limits>
#include <string>

// NOLINTNEXTLINE(cert-err58-cpp): this constructor raises for types that don't fit only
KTCOM_EXPORT _variant_t vtMissing(LONG{DISP_E_PARAMNOTFOUND}, VT_ERROR);

KTCOM_EXPORT BSTR WINAPI _com_util::ConvertStringToBSTR(const char* text)
{
    if (text == nullptr) {
        return nullptr;
    }
    const std::wstring wide = com::fromUtf8(text);
    const BSTR string = wide.size() > std::numeric_limits<UINT>::max()
                            ? nullptr
                            : SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
    if (string == nullptr) {
        _com_issue_error(E_OUTOFMEMORY);
    }
    return string;
}

KTCOM_EXPORT char* WINAPI _com_util::ConvertBSTRToString(BSTR string)
{
    if (string == nullptr) {
        return nullptr;
    }
    const std::string narrow = com::toUtf8(string, SysStringLen(string));
    char* const text = new char[narrow.size() + 1];
    std::memcpy(text, narrow.c_str(), narrow.size() + 1);
    return text;
}

KTCOM_EXPORT void WINAPI _com_issue_errorex(HRESULT hr, IUnknown* object, REFIID riid)
{
    IErrorInfo* info = nullptr;
    void* found = nullptr;
    if (object != nullptr && SUCCEEDED(object->QueryInterface(IID_ISupportErrorInfo, &found))) {
        ISupportErrorInfo* const support = static_cast<ISupportErrorInfo*>(found);
        if (support->InterfaceSupportsErrorInfo(riid) == S_OK) {
            GetErrorInfo(0, &info);
        }
        support->Release();
    }
    _com_raise_error(hr, info);
}
