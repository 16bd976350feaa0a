#include "standin/Text.h"

#include "com/ComText.h"

#include <cstdint>
#include <cstdio>
#include <locale>
#include <sstream>

namespace standin {
namespace {

wchar_t lower(wchar_t c)
{
    return c >= L'A' && c <= L'Z' ? static_cast<wchar_t>(c + 32) : c;
}

} // namespace

BSTR makeBstr(const std::string& text)
{
    const std::wstring wide = com::fromUtf8(text);
    return SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
}

std::string numberText(double value)
{
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(9);
    text << value;
    return text.str();
}

std::string codeText(HRESULT code)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX",
                  static_cast<unsigned long>(static_cast<std::uint32_t>(code)));
    return text;
}

std::string identifierText(const IID& iid)
{
    char text[48];
    std::snprintf(text, sizeof text, "{%08lX-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned long>(iid.Data1), static_cast<unsigned>(iid.Data2),
                  static_cast<unsigned>(iid.Data3), static_cast<unsigned>(iid.Data4[0]),
                  static_cast<unsigned>(iid.Data4[1]), static_cast<unsigned>(iid.Data4[2]),
                  static_cast<unsigned>(iid.Data4[3]), static_cast<unsigned>(iid.Data4[4]),
                  static_cast<unsigned>(iid.Data4[5]), static_cast<unsigned>(iid.Data4[6]),
                  static_cast<unsigned>(iid.Data4[7]));
    return text;
}

bool matchesPattern(std::wstring_view text, std::wstring_view pattern, bool anyCase) noexcept
{
    std::size_t at = 0;
    std::size_t in = 0;
    // The last asterisk, and where what it stands for ends so far.
    std::size_t asterisk = std::wstring_view::npos;
    std::size_t behind = 0;
    while (at < text.size()) {
        const wchar_t wanted = in < pattern.size() ? pattern[in] : L'\0';
        if (in < pattern.size() && wanted == L'*') {
            asterisk = in++;
            behind = at;
        } else if (in < pattern.size() && (wanted == L'?' || wanted == text[at] ||
                                           (anyCase && lower(wanted) == lower(text[at])))) {
            ++in;
            ++at;
        } else if (asterisk != std::wstring_view::npos) {
            in = asterisk + 1;
            at = ++behind;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', in) == std::wstring_view::npos;
}

bool sameName(const char* name, const wchar_t* other) noexcept
{
    for (; *name != '\0'; ++name, ++other) {
        if (lower(static_cast<wchar_t>(*name)) != lower(*other)) {
            return false;
        }
    }
    return *other == L'\0';
}

bool sameName(const wchar_t* name, const wchar_t* other) noexcept
{
    for (; *name != L'\0'; ++name, ++other) {
        if (lower(*name) != lower(*other)) {
            return false;
        }
    }
    return *other == L'\0';
}

} // namespace standin
