#include "standin/Call.h"
#include "standin/Ids.h"
#include "standin/Part.h"

#include <numeric>
#include <utility>
#include <vector>

namespace standin {
namespace {

//! Things of one kind in a part, numbered from 1.
class Collection : public PartObject
{
public:
    Collection(std::shared_ptr<HostState> host, const ClassInfo& info, LivePartPtr livePart,
               const Entity& entity, bool known, std::vector<Entity> entities)
        : PartObject(std::move(host), info, std::move(livePart), entity, known),
          items(std::move(entities))
    {}

    IDispatchPtr twin() override
    {
        return owned(new Collection(hostState(), info(), live(), entity(), false, items));
    }

    void count(Call& call) { call.answer(asLong(static_cast<LONG>(items.size()))); }
    void item(Call& call) { call.answer(asObject(objectOf(items[call.index(0, items.size())]))); }

private:
    std::vector<Entity> items;
};

std::vector<Member> membersWithCount(DISPID count)
{
    return {
        {count, "Count", kGet, {}, handle<Collection, &Collection::count>},
        {0, "Item", kMethod, {{L"Index", Shape::variantIn}}, handle<Collection, &Collection::item>},
    };
}

const ClassInfo& modelsInfo()
{
    static const ClassInfo info{"Models", &kIidModels, membersWithCount(5)};
    return info;
}

const ClassInfo& facesInfo()
{
    static const ClassInfo info{"Faces", &kIidFaces, membersWithCount(23)};
    return info;
}

const ClassInfo& edgesInfo()
{
    static const ClassInfo info{"Edges", &kIidEdges, membersWithCount(23)};
    return info;
}

IDispatchPtr newList(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                     const ClassInfo& info, EntityKind kind, std::size_t body,
                     const std::vector<std::size_t>& indices)
{
    std::vector<Entity> items;
    items.reserve(indices.size());
    for (const std::size_t index : indices) {
        items.push_back({kind, body, index});
    }
    return owned(new Collection(host, info, part, {kind, body, 0}, false, std::move(items)));
}

const ClassInfo& featuresInfo()
{
    static const ClassInfo info{"Features", &kIidFeatures, membersWithCount(5)};
    return info;
}

} // namespace

IDispatchPtr newModels(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                       const Entity& entity, bool known)
{
    std::vector<Entity> items;
    for (std::size_t body = 0; body < part->content->bodies().size(); ++body) {
        items.push_back({EntityKind::model, body, 0});
    }
    return owned(new Collection(host, modelsInfo(), part, entity, known, std::move(items)));
}

IDispatchPtr newFaces(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                      std::size_t body, const std::vector<std::size_t>& faces)
{
    return newList(host, part, facesInfo(), EntityKind::face, body, faces);
}

IDispatchPtr newFeatures(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                         std::size_t body, std::size_t count)
{
    std::vector<std::size_t> all(count);
    std::iota(all.begin(), all.end(), std::size_t{0});
    return newList(host, part, featuresInfo(), EntityKind::feature, body, all);
}

IDispatchPtr newEdges(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                      std::size_t body, const std::vector<std::size_t>& edges)
{
    return newList(host, part, edgesInfo(), EntityKind::edge, body, edges);
}

} // namespace standin
