//! @file
//! Tokens of the clear text encoding of ISO 10303-21.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace standin::step {

enum class TokenKind : std::uint8_t
{
    keyword,      //!< letters, digits, '_', '-'; user-defined ones with their '!'
    instanceName, //!< #123
    integer,
    real,
    string,      //!< with its quotes, still encoded
    binary,      //!< with its quotes
    enumeration, //!< with its dots
    resource,    //!< <...>, in the sections of the third edition
    punctuation, //!< one of ( ) , ; = $ * { } @ / : (the last ones only outside data sections)
    end          //!< end of the text
};

struct Token
{
    TokenKind kind{TokenKind::end};
    std::uint32_t begin{};
    std::uint32_t end{};
    std::uint32_t line{}; //!< 1-based, where the token begins
};

//! Splits a text into tokens; blanks, comments and print control directives vanish. Lines end with
//! LF, CR or CRLF.
class Scanner
{
public:
    //! @param text    borrowed for the scanner's life; below 4 GB
    //! @param offset  where to begin
    //! @param line    the line number there
    explicit Scanner(std::string_view text, std::uint32_t offset = 0, std::uint32_t line = 1);

    //! Gives the next token and steps over it; after the last one, end for ever.
    //! @throws StepError  a character that begins no token, a malformed number or name, a string,
    //!                    comment or binary that does not close
    Token next();

    //! Tells whether a token is the given punctuation.
    [[nodiscard]] bool is(const Token& token, char punctuation) const noexcept
    {
        return token.kind == TokenKind::punctuation && mText[token.begin] == punctuation;
    }
    [[nodiscard]] std::string_view text(const Token& token) const noexcept
    {
        return mText.substr(token.begin, token.end - token.begin);
    }
    //! Gives a token for a message: in quotes and shortened, or "the end of the file".
    [[nodiscard]] std::string show(const Token& token) const;

    //! Tells whether anything but blanks and zero bytes is left; moves nothing.
    [[nodiscard]] bool restIsText() const noexcept
    {
        constexpr std::string_view kBlank(" \t\f\v\r\n\0", 7);
        return mText.find_first_not_of(kBlank, mPos) != std::string_view::npos;
    }

    //! Raises a StepError at a line.
    //! @param entity  0 when none applies
    [[noreturn]] static void fail(const std::string& message, std::size_t line, long entity = 0);

private:
    void skipBlanks();
    void skipComment();
    bool skipPrintControl();
    void countLineEnd();
    [[nodiscard]] char peek(std::uint32_t ahead = 0) const noexcept
    {
        return mPos + ahead < mText.size() ? mText[mPos + ahead] : '\0';
    }
    void scanString();
    void scanBinary();
    void scanEnumeration();
    void scanResource();
    TokenKind scanNumber();
    void scanInstanceName();
    void scanKeyword();

    std::string_view mText;
    std::uint32_t mPos;
    std::uint32_t mLine;
};

} // namespace standin::step
