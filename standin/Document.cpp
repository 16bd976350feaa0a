#include "standin/Document.h"

#include "standin/Call.h"
#include "standin/Host.h"
#include "standin/Ids.h"
#include "standin/Keys.h"

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

class PartDocument : public Object
{
public:
    PartDocument(std::shared_ptr<HostState> host, std::shared_ptr<OpenDocument> openDocument)
        : Object(std::move(host), table()),
          document(std::move(openDocument))
    {
        document->object = this;
    }
    ~PartDocument() override { document->object = nullptr; }

    void fullName(Call& call) { call.answer(asText(document->fullName)); }
    void name(Call& call) { call.answer(asText(document->name())); }
    void type(Call& call) { call.answer(asLong(igPartDocument)); }
    void parent(Call& call) { call.answer(asObject(applicationObject(hostState()))); }
    void models(Call& call)
    {
        call.answer(asObject(objectFor(hostState(), document->part, {EntityKind::models, 0, 0})));
    }
    void bindKey(Call& call) { bind(call, 0); }
    void bindKeyEx(Call& call) { bind(call, 1); }
    void close(Call& call)
    {
        (void)call;
        closeDocument(host(), document);
    }

    static const ClassInfo& table();

protected:
    [[nodiscard]] bool connected() const noexcept override { return document->open; }

private:
    //! @param key  the parameter that holds the key; the object goes into the one behind it
    void bind(Call& call, std::size_t key);

    std::shared_ptr<OpenDocument> document;
};

void PartDocument::bind(Call& call, std::size_t key)
{
    const Bytes bytes = call.bytes(key);
    if (bytes.empty()) {
        failCall(E_INVALIDARG, "ReferenceKey is empty");
    }
    const std::optional<std::string> inner = innerKey(bytes);
    const std::optional<Entity> found =
        inner ? document->part->content->find(*inner) : std::nullopt;
    if (!found && host().options.unboundKey == UnboundKey::failure) {
        failCall(host().options.unboundCode, "no object of this document has the key");
    }
    call.put(key + 1,
             asObject(found ? objectFor(hostState(), document->part, *found) : IDispatchPtr()));
}

const ClassInfo& PartDocument::table()
{
    static const ClassInfo info{
        "PartDocument",
        &kIidPartDocument,
        {
            {9, "FullName", kGet, {}, handle<PartDocument, &PartDocument::fullName>},
            {18, "Name", kGet, {}, handle<PartDocument, &PartDocument::name>},
            {22, "Parent", kGet, {}, handle<PartDocument, &PartDocument::parent>},
            {70, "Type", kGet, {}, handle<PartDocument, &PartDocument::type>},
            {24681, "Models", kGet, {}, handle<PartDocument, &PartDocument::models>},
            {24685,
             "BindKeyToObject",
             kMethod,
             {{L"ReferenceKey", Shape::bytes}, {L"Object", Shape::objectOut}},
             handle<PartDocument, &PartDocument::bindKey>},
            {24791,
             "BindKeyToObjectEx",
             kMethod,
             {{L"TopologyOnly", Shape::boolIn},
              {L"ReferenceKey", Shape::bytes},
              {L"Object", Shape::objectOut}},
             handle<PartDocument, &PartDocument::bindKeyEx>},
            {kOwnNumbers + 2, "Close", kMethod, {}, handle<PartDocument, &PartDocument::close>},
        }};
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

void closeDocument(HostState& host, const std::shared_ptr<OpenDocument>& document)
{
    document->open = false;
    document->part->connected = false;
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
