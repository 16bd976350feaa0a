#include "standin/step/Transformations.h"

#include "standin/step/Placements.h"

#include <utility>

namespace standin::step {

geom::Placement readTransformation(const Exchange& exchange, Representations& representations,
                                   const Entity& relation, const std::function<bool(long)>& isChild)
{
    const std::pair<long, long> pair = relatedPair(relation);
    if (!relation.is("REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION")) {
        return {};
    }
    const bool childFirst = isChild(pair.first) || !isChild(pair.second);
    const Attributes own = relation.part("REPRESENTATION_RELATIONSHIP_WITH_TRANSFORMATION");
    const Value reference = own[own.size() - 1];
    const Representation& first = representations.read(pair.first);
    const Representation& second = representations.read(pair.second);
    const Entity transformation(exchange, reference);
    if (!transformation.is("ITEM_DEFINED_TRANSFORMATION")) {
        // An operator: from the first representation's space to the second's.
        const double length = representations.lengthUnit(second.context);
        const geom::Frame target = readTarget(exchange, reference, length);
        return childFirst ? between({}, target) : between(target, {});
    }
    const Value firstItem = transformation.attributes()[2];
    const Value secondItem = transformation.attributes()[3];
    // The first item stands in the first representation. Some writers exchange the representations
    // but not the items, so the representations' lists are asked.
    const bool crossed = !first.holds(firstItem.reference()) &&
                         second.holds(firstItem.reference()) && first.holds(secondItem.reference());
    const Value& itemOfFirst = crossed ? secondItem : firstItem;
    const Value& itemOfSecond = crossed ? firstItem : secondItem;
    const geom::Frame inFirst =
        readAxis2(exchange, itemOfFirst, representations.lengthUnit(first.context));
    const geom::Frame inSecond =
        readAxis2(exchange, itemOfSecond, representations.lengthUnit(second.context));
    return childFirst ? between(inFirst, inSecond) : between(inSecond, inFirst);
}

} // namespace standin::step
