//! @file
//! The stand-in host: a CAD host without a window, for tests and tools. A session opens parts and
//! hands out their automation objects; what those answer is described in docs/stand-in-host.md.

#pragma once

#include "com/Com.h"
#include "standin/Census.h"
#include "standin/DocumentData.h"
#include "standin/FaultPlan.h"
#include "standin/HostError.h"
#include "standin/Journal.h"
#include "standin/geom/Brep.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace standin {

struct HostState;
class OpenDocument;
class Opener;

//! How a document answers BindKeyToObject when no object has the key.
enum class UnboundKey
{
    nullObject, //!< success, and a null object
    failure,    //!< SessionOptions::unboundCode
};

struct SessionOptions
{
    UnboundKey unboundKey = UnboundKey::nullObject;
    HRESULT unboundCode = E_INVALIDARG;
    //! Reference keys carry this number. Sessions with different numbers give other keys for the
    //! same object; each binds the keys of the other.
    std::uint32_t keySalt = 0;
};

struct OpenOptions
{
    std::string as; //!< the document's FullName; empty: the path
    //! Which product of a file with several: its index in geom::Model::products. kNone: the only
    //! part that has bodies, or the only assembly that no occurrence uses.
    std::size_t product = geom::kNone;
};

//! An occurrence of an assembly, and what is below it.
struct OccurrenceView
{
    std::string name;
    std::string document; //!< full name of the document that it shows
    bool subassembly = false;
    geom::Placement placement; //!< from that document's space to its assembly's
    std::vector<OccurrenceView> occurrences;
};

//! A running host.
//!
//! Every IDispatchPtr handed out is owned by the receiver. The session keeps its documents open
//! whether or not anybody holds their objects; objects may outlive the session. Objects of a closed
//! document, of an ended session, or of bodies that a change replaced answer every Invoke and
//! GetIDsOfNames with RPC_E_DISCONNECTED. One thread only.
//!
//! Reference keys. The keys of a part depend on the part alone, so that the same file gives the
//! same keys in a later process and on another platform. Under one full name a session remembers
//! the part opened there last: when another part is opened as that name, what is recognisably the
//! same body, face or edge keeps its key. A session that has not had the old part open itself is
//! told of it by openChanged.
//!
//! Assemblies. With an assembly open the documents that its occurrences show, one for each product
//! however often it is used, and each stays open until the last open assembly that shows it is
//! closed, and longer when it was also opened for itself.
class Session
{
public:
    explicit Session(const SessionOptions& options = {});
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    //! Closes every document.
    ~Session();

    //! Opens a part from a STEP file.
    //! @param path  UTF-8
    //! @return      the part document
    //! @throws step::StepError  the file can't be used
    //! @throws HostError        a document of that name is open; the file holds no part or, when
    //!                          none is chosen, several (the text lists them)
    IDispatchPtr openPart(const std::string& path, const OpenOptions& options = {});

    //! Opens a part from memory.
    //! @param fullName  as FullName is to answer, UTF-8; not empty
    //! @throws HostError  as for a file
    IDispatchPtr openPart(geom::Model model, const std::string& fullName,
                          const OpenOptions& options = {});

    //! Opens an assembly from a STEP file. The documents of its occurrences are named
    //! "path!product", with "(2)", "(3)", ... behind a name that an earlier product of the file
    //! has. One of that name that is open from the same file is shown again.
    //! @param path  UTF-8
    //! @return      the assembly document
    //! @throws step::StepError  the file can't be used
    //! @throws HostError        another document of one of the names is open; the file holds no
    //!                          assembly or, when none is chosen, several (the text lists them);
    //!                          occurrences are deeper than 200 levels
    IDispatchPtr openAssembly(const std::string& path, const OpenOptions& options = {});

    //! Opens an assembly from memory. A product without bodies and occurrences is an assembly with
    //! nothing in it when the model has no other.
    //! @throws HostError  as for a file; an occurrence names no product, a product is used inside
    //!                    itself, a placement is not finite
    IDispatchPtr openAssembly(geom::Model model, const std::string& fullName,
                              const OpenOptions& options = {});

    //! Opens what a STEP file holds: as openAssembly when a product, or the one chosen, has
    //! occurrences, else as openPart.
    IDispatchPtr open(const std::string& path, const OpenOptions& options = {});
    //! Opens what a model holds, as for a file.
    IDispatchPtr open(geom::Model model, const std::string& fullName,
                      const OpenOptions& options = {});

    //! Opens every part of a STEP file, one document for each product that has bodies, in the order
    //! of the file. A single one is named as the file; several are named as openAssembly names
    //! them, and one that is open already is given again.
    //! @throws  as openPart
    std::vector<IDispatchPtr> openParts(const std::string& path, const OpenOptions& options = {});

