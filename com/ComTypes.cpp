#include "com/ComTypes.h"

#include "com/ComCodes.h"
#include "com/ComCount.h"

#include <cstdlib>

namespace {

constexpr int kGuidTextLength = 38;
// Where the 16 bytes of an identifier stand in its text, the most significant first.
constexpr int kBytePositions[16] = {1, 3, 5, 7, 10, 12, 15, 17, 20, 22, 25, 27, 29, 31, 33, 35};
constexpr int kDashPositions[4] = {9, 14, 19, 24};

int hexDigit(OLECHAR c)
{
    if (c >= L'0' && c <= L'9') {
        return c - L'0';
    }
    if (c >= L'A' && c <= L'F') {
        return c - L'A' + 10;
    }
    if (c >= L'a' && c <= L'f') {
        return c - L'a' + 10;
    }
    return -1;
}

bool hasGuidLength(LPCOLESTR text)
{
    int length = 0;
    while (length <= kGuidTextLength && text[length] != L'\0') {
        ++length;
    }
    return length == kGuidTextLength;
}

bool hasGuidFrame(LPCOLESTR text)
{
    bool framed = text[0] == L'{' && text[kGuidTextLength - 1] == L'}';
    for (const int dash : kDashPositions) {
        framed = framed && text[dash] == L'-';
    }
    return framed;
}

bool readBytes(LPCOLESTR text, std::uint8_t (&bytes)[16])
{
    for (int i = 0; i < 16; ++i) {
        const int high = hexDigit(text[kBytePositions[i]]);
        const int low = hexDigit(text[kBytePositions[i] + 1]);
        if (high < 0 || low < 0) {
            return false;
        }
        bytes[i] = static_cast<std::uint8_t>(high * 16 + low);
    }
    return true;
}

} // namespace

HRESULT IIDFromString(LPCOLESTR text, IID* iid) noexcept
{
    if (iid == nullptr) {
        return E_INVALIDARG;
    }
    *iid = IID_NULL;
    if (text == nullptr) {
        return S_OK;
    }
    if (!hasGuidLength(text)) {
        return E_INVALIDARG;
    }
    std::uint8_t bytes[16];
    if (!hasGuidFrame(text) || !readBytes(text, bytes)) {
        return CO_E_IIDSTRING;
    }
    for (int i = 0; i < 4; ++i) {
        iid->Data1 = (iid->Data1 << 8) | bytes[i];
    }
    iid->Data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
    iid->Data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
    for (int i = 0; i < 8; ++i) {
        iid->Data4[i] = bytes[8 + i];
    }
    return S_OK;
}

int StringFromGUID2(REFGUID guid, LPOLESTR text, int size) noexcept
{
    if (text == nullptr || size <= kGuidTextLength) {
        return 0;
    }
    std::uint8_t bytes[16];
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<std::uint8_t>(guid.Data1 >> (24 - 8 * i));
    }
    bytes[4] = static_cast<std::uint8_t>(guid.Data2 >> 8);
    bytes[5] = static_cast<std::uint8_t>(guid.Data2);
    bytes[6] = static_cast<std::uint8_t>(guid.Data3 >> 8);
    bytes[7] = static_cast<std::uint8_t>(guid.Data3);
    for (int i = 0; i < 8; ++i) {
        bytes[8 + i] = guid.Data4[i];
    }
    text[0] = L'{';
    text[kGuidTextLength - 1] = L'}';
    text[kGuidTextLength] = L'\0';
    for (const int dash : kDashPositions) {
        text[dash] = L'-';
    }
    for (int i = 0; i < 16; ++i) {
        text[kBytePositions[i]] = L"0123456789ABCDEF"[bytes[i] >> 4];
        text[kBytePositions[i] + 1] = L"0123456789ABCDEF"[bytes[i] & 15];
    }
    return kGuidTextLength + 1;
}

LPVOID CoTaskMemAlloc(std::size_t size) noexcept
{
    return com_detail::mayAllocate() ? std::malloc(size == 0 ? 1 : size) : nullptr;
}

void CoTaskMemFree(LPVOID memory) noexcept
{
    std::free(memory);
}
