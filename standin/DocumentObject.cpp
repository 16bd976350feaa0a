#include "standin/DocumentObject.h"

#include "standin/Call.h"
#include "standin/Host.h"
#include "standin/Ids.h"
#include "standin/Keys.h"

#include <iterator>
#include <utility>

namespace standin {

DocumentObject::DocumentObject(std::shared_ptr<HostState> host, const ClassInfo& info,
                               std::shared_ptr<OpenDocument> openDocument)
    : Object(std::move(host), info),
      document(std::move(openDocument))
{
    document->object = this;
}

DocumentObject::~DocumentObject()
{
    document->object = nullptr;
}

void DocumentObject::fullName(Call& call)
{
    call.answer(asText(document->fullName));
}

void DocumentObject::name(Call& call)
{
    call.answer(asText(document->name()));
}

void DocumentObject::parent(Call& call)
{
    call.answer(asObject(applicationObject(hostState())));
}

void DocumentObject::type(Call& call)
{
    call.answer(asLong(document->type));
}

void DocumentObject::close(Call& call)
{
    (void)call;
    closeDocument(host(), document);
}

void DocumentObject::bind(Call& call, std::size_t key)
{
    const Bytes bytes = call.bytes(key);
    if (bytes.empty()) {
        failCall(E_INVALIDARG, "ReferenceKey is empty");
    }
    const std::optional<std::string> inner = innerKey(bytes);
    const IDispatchPtr found = inner ? objectWithKey(*inner) : IDispatchPtr();
    if (found.GetInterfacePtr() == nullptr && host().options.unboundKey == UnboundKey::failure) {
        failCall(host().options.unboundCode, "no object of this document has the key");
    }
    call.put(key + 1, asObject(found));
}

std::vector<Member> DocumentObject::withShared(std::vector<Member> own)
{
    std::vector<Member> members{
        {9, "FullName", kGet, {}, handle<DocumentObject, &DocumentObject::fullName>},
        {18, "Name", kGet, {}, handle<DocumentObject, &DocumentObject::name>},
        {22, "Parent", kGet, {}, handle<DocumentObject, &DocumentObject::parent>},
        {70, "Type", kGet, {}, handle<DocumentObject, &DocumentObject::type>},
        {kOwnNumbers + 2, "Close", kMethod, {}, handle<DocumentObject, &DocumentObject::close>},
    };
    members.insert(members.end(), std::make_move_iterator(own.begin()),
                   std::make_move_iterator(own.end()));
    return members;
}

Member DocumentObject::bindKeyMember(DISPID id)
{
    return {id,
            "BindKeyToObject",
            kMethod,
            {{L"ReferenceKey", Shape::bytes}, {L"Object", Shape::objectOut}},
            handle<DocumentObject, &DocumentObject::bindKey>};
}

} // namespace standin
