#include "standin/step/Products.h"

#include "standin/step/Assembly.h"
#include "standin/step/Bodies.h"
#include "standin/step/Placements.h"
#include "standin/step/Representations.h"
#include "standin/step/StepFile.h"
#include "standin/step/Transformations.h"

#include <algorithm>
#include <map>
#include <optional>
#include <stdexcept>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace standin::step {

namespace {

using geom::kNone;

// From a property or an aspect of a shape to its product: no honest file goes deeper.
constexpr int kMaxDepth = 8;

std::string placeOf(const Exchange& exchange, long number)
{
    return "#" + std::to_string(number) + " (line " + std::to_string(exchange.lineOf(number)) + ")";
}

bool endsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

class ProductReader
{
public:
    ProductReader(const Exchange& exchange, const std::string& name, Report& report)
        : mExchange(exchange),
          mName(name),
          mReport(report),
          mRepresentations(exchange)
    {}

    geom::Model read()
    {
        readDefinitions();
        readRelations();
        readShapes();
        readOccurrences();
        // Mapped items may append products, so this is no loop over a fixed range.
        for (std::size_t i = 0; i < mDrafts.size(); ++i) {
            readContent(i);
        }
        readStrays();
        reportLeft();
        geom::Model model = collect();
        refuseCycles(model, mExchange);
        refuseEmpty(model);
        return model;
    }

private:
    // A product while its parts are gathered.
    struct Draft
    {
        geom::Product product;
        std::vector<long> shapes;          // its representations
        std::unordered_set<long> shapeSet; // the same
        std::unordered_set<long> seenShapes;
        std::unordered_set<long> seenItems;
        bool used{};
    };

    // What a NEXT_ASSEMBLY_USAGE_OCCURRENCE says.
    struct Usage
    {
        long number{};
        std::size_t parent{kNone};
        std::size_t occurrence{kNone}; // index in the parent's occurrences
        std::size_t child{kNone};
        bool placed{};
    };

    // Runs a step; what it can't read is left out with a warning.
    template <typename Step>
    void tryOn(long number, const std::string& what, Step step)
    {
        try {
            step();
        } catch (const StepError& error) {
            leaveOut(number, what, error.what());
        } catch (const std::invalid_argument& error) {
            leaveOut(number, what, error.what());
        }
    }

    void leaveOut(long number, const std::string& what, const std::string& why)
    {
        mReport.add(what + " " + placeOf(mExchange, number) + " is left out: " + why);
    }

    // Product definitions

    void readDefinitions()
    {
        for (const char* keyword :
             {"PRODUCT_DEFINITION", "PRODUCT_DEFINITION_WITH_ASSOCIATED_DOCUMENTS"}) {
            for (const long number : mExchange.withKeyword(keyword)) {
                tryOn(number, "product definition", [&] { readDefinition(number); });
            }
        }
    }

    void readDefinition(long number)
    {
        const Entity definition(mExchange, number);
        const Entity formation(mExchange, definition.attributes()[2]);
        const Entity product(mExchange, formation.attributes()[2]);
        Draft draft;
        draft.product.entity = number;
        draft.product.name = product.attributes()[1].text();
        if (draft.product.name.empty()) {
            draft.product.name = product.attributes()[0].text();
        }
        mByDefinition.emplace(number, mDrafts.size());
        mDrafts.push_back(std::move(draft));
    }

    // Gives the product whose shape, or whose shape's aspect, an instance describes.
    std::size_t productOf(long number, int depth = 0) const
    {
        const auto found = mByDefinition.find(number);
        if (found != mByDefinition.end()) {
            return found->second;
        }
        const std::string_view keyword = mExchange.keywordOf(number);
        const bool property =
            keyword == "PRODUCT_DEFINITION_SHAPE" || keyword == "PROPERTY_DEFINITION";
        if (depth >= kMaxDepth || (!property && !endsWith(keyword, "SHAPE_ASPECT"))) {
            return kNone;
        }
        const Entity entity(mExchange, number);
        const Value definition = entity.attributes()[2];
        return definition.isReference() ? productOf(definition.reference(), depth + 1) : kNone;
    }

    void readRelations()
    {
        for (const char* keyword :
             {"SHAPE_REPRESENTATION_RELATIONSHIP", "REPRESENTATION_RELATIONSHIP"}) {
            for (const long number : mExchange.withKeyword(keyword)) {
                tryOn(number, "relationship",
                      [&] { mRepresentations.relate(Entity(mExchange, number)); });
            }
        }
    }

