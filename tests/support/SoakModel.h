//! @file
//! What must hold of references, documents and archives, in plain containers of plain numbers. It
//! knows nothing of the libraries: the soak test plays the same operation here and there, and
//! compares.
#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace soak {

using Id = long;
constexpr Id kNone = -1;
using Box = std::array<double, 6>;

enum class Kind
{
    edge,
    face,
    body,
};

//! A body, face or edge as the host has it. It is gone when its document was closed or changed.
struct Thing
{
    Kind kind{};
    Id document = kNone;
    long generation = 0; //!< of the document
    Id key = kNone;
    Box box{};
    std::vector<Id> faces;
    std::vector<Id> edges;
    bool isClosed = false; //!< an edge
    bool isPlane = false;  //!< a face
    std::array<double, 3> normal{};
    std::size_t loops = 0; //!< of a face
    long bodyNumber = 0;   //!< where the host shows it, from 1
    long number = 0;
};

//! One opening of a file.
struct Document
{
    std::string fullName;
    std::string name;
    bool isOpen = true;
    long generation = 0; //!< grows when the document changes in place
    std::vector<Id> bodies;
    std::map<Id, Id> byKey; //!< which thing a key binds to; kNone: to nothing
};

//! The host, as far as references can tell.
struct World
{
    std::vector<Thing> things;
    std::vector<Document> documents;
    //! Asks what a key binds to that no thing of the document tells as its own.
    std::function<Id(Id document, Id key)> askHost;

    [[nodiscard]] Document& document(Id id) { return documents.at(static_cast<std::size_t>(id)); }
    [[nodiscard]] const Thing& thing(Id id) const
    {
        return things.at(static_cast<std::size_t>(id));
    }
    [[nodiscard]] bool isAlive(Id thing) const;
    [[nodiscard]] Id bind(Id document, Id key);
};

using List = std::optional<std::vector<Id>>;

struct Reference
{
    Id key = kNone;
    int type = 0;
    Box box{};
    bool isChild = false;
    List lists[2]; //!< edges, faces
    std::string docName;
    Id bound = kNone;    //!< thing
    long binding = 0;    //!< another number each time that it is bound
    Id document = kNone; //!< document
    bool isRegistered = false;
};

//! What an archive holds. The lists are of places among the records.
struct Saved
{
    std::vector<Reference> records;
    std::vector<std::size_t> roots;
};

enum class Ending
{
    fine,
    automationError,
    kernelFailure,
};

struct Outcome
{
    Ending ending = Ending::fine;
    long result = 0;
};

//! What HasChanged tells. Lists: current, gone, new, altered; of edges, of faces.
struct Changes
{
    Outcome outcome;
    List lists[2][4];
};

//! Tells which of several registered references with one key was met, at a place of a list.
using Choose = std::function<Id(Id key, int list, std::size_t place)>;

//! References and registry. What is not registered, held or in a list of one that is, is gone.
class Model
{
public:
    explicit Model(World* aWorld) : world(aWorld) {}

    World* world;
    std::map<Id, Reference> references;
    std::map<Id, std::vector<Id>> registered; //!< by key
    std::map<Id, long> held;
    bool hasSession = false;
    std::vector<Id> made;   //!< by operations since the last forget
    std::vector<Id> buried; //!< gone since the last forget
    Id next = 1;
    long bindings = 0;

    [[nodiscard]] Reference& at(Id reference) { return references.at(reference); }
    [[nodiscard]] std::vector<Id> withKey(Id key) const;
    void setRegistered(Id reference, bool isRegistered);
    void setBound(Id reference, Id thing);
    //! Handles on each reference: the registry's, those held, those of lists.
    [[nodiscard]] std::map<Id, long> counts() const;
    //! Buries what nothing reaches.
    void collect();
    void forget();

    Id make(Id key, bool isRegistered);
    Id newByKey(Id key, const Choose& choose);
    //! @param thing  gone: an automation error
    Outcome newByThing(Id thing, const Choose& choose, Id& reference);
    Outcome build(Id reference, const Choose& choose);
    Changes hasChanged(Id reference, bool isQuick, const Choose& choose);
    Outcome disconnect(Id document, std::string& name);
    Outcome reconnect(Id document, std::string& name);
    Outcome updateDispatch(Id reference);
    void refreshKey(Id reference);
    void refreshAllKeys();
    Outcome save(const std::vector<Id>& roots, Saved& saved);
    //! @return  the reference of each record
    std::vector<Id> load(const Saved& saved);
    bool remove(Id reference);
    void clearUnused();
    void clearAll();

private:
    [[nodiscard]] std::vector<Id> allRegistered() const;
    [[nodiscard]] const Thing* aliveThing(Id reference);
    Outcome fillName(Id document, std::string& name);
    Outcome fillOwnName(Id reference);
    long bindIn(Id reference, Id document, const std::string& name);
    Id adopt(Id parent, Id thing, int list, const Choose& choose, std::size_t place);
    Outcome saveOne(Id reference, Saved& saved, std::map<Id, std::size_t>& places);
};

} // namespace soak
