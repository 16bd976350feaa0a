#include "standin/step/Scanner.h"

#include "standin/step/StepFile.h"

#include <cstdio>

namespace standin::step {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
bool isUpper(char c)
{
    return (c >= 'A' && c <= 'Z') || c == '_';
}
bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\f' || c == '\v';
}
bool isLineEnd(char c)
{
    return c == '\n' || c == '\r';
}

std::string showCharacter(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f) {
        return std::string("'") + c + "'";
    }
    char text[16];
    std::snprintf(text, sizeof text, "byte 0x%02X", static_cast<unsigned>(byte));
    return text;
}

} // namespace

Scanner::Scanner(std::string_view text, std::uint32_t offset, std::uint32_t line)
    : mText(text),
      mPos(offset),
      mLine(line)
{}

void Scanner::fail(const std::string& message, std::size_t line, long entity)
{
    throw StepError(message, line, entity);
}

std::string Scanner::show(const Token& token) const
{
    if (token.kind == TokenKind::end) {
        return "the end of the file";
    }
    constexpr std::size_t kMost = 40;
    std::string shown;
    for (const char c : text(token).substr(0, kMost)) {
        const auto byte = static_cast<unsigned char>(c);
        shown += byte >= 0x20 && byte < 0x7f ? c : '?';
    }
    return "'" + shown + (text(token).size() > kMost ? "..." : "") + "'";
}

void Scanner::countLineEnd()
{
    if (peek() == '\r' && peek(1) == '\n') {
        ++mPos;
    }
    ++mPos;
    ++mLine;
}

void Scanner::skipBlanks()
{
    while (mPos < mText.size()) {
        const char c = mText[mPos];
        if (isBlank(c)) {
            ++mPos;
        } else if (isLineEnd(c)) {
            countLineEnd();
        } else if (c == '/' && peek(1) == '*') {
            skipComment();
        } else if (c != '\\' || !skipPrintControl()) {
            return;
        }
    }
}

void Scanner::skipComment()
{
    const std::uint32_t begin = mLine;
    mPos += 2;
    while (!(peek() == '*' && peek(1) == '/')) {
        if (mPos >= mText.size()) {
            fail("a comment is not closed", begin);
        }
        if (isLineEnd(mText[mPos])) {
            countLineEnd();
        } else {
            ++mPos;
        }
    }
    mPos += 2;
}

bool Scanner::skipPrintControl()
{
    if ((peek(1) == 'N' || peek(1) == 'F') && peek(2) == '\\') {
        mPos += 3;
        return true;
    }
    return false;
}

Token Scanner::next()
{
    skipBlanks();
    Token token;
    token.begin = mPos;
    token.line = mLine;
    if (mPos >= mText.size()) {
        token.end = mPos;
        return token;
    }
    const char c = mText[mPos];
    switch (c) {
    case '(':
    case ')':
    case ',':
    case ';':
    case '=':
    case '$':
    case '*':
    case '{':
    case '}':
    case '@':
    case '/':
    case ':':
        token.kind = TokenKind::punctuation;
        ++mPos;
        break;
    case '#':
        token.kind = TokenKind::instanceName;
        scanInstanceName();
        break;
    case '\'':
        token.kind = TokenKind::string;
        scanString();
        break;
    case '"':
        token.kind = TokenKind::binary;
        scanBinary();
        break;
    case '<':
        token.kind = TokenKind::resource;
        scanResource();
        break;
    default:
        if (isDigit(c) || c == '+' || c == '-' || (c == '.' && isDigit(peek(1)))) {
            token.kind = scanNumber();
        } else if (c == '.') {
            token.kind = TokenKind::enumeration;
            scanEnumeration();
        } else if (isUpper(c) || c == '!' || c == '&') {
            token.kind = TokenKind::keyword;
            scanKeyword();
        } else {
            fail(showCharacter(c) + " begins no token", mLine);
        }
    }
    token.end = mPos;
    return token;
}

void Scanner::scanString()
{
    const std::uint32_t begin = mLine;
    ++mPos;
    while (mPos < mText.size()) {
        const char c = mText[mPos];
        if (c == '\'') {
            ++mPos;
            if (peek() != '\'') {
                return;
            }
            ++mPos;
        } else if (isLineEnd(c)) {
            countLineEnd();
        } else {
            ++mPos;
        }
    }
    fail("a string is not closed", begin);
}

void Scanner::scanBinary()
{
    ++mPos;
    while (isDigit(peek()) || (peek() >= 'A' && peek() <= 'F')) {
        ++mPos;
    }
    if (peek() != '"') {
        fail("a binary is not closed or holds something else than hexadecimal digits", mLine);
    }
    ++mPos;
}

void Scanner::scanEnumeration()
{
    ++mPos;
    const std::uint32_t begin = mPos;
    while (isUpper(peek()) || isDigit(peek())) {
        ++mPos;
    }
    if (mPos == begin || peek() != '.') {
        fail("an enumeration value is not closed by a dot", mLine);
    }
    ++mPos;
}

void Scanner::scanResource()
{
    while (peek() != '>') {
        if (mPos >= mText.size() || isLineEnd(mText[mPos])) {
            fail("a resource name is not closed by '>'", mLine);
        }
        ++mPos;
    }
    ++mPos;
}

TokenKind Scanner::scanNumber()
{
    TokenKind kind = TokenKind::integer;
    if (peek() == '+' || peek() == '-') {
        ++mPos;
    }
    const std::uint32_t begin = mPos;
    while (isDigit(peek())) {
        ++mPos;
    }
    std::uint32_t digits = mPos - begin;
    if (peek() == '.') {
        kind = TokenKind::real;
        ++mPos;
        while (isDigit(peek())) {
            ++mPos;
            ++digits;
        }
    }
    if (digits == 0) {
        fail("a sign without a number", mLine);
    }
    if (peek() == 'E' || peek() == 'e') {
        kind = TokenKind::real;
        ++mPos;
        if (peek() == '+' || peek() == '-') {
            ++mPos;
        }
        if (!isDigit(peek())) {
            fail("a number's exponent has no digits", mLine);
        }
        while (isDigit(peek())) {
            ++mPos;
        }
    }
    return kind;
}

void Scanner::scanInstanceName()
{
    ++mPos;
    if (!isDigit(peek())) {
        fail("'#' without a number", mLine);
    }
    while (isDigit(peek())) {
        ++mPos;
    }
}

void Scanner::scanKeyword()
{
    do {
        ++mPos;
    } while (isUpper(peek()) || isDigit(peek()) || peek() == '-');
}

} // namespace standin::step
