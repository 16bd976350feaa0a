#include "standin/step/Representations.h"

namespace standin::step {

std::pair<long, long> relatedPair(const Entity& relationship)
{
    const Attributes attributes = relationship.isComplex()
                                      ? relationship.part("REPRESENTATION_RELATIONSHIP")
                                      : relationship.attributes();
    return {attributes[2].reference(), attributes[3].reference()};
}

void Representations::relate(const Entity& relationship)
{
    if (relationship.is("REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION")) {
        return;
    }
    const std::pair<long, long> pair = relatedPair(relationship);
    mRelated[pair.first].push_back(pair.second);
    mRelated[pair.second].push_back(pair.first);
}

const std::vector<long>& Representations::related(long number) const
{
    static const std::vector<long> kNothing;
    const auto found = mRelated.find(number);
    return found == mRelated.end() ? kNothing : found->second;
}

const Representation& Representations::read(long number)
{
    const auto known = mRead.find(number);
    if (known != mRead.end()) {
        return known->second;
    }
    const Entity entity(mExchange, number);
    const Attributes attributes =
        entity.isComplex() ? entity.part("REPRESENTATION") : entity.attributes();
    Representation representation;
    representation.name = attributes[0].text();
    for (const Value item : attributes[1]) {
        representation.items.push_back(item.reference());
    }
    representation.context = attributes[2].reference();
    representation.itemSet.insert(representation.items.begin(), representation.items.end());
    return mRead.emplace(number, std::move(representation)).first->second;
}

const Units& Representations::units(long context)
{
    const auto known = mUnits.find(context);
    if (known != mUnits.end()) {
        return known->second;
    }
    const Units units = readUnits(mExchange, context);
    return mUnits.emplace(context, units).first->second;
}

double Representations::lengthUnit(long context)
{
    const double length = units(context).length;
    if (length == 0.0) {
        Scanner::fail("the context names no unit of length", mExchange.lineOf(context), context);
    }
    return length;
}

} // namespace standin::step
