//! @file
//! A parsed exchange structure: its instances by number, their attributes on demand.

#pragma once

#include "standin/step/Scanner.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace standin::step {

class Exchange;
class Entity;

//! Raised when a file asks for more work and memory than its size justifies. Not a StepError, so
//! that what leaves out a single body does not take it for a fault of that body.
class Overload : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

enum class ValueKind : std::uint8_t
{
    omitted, //!< $
    derived, //!< *
    integer,
    real,
    string,
    binary,
    enumeration,
    reference, //!< #123
    list,
    typed //!< KEYWORD(value)
};

//! A parameter in the flat list of an instance: a parent stands right before its children.
struct Node
{
    std::uint32_t begin{}; //!< text, without what the list holds; a typed value's keyword
    std::uint32_t end{};
    std::uint32_t next{};  //!< index behind the last descendant
    std::uint32_t count{}; //!< children of a list, a typed value or a part of an instance
    ValueKind kind{ValueKind::omitted};
};

//! One parameter of an instance. Borrows from its Entity. What is not of the wanted kind raises a
//! StepError with the line and number of the instance.
class Value
{
public:
    Value(const Entity& entity, std::uint32_t node) : mEntity(&entity), mNode(node) {}

    [[nodiscard]] ValueKind kind() const noexcept;
    //! Tells whether the parameter is $ or *.
    [[nodiscard]] bool isOmitted() const noexcept;
    [[nodiscard]] bool isReference() const noexcept { return kind() == ValueKind::reference; }

    //! Gives the number of the instance that a reference names.
    [[nodiscard]] long reference() const;
    //! Gives a finite number; integers and typed numbers count.
    [[nodiscard]] double number() const;
    //! Gives an integer within 32 bits; a whole real counts, some writers write them so.
    [[nodiscard]] int integer() const;
    //! Gives a string in UTF-8; empty when omitted.
    [[nodiscard]] std::string text() const;
    //! Gives an enumeration's name without dots.
    [[nodiscard]] std::string_view enumeration() const;
    //! Gives .T. or .F.; anything else is an error.
    [[nodiscard]] bool boolean() const;

    //! Gives the count of elements of a list.
    [[nodiscard]] std::uint32_t size() const;
    //! Walks over the elements of a list: for (const Value element : value).
    class Iterator;
    [[nodiscard]] Iterator begin() const;
    [[nodiscard]] Iterator end() const;

    [[noreturn]] void fail(const std::string& why) const;

private:
    [[nodiscard]] const Node& node() const noexcept;
    [[nodiscard]] std::string_view raw() const noexcept;
    void want(ValueKind wanted) const;

    const Entity* mEntity;
    std::uint32_t mNode;
};

class Value::Iterator
{
public:
    Iterator(const Entity& entity, std::uint32_t node) : mEntity(&entity), mNode(node) {}

    [[nodiscard]] Value operator*() const { return {*mEntity, mNode}; }
    Iterator& operator++() noexcept;
    [[nodiscard]] bool operator!=(const Iterator& other) const noexcept
    {
        return mNode != other.mNode;
    }

private:
    const Entity* mEntity;
    std::uint32_t mNode;
};

//! The attributes of a simple instance, or of one part of a complex one.
class Attributes
{
public:
    Attributes(const Entity& entity, std::uint32_t node) : mEntity(&entity), mNode(node) {}

    [[nodiscard]] std::uint32_t size() const noexcept;
    //! Gives an attribute, counted from 0.
    //! @throws StepError  there are not so many
    [[nodiscard]] Value operator[](std::uint32_t index) const;

private:
    const Entity* mEntity;
    std::uint32_t mNode;
};

//! An instance with its parameters taken apart. Neither copied nor moved: values point into it.
class Entity
{
public:
    //! @throws StepError  the file has no such instance, or too much was asked of it
    Entity(const Exchange& exchange, long number);
    //! The instance that a parameter refers to.
    //! @throws StepError  not a reference, or no such instance; the place is the referring one's
    Entity(const Exchange& exchange, const Value& reference);
    //! The same, and the instance must have a keyword.
    Entity(const Exchange& exchange, const Value& reference, std::string_view keyword);
    Entity(const Entity&) = delete;
    Entity& operator=(const Entity&) = delete;