    void readShapes()
    {
        for (const long number : mExchange.withKeyword("SHAPE_DEFINITION_REPRESENTATION")) {
            tryOn(number, "shape definition", [&] {
                const Entity entity(mExchange, number);
                const std::size_t product = productOf(entity.attributes()[0].reference());
                if (product == kNone) {
                    return;
                }
                const long shape = entity.attributes()[1].reference();
                addShape(product, shape);
                mOwner.emplace(shape, product);
            });
        }
    }

    void addShape(std::size_t product, long shape)
    {
        if (mDrafts[product].shapeSet.insert(shape).second) {
            mDrafts[product].shapes.push_back(shape);
        }
    }

    // Occurrences

    void readOccurrences()
    {
        for (const long number : mExchange.withKeyword("NEXT_ASSEMBLY_USAGE_OCCURRENCE")) {
            tryOn(number, "occurrence", [&] { readUsage(number); });
        }
        for (const long number : mExchange.withKeyword("CONTEXT_DEPENDENT_SHAPE_REPRESENTATION")) {
            tryOn(number, "placement", [&] { readPlacement(number); });
        }
    }

    void readUsage(long number)
    {
        const Entity entity(mExchange, number);
        const Attributes attributes = entity.attributes();
        Usage usage;
        usage.number = number;
        usage.parent = definitionOf(attributes[3]);
        usage.child = definitionOf(attributes[4]);
        geom::Occurrence occurrence;
        occurrence.entity = number;
        occurrence.name = attributes[1].text();
        if (occurrence.name.empty()) {
            occurrence.name = attributes[0].text();
        }
        usage.occurrence = addOccurrence(usage.parent, usage.child, std::move(occurrence));
        mUsageIndex.emplace(number, mUsages.size());
        mUsagesOf[{usage.parent, usage.child}].push_back(mUsages.size());
        mUsages.push_back(usage);
    }

    std::size_t definitionOf(const Value& reference) const
    {
        const auto found = mByDefinition.find(reference.reference());
        if (found == mByDefinition.end()) {
            reference.fail("#" + std::to_string(reference.reference()) +
                           " is no product definition that could be read");
        }
        return found->second;
    }

    std::size_t addOccurrence(std::size_t parent, std::size_t child, geom::Occurrence occurrence)
    {
        occurrence.product = child;
        mDrafts[child].used = true;
        std::vector<geom::Occurrence>& siblings = mDrafts[parent].product.occurrences;
        siblings.push_back(std::move(occurrence));
        return siblings.size() - 1;
    }

    void readPlacement(long number)
    {
        const Entity entity(mExchange, number);
        const Entity shape(mExchange, entity.attributes()[1]);
        const Value usage = shape.attributes()[2];
        const auto found = mUsageIndex.find(usage.reference());
        if (found == mUsageIndex.end()) {
            usage.fail("#" + std::to_string(usage.reference()) +
                       " is no occurrence that could be read");
        }
        Usage& target = mUsages[found->second];
        const Entity relation(mExchange, entity.attributes()[0]);
        mDrafts[target.parent].product.occurrences[target.occurrence].placement =
            readTransformation(mExchange, mRepresentations, relation, [&](long other) {
                return mDrafts[target.child].shapeSet.count(other) != 0;
            });
        target.placed = true;
    }

    // Bodies

    void readContent(std::size_t product)
    {
        // A list that grows while it is read: a shape and everything tied to it.
        std::vector<long> shapes = mDrafts[product].shapes;
        for (std::size_t i = 0; i < shapes.size(); ++i) {
            const long shape = shapes[i];
            if (!mDrafts[product].seenShapes.insert(shape).second) {
                continue;
            }
            mSeenShapes.insert(shape);
            tryOn(shape, "representation", [&] { readItems(product, shape); });
            for (const long other : mRepresentations.related(shape)) {
                const auto owner = mOwner.find(other);
                if (owner == mOwner.end() || owner->second == product) {
                    shapes.push_back(other);
                }
            }
        }
    }

