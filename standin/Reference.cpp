#include "standin/Assembly.h"
#include "standin/Call.h"
#include "standin/Document.h"
#include "standin/Host.h"
#include "standin/Ids.h"

#include <algorithm>
#include <utility>

namespace standin {
namespace {

//! Something as an assembly sees it: the occurrences on the way down to it, the assembly's own
//! first, and the object itself, which stands in the last one's document.
class Reference : public Object
{
public:
    struct Target
    {
        std::vector<Step> path; //!< never empty
        IDispatchPtr object;    //!< of the last occurrence of the path when isOccurrence
        bool isOccurrence = false;
    };

    Reference(std::shared_ptr<HostState> host, Target referred)
        : Object(std::move(host), table()),
          target(std::move(referred))
    {}

    [[nodiscard]] const Target& referred() const noexcept { return target; }
    [[nodiscard]] const LiveAssemblyPtr& maker() const noexcept
    {
        return target.path.front().assembly;
    }
    [[nodiscard]] bool standsIn(const OpenDocument& document) const noexcept override
    {
        return document.assembly == maker();
    }
    IDispatchPtr twin() override { return owned(new Reference(hostState(), target)); }

    // NOLINTNEXTLINE(readability-make-member-function-const): handlers are not constant
    void object(Call& call) { call.answer(asObject(target.object)); }
    void parent(Call& call) { call.answer(asObject(at(target.path.front()))); }
    void type(Call& call) { call.answer(asLong(igReference)); }
    void immediateParent(Call& call) { call.answer(asObject(at(target.path.back()))); }
    void matrix(Call& call);
    void occurrencesInPath(Call& call);

    static const ClassInfo& table();

protected:
    [[nodiscard]] bool connected() const noexcept override
    {
        return std::all_of(target.path.begin(), target.path.end(),
                           [](const Step& step) { return step.assembly->connected; });
    }

private:
    [[nodiscard]] IDispatchPtr at(const Step& step) const
    {
        return occurrenceObject(hostState(), step);
    }

    Target target;
};

void Reference::matrix(Call& call)
{
    geom::Placement whole;
    for (const Step& step : target.path) {
        whole = combined(whole, step.placed().placement);
    }
    call.put(0, asArray(matrixOf(whole)));
}

void Reference::occurrencesInPath(Call& call)
{
    Objects below;
    for (std::size_t i = 1; i < target.path.size(); ++i) {
        below.push_back(at(target.path[i]));
    }
    const auto count = static_cast<LONG>(below.size());
    call.put(0, asObject(at(target.path.front())));
    call.put(1, asLong(count));
    call.put(2, asLong(count));
    call.put(3, asArray(std::move(below)));
}

const ClassInfo& Reference::table()
{
    static const ClassInfo info{
        "Reference",
        &kIidReference,
        {
            {4, "Object", kGet, {}, handle<Reference, &Reference::object>},
            {5, "Parent", kGet, {}, handle<Reference, &Reference::parent>},
            {6, "Type", kGet, {}, handle<Reference, &Reference::type>},
            {7, "ImmediateParent", kGet, {}, handle<Reference, &Reference::immediateParent>},
            {8,
             "GetMatrix",
             kMethod,
             {{L"Matrix", Shape::doubles}},
             handle<Reference, &Reference::matrix>},
            {10,
             "GetOccurrencesInPath",
             kMethod,
             {{L"TopOccurrence", Shape::objectOut},
              {L"NumSubOccurrencesInPath", Shape::longOut},
              {L"NumBoundSubOccurrencesInPath", Shape::longOut},
              {L"BoundSubOccurrencesInPath", Shape::objects}},
             handle<Reference, &Reference::occurrencesInPath>},
        }};
    return info;
}

//! Finds where a reference starts.
Reference::Target startOf(const HostState& host, const LiveAssemblyPtr& assembly, IDispatch* from,
                          bool mayGoOn)
{
    Object* const known = objectBehind(host, from);
    if (const auto* occurrence = dynamic_cast<Occurrence*>(known);
        occurrence != nullptr && occurrence->step().assembly == assembly) {
        return {{occurrence->step()}, IDispatchPtr(from), true};
    }
    if (const auto* reference = dynamic_cast<Reference*>(known);
        mayGoOn && reference != nullptr && reference->maker() == assembly &&
        reference->referred().isOccurrence) {
        return reference->referred();
    }
    failCall(E_INVALIDARG, "this is not one of the assembly's own occurrences");
}

//! Gives the object that a value holds, null for no object at all.
IDispatch* entityIn(const VARIANT& value)
{
    IDispatch* entity = nullptr;
    const bool nothing = V_VT(&value) == VT_EMPTY || V_VT(&value) == VT_NULL;
    const HRESULT result = nothing ? S_OK : toObject(value, entity);
    if (FAILED(result)) {
        throw CallFailure{result, std::string(), 1};
    }
    return entity;
}

} // namespace

IDispatchPtr newReference(const std::shared_ptr<HostState>& host, const LiveAssemblyPtr& assembly,
                          IDispatch* from, const VARIANT& entity, bool mayGoOn)
{
    IDispatch* const passed = entityIn(entity);
    Reference::Target target = startOf(*host, assembly, from, mayGoOn);
    if (passed != nullptr) {
        const Object* const known = objectBehind(*host, passed);
        if (known == nullptr || !known->standsIn(*target.path.back().placed().document)) {
            failCall(E_INVALIDARG, "the entity is not in the document of the occurrence");
        }
        if (const auto* inner = dynamic_cast<const Reference*>(known)) {
            const std::vector<Step>& below = inner->referred().path;
            target.path.insert(target.path.end(), below.begin(), below.end());
            target.object = inner->referred().object;
            target.isOccurrence = inner->referred().isOccurrence;
        } else {
            const auto* occurrence = dynamic_cast<const Occurrence*>(known);
            target.isOccurrence = occurrence != nullptr;
            if (target.isOccurrence) {
                target.path.push_back(occurrence->step());
            }
            target.object = IDispatchPtr(passed);
        }
    }
    return owned(new Reference(host, std::move(target)));
}

} // namespace standin
