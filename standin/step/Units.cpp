#include "standin/step/Units.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace standin::step {

namespace {

// Units based on units based on units: no honest file goes deeper.
constexpr int kMaxDepth = 16;

enum class Dimension
{
    length,
    angle,
    other
};

struct Unit
{
    Dimension dimension{Dimension::other};
    double factor{}; // to metre or radian
};

double prefixFactor(const Value& prefix)
{
    if (prefix.isOmitted()) {
        return 1.0;
    }
    struct Prefix
    {
        std::string_view name;
        double factor;
    };
    static constexpr std::array<Prefix, 16> kPrefixes{{{"EXA", 1e18},
                                                       {"PETA", 1e15},
                                                       {"TERA", 1e12},
                                                       {"GIGA", 1e9},
                                                       {"MEGA", 1e6},
                                                       {"KILO", 1e3},
                                                       {"HECTO", 1e2},
                                                       {"DECA", 1e1},
                                                       {"DECI", 1e-1},
                                                       {"CENTI", 1e-2},
                                                       {"MILLI", 1e-3},
                                                       {"MICRO", 1e-6},
                                                       {"NANO", 1e-9},
                                                       {"PICO", 1e-12},
                                                       {"FEMTO", 1e-15},
                                                       {"ATTO", 1e-18}}};
    const std::string_view name = prefix.enumeration();
    const auto found = std::find_if(kPrefixes.begin(), kPrefixes.end(),
                                    [name](const Prefix& p) { return p.name == name; });
    if (found == kPrefixes.end()) {
        prefix.fail("unknown prefix ." + std::string(name.substr(0, 40)) + ".");
    }
    return found->factor;
}

Unit readUnit(const Exchange& exchange, const Value& reference, int depth);

// The last two attributes, which a simple instance has behind the inherited dimensions.
Attributes ownAttributes(const Entity& unit, std::string_view keyword, std::uint32_t& first)
{
    const Attributes attributes = unit.part(keyword);
    first = attributes.size() < 2 ? 0 : attributes.size() - 2;
    return attributes;
}

Unit readSiUnit(const Entity& entity)
{
    std::uint32_t first = 0;
    const Attributes attributes = ownAttributes(entity, "SI_UNIT", first);
    const std::string_view name = attributes[first + 1].enumeration();
    Unit unit;
    if (name == "METRE" || name == "RADIAN") {
        unit.dimension = name == "METRE" ? Dimension::length : Dimension::angle;
        unit.factor = prefixFactor(attributes[first]);
    }
    return unit;
}

Unit readConversionUnit(const Exchange& exchange, const Entity& entity, int depth)
{
    std::uint32_t first = 0;
    const Attributes attributes = ownAttributes(entity, "CONVERSION_BASED_UNIT", first);
    const Entity measure(exchange, attributes[first + 1]);
    const bool complex = measure.isComplex();
    const Attributes values = complex ? measure.part("MEASURE_WITH_UNIT") : measure.attributes();
    Unit unit = readUnit(exchange, values[1], depth + 1);
    if (unit.dimension != Dimension::other) {
        unit.factor *= values[0].number();
    }
    return unit;
}

Unit readUnit(const Exchange& exchange, const Value& reference, int depth)
{
    if (depth > kMaxDepth) {
        reference.fail("units are based on one another more than " + std::to_string(kMaxDepth) +
                       " times");
    }
    const Entity entity(exchange, reference);
    Unit unit;
    if (entity.is("SI_UNIT")) {
        unit = readSiUnit(entity);
    } else if (entity.is("CONVERSION_BASED_UNIT")) {
        unit = readConversionUnit(exchange, entity, depth);
    }
    constexpr double kLeast = 1e-30;
    constexpr double kMost = 1e30;
    if (unit.dimension != Dimension::other && !(unit.factor >= kLeast && unit.factor <= kMost)) {
        entity.fail("the unit's factor is not a usable number");
    }
    return unit;
}

double readUncertainty(const Exchange& exchange, const Value& list)
{
    double largest = 0.0;
    for (const Value reference : list) {
        const Entity entity(exchange, reference);
        const bool complex = entity.isComplex();
        const Attributes values = complex ? entity.part("MEASURE_WITH_UNIT") : entity.attributes();
        const Unit unit = readUnit(exchange, values[1], 0);
        if (unit.dimension == Dimension::length) {
            largest = std::max(largest, values[0].number() * unit.factor);
        }
    }
    return largest;
}

} // namespace

Units readUnits(const Exchange& exchange, long number)
{
    Units units;
    const Entity context(exchange, number);
    if (context.is("GLOBAL_UNIT_ASSIGNED_CONTEXT")) {
        const Attributes attributes = context.part("GLOBAL_UNIT_ASSIGNED_CONTEXT");
        for (const Value reference : attributes[attributes.size() - 1]) {
            const Unit unit = readUnit(exchange, reference, 0);
            if (unit.dimension == Dimension::length) {
                units.length = unit.factor;
            } else if (unit.dimension == Dimension::angle) {
                units.angle = unit.factor;
            }
        }
    }
    if (context.is("GLOBAL_UNCERTAINTY_ASSIGNED_CONTEXT")) {
        const Attributes attributes = context.part("GLOBAL_UNCERTAINTY_ASSIGNED_CONTEXT");
        units.uncertainty = readUncertainty(exchange, attributes[attributes.size() - 1]);
    }
    return units;
}

} // namespace standin::step