    [[nodiscard]] long number() const noexcept { return mNumber; }
    [[nodiscard]] std::size_t line() const noexcept { return mLine; }
    //! Gives the keyword of a simple instance, empty for a complex one.
    [[nodiscard]] std::string_view keyword() const noexcept;
    //! Gives the keyword, or all keywords of a complex instance, for messages.
    [[nodiscard]] std::string title() const;
    [[nodiscard]] bool isComplex() const noexcept { return mComplex; }
    //! Tells whether the instance, or a part of it, has a keyword.
    [[nodiscard]] bool is(std::string_view keyword) const noexcept;
    //! Gives the attributes of a simple instance.
    [[nodiscard]] Attributes attributes() const;
    //! Gives the attributes of the part with a keyword.
    [[nodiscard]] Attributes part(std::string_view keyword) const;

    [[noreturn]] void fail(const std::string& why) const;

private:
    friend class Value;
    friend class Value::Iterator;
    friend class Attributes;

    void load(std::size_t index);
    // Gives the node of a part, or the count of nodes when there is none.
    [[nodiscard]] std::uint32_t findPart(std::string_view keyword) const noexcept;
    [[nodiscard]] std::string_view textOf(const Node& node) const noexcept;

    const Exchange* mExchange;
    std::vector<Node> mNodes;
    long mNumber{};
    std::size_t mLine{};
    bool mComplex{};
};

//! Says where an instance stands in the text.
struct Instance
{
    std::uint32_t number{};
    std::uint32_t offset{}; //!< behind '='
    std::uint32_t line{};
    std::uint32_t keyword{}; //!< index into Exchange's keywords, 0 for a complex instance
};

//! The instances of a file. The text is checked against the grammar once, as a whole; parameters
//! are taken apart when an Entity is made.
class Exchange
{
public:
    //! @param text  borrowed for the object's life; below 4 GB
    //! @throws StepError  the text breaks the grammar, or a number is used twice
    explicit Exchange(std::string_view text);

    //! Gives the schema names of the header.
    [[nodiscard]] const std::vector<std::string>& schemas() const noexcept { return mSchemas; }
    //! Gives what was skipped while parsing, one text each.
    [[nodiscard]] const std::vector<std::string>& remarks() const noexcept { return mRemarks; }

    [[nodiscard]] std::size_t size() const noexcept { return mInstances.size(); }
    [[nodiscard]] bool has(long number) const noexcept;
    //! Gives the numbers of all instances with a keyword, also as a part, in file order.
    [[nodiscard]] std::vector<long> withKeyword(std::string_view keyword) const;
    //! The same for all keywords that a test accepts.
    [[nodiscard]] std::vector<long>
    where(const std::function<bool(std::string_view)>& accepts) const;
    //! Gives the first keyword of an instance without taking it apart; empty when there is none.
    [[nodiscard]] std::string_view keywordOf(long number) const noexcept;
    //! Gives the line on which an instance begins, 0 when there is none.
    [[nodiscard]] std::size_t lineOf(long number) const noexcept;
    //! Gives how many parameters have been taken apart so far.
    [[nodiscard]] std::size_t taken() const noexcept { return mTaken; }

private:
    friend class Entity;
    struct Part
    {
        std::uint32_t keyword;
        std::uint32_t instance;
    };

    void readHeader(Scanner& scanner);
    void readHeaderEntity(Scanner& scanner, const Token& name);
    void readSections(Scanner& scanner);
    void readData(Scanner& scanner);
    void skipSection(Scanner& scanner, const Token& name);
    void readInstance(Scanner& scanner, const Token& name);
    void index();
    std::uint32_t keywordIndex(std::string_view keyword);
    [[nodiscard]] std::size_t find(long number) const noexcept;
    void charge(std::size_t nodes) const;

    std::string_view mText;
    std::vector<std::string> mSchemas;
    std::vector<std::string> mRemarks;
    std::vector<Instance> mInstances;     // in file order
    std::vector<std::uint32_t> mByNumber; // indexes of mInstances, by number; empty when in order
    std::vector<Part> mParts;             // of complex instances
    std::vector<std::string_view> mKeywords; // the first is empty: complex
    std::unordered_map<std::string_view, std::uint32_t> mKeywordIndex;
    // How many parameters have been taken apart: bounds what a small file full of cross references
    // can make of itself.
    mutable std::size_t mTaken{0};
};

} // namespace standin::step
