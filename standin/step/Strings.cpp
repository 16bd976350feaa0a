#include "standin/step/Strings.h"

#include "standin/step/Latin.h"

#include <cstddef>
#include <cstdint>

namespace standin::step {

namespace {

constexpr char32_t kNoCharacter = 0xFFFD;

unsigned char byteOf(char c)
{
    return static_cast<unsigned char>(c);
}

void appendUtf8(std::string& out, char32_t c)
{
    if (c == 0 || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
        c = kNoCharacter;
    }
    const auto put = [&out](char32_t byte) { out += static_cast<char>(byte); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | (c >> 6));
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

// Gives the length of the UTF-8 character at the start, 0 when there is none.
std::size_t utf8Length(std::string_view text)
{
    const unsigned char first = byteOf(text[0]);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xC2 && first < 0xE0 ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteOf(text[i]) & 0xC0) != 0x80) {
            return 0;
        }
    }
    if (length > 2) {
        const unsigned char second = byteOf(text[1]);
        const bool overlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
        const bool outside = (first == 0xED && second >= 0xA0) || (first == 0xF4 && second >= 0x90);
        if (overlong || outside) {
            return 0;
        }
    }
    return length;
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        const std::size_t length = utf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

class Decoder
{
public:
    explicit Decoder(std::string_view text) : mText(text), mIsUtf8(isUtf8(text)) {}

    std::string run()
    {
        while (!mText.empty()) {
            if (mText[0] == '\\') {
                directive();
            } else if (mText[0] == '\'' && mText.size() > 1 && mText[1] == '\'') {
                mOut += '\'';
                mText.remove_prefix(2);
            } else {
                plain();
            }
        }
        return std::move(mOut);
    }

private:
    void plain()
    {
        const unsigned char byte = byteOf(mText[0]);
        if (byte >= 0x80 && !mIsUtf8) {
            appendUtf8(mOut, byte);
        } else if (byte >= 0x20) {
            mOut += mText[0];
        }
        mText.remove_prefix(1);
    }

    [[nodiscard]] bool startsWith(std::string_view what) const
    {
        return mText.substr(0, what.size()) == what;
    }

    void directive()
    {
        const bool known = escapedBackslash() || latin() || page() || shortHex() ||
                           longHex("\\X2\\", 4) || longHex("\\X4\\", 8);
        if (!known) {
            plain();
        }
    }

    bool escapedBackslash()
    {
        if (!startsWith("\\\\")) {
            return false;
        }
        mOut += '\\';
        mText.remove_prefix(2);
        return true;
    }

    bool latin()
    {
        if (!startsWith("\\S\\") || mText.size() < 4 || byteOf(mText[3]) < 0x20 ||
            byteOf(mText[3]) > 0x7E) {
            return false;
        }
        const unsigned byte = byteOf(mText[3]) + 0x80U;
        appendUtf8(mOut, byte < 0xA0 ? byte : kLatin[mPage][byte - 0xA0]);
        // An apostrophe is doubled in the file even behind a directive.
        mText.remove_prefix(mText[3] == '\'' && mText.size() > 4 && mText[4] == '\'' ? 5 : 4);
        return true;
    }

    bool page()
    {
        if (!startsWith("\\P") || mText.size() < 4 || mText[3] != '\\' || mText[2] < 'A' ||
            mText[2] > 'I') {
            return false;
        }
        mPage = static_cast<std::size_t>(mText[2] - 'A');
        mText.remove_prefix(4);
        return true;
    }

    // Reads a fixed count of hexadecimal digits; false when there are fewer.
    [[nodiscard]] bool hex(std::size_t offset, std::size_t digits, char32_t& value) const
    {
        if (mText.size() < offset + digits) {
            return false;
        }
        value = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            const int digit = hexDigit(mText[offset + i]);
            if (digit < 0) {
                return false;
            }
            value = value * 16 + static_cast<char32_t>(digit);
        }
        return true;
    }

    bool shortHex()
    {
        char32_t value = 0;
        if (!startsWith("\\X\\") || !hex(3, 2, value)) {
            return false;
        }
        appendUtf8(mOut, value);
        mText.remove_prefix(5);
        return true;
    }

    bool longHex(std::string_view opening, std::size_t digits)
    {
        if (!startsWith(opening)) {
            return false;
        }
        constexpr std::string_view kClosing = "\\X0\\";
        const std::size_t close = mText.find(kClosing, opening.size());
        if (close == std::string_view::npos || (close - opening.size()) % digits != 0) {
            return false;
        }
        std::string decoded;
        char32_t high = 0; // first half of a surrogate pair, waiting for its second
        for (std::size_t at = opening.size(); at < close; at += digits) {
            char32_t value = 0;
            if (!hex(at, digits, value)) {
                return false;
            }
            const bool isLow = value >= 0xDC00 && value <= 0xDFFF;
            if (high != 0) {
                if (isLow) {
                    appendUtf8(decoded, 0x10000 + ((high - 0xD800) << 10) + (value - 0xDC00));
                    high = 0;
                    continue;
                }
                appendUtf8(decoded, kNoCharacter);
                high = 0;
            }
            if (digits == 4 && value >= 0xD800 && value <= 0xDBFF) {
                high = value;
            } else {
                appendUtf8(decoded, value);
            }
        }
        if (high != 0) {
            appendUtf8(decoded, kNoCharacter);
        }
        mOut += decoded;
        mText.remove_prefix(close + kClosing.size());
        return true;
    }

    std::string_view mText;
    std::string mOut;
    std::size_t mPage{0};
    bool mIsUtf8;
};

} // namespace

std::string decodeString(std::string_view encoded)
{
    return Decoder(encoded).run();
}

} // namespace standin::step