    void readItems(std::size_t product, long shape)
    {
        const Representation representation = mRepresentations.read(shape);
        for (const long item : representation.items) {
            if (!mDrafts[product].seenItems.insert(item).second) {
                continue;
            }
            const std::string_view keyword = mExchange.keywordOf(item);
            if (isBodyKeyword(keyword)) {
                tryBody(product, item, [&] { return representation.context; });
            } else if (keyword == "MAPPED_ITEM") {
                tryOn(item, "mapped item", [&] { readMapped(product, item, representation); });
            } else if (keyword.empty()) {
                leaveOut(item, "item", "there is no such instance");
            } else if (keyword != "AXIS2_PLACEMENT_3D") {
                mReport.count(std::string(keyword) +
                                  ": not supported as an item of a shape, left out",
                              item, mExchange.lineOf(item));
            }
        }
    }

    // Reads a body; one that can't be read is left out with a warning.
    // contextOf gives the number of its context or raises why there is none.
    template <typename ContextOf>
    void tryBody(std::size_t product, long number, ContextOf contextOf)
    {
        mSeenBodies.insert(number);
        try {
            const long context = contextOf();
            (void)mRepresentations.lengthUnit(context); // refuses a context without one
            mDrafts[product].product.bodies.push_back(
                readBody(mExchange, number, mRepresentations.units(context), mSeenFaces, mReport));
        } catch (const StepError& error) {
            leaveOut(number, "body " + std::string(mExchange.keywordOf(number)), error.what());
            if (!mFirstFailure) {
                mFirstFailure = error;
            }
        }
    }

    void readMapped(std::size_t product, long number, const Representation& home)
    {
        const Entity item(mExchange, number);
        const Entity map(mExchange, item.attributes()[1], "REPRESENTATION_MAP");
        const long shape = map.attributes()[1].reference();
        const Representation mapped = mRepresentations.read(shape);
        const geom::Frame from =
            readTarget(mExchange, map.attributes()[0], mRepresentations.lengthUnit(mapped.context));
        const geom::Frame to =
            readTarget(mExchange, item.attributes()[2], mRepresentations.lengthUnit(home.context));
        const std::size_t child = productOfShape(shape, mapped.name);
        const geom::Placement placement = between(from, to);
        if (placeUsage(product, child, placement)) {
            return;
        }
        geom::Occurrence occurrence;
        occurrence.entity = number;
        occurrence.name = item.attributes()[0].text();
        occurrence.placement = placement;
        addOccurrence(product, child, std::move(occurrence));
    }

    // Gives the owner of a representation; one that has none becomes a product of its own.
    std::size_t productOfShape(long shape, const std::string& name)
    {
        const auto owner = mOwner.find(shape);
        if (owner != mOwner.end()) {
            return owner->second;
        }
        Draft draft;
        draft.product.entity = shape;
        draft.product.name = name;
        mDrafts.push_back(std::move(draft));
        addShape(mDrafts.size() - 1, shape);
        mOwner.emplace(shape, mDrafts.size() - 1);
        return mDrafts.size() - 1;
    }

    // A mapped item may say where an occurrence stands that is stated without a placement, or say
    // again what the occurrence says itself. Tells whether it is one of these.
    bool placeUsage(std::size_t parent, std::size_t child, const geom::Placement& placement)
    {
        const auto stated = mUsagesOf.find({parent, child});
        if (stated == mUsagesOf.end()) {
            return false;
        }
        // Those placed already are dropped for good, so that many items cost no more than once.
        std::vector<std::size_t>& waiting = stated->second;
        while (!waiting.empty() && mUsages[waiting.back()].placed) {
            waiting.pop_back();
        }
        if (!waiting.empty()) {
            Usage& usage = mUsages[waiting.back()];
            mDrafts[parent].product.occurrences[usage.occurrence].placement = placement;
            usage.placed = true;
        }
        return true;
    }

    // What belongs to no product

    void readStrays()
    {
        Draft draft;
        draft.product.name = mName;
        mDrafts.push_back(std::move(draft));
        const std::size_t stray = mDrafts.size() - 1;
        const auto isShape = [](std::string_view keyword) {
            return endsWith(keyword, "SHAPE_REPRESENTATION") &&
                   keyword != "CONTEXT_DEPENDENT_SHAPE_REPRESENTATION";
        };
        for (const long number : mExchange.where(isShape)) {
            tryOn(number, "representation", [&] { addStrayShape(stray, number); });
        }
        for (std::size_t i = stray; i < mDrafts.size(); ++i) {
            readContent(i);
        }
        for (const long number : mExchange.where(isBodyKeyword)) {
            readStrayBody(stray, number);
        }
    }

