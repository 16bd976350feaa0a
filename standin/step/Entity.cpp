#include "standin/step/Exchange.h"
#include "standin/step/Parameters.h"
#include "standin/step/StepFile.h"
#include "standin/step/Strings.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace standin::step {

namespace {

constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);
// Strings that are taken apart are names.
constexpr std::size_t kMaxText = 32768;

const char* nameOf(ValueKind kind)
{
    switch (kind) {
    case ValueKind::omitted:
        return "$";
    case ValueKind::derived:
        return "*";
    case ValueKind::integer:
        return "an integer";
    case ValueKind::real:
        return "a real";
    case ValueKind::string:
        return "a string";
    case ValueKind::binary:
        return "a binary";
    case ValueKind::enumeration:
        return "an enumeration value";
    case ValueKind::reference:
        return "a reference";
    case ValueKind::list:
        return "a list";
    case ValueKind::typed:
        return "a typed value";
    }
    return "something else";
}

std::string_view withoutPlus(std::string_view digits)
{
    return !digits.empty() && digits.front() == '+' ? digits.substr(1) : digits;
}

// Tells whether a number beyond the range of doubles is too small, not too large.
bool vanishes(std::string_view digits)
{
    const std::size_t exponent = digits.find_first_of("eE");
    if (exponent != std::string_view::npos) {
        return digits[exponent + 1] == '-';
    }
    return digits.find_first_not_of("+-0.") >= digits.find('.');
}

} // namespace

// Value

const Node& Value::node() const noexcept
{
    return mEntity->mNodes[mNode];
}

std::string_view Value::raw() const noexcept
{
    return mEntity->textOf(node());
}

ValueKind Value::kind() const noexcept
{
    return node().kind;
}

bool Value::isOmitted() const noexcept
{
    return kind() == ValueKind::omitted || kind() == ValueKind::derived;
}

void Value::fail(const std::string& why) const
{
    mEntity->fail(why);
}

void Value::want(ValueKind wanted) const
{
    if (kind() != wanted) {
        fail(std::string("wanted ") + nameOf(wanted) + ", found " + nameOf(kind()));
    }
}

long Value::reference() const
{
    want(ValueKind::reference);
    std::uint32_t number = 0;
    const std::string_view digits = raw().substr(1);
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (result.ec != std::errc() ||
        number > std::uint32_t{std::numeric_limits<std::int32_t>::max()}) {
        fail("the reference " + std::string(raw().substr(0, 40)) + " names no instance");
    }
    return static_cast<long>(number);
}

double Value::number() const
{
    if (kind() == ValueKind::typed) {
        return Value(*mEntity, mNode + 1).number();
    }
    if (kind() != ValueKind::integer && kind() != ValueKind::real) {
        fail(std::string("wanted a number, found ") + nameOf(kind()));
    }
    const std::string_view digits = withoutPlus(raw());
    double value = 0.0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (result.ec == std::errc::result_out_of_range && vanishes(digits)) {
        return 0.0;
    }
    if (result.ec != std::errc() || !std::isfinite(value)) {
        fail("the number " + std::string(raw().substr(0, 40)) + " is too large");
    }
    return value;
}

int Value::integer() const
{
    const double value = number();
    if (value != std::floor(value) || std::fabs(value) > std::numeric_limits<int>::max()) {
        fail("wanted an integer within 32 bits, found " + std::string(raw().substr(0, 40)));
    }
    return static_cast<int>(value);
}

std::string Value::text() const
{
    if (isOmitted()) {
        return {};
    }
    want(ValueKind::string);
    if (raw().size() > kMaxText) {
        fail("a name is longer than " + std::to_string(kMaxText) + " bytes");
    }
    return decodeString(raw().substr(1, raw().size() - 2));
}

std::string_view Value::enumeration() const
{
    want(ValueKind::enumeration);
    return raw().substr(1, raw().size() - 2);
}

bool Value::boolean() const
{
    const std::string_view name = enumeration();
    if (name != "T" && name != "F") {
        fail("wanted .T. or .F., found ." + std::string(name.substr(0, 40)) + ".");
    }
    return name == "T";
}

std::uint32_t Value::size() const
{
    want(ValueKind::list);
    return node().count;
}

