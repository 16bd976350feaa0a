//! @file
//! From the content of a file, or a model made in memory, to open documents.

#pragma once

#include "standin/Document.h"
#include "standin/Host.h"
#include "standin/geom/Brep.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace standin {

//! Finds an open document by its full name; null when there is none.
[[nodiscard]] std::shared_ptr<OpenDocument> findOpen(const HostState& host,
                                                     const std::string& fullName);
//! @throws HostError  the name is empty, or a document of that name is open
void requireFreeName(const HostState& host, const std::string& fullName);

//! Gives a part its keys, with regard to what has been opened as the same document before, and
//! remembers it there.
void remember(HostState& host, const std::string& fullName,
              const std::shared_ptr<PartContent>& content);

//! Opens products of a model as documents. A product with occurrences is an assembly, any other a
//! part. Where an assembly has bodies beside its occurrences, they are a part of their own, which
//! is its first occurrence.
class Opener
{
public:
    //! Reads a file.
    //! @throws step::StepError  the file can't be used
    //! @throws HostError        it can't be read
    Opener(HostState& hostState, const std::string& path);
    //! Takes a model made in memory.
    //! @param source  stands for the file's name in texts
    Opener(HostState& hostState, geom::Model content, std::string source);

    //! Gives the products that have bodies.
    [[nodiscard]] std::vector<std::size_t> parts() const;
    //! Chooses the product with bodies that options name, or the only one.
    //! @throws HostError  there is none or, when none is named, there are several
    [[nodiscard]] std::size_t choosePart(const OpenOptions& options) const;
    //! Chooses the assembly that options name, or the only one that no occurrence uses. A product
    //! with nothing in it counts where no other has occurrences.
    //! @throws HostError  as choosePart
    [[nodiscard]] std::size_t chooseAssembly(const OpenOptions& options) const;
    //! Tells whether the file holds an assembly rather than a part.
    [[nodiscard]] bool holdsAssembly(const OpenOptions& options) const;

    //! Takes the bodies of a product out of the model, without keys.
    [[nodiscard]] std::shared_ptr<PartContent> takePart(std::size_t index);
    //! Opens a part as a document.
    //! @throws HostError  as requireFreeName
    std::shared_ptr<OpenDocument> openPart(std::size_t index, const std::string& fullName);
    //! Opens an assembly as a document, and before it what its occurrences show, each named
    //! "base!product". Documents that are open from the same file already are not opened again.
    //! @param base  of the other documents' names
    //! @throws HostError  as requireFreeName, also for the other documents; the tree of occurrences
    //!                    is no tree of products of the model, is deeper than kMostLevels, or has a
    //!                    placement that is not finite. No document is opened then.
    std::shared_ptr<OpenDocument> openAssembly(std::size_t index, const std::string& fullName,
                                               const std::string& base);
    //! Opens the bodies of products, one document each, named "base!product".
    //! @throws HostError  as requireFreeName
    std::vector<std::shared_ptr<OpenDocument>> openParts(const std::vector<std::size_t>& products,
                                                         const std::string& base);

    static constexpr std::size_t kMostLevels = 200;

private:
    using DocumentPtr = std::shared_ptr<OpenDocument>;

    [[nodiscard]] std::size_t choose(const OpenOptions& options,
                                     const std::vector<std::size_t>& candidates,
                                     const char* what) const;
    [[nodiscard]] std::vector<std::size_t> roots() const;
    [[nodiscard]] const geom::Product& product(std::size_t index) const
    {
        return model.products[index];
    }
    [[nodiscard]] std::optional<PartDigest> digest(std::size_t index) const;

    [[noreturn]] void refuse(const std::string& why) const;
    void nameAll(const std::string& base);
    //! Collects the products below one, itself included, those that others use first.
    //! @return how many levels there are
    std::size_t collect(std::size_t index, std::size_t depth, std::vector<std::size_t>& levels,
                        std::vector<std::size_t>& order) const;
    [[nodiscard]] DocumentPtr openAlready(const std::string& fullName, bool assembly,
                                          std::size_t index) const;
    DocumentPtr shareOrOpenPart(std::size_t index);
    DocumentPtr open(DocumentPtr document, const std::string& fullName);
    DocumentPtr buildAssembly(std::size_t index);

    HostState& host;
    geom::Model model;
    std::string name;
    std::optional<PartDigest> file;
    std::vector<std::string> partNames;     //!< by product
    std::vector<std::string> assemblyNames; //!< by product
    std::vector<DocumentPtr> partDocuments;
    std::vector<DocumentPtr> assemblyDocuments;
};

} // namespace standin