    //! Opens a changed part in place of an old one: what is recognisable of the old file keeps the
    //! key that it has there. The document is named as the old file unless options say otherwise.
    //! @throws  as openPart
    IDispatchPtr openChanged(const std::string& oldPath, const std::string& newPath,
                             const OpenOptions& options = {});

    //! Changes an open document in place, as a recompute does: the document object lives on, the
    //! objects of its models, bodies, faces and edges are disconnected, keys follow what is
    //! recognisable.
    //! @throws HostError  the object is not an open part document of this session; the model holds
    //!                    no part or several
    void change(IDispatch* document, geom::Model model, const OpenOptions& options = {});

    //! Adds a feature to a model of a part. Features are gone when change() replaces the models.
    //! @param model  0 for the first one
    //! @return       its number in the model's features, from 1
    //! @throws HostError  the object is not an open part document of this session; it has no
    //!                    such model
    LONG addFeature(IDispatch* document, std::size_t model, const FeatureSpec& feature);
    //! Adds a construction to a part. Its faces and edges have keys, as those of the models have.
    //! @return  its number in the constructions, from 1
    //! @throws HostError  the object is not an open part document of this session
    LONG addConstruction(IDispatch* document, ConstructionSpec construction);

    //! Adds a variable to a document of either kind.
    //! @return  its number among the document's variables and dimensions, from 1
    //! @throws HostError  the object is not an open document of this session; a number is not
    //!                    finite
    LONG addVariable(IDispatch* document, const VariableSpec& variable);
    //! Adds a dimension that measures nothing drawn here, as addVariable.
    LONG addDimension(IDispatch* document, const DimensionSpec& dimension);
    //! Adds a reference plane to a document of either kind.
    //! @param plane  normal and direction of any length; no direction: one is chosen
    //! @return       its number among the document's reference planes, from 4
    //! @throws HostError  the object is not an open document of this session; a number is not
    //!                    finite; there is no normal, or the direction is not at a right angle to
    //!                    it
    LONG addRefPlane(IDispatch* document, const RefPlaneSpec& plane);

    //! Gives every profile drawn in a document of either kind, oldest first.
    //! @throws HostError  the object is not an open document of this session
    [[nodiscard]] std::vector<ProfileView> profiles(IDispatch* document) const;

    //! Closes a document, as its own Close does. One that an open assembly shows stays open for it.
    //! @throws HostError  the object is not an open document of this session
    void close(IDispatch* document);

    //! Gives a document another full name, as saving under a new name does. Keys stay.
    //! @throws HostError  the object is not an open document of this session; the name is empty or
    //!                    in use by another open document
    void rename(IDispatch* document, const std::string& fullName);

    //! Gives the application object.
    [[nodiscard]] IDispatchPtr application();
    //! Gives the open document of a full name, null when there is none.
    [[nodiscard]] IDispatchPtr document(const std::string& fullName);
    //! Gives the open documents, oldest first.
    [[nodiscard]] std::vector<IDispatchPtr> documents();

    //! Makes a document answer another number as its Type: 4 for a sheet metal part, say.
    //! @throws HostError  the object is not an open document of this session
    void setType(IDispatch* document, LONG type);
    //! Makes an occurrence one whose document could not be loaded.
    //! @param code  what OccurrenceDocument answers; success stands for a null object
    //! @throws HostError  the object is not an occurrence of an open assembly of this session
    void loseDocument(IDispatch* occurrence, HRESULT code = E_FAIL);

    //! Gives the part behind an open document: its bodies in the order of the models collection.
    //! @throws HostError  the object is not an open part document of this session
    [[nodiscard]] const std::vector<geom::Body>& bodies(IDispatch* document) const;
    //! Gives what the reader of the document's file left out, one line each.
    //! @throws HostError  the object is not an open document of this session
    [[nodiscard]] const std::vector<std::string>& warnings(IDispatch* document) const;

    //! Gives the occurrences of an assembly and all below them; none for a part.
    //! @throws HostError  the object is not an open document of this session; there are more than a
    //!                    million
    [[nodiscard]] std::vector<OccurrenceView> occurrences(IDispatch* document) const;

    [[nodiscard]] FaultPlan& faults() noexcept;
    [[nodiscard]] Journal& journal() noexcept;
    [[nodiscard]] const Census& census() const noexcept;

private:
    IDispatchPtr shown(const std::shared_ptr<OpenDocument>& document);
    IDispatchPtr openPart(Opener& opener, const std::string& fullName, const OpenOptions& options);
    IDispatchPtr openAssembly(Opener& opener, const std::string& fullName,
                              const OpenOptions& options);

    std::shared_ptr<HostState> state;
};

} // namespace standin