Value::Iterator Value::begin() const
{
    want(ValueKind::list);
    return {*mEntity, mNode + 1};
}

Value::Iterator Value::end() const
{
    want(ValueKind::list);
    return {*mEntity, node().next};
}

Value::Iterator& Value::Iterator::operator++() noexcept
{
    mNode = mEntity->mNodes[mNode].next;
    return *this;
}

// Attributes

std::uint32_t Attributes::size() const noexcept
{
    return mEntity->mNodes[mNode].count;
}

Value Attributes::operator[](std::uint32_t index) const
{
    if (index >= size()) {
        mEntity->fail("wanted at least " + std::to_string(index + 1) + " attributes, found " +
                      std::to_string(size()));
    }
    std::uint32_t node = mNode + 1;
    for (std::uint32_t i = 0; i < index; ++i) {
        node = mEntity->mNodes[node].next;
    }
    return {*mEntity, node};
}

// Entity

Entity::Entity(const Exchange& exchange, long number) : mExchange(&exchange), mNumber(number)
{
    const std::size_t index = exchange.find(number);
    if (index == kNowhere) {
        Scanner::fail("there is no such instance", 0, number);
    }
    load(index);
}

Entity::Entity(const Exchange& exchange, const Value& reference)
    : mExchange(&exchange),
      mNumber(reference.reference())
{
    const std::size_t index = exchange.find(mNumber);
    if (index == kNowhere) {
        reference.fail("refers to #" + std::to_string(mNumber) + ", which is missing");
    }
    load(index);
}

Entity::Entity(const Exchange& exchange, const Value& reference, std::string_view keyword)
    : Entity(exchange, reference)
{
    if (!is(keyword)) {
        reference.fail("wanted " + std::string(keyword) + ", but #" + std::to_string(mNumber) +
                       " is " + title());
    }
}

void Entity::load(std::size_t index)
{
    const Instance& instance = mExchange->mInstances[index];
    mLine = instance.line;
    mComplex = instance.keyword == 0;
    Scanner scanner(mExchange->mText, instance.offset, instance.line);
    Token token = scanner.next();
    if (mComplex) {
        token = scanner.next();
    }
    // The text was checked before: what follows is a keyword and its parameters, for a complex
    // instance any count of them up to a ')'.
    while (token.kind == TokenKind::keyword) {
        const std::size_t part = mNodes.size();
        Node node;
        node.begin = token.begin;
        node.end = token.end;
        node.kind = ValueKind::typed;
        mNodes.push_back(node);
        mNodes[part].count = parseParameters(scanner, &mNodes, mNumber);
        mNodes[part].next = static_cast<std::uint32_t>(mNodes.size());
        if (!mComplex) {
            break;
        }
        token = scanner.next();
    }
    mExchange->charge(mNodes.size());
}

std::string_view Entity::textOf(const Node& node) const noexcept
{
    return mExchange->mText.substr(node.begin, node.end - node.begin);
}

std::uint32_t Entity::findPart(std::string_view keyword) const noexcept
{
    std::uint32_t node = 0;
    while (node < mNodes.size() && textOf(mNodes[node]) != keyword) {
        node = mNodes[node].next;
    }
    return node;
}

std::string_view Entity::keyword() const noexcept
{
    return mComplex ? std::string_view() : textOf(mNodes[0]);
}

std::string Entity::title() const
{
    constexpr std::size_t kMost = 200;
    std::string title;
    for (std::uint32_t node = 0; node < mNodes.size(); node = mNodes[node].next) {
        if (title.size() > kMost) {
            return title + "...";
        }
        title += (title.empty() ? "" : "+") + std::string(textOf(mNodes[node]).substr(0, 60));
    }
    return title;
}

bool Entity::is(std::string_view keyword) const noexcept
{
    return findPart(keyword) < mNodes.size();
}

Attributes Entity::attributes() const
{
    if (mComplex) {
        fail("wanted a simple instance");
    }
    return {*this, 0};
}

Attributes Entity::part(std::string_view keyword) const
{
    const std::uint32_t node = findPart(keyword);
    if (node >= mNodes.size()) {
        fail("wanted " + std::string(keyword));
    }
    return {*this, node};
}

void Entity::fail(const std::string& why) const
{
    Scanner::fail(title() + ": " + why, mLine, mNumber);
}

} // namespace standin::step
