#include "com/ComString.h"

#include "com/ComCodes.h"
#include "com/ComCount.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>

namespace {

// The length in bytes stands in the 4 bytes before the first character.
constexpr std::size_t kHeader = 8;
constexpr std::size_t kLengthAt = 4;
constexpr std::size_t kLimit = std::numeric_limits<UINT>::max() - kHeader - sizeof(OLECHAR);

BSTR allocate(std::size_t bytes) noexcept
{
    if (bytes > kLimit || !com_detail::mayAllocate()) {
        return nullptr;
    }
    char* const memory = static_cast<char*>(std::malloc(kHeader + bytes + sizeof(OLECHAR)));
    if (memory == nullptr) {
        return nullptr;
    }
    const std::uint32_t length = static_cast<std::uint32_t>(bytes);
    std::memset(memory, 0, kHeader);
    std::memcpy(memory + kLengthAt, &length, sizeof length);
    std::memset(memory + kHeader + bytes, 0, sizeof(OLECHAR));
    ++com_detail::liveStringCount;
    void* const text = memory + kHeader;
    return static_cast<BSTR>(text);
}

BSTR allocateCopy(const void* source, std::size_t bytes) noexcept
{
    const BSTR string = allocate(bytes);
    if (string != nullptr && source != nullptr) {
        std::memcpy(string, source, bytes);
    } else if (string != nullptr) {
        std::memset(string, 0, bytes);
    }
    return string;
}

char* memoryOf(BSTR string) noexcept
{
    void* const text = string;
    return static_cast<char*>(text) - kHeader;
}

} // namespace

BSTR SysAllocString(const OLECHAR* text) noexcept
{
    return text == nullptr ? nullptr : allocateCopy(text, std::wcslen(text) * sizeof(OLECHAR));
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept
{
    return allocateCopy(text, std::size_t{length} * sizeof(OLECHAR));
}

BSTR SysAllocStringByteLen(const char* bytes, UINT length) noexcept
{
    return allocateCopy(bytes, length);
}

INT SysReAllocString(BSTR* string, const OLECHAR* text) noexcept
{
    const BSTR fresh = SysAllocString(text);
    if (fresh == nullptr && text != nullptr) {
        return FALSE;
    }
    SysFreeString(*string);
    *string = fresh;
    return TRUE;
}

INT SysReAllocStringLen(BSTR* string, const OLECHAR* text, UINT length) noexcept
{
    const BSTR fresh = SysAllocStringLen(text, length);
    if (fresh == nullptr) {
        return FALSE;
    }
    SysFreeString(*string);
    *string = fresh;
    return TRUE;
}

void SysFreeString(BSTR string) noexcept
{
    if (string != nullptr) {
        --com_detail::liveStringCount;
        std::free(memoryOf(string));
    }
}

UINT SysStringByteLen(BSTR string) noexcept
{
    std::uint32_t length = 0;
    if (string != nullptr) {
        std::memcpy(&length, memoryOf(string) + kLengthAt, sizeof length);
    }
    return length;
}

UINT SysStringLen(BSTR string) noexcept
{
    return SysStringByteLen(string) / static_cast<UINT>(sizeof(OLECHAR));
}
