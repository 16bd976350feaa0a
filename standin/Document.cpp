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
            {8193,
             "Variables",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newVariables>>},
            {24677,
             "RefPlanes",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newRefPlanes>>},
            // The host has no member at this number; callers that take it for RefPlanes get these.
            {24578,
             "RefPlanes",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newRefPlanes>>},
            {24676,
             "ProfileSets",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newProfileSets>>},
            {24681, "Models", kGet, {}, handle<PartDocument, &PartDocument::models>},
            {24684,
             "Sketches",
             kGet,
             {},
             handle<DocumentObject, &DocumentObject::drawn<newSketches>>},
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

void OpenDocument::disconnect() noexcept
{
    open = false;
    if (part) {
        part->connected = false;
    }
    drawing->connected = false;
    if (assembly) {
        assembly->connected = false;
    }
    for (const LivePartPtr& construction : constructions) {
        construction->connected = false;
    }
}

void closeDocument(HostState& host, const std::shared_ptr<OpenDocument>& document)
{
    // The document may be given by its place in the very list.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): see above
    const std::shared_ptr<OpenDocument> closed = document;
    closed->openedItself = false;
    if (closed->uses > 0) {
        return;
    }
    closed->disconnect();
    host.documents.erase(std::remove(host.documents.begin(), host.documents.end(), closed),
                         host.documents.end());
    if (!closed->assembly) {
        return;
    }
    for (const PlacedDocument& placed : closed->assembly->placed) {
        if (--placed.document->uses == 0 && !placed.document->openedItself) {
            closeDocument(host, placed.document);
        }
    }
}

IDispatchPtr documentObject(const std::shared_ptr<HostState>& host,
                            const std::shared_ptr<OpenDocument>& document)
{
    if (document->object != nullptr) {
        return owned(document->object);
    }
    return document->isAssembly() ? newAssemblyDocument(host, document)
                                  : owned(new PartDocument(host, document));
}

IDispatchPtr applicationObject(const std::shared_ptr<HostState>& host)
{
    return host->application != nullptr ? owned(host->application) : owned(new Application(host));
}

} // namespace standin
