#include "standin/step/Parameters.h"

#include <charconv>
#include <limits>
#include <string>

namespace standin::step {

namespace {

constexpr int kMaxDepth = 64;
constexpr std::size_t kMaxNodes = std::size_t{1} << 22;

class Parser
{
public:
    Parser(Scanner& scanner, std::vector<Node>* nodes, long entity)
        : mScanner(scanner),
          mNodes(nodes),
          mEntity(entity)
    {}

    std::uint32_t list(int depth)
    {
        const Token open = mScanner.next();
        if (!mScanner.is(open, '(')) {
            Scanner::fail("wanted '(', found " + mScanner.show(open), open.line, mEntity);
        }
        return elements(depth, open.line);
    }

private:
    // Reads what follows '(' up to its ')'.
    std::uint32_t elements(int depth, std::size_t line)
    {
        if (depth > kMaxDepth) {
            Scanner::fail("lists are nested deeper than " + std::to_string(kMaxDepth), line,
                          mEntity);
        }
        Token token = mScanner.next();
        if (mScanner.is(token, ')')) {
            return 0;
        }
        for (std::uint32_t count = 1;; ++count) {
            element(token, depth);
            const Token separator = mScanner.next();
            if (mScanner.is(separator, ')')) {
                return count;
            }
            if (!mScanner.is(separator, ',')) {
                Scanner::fail("wanted ',' or ')', found " + mScanner.show(separator),
                              separator.line, mEntity);
            }
            token = mScanner.next();
        }
    }

    void element(const Token& token, int depth)
    {
        switch (token.kind) {
        case TokenKind::integer:
            leaf(token, ValueKind::integer);
            return;
        case TokenKind::real:
            leaf(token, ValueKind::real);
            return;
        case TokenKind::string:
            leaf(token, ValueKind::string);
            return;
        case TokenKind::binary:
            leaf(token, ValueKind::binary);
            return;
        case TokenKind::enumeration:
            leaf(token, ValueKind::enumeration);
            return;
        case TokenKind::instanceName:
            leaf(token, ValueKind::reference);
            return;
        case TokenKind::keyword:
            typed(token, depth);
            return;
        default:
            break;
        }
        if (mScanner.is(token, '(')) {
            const std::size_t node = leaf(token, ValueKind::list);
            close(node, elements(depth + 1, token.line));
        } else if (mScanner.is(token, '$')) {
            leaf(token, ValueKind::omitted);
        } else if (mScanner.is(token, '*')) {
            leaf(token, ValueKind::derived);
        } else {
            Scanner::fail("wanted a parameter, found " + mScanner.show(token), token.line, mEntity);
        }
    }

    void typed(const Token& token, int depth)
    {
        const std::size_t node = leaf(token, ValueKind::typed);
        const std::uint32_t count = list(depth + 1);
        if (count != 1) {
            Scanner::fail("a typed parameter holds " + std::to_string(count) + " values, not one",
                          token.line, mEntity);
        }
        close(node, count);
    }

    std::size_t leaf(const Token& token, ValueKind kind)
    {
        if (mNodes == nullptr) {
            return 0;
        }
        if (mNodes->size() >= kMaxNodes) {
            Scanner::fail("an instance has more than " + std::to_string(kMaxNodes) + " parameters",
                          token.line, mEntity);
        }
        Node node;
        node.begin = token.begin;
        node.end = token.end;
        node.kind = kind;
        node.next = static_cast<std::uint32_t>(mNodes->size()) + 1;
        mNodes->push_back(node);
        return mNodes->size() - 1;
    }

    void close(std::size_t node, std::uint32_t count)
    {
        if (mNodes != nullptr) {
            (*mNodes)[node].count = count;
            (*mNodes)[node].next = static_cast<std::uint32_t>(mNodes->size());
        }
    }

    Scanner& mScanner;
    std::vector<Node>* mNodes;
    long mEntity;
};

} // namespace

std::uint32_t parseParameters(Scanner& scanner, std::vector<Node>* nodes, long entity)
{
    return Parser(scanner, nodes, entity).list(1);
}

std::uint32_t instanceNumber(const Scanner& scanner, const Token& token)
{
    const std::string_view digits = scanner.text(token).substr(1);
    std::uint32_t number = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec != std::errc() || number == 0 ||
        number > std::uint32_t{std::numeric_limits<std::int32_t>::max()}) {
        Scanner::fail(scanner.show(token) + " is not an instance number from 1 to 2147483647",
                      token.line);
    }
    return number;
}

} // namespace standin::step
