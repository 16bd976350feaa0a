//! @file
//! Base of the automation objects of documents: what those of parts and assemblies share.

#pragma once

#include "standin/Call.h"
#include "standin/Document.h"
#include "standin/Object.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace standin {

//! The automation object of an open document.
class DocumentObject : public Object
{
public:
    ~DocumentObject() override;

    void fullName(Call& call);
    void name(Call& call);
    void parent(Call& call);
    void type(Call& call);
    void bindKey(Call& call) { bind(call, 0); }
    void close(Call& call);
    //! Answers an object of the document's drawing.
    //! @tparam make  makes it
    template <IDispatchPtr (*make)(const std::shared_ptr<HostState>&, const DrawingPtr&)>
    void drawn(Call& call)
    {
        call.answer(asObject(make(hostState(), document->drawing)));
    }

protected:
    DocumentObject(std::shared_ptr<HostState> host, const ClassInfo& info,
                   std::shared_ptr<OpenDocument> openDocument);

    [[nodiscard]] bool connected() const noexcept override { return document->open; }
    [[nodiscard]] const std::shared_ptr<OpenDocument>& opened() const noexcept { return document; }

    //! Answers BindKeyToObject.
    //! @param key  the parameter that holds the key; the object goes into the one behind it
    void bind(Call& call, std::size_t key);
    //! Gives the object that has a key, without the session's number; null when there is none.
    [[nodiscard]] virtual IDispatchPtr objectWithKey(const std::string& key) = 0;

    //! Puts the members that every document has in front of a class's own.
    [[nodiscard]] static std::vector<Member> withShared(std::vector<Member> own);
    //! Makes the row of BindKeyToObject, whose number differs.
    [[nodiscard]] static Member bindKeyMember(DISPID id);

private:
    std::shared_ptr<OpenDocument> document;
};

} // namespace standin
