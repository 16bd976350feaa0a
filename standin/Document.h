//! @file
//! Open documents and the application, as the session and their automation objects see them.

#pragma once

#include "standin/Assembly.h"
#include "standin/Drawing.h"
#include "standin/Ids.h"
#include "standin/Part.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace standin {

//! An open document.
class OpenDocument
{
public:
    std::string fullName;
    LONG type = igPartDocument;             //!< as Type answers
    LivePartPtr part;                       //!< what a part document shows, else null
    LiveAssemblyPtr assembly;               //!< what an assembly document shows, else null
    std::vector<LivePartPtr> constructions; //!< of one body each
    DrawingPtr drawing = std::make_shared<Drawing>();
    bool open = true;
    bool openedItself = false; //!< not only for the assemblies that show it
    std::size_t uses = 0;      //!< by occurrences of open assemblies
    Object* object = nullptr;  //!< the automation object, while it lives

    [[nodiscard]] bool isAssembly() const noexcept { return assembly != nullptr; }
    //! Gives the name without folders.
    [[nodiscard]] std::string name() const;
    //! Puts another part in the old one's place and disconnects the old one's objects.
    //! Constructions stay as they are.
    void replace(std::shared_ptr<const PartContent> content);
    //! Closes the document as far as its objects see it.
    void disconnect() noexcept;
};

//! Closes a document and takes it out of the session's list, unless an open assembly shows it: then
//! it closes with the last of those. An assembly closes what was open for it alone.
void closeDocument(HostState& host, const std::shared_ptr<OpenDocument>& document);

//! Gives the automation object of a document: the living one, or a new one.
[[nodiscard]] IDispatchPtr documentObject(const std::shared_ptr<HostState>& host,
                                          const std::shared_ptr<OpenDocument>& document);

//! Makes a Constructions collection.
[[nodiscard]] IDispatchPtr newConstructions(const std::shared_ptr<HostState>& host,
                                            const std::shared_ptr<OpenDocument>& document);

//! Gives the application's automation object: the living one, or a new one.
[[nodiscard]] IDispatchPtr applicationObject(const std::shared_ptr<HostState>& host);

} // namespace standin