    // Takes a representation outside every product when it holds a body that is still missing.
    void addStrayShape(std::size_t stray, long number)
    {
        if (mSeenShapes.count(number) != 0) {
            return;
        }
        const Representation representation = mRepresentations.read(number);
        const bool missing = std::any_of(
            representation.items.begin(), representation.items.end(), [this](long item) {
                return isBodyKeyword(mExchange.keywordOf(item)) && mSeenBodies.count(item) == 0;
            });
        if (missing) {
            addShape(stray, number);
        }
    }

    // Takes a body outside every representation in the units that all contexts agree about.
    void readStrayBody(std::size_t stray, long number)
    {
        if (mSeenBodies.count(number) == 0) {
            tryBody(stray, number, [&] { return commonContext(number); });
        }
    }

    long commonContext(long number)
    {
        const std::vector<long> contexts = mExchange.withKeyword("GLOBAL_UNIT_ASSIGNED_CONTEXT");
        bool same = !contexts.empty();
        for (const long context : contexts) {
            const Units& units = mRepresentations.units(context);
            const Units& first = mRepresentations.units(contexts.front());
            same = same && units.length == first.length && units.angle == first.angle;
        }
        if (!same) {
            Scanner::fail("it is in no representation, so its units are not known",
                          mExchange.lineOf(number), number);
        }
        return contexts.front();
    }

    void reportLeft()
    {
        if (mFirstFailure) {
            return;
        }
        for (const char* keyword : {"ADVANCED_FACE", "FACE_SURFACE"}) {
            for (const long number : mExchange.withKeyword(keyword)) {
                if (mSeenFaces.count(number) == 0) {
                    mReport.count(std::string(keyword) + ": belongs to no body, left out", number,
                                  mExchange.lineOf(number));
                }
            }
        }
        for (const Usage& usage : mUsages) {
            if (!usage.placed) {
                mReport.count("NEXT_ASSEMBLY_USAGE_OCCURRENCE: without a placement, stands at the "
                              "assembly's origin",
                              usage.number, mExchange.lineOf(usage.number));
            }
        }
    }

    // The whole

    void refuseEmpty(const geom::Model& model) const
    {
        const bool empty =
            std::all_of(model.products.begin(), model.products.end(),
                        [](const geom::Product& product) { return product.bodies.empty(); });
        if (!empty) {
            return;
        }
        if (mFirstFailure) {
            throw StepError("no body can be opened", *mFirstFailure);
        }
        Scanner::fail("the file holds no solid and no surface model", 0);
    }

    // Leaves out products without content that nothing uses, and renumbers the others.
    geom::Model collect()
    {
        geom::Model model;
        std::vector<std::size_t> place(mDrafts.size(), kNone);
        for (std::size_t i = 0; i < mDrafts.size(); ++i) {
            Draft& draft = mDrafts[i];
            if (!draft.used && draft.product.bodies.empty() && draft.product.occurrences.empty()) {
                continue;
            }
            place[i] = model.products.size();
            if (!draft.used) {
                model.roots.push_back(place[i]);
            }
            model.products.push_back(std::move(draft.product));
        }
        for (geom::Product& product : model.products) {
            for (geom::Occurrence& occurrence : product.occurrences) {
                occurrence.product = place[occurrence.product];
            }
        }
        return model;
    }

    const Exchange& mExchange;
    const std::string& mName;
    Report& mReport;
    Representations mRepresentations;
    std::vector<Draft> mDrafts;
    std::unordered_map<long, std::size_t> mByDefinition; // definition -> index of mDrafts
    std::unordered_map<long, std::size_t> mOwner;        // representation -> index of mDrafts
    std::vector<Usage> mUsages;
    std::unordered_map<long, std::size_t> mUsageIndex; // number -> index of mUsages
    std::map<std::pair<std::size_t, std::size_t>, std::vector<std::size_t>>
        mUsagesOf; // parent, child
    std::unordered_set<long> mSeenShapes;
    std::unordered_set<long> mSeenBodies;
    std::unordered_set<long> mSeenFaces;
    std::optional<StepError> mFirstFailure;
};

} // namespace

geom::Model readProducts(const Exchange& exchange, const std::string& name, Report& report)
{
    return ProductReader(exchange, name, report).read();
}

} // namespace standin::step
