#include "com/ComErrorText.h"

#if defined(_WIN32)

#include <cstdio>

namespace {

// The platform's own _com_error may leave placeholders to be filled in from arguments that don't
// exist, and then gives no text; here they are left as they are.
std::string systemText(HRESULT hr)
{
    char* text = nullptr;
    const DWORD length = FormatMessageA(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(hr), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
        reinterpret_cast<char*>(&text), 0, nullptr);
    std::string result(text == nullptr ? "" : text, length);
    LocalFree(text);
    return result;
}

} // namespace

std::string com::errorText(HRESULT hr)
{
    std::string text = systemText(hr);
    if (!text.empty()) {
        if (text.size() > 1 && text.back() == '\n') {
            text.pop_back();
            if (text.back() == '\r') {
                text.pop_back();
            }
        }
        return text;
    }
    char composed[40];
    const WORD code = _com_error::HRESULTToWCode(hr);
    if (code != 0) {
        std::snprintf(composed, sizeof composed, "IDispatch error #%d", int{code});
    } else {
        std::snprintf(composed, sizeof composed, "Unknown error 0x%0lX",
                      static_cast<unsigned long>(hr));
    }
    return composed;
}

#else

std::string com::errorText(HRESULT hr)
{
    return _com_error(hr).ErrorMessage();
}

#endif
