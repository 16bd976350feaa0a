#include "standin/Document.h"

#include "standin/Call.h"
#include "standin/DocumentObject.h"
#include "standin/DrawingObject.h"
#include "standin/Host.h"
#include "standin/Ids.h"

#include <algorithm>
#include <utility>

namespace standin {
namespace {

//! The host itself. Its own members' numbers are not known here, so it has none.
class Application : public Object
{
public:
    explicit Application(std::shared_ptr<HostState> host) : Object(std::move(host), table())
    {
        this->host().application = this;
    }
    ~Application() override { host().application = nullptr; }

    static const ClassInfo& table()
    {
        static const ClassInfo info{"Application", nullptr, {}};
        return info;
    }
};

class PartDocument : public DocumentObject
{
public:
    PartDocument(std::shared_ptr<HostState> host, std::shared_ptr<OpenDocument> openDocument)
        : DocumentObject(std::move(host), table(), std::move(openDocument))
    {}

    void models(Call& call)
    {
        call.answer(asObject(objectFor(hostState(), part(), {EntityKind::models, 0, 0})));
    }
    void constructions(Call& call)
    {
        call.answer(asObject(newConstructions(hostState(), opened())));
    }
    template <IDispatchPtr (*make)(const std::shared_ptr<HostState>&, const DrawingPtr&)>
    void drawn(Call& call)
    {
        call.answer(asObject(make(hostState(), opened()->drawing)));
    }
    void bindKeyEx(Call& call) { bind(call, 1); }

    static const ClassInfo& table();

protected:
    [[nodiscard]] const LivePartPtr& part() const { return opened()->part; }
    [[nodiscard]] IDispatchPtr objectWithKey(const std::string& key) override;
};

IDispatchPtr PartDocument::objectWithKey(const std::string& key)
{
    std::vector<LivePartPtr> all{part()};
    all.insert(all.end(), opened()->constructions.begin(), opened()->constructions.end());
    for (const LivePartPtr& each : all) {
        if (const std::optional<Entity> found = each->content->find(key)) {
            return objectFor(hostState(), each, *found);
        }
    }
    return IDispatchPtr();
}

const ClassInfo& PartDocument::table()
{
    static const ClassInfo info{
        "PartDocument", &kIidPartDocument,
        withShared({
            {8193, "Variables", kGet, {}, handle<PartDocument, &PartDocument::drawn<newVariables>>},
            {24677,
             "RefPlanes",
             kGet,
             {},
             handle<PartDocument, &PartDocument::drawn<newRefPlanes>>},
            // The host has no member at this number; callers that take it for RefPlanes get these.
            {24578,
             "RefPlanes",
             kGet,
             {},
             handle<PartDocument, &PartDocument::drawn<newRefPlanes>>},
            {24676,
             "ProfileSets",
             kGet,
             {},
             handle<PartDocument, &PartDocument::drawn<newProfileSets>>},
            {24681, "Models", kGet, {}, handle<PartDocument, &PartDocument::models>},
            {24684, "Sketches", kGet, {}, handle<PartDocument, &PartDocument::drawn<newSketches>>},
            bindKeyMember(24685),
            {24686, "Constructions", kGet, {}, handle<PartDocument, &PartDocument::constructions>},
            {24791,
             "BindKeyToObjectEx",
             kMethod,
             {{L"TopologyOnly", Shape::boolIn},
              {L"ReferenceKey", Shape::bytes},
              {L"Object", Shape::objectOut}},
             handle<PartDocument, &PartDocument::bindKeyEx>},
        })};
    return info;
}

} // namespace

std::string OpenDocument::name() const
{
    const std::size_t separator = fullName.find_last_of("/\\");
    return separator == std::string::npos ? fullName : fullName.substr(separator + 1);
}

void OpenDocument::replace(std::shared_ptr<const PartContent> content)
{
    if (part) {
        part->connected = false;
    }
    part = std::make_shared<LivePart>();
    part->content = std::move(content);
}

void OpenDocument::disconnect()
{
    part->connected = false;
    drawing->connected = false;
    for (const LivePartPtr& construction : constructions) {
        construction->connected = false;
    }
}

void closeDocument(HostState& host, const std::shared_ptr<OpenDocument>& document)
{
    document->open = false;
    document->disconnect();
    // The document may be given by its place in the very list.
    const OpenDocument* const closed = document.get();
    host.documents.erase(
        std::remove_if(host.documents.begin(), host.documents.end(),
                       [closed](const auto& each) { return each.get() == closed; }),
        host.documents.end());
}

IDispatchPtr documentObject(const std::shared_ptr<HostState>& host,
                            const std::shared_ptr<OpenDocument>& document)
{
    return document->object != nullptr ? owned(document->object)
                                       : owned(new PartDocument(host, document));
}

IDispatchPtr applicationObject(const std::shared_ptr<HostState>& host)
{
    return host->application != nullptr ? owned(host->application) : owned(new Application(host));
}

} // namespace standin
