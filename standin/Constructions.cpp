#include "standin/Call.h"
#include "standin/Document.h"
#include "standin/Ids.h"
#include "standin/Object.h"

#include <utility>

namespace standin {
namespace {

//! The constructions of a part document, as they are at each call.
class Constructions : public Object
{
public:
    Constructions(std::shared_ptr<HostState> host, std::shared_ptr<OpenDocument> openDocument)
        : Object(std::move(host), table()),
          document(std::move(openDocument))
    {}

    IDispatchPtr twin() override { return newConstructions(hostState(), document); }

    void count(Call& call)
    {
        call.answer(asLong(static_cast<LONG>(document->constructions.size())));
    }
    void item(Call& call)
    {
        const std::size_t index = call.index(0, document->constructions.size());
        call.answer(asObject(
            objectFor(hostState(), document->constructions[index], {EntityKind::model, 0, 0})));
    }

    static const ClassInfo& table();

protected:
    [[nodiscard]] bool connected() const noexcept override { return document->open; }

private:
    std::shared_ptr<OpenDocument> document;
};

const ClassInfo& Constructions::table()
{
    static const ClassInfo info{
        "Constructions",
        &kIidConstructions,
        {
            {0,
             "Item",
             kMethod,
             {{L"Index", Shape::variantIn}},
             handle<Constructions, &Constructions::item>},
            {5, "Count", kGet, {}, handle<Constructions, &Constructions::count>},
        }};
    return info;
}

} // namespace

IDispatchPtr newConstructions(const std::shared_ptr<HostState>& host,
                              const std::shared_ptr<OpenDocument>& document)
{
    return owned(new Constructions(host, document));
}

} // namespace standin
