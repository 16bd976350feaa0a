#include "standin/Assembly.h"
#include "standin/Call.h"
#include "standin/Document.h"
#include "standin/Host.h"
#include "standin/Ids.h"
#include "standin/Keys.h"

#include <utility>

namespace standin {
namespace {

//! The occurrences of an assembly, numbered from 1.
class Occurrences : public Object
{
public:
    Occurrences(std::shared_ptr<HostState> host, LiveAssemblyPtr shown, bool isKnown)
        : Object(std::move(host), table()),
          assembly(std::move(shown)),
          known(isKnown)
    {
        if (known) {
            assembly->collection = this;
        }
    }
    ~Occurrences() override
    {
        if (known) {
            assembly->collection = nullptr;
        }
    }

    IDispatchPtr twin() override { return owned(new Occurrences(hostState(), assembly, false)); }

    void count(Call& call) { call.answer(asLong(static_cast<LONG>(assembly->placed.size()))); }
    void item(Call& call)
    {
        const std::size_t index = call.index(0, assembly->placed.size());
        call.answer(asObject(occurrenceObject(hostState(), {assembly, index})));
    }
    void parent(Call& call)
    {
        call.answer(asObject(documentObject(hostState(), assembly->owner.lock())));
    }

    static const ClassInfo& table();

protected:
    [[nodiscard]] bool connected() const noexcept override { return assembly->connected; }

private:
    LiveAssemblyPtr assembly;
    bool known;
};

const ClassInfo& Occurrences::table()
{
    static const ClassInfo info{
        "Occurrences",
        &kIidOccurrences,
        {
            {0,
             "Item",
             kMethod,
             {{L"Index", Shape::variantIn}},
             handle<Occurrences, &Occurrences::item>},
            {3, "Count", kGet, {}, handle<Occurrences, &Occurrences::count>},
            {kOwnNumbers + 3, "Parent", kGet, {}, handle<Occurrences, &Occurrences::parent>},
        }};
    return info;
}

} // namespace

Occurrence::Occurrence(std::shared_ptr<HostState> host, Step where, bool isKnown)
    : Object(std::move(host), table()),
      place(std::move(where)),
      known(isKnown)
{
    if (known) {
        place.assembly->objects[place.index] = this;
    }
}

Occurrence::~Occurrence()
{
    if (known) {
        place.assembly->objects[place.index] = nullptr;
    }
}

bool Occurrence::standsIn(const OpenDocument& document) const noexcept
{
    return document.assembly == place.assembly;
}

IDispatchPtr Occurrence::twin()
{
    return owned(new Occurrence(hostState(), place, false));
}

void Occurrence::document(Call& call)
{
    const PlacedDocument& placed = place.placed();
    if (placed.lost && FAILED(*placed.lost)) {
        failCall(*placed.lost, "the document of " + placed.name + " is not loaded");
    }
    call.answer(
        asObject(placed.lost ? IDispatchPtr() : documentObject(hostState(), placed.document)));
}

void Occurrence::isSubassembly(Call& call)
{
    call.answer(asBool(place.placed().document->isAssembly()));
}

void Occurrence::key(Call& call)
{
    answerKey(call, place.placed().key, host().options.keySalt);
}

void Occurrence::matrix(Call& call)
{
    call.put(0, asArray(matrixOf(place.placed().placement)));
}

void Occurrence::name(Call& call)
{
    call.answer(asText(place.placed().name));
}

void Occurrence::parent(Call& call)
{
    call.answer(asObject(occurrencesObject(hostState(), place.assembly)));
}

void Occurrence::type(Call& call)
{
    call.answer(asLong(place.placed().document->isAssembly() ? igSubAssembly : igPart));
}

const ClassInfo& Occurrence::table()
{
    static const ClassInfo info{
        "Occurrence",
        &kIidOccurrence,
        {
            {10, "Subassembly", kGet, {}, handle<Occurrence, &Occurrence::isSubassembly>},
            {11, "Type", kGet, {}, handle<Occurrence, &Occurrence::type>},
            {38, "OccurrenceDocument", kGet, {}, handle<Occurrence, &Occurrence::document>},
            {42,
             "GetReferenceKey",
             kMethod,
             {{L"ReferenceKey", Shape::bytes}, {L"KeySize", Shape::variantOut, true}},
             handle<Occurrence, &Occurrence::key>},
            {kOwnNumbers + 3, "Parent", kGet, {}, handle<Occurrence, &Occurrence::parent>},
            {kOwnNumbers + 4, "Name", kGet, {}, handle<Occurrence, &Occurrence::name>},
            {kOwnNumbers + 5,
             "GetMatrix",
             kMethod,
             {{L"Matrix", Shape::doubles}},
             handle<Occurrence, &Occurrence::matrix>},
        }};
    return info;
}

IDispatchPtr occurrencesObject(const std::shared_ptr<HostState>& host,
                               const LiveAssemblyPtr& assembly)
{
    return assembly->collection != nullptr ? owned(assembly->collection)
                                           : owned(new Occurrences(host, assembly, true));
}

IDispatchPtr occurrenceObject(const std::shared_ptr<HostState>& host, const Step& step)
{
    Object* const living = step.assembly->objects[step.index];
    return living != nullptr ? owned(living) : owned(new Occurrence(host, step, true));
}

} // namespace standin
