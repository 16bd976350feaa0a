#include "com/ComText.h"

#include <cstdint>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isSurrogate(char32_t c)
{
    return c >= 0xD800 && c <= 0xDFFF;
}

void appendUtf8(std::string& out, char32_t c)
{
    const auto unit = [&out](char32_t bits) {
        out.push_back(static_cast<char>(static_cast<unsigned char>(bits)));
    };
    if (c < 0x80) {
        unit(c);
    } else if (c < 0x800) {
        unit(0xC0 | (c >> 6));
        unit(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        unit(0xE0 | (c >> 12));
        unit(0x80 | ((c >> 6) & 0x3F));
        unit(0x80 | (c & 0x3F));
    } else {
        unit(0xF0 | (c >> 18));
        unit(0x80 | ((c >> 12) & 0x3F));
        unit(0x80 | ((c >> 6) & 0x3F));
        unit(0x80 | (c & 0x3F));
    }
}

void appendWide(std::wstring& out, char32_t c)
{
    if constexpr (sizeof(wchar_t) == 2) {
        if (c >= 0x10000) {
            out.push_back(static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10)));
            c = 0xDC00 + ((c - 0x10000) & 0x3FF);
        }
    }
    out.push_back(static_cast<wchar_t>(c));
}

char32_t unitAt(std::wstring_view text, std::size_t at)
{
    if constexpr (sizeof(wchar_t) == 2) {
        return static_cast<std::uint16_t>(text[at]);
    } else {
        return static_cast<char32_t>(text[at]);
    }
}

// Reads one character and moves past it.
char32_t readWide(std::wstring_view text, std::size_t& at)
{
    const char32_t first = unitAt(text, at++);
    if (sizeof(wchar_t) == 2 && first >= 0xD800 && first <= 0xDBFF && at < text.size()) {
        const char32_t second = unitAt(text, at);
        if (second >= 0xDC00 && second <= 0xDFFF) {
            ++at;
            return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
        }
    }
    return isSurrogate(first) || first > 0x10FFFF ? kReplacement : first;
}

struct Lead
{
    int more;           // bytes that follow, -1 when no character starts so
    char32_t bits;      // of the character
    unsigned char low;  // the second byte's range, which shuts out overlong forms, surrogates
    unsigned char high; // and codes beyond the last
};

Lead classify(unsigned char c)
{
    if (c < 0x80) {
        return {0, c, 0, 0};
    }
    if (c >= 0xC2 && c <= 0xDF) {
        return {1, c & 0x1Fu, 0x80, 0xBF};
    }
    if (c >= 0xE0 && c <= 0xEF) {
        const unsigned char low = c == 0xE0 ? 0xA0 : 0x80;
        const unsigned char high = c == 0xED ? 0x9F : 0xBF;
        return {2, c & 0x0Fu, low, high};
    }
    if (c >= 0xF0 && c <= 0xF4) {
        const unsigned char low = c == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = c == 0xF4 ? 0x8F : 0xBF;
        return {3, c & 0x07u, low, high};
    }
    return {-1, 0, 0, 0};
}

// Reads one character, or the longest beginning of one, and moves past it.
char32_t readUtf8(std::string_view text, std::size_t& at)
{
    const Lead lead = classify(static_cast<unsigned char>(text[at++]));
    if (lead.more < 0) {
        return kReplacement;
    }
    char32_t bits = lead.bits;
    for (int i = 0; i < lead.more; ++i) {
        const unsigned char next = at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
        const unsigned char low = i == 0 ? lead.low : 0x80;
        const unsigned char high = i == 0 ? lead.high : 0xBF;
        if (next < low || next > high) {
            return kReplacement;
        }
        bits = (bits << 6) | (next & 0x3Fu);
        ++at;
    }
    return bits;
}

} // namespace

std::string com::toUtf8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        appendUtf8(out, readWide(text, at));
    }
    return out;
}

std::string com::toUtf8(const wchar_t* text, std::size_t length)
{
    return length == 0 ? std::string() : toUtf8(std::wstring_view(text, length));
}

std::wstring com::fromUtf8(std::string_view text)
{
    std::wstring out;
    out.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        appendWide(out, readUtf8(text, at));
    }
    return out;
}
