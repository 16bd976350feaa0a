//! @file
//! Representations: lists of items in one context of units, and how they relate to one another.

#pragma once

#include "standin/step/Exchange.h"
#include "standin/step/Units.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace standin::step {

struct Representation
{
    std::string name;
    std::vector<long> items;
    long context{};
    std::unordered_set<long> itemSet;

    [[nodiscard]] bool holds(long item) const { return itemSet.count(item) != 0; }
};

//! The representations of a file, each read once.
class Representations
{
public:
    explicit Representations(const Exchange& exchange) : mExchange(exchange) {}

    //! Takes in a relationship; one without transformation makes two representations one shape.
    //! @throws StepError  it can't be read
    void relate(const Entity& relationship);
    //! Gives the representations that are one shape with another.
    [[nodiscard]] const std::vector<long>& related(long number) const;

    //! @throws StepError  the instance is no representation
    [[nodiscard]] const Representation& read(long number);
    //! Gives the units of a context.
    //! @throws StepError  they can't be read
    [[nodiscard]] const Units& units(long context);
    //! Gives the metres per unit of length of a context.
    //! @throws StepError  it can't be read, or the context names none
    [[nodiscard]] double lengthUnit(long context);

private:
    const Exchange& mExchange;
    std::unordered_map<long, Representation> mRead;
    std::unordered_map<long, std::vector<long>> mRelated;
    std::unordered_map<long, Units> mUnits;
};

//! Gives the two representations of a relationship, simple or complex.
//! @throws StepError  it has none
[[nodiscard]] std::pair<long, long> relatedPair(const Entity& relationship);

} // namespace standin::step
