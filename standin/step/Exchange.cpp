#include "standin/step/Exchange.h"

#include "standin/step/Parameters.h"
#include "standin/step/StepFile.h"
#include "standin/step/Strings.h"

#include <algorithm>
#include <utility>

namespace standin::step {

namespace {

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

void expect(Scanner& scanner, char punctuation, const std::string& behind)
{
    const Token token = scanner.next();
    if (!scanner.is(token, punctuation)) {
        Scanner::fail(std::string("wanted '") + punctuation + "' behind " + behind + ", found " +
                          scanner.show(token),
                      token.line);
    }
}

bool isKeyword(const Scanner& scanner, const Token& token, std::string_view keyword)
{
    return token.kind == TokenKind::keyword && scanner.text(token) == keyword;
}

} // namespace

Exchange::Exchange(std::string_view text) : mText(text), mKeywords{std::string_view()}
{
    Scanner scanner(text);
    const Token first = scanner.next();
    if (!isKeyword(scanner, first, "ISO-10303-21")) {
        Scanner::fail("not a STEP file: it begins with " + scanner.show(first), first.line);
    }
    expect(scanner, ';', "ISO-10303-21");
    readHeader(scanner);
    readSections(scanner);
    index();
}

void Exchange::readHeader(Scanner& scanner)
{
    const Token header = scanner.next();
    if (!isKeyword(scanner, header, "HEADER")) {
        Scanner::fail("wanted HEADER, found " + scanner.show(header), header.line);
    }
    expect(scanner, ';', "HEADER");
    for (;;) {
        const Token token = scanner.next();
        if (isKeyword(scanner, token, "ENDSEC")) {
            break;
        }
        if (token.kind != TokenKind::keyword) {
            Scanner::fail("wanted an entity of the header or ENDSEC, found " + scanner.show(token),
                          token.line);
        }
        readHeaderEntity(scanner, token);
    }
    expect(scanner, ';', "ENDSEC");
}

void Exchange::readHeaderEntity(Scanner& scanner, const Token& name)
{
    std::vector<Node> nodes;
    parseParameters(scanner, &nodes, 0);
    expect(scanner, ';', std::string(scanner.text(name)));
    if (scanner.text(name) != "FILE_SCHEMA") {
        return;
    }
    for (const Node& node : nodes) {
        if (node.kind == ValueKind::string) {
            mSchemas.push_back(
                decodeString(mText.substr(node.begin + 1, node.end - node.begin - 2)));
        }
    }
}

void Exchange::readSections(Scanner& scanner)
{
    for (;;) {
        const Token token = scanner.next();
        if (isKeyword(scanner, token, "DATA")) {
            readData(scanner);
        } else if (isKeyword(scanner, token, "ANCHOR") || isKeyword(scanner, token, "REFERENCE")) {
            skipSection(scanner, token);
        } else if (isKeyword(scanner, token, "END-ISO-10303-21")) {
            expect(scanner, ';', "END-ISO-10303-21");
            break;
        } else if (token.kind == TokenKind::end) {
            Scanner::fail("the file ends without END-ISO-10303-21: it is cut off", token.line);
        } else {
            Scanner::fail("wanted DATA or END-ISO-10303-21, found " + scanner.show(token),
                          token.line);
        }
    }
    if (scanner.restIsText()) {
        mRemarks.emplace_back("text behind END-ISO-10303-21 is ignored");
    }
}

void Exchange::skipSection(Scanner& scanner, const Token& name)
{
    for (;;) {
        const Token token = scanner.next();
        if (isKeyword(scanner, token, "ENDSEC")) {
            expect(scanner, ';', "ENDSEC");
            mRemarks.push_back("the section " + std::string(scanner.text(name)) + " (line " +
                               std::to_string(name.line) + ") is not supported, left out");
            return;
        }
        if (token.kind == TokenKind::end) {
            Scanner::fail("the section " + std::string(scanner.text(name)) + " has no ENDSEC",
                          name.line);
        }
    }
}

void Exchange::readData(Scanner& scanner)
{
    Scanner behind = scanner;
    if (behind.is(behind.next(), '(')) {
        parseParameters(scanner, nullptr, 0);
    }
    expect(scanner, ';', "DATA");
    for (;;) {
        const Token token = scanner.next();
        if (token.kind == TokenKind::instanceName) {
            readInstance(scanner, token);
        } else if (isKeyword(scanner, token, "ENDSEC")) {
            expect(scanner, ';', "ENDSEC");
            return;
        } else if (token.kind == TokenKind::end) {
            Scanner::fail("the data section has no ENDSEC: the file is cut off", token.line);
        } else if (isKeyword(scanner, token, "END-ISO-10303-21")) {
            Scanner::fail("the data section has no ENDSEC", token.line);
        } else {
            Scanner::fail("wanted an instance or ENDSEC, found " + scanner.show(token), token.line);
        }
    }
}

void Exchange::readInstance(Scanner& scanner, const Token& name)
{
    Instance instance;
    instance.number = instanceNumber(scanner, name);
    instance.line = name.line;
    const auto entity = static_cast<long>(instance.number);
    const Token equals = scanner.next();
    if (!scanner.is(equals, '=')) {
        Scanner::fail("wanted '=', found " + scanner.show(equals), equals.line, entity);
    }
    instance.offset = equals.end;
    Token token = scanner.next();
    if (token.kind == TokenKind::keyword) {
        instance.keyword = keywordIndex(scanner.text(token));
        parseParameters(scanner, nullptr, entity);
    } else if (scanner.is(token, '(')) {
        const auto position = static_cast<std::uint32_t>(mInstances.size());
        for (token = scanner.next(); !scanner.is(token, ')'); token = scanner.next()) {
            if (token.kind != TokenKind::keyword) {
                Scanner::fail("wanted a keyword or ')', found " + scanner.show(token), token.line,
                              entity);
            }
            mParts.push_back({keywordIndex(scanner.text(token)), position});
            parseParameters(scanner, nullptr, entity);
        }
        if (mParts.empty() || mParts.back().instance != position) {
            Scanner::fail("a complex instance without parts", token.line, entity);
        }
    } else {
        Scanner::fail("wanted a keyword or '(', found " + scanner.show(token), token.line, entity);
    }
    token = scanner.next();
    if (!scanner.is(token, ';')) {
        Scanner::fail("wanted ';', found " + scanner.show(token), token.line, entity);
    }
    mInstances.push_back(instance);
}

std::uint32_t Exchange::keywordIndex(std::string_view keyword)
{
    const auto added = mKeywordIndex.emplace(keyword, static_cast<std::uint32_t>(mKeywords.size()));
    if (added.second) {
        mKeywords.push_back(keyword);
    }
    return added.first->second;
}

void Exchange::index()
{
    const auto less = [](const Instance& a, const Instance& b) { return a.number < b.number; };
    const auto notLess = [&less](const Instance& a, const Instance& b) { return !less(a, b); };
    if (std::adjacent_find(mInstances.begin(), mInstances.end(), notLess) == mInstances.end()) {
        return;
    }
    mByNumber.resize(mInstances.size());
    for (std::size_t i = 0; i < mByNumber.size(); ++i) {
        mByNumber[i] = static_cast<std::uint32_t>(i);
    }
    std::sort(mByNumber.begin(), mByNumber.end(), [this](std::uint32_t a, std::uint32_t b) {
        const Instance& first = mInstances[a];
        const Instance& second = mInstances[b];
        return first.number != second.number ? first.number < second.number : a < b;
    });
    const auto twice = std::adjacent_find(mByNumber.begin(), mByNumber.end(),
                                          [this](std::uint32_t a, std::uint32_t b) {
                                              return mInstances[a].number == mInstances[b].number;
                                          });
    if (twice != mByNumber.end()) {
        const Instance& first = mInstances[*twice];
        const Instance& second = mInstances[*(twice + 1)];
        Scanner::fail("the number is used before, on line " + std::to_string(first.line),
                      second.line, static_cast<long>(second.number));
    }
}

std::size_t Exchange::find(long number) const noexcept
{
    const auto numberOf = [this](std::size_t i) {
        return static_cast<long>(mInstances[mByNumber.empty() ? i : mByNumber[i]].number);
    };
    std::size_t low = 0;
    std::size_t high = mInstances.size();
    while (low < high) {
        const std::size_t middle = low + (high - low) / 2;
        if (numberOf(middle) < number) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    if (low == mInstances.size() || numberOf(low) != number) {
        return kNowhere;
    }
    return mByNumber.empty() ? low : mByNumber[low];
}

bool Exchange::has(long number) const noexcept
{
    return find(number) != kNowhere;
}

std::vector<long> Exchange::withKeyword(std::string_view keyword) const
{
    return where([keyword](std::string_view other) { return other == keyword; });
}

std::vector<long> Exchange::where(const std::function<bool(std::string_view)>& accepts) const
{
    std::vector<bool> accepted(mKeywords.size(), false);
    for (std::size_t i = 1; i < mKeywords.size(); ++i) {
        accepted[i] = accepts(mKeywords[i]);
    }
    std::vector<std::uint32_t> found;
    for (std::uint32_t i = 0; i < mInstances.size(); ++i) {
        if (accepted[mInstances[i].keyword]) {
            found.push_back(i);
        }
    }
    const auto simple = static_cast<std::ptrdiff_t>(found.size());
    for (const Part& part : mParts) {
        if (accepted[part.keyword] && (found.empty() || found.back() != part.instance)) {
            found.push_back(part.instance);
        }
    }
    std::inplace_merge(found.begin(), found.begin() + simple, found.end());
    std::vector<long> numbers;
    numbers.reserve(found.size());
    for (const std::uint32_t i : found) {
        numbers.push_back(static_cast<long>(mInstances[i].number));
    }
    return numbers;
}

std::string_view Exchange::keywordOf(long number) const noexcept
{
    const std::size_t i = find(number);
    if (i == kNowhere) {
        return {};
    }
    if (mInstances[i].keyword != 0) {
        return mKeywords[mInstances[i].keyword];
    }
    const auto part =
        std::lower_bound(mParts.begin(), mParts.end(), i,
                         [](const Part& a, std::size_t instance) { return a.instance < instance; });
    return part != mParts.end() && part->instance == i ? mKeywords[part->keyword]
                                                       : std::string_view();
}

std::size_t Exchange::lineOf(long number) const noexcept
{
    const std::size_t i = find(number);
    return i == kNowhere ? 0 : mInstances[i].line;
}

void Exchange::charge(std::size_t nodes) const
{
    // Ten times what the samples need, more than that for the real parts tried.
    constexpr std::size_t kPerByte = 2;
    constexpr std::size_t kAlways = 100000;
    mTaken += nodes;
    if (mTaken > kPerByte * mText.size() + kAlways) {
        throw Overload("the file refers to the same instances so often that it can't be opened");
    }
}

} // namespace standin::step
