//! @file
//! Assemblies: what their documents show, and the automation objects of it.

#pragma once

#include "standin/Content.h"
#include "standin/Object.h"
#include "standin/geom/Brep.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace standin {

//! An occurrence: a document placed in an assembly.
struct PlacedDocument
{
    std::string name;
    std::string key;
    geom::Placement placement; //!< from the document's space to its assembly's
    std::shared_ptr<OpenDocument> document;
    //! When set, callers don't get the document: success stands for a null object.
    std::optional<HRESULT> lost;
};

//! An assembly while its document shows it. When the document closes, objects stay behind,
//! disconnected.
struct LiveAssembly
{
    std::weak_ptr<OpenDocument> owner;
    std::vector<PlacedDocument> placed;
    std::vector<std::string> warnings; //!< the reader's
    std::optional<PartDigest>
        digest; //!< tells the file's assemblies apart; nothing: made in memory
    bool connected = true;
    Object* collection = nullptr; //!< the Occurrences object, while it lives
    std::vector<Object*> objects; //!< the Occurrence objects, by index, while they live
};

using LiveAssemblyPtr = std::shared_ptr<LiveAssembly>;

//! One step on the way down to something: an occurrence of an assembly.
struct Step
{
    LiveAssemblyPtr assembly;
    std::size_t index = 0;

    [[nodiscard]] PlacedDocument& placed() const { return assembly->placed[index]; }
};

//! The automation object of an occurrence.
class Occurrence : public Object
{
public:
    //! @param isKnown  the assembly knows the object and gives it again
    Occurrence(std::shared_ptr<HostState> host, Step where, bool isKnown);
    ~Occurrence() override;

    [[nodiscard]] const Step& step() const noexcept { return place; }
    [[nodiscard]] bool standsIn(const OpenDocument& document) const noexcept override;
    IDispatchPtr twin() override;

    void document(Call& call);
    void isSubassembly(Call& call);
    void key(Call& call);
    void matrix(Call& call);
    void name(Call& call);
    void parent(Call& call);
    void type(Call& call);

    static const ClassInfo& table();

protected:
    [[nodiscard]] bool connected() const noexcept override { return place.assembly->connected; }

private:
    Step place;
    bool known;
};

//! Gives the automation object of an assembly document: a new one.
[[nodiscard]] IDispatchPtr newAssemblyDocument(const std::shared_ptr<HostState>& host,
                                               const std::shared_ptr<OpenDocument>& document);
//! Gives an assembly's Occurrences object: the living one, or a new one.
[[nodiscard]] IDispatchPtr occurrencesObject(const std::shared_ptr<HostState>& host,
                                             const LiveAssemblyPtr& assembly);
//! Gives an occurrence's automation object: the living one, or a new one.
[[nodiscard]] IDispatchPtr occurrenceObject(const std::shared_ptr<HostState>& host,
                                            const Step& step);

//! Makes a reference to something as an assembly sees it.
//! @param from    an occurrence of the assembly; where references may go on, also a reference that
//!                the assembly made to an occurrence
//! @param entity  nothing: that occurrence itself; else something in its document, also a reference
//!                that its document made
//! @throws CallFailure  E_INVALIDARG when either is not of this kind, DISP_E_TYPEMISMATCH when the
//!                      entity is no object
[[nodiscard]] IDispatchPtr newReference(const std::shared_ptr<HostState>& host,
                                        const LiveAssemblyPtr& assembly, IDispatch* from,
                                        const VARIANT& entity, bool mayGoOn);

//! Gives a placement as a matrix of 16 numbers: the images of the axes x, y and z, each followed by
//! a 0, then that of the origin in metres, followed by a 1.
[[nodiscard]] std::vector<double> matrixOf(const geom::Placement& placement);
//! Gives the placement that applies the inner one first.
[[nodiscard]] geom::Placement combined(const geom::Placement& outer, const geom::Placement& inner);

} // namespace standin
