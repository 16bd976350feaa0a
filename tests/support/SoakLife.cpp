#include "support/SoakLife.h"

#include "com/ComCensus.h"
#include "ktmdl/ktmdl_BldBBox.h"
#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_BldRectangularProfile.h"
#include "ktmdl/ktmdl_BldReference.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Session.h"
#include "ktstd/ktstd_fail.h"
#include "standin/Session.h"
#include "support/AssemblyObjects.h"
#include "support/HostObjects.h"
#include "support/LogCapture.h"
#include "support/SoakModel.h"
#include "support/SoakParts.h"
#include "support/TempFolder.h"
#include "support/TopoScene.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <numeric>
#include <set>
#include <sstream>
#include <type_traits>
#include <unordered_map>
#include <utility>

namespace soak {
namespace {

using standin::FaultKind;
using standin::geom::Body;
using Hold = std::vector<Hnd_ktmdl_Topo>;

//! A file with its states.
struct File
{
    std::string name;
    std::vector<Part> states;
    Id document = kNone; //!< when open
};

struct ArchiveFile
{
    Saved saved;
    std::vector<unsigned char> bytes; //!< or a file
    std::string path;
    bool isShared = false; //!< the root is a shared sequence
};

//! A document's collections, by body.
struct Collections
{
    std::vector<IDispatchPtr> bodies;
    std::vector<IDispatchPtr> faces;
    std::vector<IDispatchPtr> edges;
};

// The life

class Life
{
public:
    Life(const Plan& aPlan, Tally& aTally) : plan(aPlan), dice(aPlan.seed), tally(aTally) {}
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;
    ~Life()
    {
        // After a violation too: what is held goes before the host does.
        letGo();
    }

    void play();

private:
    struct Operation
    {
        const char* name;
        int weight;
        void (Life::*run)();
    };
    static const std::vector<Operation>& operations();
    const Operation& chooseOperation();

    //! What references may have become when a fault struck, beside as before and as without it.
    struct May
    {
        bool make = false;       //!< references of objects that were met
        bool unbind = false;     //!< no object
        bool defaultBox = false; //!< the box of nothing
        bool dropLists = false;
        bool unregister = false;
    };

    [[noreturn]] void fail(const std::string& expected, const std::string& found) const;
    // Texts may come as functions, which are called only when something is wrong.
    template <class Text, class Found = const char*>
    void require(bool holds, const Text& expected, const Found& found = "not so") const
    {
        if (!holds) {
            fail(textOf(expected), textOf(found));
        }
    }
    template <class Value, class Text>
    void equal(const Value& expected, const Value& found, const Text& what) const
    {
        if (!(expected == found)) {
            std::ostringstream wanted;
            std::ostringstream got;
            wanted << textOf(what) << " " << expected;
            got << found;
            fail(wanted.str(), got.str());
        }
    }
    template <class Text>
    static std::string textOf(const Text& text)
    {
        if constexpr (std::is_invocable_v<Text>) {
            return text();
        } else {
            return text;
        }
    }

    // Host
    void startHost();
    Id open(File& file);
    void readBodies(Id document);
    void readThing(Thing& thing, const IDispatchPtr& object);
    void retire(Id document);
    Collections& collectionsOf(Id document);
    IDispatchPtr liveObject(Id thing);
    Id askHost(Id document, Id key);
    Id keyId(const Bytes& key);
    Id chooseThing();
    Id chooseDocument(bool evenClosed = false);
    std::vector<Id> openDocuments() const;

    // References
    static ktmdl_Topo* raw(const Hnd_ktmdl_Topo& handle) { return &*handle; }
    Id idOf(const Hnd_ktmdl_Topo& handle) const;
    //! The reference of a key that was met; it must be one of those registered.
    Id met(Id key, const Hnd_ktmdl_Topo& handle) const;
    Hnd_ktmdl_Topo lookUp(Id key, bool& isNew) const;
    void hold(Id id, const Hnd_ktmdl_Topo& handle);
    void release(Id id); //!< of a handle, without a look at what that leaves
    void drop(Id id);
    Id chooseHeld();
    Hnd_ktmdl_Topo handleOf(Id id) const { return held.at(id).front(); }
    void know(Id id, ktmdl_Topo* topo);
    //! Forgets what is gone, and finds what was made: every new one is the only one of its key.
    void settle();
    void check(bool isWhole = false);
    void compare(Id id, ktmdl_Topo& topo, long count);
    std::string describe(Id id) const;

    // Faults
    //! Runs something, perhaps with faults waiting, and tells how it ended.
    template <class Action>
    Ending run(Action action, bool mayFault = true);
    void prepare(bool mayFault);
    void arm();
    void disarm();
    //! Takes over what references have become where a fault struck.
    void reconcile(const May& may);
    Box adoptBox(Id id, const ktmdl_Topo& topo, const May& may, const Reference& right);

    //! Settles an operation and compares its end.
    void conclude(const Outcome& expected, Ending ending, long result, const May& may);

    // Operations
    void opOpen();
    void opClose();
    void opRename();
    void opChange();
    void opRestart();
    void opSession();
    void opNew();
    void opNewByKey();
    void opNewOfTheGone();
    void opBuild();
    void opHasChanged();
    void opDisconnect();
    void opReconnect();
    void opUpdateDispatch();
    void opUpdateKey();
    void opBindAll();
    void opSave();
    void opLoad();
    void opDamaged();
    void opForgetArchive();
    void opHoldChild();
    void opCopyHandle();
    void opDrop();
    void opRemove();
    void opClearUnused();
    void opClearAll();
    void opQueries();
    void opLoops();
    void opPartBox();
    void opRectangle();
    void opAssembly();

    //! A big life begins with references to all of a body, without faults.
    [[nodiscard]] bool isOverture() const { return isBig() && step <= 6; }
    [[nodiscard]] bool isBig() const { return size == Size::large || size == Size::largest; }
    bool isAmbiguous(Id reference);
    template <class Text>
    void checkList(const Text& name, const List& expected, const Hnd_ktmdl_TopoHSeq& found) const;
    void readRecord(const Saved& saved, std::size_t place, const Hnd_ktmdl_Topo& found,
                    const std::vector<Id>& ids, std::set<std::size_t>& seen);
    void sabotage();
    void letGo();
    void end();

    Plan plan;
    Dice dice;
    Tally& tally;
    Size size = Size::little;
    long step = 0;
    std::string operation = "start";
    int faultRate = 0;

    std::unique_ptr<kt_test::TempFolder> folder; //!< for archives, when there are any
    std::unique_ptr<standin::Session> host;
    std::vector<File> files;
    World world;
    Model model{&world};
    std::unique_ptr<Model> before; //!< of the operation in work, when faults wait
    std::map<Id, IDispatch*> objectsBefore;
    bool isStruck = false;
    bool mayMisname = false; //!< the fault turns texts into the number 0.5, whose text is a name
    std::vector<Bytes> keys;
    std::map<Bytes, Id> keyIds;
    std::map<Id, IDispatchPtr> documents; //!< by document, those that are open
    std::map<Id, IDispatch*> addresses;   //!< of all documents
    std::map<Id, Collections> collections;
    std::vector<IDispatchPtr> gone; //!< objects of closed documents
    std::map<Id, ktmdl_Topo*> topos;
    std::unordered_map<const ktmdl_Topo*, Id> ids;
    std::map<Id, Hold> held;
    std::vector<Id> anchored;
    std::map<Id, std::pair<long, IDispatch*>> bound; //!< binding and object, as last compared
    std::vector<ArchiveFile> archives;
    std::vector<IDispatchPtr> stolen; //!< by sabotage
    Hold extra;
};

void Life::fail(const std::string& expected, const std::string& found) const
{
    std::ostringstream text;
    text << "seed " << plan.seed << ", step " << step << ", " << operation
         << (isStruck ? " (struck by a fault)" : "") << ": expected " << expected << ", found "
         << found;
    throw Violation(text.str());
}

// Host

void Life::startHost()
{
    standin::SessionOptions options;
    options.keySalt = static_cast<std::uint32_t>(dice.chance(70) ? 0 : dice.from(1, 3));
    if (dice.chance(30)) {
        options.unboundKey = standin::UnboundKey::failure;
    }
    host = std::make_unique<standin::Session>(options);
}

Id Life::keyId(const Bytes& key)
{
    const auto made = keyIds.emplace(key, static_cast<Id>(keys.size()));
    if (made.second) {
        keys.push_back(key);
    }
    return made.first->second;
}

Box boxOf(const IDispatchPtr& object)
{
    support::Array min;
    support::Array max;
    const support::Outcome outcome =
        support::named(object, L"GetExactRange", DISPATCH_METHOD,
                       {support::reference(min), support::reference(max)});
    if (!outcome.ok()) {
        throw std::runtime_error("no range came");
    }
    const std::vector<double> low = min.doubles();
    const std::vector<double> high = max.doubles();
    return {low.at(0), low.at(1), low.at(2), high.at(0), high.at(1), high.at(2)};
}

void Life::readThing(Thing& thing, const IDispatchPtr& object)
{
    thing.key = keyId(support::keyOf(object));
    thing.box = boxOf(object);
}

//! Learns what a document shows, from the host and from the part's numbers.
void Life::readBodies(Id id)
{
    Document& document = world.document(id);
    document.bodies.clear();
    document.byKey.clear();
    Collections& shown = collections[id];
    shown = {};
    const std::vector<Body>& shapes = host->bodies(documents.at(id));
    long faces = 0;
    const auto enter = [&](Thing thing) {
        thing.document = id;
        thing.generation = document.generation;
        world.things.push_back(std::move(thing));
        const Id entered = static_cast<Id>(world.things.size()) - 1;
        require(document.byKey.emplace(world.things.back().key, entered).second,
                "a key for each object", "the same key for two");
        return entered;
    };
    for (std::size_t b = 0; b < shapes.size(); ++b) {
        const Body& shape = shapes[b];
        const IDispatchPtr body = support::bodyOf(documents.at(id), static_cast<LONG>(b) + 1);
        shown.bodies.push_back(body);
        shown.faces.push_back(support::facesOf(body));
        shown.edges.push_back(support::edgesOf(body));
        Thing whole;
        whole.kind = Kind::body;
        whole.bodyNumber = static_cast<long>(b) + 1;
        readThing(whole, body);
        for (std::size_t e = 0; e < shape.edges.size(); ++e) {
            Thing edge;
            edge.kind = Kind::edge;
            edge.bodyNumber = whole.bodyNumber;
            edge.number = static_cast<long>(e) + 1;
            edge.isClosed = shape.edges[e].start == shape.edges[e].end;
            readThing(edge, support::item(shown.edges.back(), static_cast<LONG>(edge.number)));
            whole.edges.push_back(enter(std::move(edge)));
        }
        for (std::size_t f = 0; f < shape.faces.size(); ++f) {
            const standin::geom::Face& shapeOfFace = shape.faces[f];
            Thing face;
            face.kind = Kind::face;
            face.bodyNumber = whole.bodyNumber;
            face.number = static_cast<long>(f) + 1;
            face.isPlane = shapeOfFace.surface->kind() == standin::geom::SurfaceKind::plane;
            face.loops = shapeOfFace.loops.size();
            if (face.isPlane) {
                const standin::geom::Vec normal = shapeOfFace.surface->normal({0.0, 0.0});
                const double sign = shapeOfFace.reversed ? -1.0 : 1.0;
                face.normal = {sign * normal.x, sign * normal.y, sign * normal.z};
            }
            std::set<std::size_t> known;
            for (const standin::geom::Loop& loop : shapeOfFace.loops) {
                for (const standin::geom::EdgeUse& use : loop.uses) {
                    if (known.insert(use.edge).second) {
                        face.edges.push_back(whole.edges.at(use.edge));
                    }
                }
            }
            readThing(face, support::item(shown.faces.back(), static_cast<LONG>(face.number)));
            whole.faces.push_back(enter(std::move(face)));
            ++faces;
        }
        document.bodies.push_back(enter(std::move(whole)));
    }
    tally.mostFaces = std::max(tally.mostFaces, faces);
}

Id Life::open(File& file)
{
    const IDispatchPtr object = host->openPart(modelOf(dice.among(file.states)), file.name);
    const Id id = static_cast<Id>(world.documents.size());
    world.documents.emplace_back();
    Document& document = world.documents.back();
    document.fullName = file.name;
    document.name = support::named(object, L"Name", DISPATCH_PROPERTYGET).text();
    documents.emplace(id, object);
    addresses[id] = object.GetInterfacePtr();
    file.document = id;
    readBodies(id);
    return id;
}

//! A document is not open any more.
void Life::retire(Id id)
{
    world.document(id).isOpen = false;
    world.document(id).byKey.clear();
    const auto shown = collections.find(id);
    if (shown != collections.end() && !shown->second.bodies.empty() && gone.size() < 8) {
        gone.push_back(shown->second.bodies.front());
    }
    collections.erase(id);
    documents.erase(id);
    for (File& file : files) {
        file.document = file.document == id ? kNone : file.document;
    }
}

Collections& Life::collectionsOf(Id document)
{
    return collections.at(document);
}

IDispatchPtr Life::liveObject(Id id)
{
    const Thing& thing = world.thing(id);
    const Collections& shown = collectionsOf(thing.document);
    const std::size_t body = static_cast<std::size_t>(thing.bodyNumber) - 1;
    if (thing.kind == Kind::body) {
        return shown.bodies.at(body);
    }
    return support::item(thing.kind == Kind::face ? shown.faces.at(body) : shown.edges.at(body),
                         static_cast<LONG>(thing.number));
}

//! Binds a key that no object tells as its own: one of another session, or of what is gone.
Id Life::askHost(Id document, Id key)
{
    support::Array array(keys.at(static_cast<std::size_t>(key)));
    IDispatch* object = nullptr;
    const support::Outcome outcome =
        support::method(documents.at(document), 24685,
                        {support::reference(array, VT_UI1), support::reference(object)});
    const IDispatchPtr found(object, false);
    if (!outcome.ok() || object == nullptr) {
        return kNone;
    }
    return world.document(document).byKey.at(keyId(support::keyOf(found)));
}

std::vector<Id> Life::openDocuments() const
{
    std::vector<Id> all;
    for (const auto& each : documents) {
        all.push_back(each.first);
    }
    return all;
}

Id Life::chooseDocument(bool evenClosed)
{
    if (evenClosed && !world.documents.empty() && dice.chance(5)) {
        // One that some reference still holds, so that there is an object to ask.
        std::vector<Id> stale;
        for (const auto& [id, reference] : model.references) {
            if (held.count(id) != 0 && reference.document != kNone &&
                !world.document(reference.document).isOpen) {
                stale.push_back(reference.document);
            }
        }
        if (!stale.empty()) {
            return dice.among(stale);
        }
    }
    const std::vector<Id> all = openDocuments();
    return all.empty() ? kNone : dice.among(all);
}

Id Life::chooseThing()
{
    const Id document = chooseDocument();
    if (document == kNone || world.document(document).bodies.empty()) {
        return kNone;
    }
    const Id body = dice.among(world.document(document).bodies);
    const std::size_t kind = isOverture() || (isBig() && dice.chance(50)) ? 0 : dice.below(3);
    if (kind == 0) {
        return body;
    }
    const Thing& whole = world.thing(body);
    return dice.among(kind == 1 ? whole.faces : whole.edges);
}

// References

Id Life::idOf(const Hnd_ktmdl_Topo& handle) const
{
    if (handle.IsNull() != 0) {
        return kNone;
    }
    const auto found = ids.find(raw(handle));
    return found == ids.end() ? kNone : found->second;
}

Id Life::met(Id key, const Hnd_ktmdl_Topo& handle) const
{
    const Id id = idOf(handle);
    const std::vector<Id> same = model.withKey(key);
    require(std::find(same.begin(), same.end(), id) != same.end(),
            "a registered reference of key " + std::to_string(key), describe(id));
    return id;
}

//! Asks the registry for a key. A key that it has not is entered by the question; it is taken out
//! again.
Hnd_ktmdl_Topo Life::lookUp(Id key, bool& isNew) const
{
    const Bytes& bytes = keys.at(static_cast<std::size_t>(key));
    const support::Array array(bytes);
    unsigned char made = 7;
    Hnd_ktmdl_Topo topo = ktmdl_Topo::New(static_cast<long>(bytes.size()), array.get(), made);
    isNew = made == 1;
    if (isNew) {
        require(ktmdl_Topo::RemoveFromMap(topo) == 1, "a new reference in the registry");
    } else {
        equal(0, static_cast<int>(made), "is-new flag");
    }
    return topo;
}

void Life::hold(Id id, const Hnd_ktmdl_Topo& handle)
{
    held[id].push_back(handle);
    ++model.held[id];
}

void Life::release(Id id)
{
    if (--model.held.at(id) == 0) {
        model.held.erase(id);
    }
    held.at(id).pop_back();
    if (held.at(id).empty()) {
        held.erase(id);
    }
}

void Life::drop(Id id)
{
    release(id);
    model.collect();
}

Id Life::chooseHeld()
{
    return held.empty() ? kNone : dice.among(held).first;
}

void Life::know(Id id, ktmdl_Topo* topo)
{
    require(
        ids.emplace(topo, id).second, [&] { return "a new object for " + describe(id); },
        "a known one");
    topos[id] = topo;
}

void Life::settle()
{
    for (const Id id : model.buried) {
        const auto found = topos.find(id);
        if (found != topos.end()) {
            const auto known = ids.find(found->second);
            if (known != ids.end() && known->second == id) {
                ids.erase(known);
            }
            topos.erase(found);
        }
        bound.erase(id);
    }
    for (const Id id : model.made) {
        if (model.references.count(id) == 0 || topos.count(id) != 0) {
            continue;
        }
        bool isNew = false;
        const Hnd_ktmdl_Topo topo = lookUp(model.at(id).key, isNew);
        require(!isNew, describe(id) + " in the registry", "no reference of its key");
        know(id, raw(topo));
    }
    model.forget();
}

std::string Life::describe(Id id) const
{
    const auto found = model.references.find(id);
    std::ostringstream text;
    text << "reference " << id;
    if (found != model.references.end()) {
        const Reference& it = found->second;
        text << " (key " << it.key << ", type " << it.type << ", thing " << it.bound
             << ", document " << it.document << " '" << it.docName << "'"
             << (it.isRegistered ? ", registered)" : ")");
    }
    return text.str();
}

void Life::compare(Id id, ktmdl_Topo& topo, long count)
{
    const Reference& it = model.at(id);
    const auto what = [&](const char* field) {
        return [this, id, field] { return field + (" of " + describe(id)); };
    };
    const Bytes& key = keys.at(static_cast<std::size_t>(it.key));
    require(topo.IsEqual(static_cast<long>(key.size()), key.data()) == 1, what("key"));
    equal(it.type, static_cast<int>(topo.tplType), what("type"));
    require(cornersOf(topo.mBBox) == it.box, what("box"), "another box");
    equal(it.isChild ? 1 : 0, static_cast<int>(topo.mIsSubTopo), what("child flag"));
    equal(it.docName, std::string(topo.mDocName.ToCString()), what("document name"));
    for (int list = 0; list < 2; ++list) {
        checkList(what(list == 0 ? "edges" : "faces"), it.lists[list], topo.mSubTopos[list]);
    }
    const IDispatch* const document = it.document == kNone ? nullptr : addresses.at(it.document);
    require(topo.mDispDoc.GetInterfacePtr() == document, what("document"), "another");
    IDispatch* const object = topo.mDispTopo.GetInterfacePtr();
    require((object != nullptr) == (it.bound != kNone), what("live object"),
            object != nullptr ? "an object" : "none");
    if (object != nullptr) {
        const std::pair<long, IDispatch*> now(it.binding, object);
        const auto known = bound.find(id);
        if (known == bound.end() || known->second != now) {
            if (world.isAlive(it.bound)) {
                require(liveObject(it.bound).GetInterfacePtr() == object, what("live object"),
                        "another object");
            } else {
                // Not compared since it was bound: then nothing tells any more.
                require(known == bound.end() || known->second.first != it.binding,
                        what("live object"), "another object than before");
            }
            bound[id] = now;
        }
    } else {
        bound.erase(id);
    }
    equal(count, topo.RefCount(), what("number of handles"));
    ++tally.checked;
}

//! Compares everything that can be reached with the model.
void Life::check(bool isWhole)
{
    tally.mostReferences =
        std::max(tally.mostReferences, static_cast<long>(model.references.size()));
    const bool isMuch = model.references.size() > 1500;
    if (isMuch && !isWhole && !dice.chance(4)) {
        return;
    }
    std::map<Id, long> counts = model.counts();
    std::set<Id> seen;
    std::vector<std::pair<Id, ktmdl_Topo*>> left;
    const auto visit = [&](Id id, ktmdl_Topo* topo) {
        if (seen.insert(id).second) {
            left.emplace_back(id, topo);
        }
    };
    const auto visitAll = [&] {
        while (!left.empty()) {
            const auto [id, topo] = left.back();
            left.pop_back();
            compare(id, *topo, counts[id]);
            for (int list = 0; list < 2; ++list) {
                if (model.at(id).lists[list]) {
                    for (const Id child : *model.at(id).lists[list]) {
                        visit(child, topos.at(child)); // checkList found them there
                    }
                }
            }
        }
    };
    for (const auto& [id, handles] : held) {
        visit(id, raw(handles.front()));
    }
    visitAll();
    for (const auto& each : model.registered) {
        const Id key = each.first;
        const std::vector<Id>& same = each.second;
        bool isNew = false;
        const Hnd_ktmdl_Topo found = lookUp(key, isNew);
        require(
            !isNew, [&] { return "key " + std::to_string(key) + " in the registry"; },
            "no reference");
        const Id id = idOf(found);
        require(
            std::find(same.begin(), same.end(), id) != same.end(),
            [&] { return "a registered reference of key " + std::to_string(key); },
            [&] { return id == kNone ? "an unknown one" : describe(id); });
        if (seen.count(id) == 0) {
            ++counts[id]; // the handle here
            visit(id, raw(found));
            visitAll();
        }
    }
    if (!keys.empty()) { // what nobody registered is not found
        const Id key = static_cast<Id>(dice.below(keys.size()));
        bool isNew = false;
        const Hnd_ktmdl_Topo found = lookUp(key, isNew);
        equal(model.registered.count(key) == 0, isNew, "unknown key");
    }
}

template <class Text>
void Life::checkList(const Text& name, const List& expected, const Hnd_ktmdl_TopoHSeq& found) const
{
    require((found.IsNull() != 0) == !expected.has_value(), name,
            found.IsNull() != 0 ? "null" : "a list");
    if (!expected) {
        return;
    }
    const long length = static_cast<long>(expected->size());
    equal(length, found->Length(), [&] { return "length of " + textOf(name); });
    for (long i = 0; i < length; ++i) {
        const Id id = (*expected)[static_cast<std::size_t>(i)];
        const Hnd_ktmdl_Topo& topo = found->Value(i + 1);
        const auto known = topos.find(id);
        require(
            known != topos.end() && topo.IsNull() == 0 && raw(topo) == known->second,
            [&] { return textOf(name) + ": " + describe(id); }, "another reference");
    }
}

// Faults

const std::vector<std::pair<FaultKind, HRESULT>> kFaults = {
    {FaultKind::fail, E_FAIL},
    {FaultKind::fail, E_POINTER},
    {FaultKind::fail, static_cast<HRESULT>(0x8001010Au)},
    {FaultKind::fail, DISP_E_MEMBERNOTFOUND},
    {FaultKind::fail, RPC_E_DISCONNECTED},
    {FaultKind::refuseInterface, E_NOINTERFACE},
    {FaultKind::nullObject, S_OK},
    {FaultKind::wrongType, S_OK},
    {FaultKind::textForNumber, S_OK},
    {FaultKind::nullArray, S_OK},
    {FaultKind::emptyArray, S_OK},
    {FaultKind::shortArray, S_OK},
    {FaultKind::otherElementType, S_OK},
    {FaultKind::otherLowerBound, S_OK},
};

void Life::arm()
{
    standin::Fault fault;
    std::tie(fault.kind, fault.code) = dice.among(kFaults);
    mayMisname = fault.kind == FaultKind::wrongType;
    fault.asException = dice.chance(20);
    if (fault.kind == FaultKind::fail && dice.chance(5)) {
        fault.kind = FaultKind::refuseInterface;
        fault.iid = IID_IUnknown;
    }
    if (dice.chance(30)) {
        fault.probability = 0.001 * static_cast<double>(dice.from(1, 200));
        fault.seed = static_cast<std::uint32_t>(dice.below(1000000));
    } else {
        fault.nth = dice.from(1, 1L << dice.from(0, 5));
        fault.lasting = dice.chance(15);
    }
    host->faults().add(fault);
}

//! Makes ready for faults: everything is held, so that it can be looked at whatever happens.
void Life::prepare(bool mayFault)
{
    before.reset();
    objectsBefore.clear();
    isStruck = false;
    if (!mayFault || isOverture() || host == nullptr || model.references.size() > 1500 ||
        !dice.chance(faultRate)) {
        return;
    }
    for (const auto& each : topos) {
        hold(each.first, Hnd_ktmdl_Topo(each.second));
        anchored.push_back(each.first);
        objectsBefore[each.first] = each.second->mDispTopo.GetInterfacePtr();
    }
    before = std::make_unique<Model>(model);
    ++tally.faulty;
    arm();
}

void Life::disarm()
{
    if (before != nullptr) {
        isStruck = host->faults().fired();
        host->faults().clear();
        tally.struck += isStruck ? 1 : 0;
    }
}

template <class Action>
Ending Life::run(Action action, bool mayFault)
{
    prepare(mayFault);
    Ending ending = Ending::fine;
    try {
        action();
    } catch (const _com_error&) {
        ending = Ending::automationError;
    } catch (const Hnd_ktstd_fail_Failure&) {
        ending = Ending::kernelFailure;
    }
    disarm();
    return ending;
}

//! Takes a field over when it is one of the values that are allowed.
template <class Value>
bool isOneOf(const Value& found, std::initializer_list<Value> allowed)
{
    return std::find(allowed.begin(), allowed.end(), found) != allowed.end();
}

void Life::reconcile(const May& may)
{
    // What was to be made is there or not. All else was held, so that nothing is gone.
    std::vector<Id> made = model.made;
    model.made.clear();
    settle();
    std::map<Id, std::vector<ktmdl_Topo*>> unknown;
    for (const Id id : made) {
        bool isNew = false;
        const Hnd_ktmdl_Topo topo = lookUp(model.at(id).key, isNew);
        if (isNew) {
            for (auto& each : model.references) {
                for (int list = 0; list < 2; ++list) {
                    List& children = each.second.lists[list];
                    if (children &&
                        std::find(children->begin(), children->end(), id) != children->end()) {
                        children = before->references.count(each.first) != 0
                                       ? before->at(each.first).lists[list]
                                       : List();
                    }
                }
            }
            model.setRegistered(id, false);
            model.references.erase(id);
        } else {
            require(may.make, "nothing made", describe(id));
            know(id, raw(topo));
            hold(id, topo);
            anchored.push_back(id);
        }
    }
    for (auto& each : model.references) {
        const Id id = each.first;
        Reference& right = each.second;
        const auto found = before->references.find(id);
        const Reference& old = found != before->references.end() ? found->second : right;
        const ktmdl_Topo& topo = *topos.at(id);
        const auto what = [&](const char* field) {
            return [this, id, field] {
                return field + (" of " + describe(id) + " as before or as without fault");
            };
        };

        Id key = kNone;
        for (const Id candidate : {old.key, right.key}) {
            const Bytes& bytes = keys.at(static_cast<std::size_t>(candidate));
            if (topo.IsEqual(static_cast<long>(bytes.size()), bytes.data()) == 1) {
                key = candidate;
            }
        }
        require(key != kNone, what("key"), "another");
        const bool isRegistered = right.isRegistered;
        model.setRegistered(id, false);
        right.key = key;
        model.setRegistered(id, isRegistered);

        const int type = topo.tplType;
        require(isOneOf(type, {old.type, right.type}), what("type"), std::to_string(type));
        right.type = type;
        const Box box = cornersOf(topo.mBBox);
        require(isOneOf(box, {old.box, right.box}) || (may.defaultBox && box == Box{}), what("box"),
                "another");
        right.box = box;
        const bool isChild = topo.mIsSubTopo != 0;
        require(isOneOf(isChild, {old.isChild, right.isChild}), what("child flag"));
        right.isChild = isChild;
        const std::string name = topo.mDocName.ToCString();
        require(isOneOf(name, {old.docName, right.docName}) || (mayMisname && name == "0.5"),
                what("document name"), name);
        right.docName = name;

        Id document = kNone;
        if (topo.mDispDoc.GetInterfacePtr() != nullptr) {
            for (const Id candidate : {old.document, right.document}) {
                if (candidate != kNone &&
                    addresses.at(candidate) == topo.mDispDoc.GetInterfacePtr()) {
                    document = candidate;
                }
            }
            require(document != kNone, what("document"), "another");
        }
        require(isOneOf(document, {old.document, right.document}), what("document"), "none");
        right.document = document;

        IDispatch* const object = topo.mDispTopo.GetInterfacePtr();
        IDispatch* objectBefore = nullptr;
        Id thing = kNone;
        if (object != nullptr) {
            const auto known = objectsBefore.find(id);
            objectBefore = known != objectsBefore.end() ? known->second : nullptr;
            if (world.isAlive(right.bound) && liveObject(right.bound).GetInterfacePtr() == object) {
                thing = right.bound;
            } else if (objectBefore == object) {
                thing = old.bound;
            }
            require(thing != kNone, what("live object"), "another");
        }
        require(isOneOf(thing, {old.bound, right.bound}) || (may.unbind && thing == kNone),
                what("live object"), "none");
        right.bound = thing;
        right.binding = object == objectBefore ? old.binding : right.binding;

        for (int list = 0; list < 2; ++list) {
            const Hnd_ktmdl_TopoHSeq& children = topo.mSubTopos[list];
            if (children.IsNull() != 0) {
                require(may.dropLists || !old.lists[list] || !right.lists[list], what("list"),
                        "null");
                right.lists[list].reset();
                continue;
            }
            std::vector<Id> shown;
            for (long i = 1; i <= children->Length(); ++i) {
                shown.push_back(idOf(children->Value(i)));
            }
            require(isOneOf(List(shown), {old.lists[list], right.lists[list]}), what("list"),
                    "another");
            right.lists[list] = shown;
        }
    }
    // The registry's handle is the one that nobody else has.
    const std::map<Id, long> counts = model.counts();
    for (auto& each : model.references) {
        const Id id = each.first;
        const bool right = each.second.isRegistered;
        const auto found = before->references.find(id);
        const bool old = found != before->references.end() ? found->second.isRegistered : right;
        const long others = counts.at(id) - (right ? 1 : 0);
        const long registered = topos.at(id)->RefCount() - others;
        require(registered == 0 || registered == 1,
                std::to_string(others) + " handles beside the registry's on " + describe(id),
                std::to_string(topos.at(id)->RefCount()) + " in all");
        const bool is = registered == 1;
        require(isOneOf(is, {old, right}) || (may.unregister && !is),
                "place in the registry of " + describe(id));
        model.setRegistered(id, is);
    }
    model.made.clear();
}

void Life::conclude(const Outcome& expected, Ending ending, long result, const May& may)
{
    if (isStruck) {
        if (expected.ending == Ending::fine) {
            require(ending != Ending::kernelFailure, "an automation error or none",
                    "a kernel failure");
        }
        reconcile(may);
    } else {
        equal(static_cast<int>(expected.ending), static_cast<int>(ending),
              "ending (0 fine, 1 automation error, 2 kernel failure)");
        if (ending == Ending::fine) {
            equal(expected.result, result, "result");
        }
        settle();
    }
    for (const Id id : anchored) {
        release(id);
    }
    anchored.clear();
    model.collect();
    settle();
    before.reset();
}

// Documents

void Life::opOpen()
{
    std::vector<File*> closed;
    for (File& file : files) {
        if (file.document == kNone && host->document(file.name).GetInterfacePtr() == nullptr) {
            closed.push_back(&file);
        }
    }
    if (closed.empty()) {
        return;
    }
    const Id document = open(*dice.among(closed));
    if (dice.chance(80)) {
        std::string name;
        ktstd_AsciiString given("");
        const IDispatchPtr object = documents.at(document);
        const Ending ending = run([&] { ktmdl_Topo::ReconnectDocument(object, given); });
        May may;
        may.unbind = true;
        const Outcome expected = model.reconnect(document, name);
        conclude(expected, ending, 0, may);
    }
}

void Life::opClose()
{
    const Id document = chooseDocument();
    if (document == kNone) {
        return;
    }
    if (dice.chance(80)) {
        std::string name;
        ktstd_AsciiString given("");
        const IDispatchPtr object = documents.at(document);
        const Ending ending = run([&] { ktmdl_Topo::DisconnectDocument(object, given); });
        const Outcome expected = model.disconnect(document, name);
        conclude(expected, ending, 0, {});
        check();
    }
    host->close(documents.at(document));
    retire(document);
}

void Life::opRename()
{
    const Id document = chooseDocument();
    if (document == kNone) {
        return;
    }
    const std::string name = "C:\\jobs\\saved" + std::to_string(dice.below(6)) + ".par";
    if (host->document(name).GetInterfacePtr() != nullptr) {
        return;
    }
    host->rename(documents.at(document), name);
    Document& it = world.document(document);
    it.fullName = name;
    it.name = support::named(documents.at(document), L"Name", DISPATCH_PROPERTYGET).text();
}

void Life::opChange()
{
    const Id document = chooseDocument();
    for (const File& file : files) {
        if (document != kNone && file.document == document) {
            ++world.document(document).generation;
            collections.at(document) = {};
            host->change(documents.at(document), modelOf(dice.among(file.states)));
            readBodies(document);
        }
    }
}

//! The host ends and starts again.
void Life::opRestart()
{
    for (const Id document : openDocuments()) {
        if (dice.chance(70)) {
            std::string name;
            ktstd_AsciiString given("");
            ktmdl_Topo::DisconnectDocument(documents.at(document), given);
            model.disconnect(document, name);
        }
        retire(document);
    }
    startHost();
}

void Life::opSession()
{
    model.hasSession = !model.hasSession;
    ktstd_Session::SetCurSession(model.hasSession ? Hnd_ktstd_Session(new ktstd_Session())
                                                  : Hnd_ktstd_Session());
}

void Life::opDisconnect()
{
    const Id document = chooseDocument(true);
    if (document == kNone) {
        return;
    }
    const IDispatchPtr object(addresses.at(document));
    std::string name = dice.chance(40) ? world.document(document).fullName : "";
    ktstd_AsciiString given(name.c_str());
    const Ending ending = run([&] { ktmdl_Topo::DisconnectDocument(object, given); });
    const Outcome expected = model.disconnect(document, name);
    if (!isStruck) {
        equal(name, std::string(given.ToCString()), "name");
    }
    conclude(expected, ending, 0, {});
}

void Life::opReconnect()
{
    const Id document = chooseDocument(true);
    if (document == kNone) {
        return;
    }
    const IDispatchPtr object(addresses.at(document));
    std::string name;
    if (dice.chance(40)) {
        name = dice.chance(70) ? world.document(document).fullName : world.document(document).name;
    }
    ktstd_AsciiString given(name.c_str());
    const Ending ending = run([&] { ktmdl_Topo::ReconnectDocument(object, given); });
    const Outcome expected = model.reconnect(document, name);
    if (!isStruck) {
        equal(name, std::string(given.ToCString()), "name");
    }
    May may;
    may.unbind = true;
    conclude(expected, ending, 0, may);
}

// Making references

void Life::opNew()
{
    const Id thing = chooseThing();
    if (thing == kNone) {
        return;
    }
    const IDispatchPtr object = liveObject(thing);
    Hnd_ktmdl_Topo topo;
    unsigned char isNew = 7;
    const Ending ending = run([&] { topo = ktmdl_Topo::New(object, isNew); });
    if (ending != Ending::fine) { // nothing may have changed
        conclude({}, ending, 0, {});
        return;
    }
    const Id key = world.thing(thing).key;
    equal(model.registered.count(key) == 0 ? 1 : 0, static_cast<int>(isNew), "is-new flag");
    Id id = kNone;
    model.newByThing(
        thing, [&](Id, int, std::size_t) { return met(key, topo); }, id);
    hold(id, topo);
    topo.Nullify();
    May may;
    may.make = true;
    conclude({}, ending, 0, may);
    require(raw(held.at(id).back()) == topos.at(id), describe(id), "another reference");
    if (isOverture() || dice.chance(90)) {
        const Kind kind = world.thing(thing).kind;
        const long type = kind == Kind::body   ? dice.from(6, 7)
                          : kind == Kind::face ? dice.from(3, 5)
                                               : dice.from(1, 2);
        Reference& it = model.at(id);
        it.type = static_cast<int>(type);
        it.document = world.thing(thing).document;
        handleOf(id)->tplType = static_cast<unsigned char>(type);
        handleOf(id)->mDispDoc = documents.at(it.document);
    }
}

void Life::opNewByKey()
{
    Bytes key;
    if (!keys.empty() && dice.chance(70)) {
        key = dice.among(keys);
        if (key.size() > 1 && dice.chance(10)) {
            key.pop_back();
        }
    } else {
        key.resize(dice.below(40));
        for (unsigned char& each : key) {
            each = static_cast<unsigned char>(dice.below(3));
        }
    }
    const support::Array array(key);
    if (dice.chance(5)) {
        const Ending ending =
            run([&] { ktmdl_Topo::New(static_cast<long>(key.size()) + 1, array.get()); }, false);
        conclude({Ending::automationError, 0}, ending, 0, {});
        return;
    }
    const Id number = keyId(key);
    const std::vector<Id> same = model.withKey(number);
    unsigned char isNew = 7;
    Hnd_ktmdl_Topo topo = ktmdl_Topo::New(static_cast<long>(key.size()), array.get(), isNew);
    equal(same.empty() ? 1 : 0, static_cast<int>(isNew), "is-new flag");
    const Id id = model.newByKey(number, [&](Id, int, std::size_t) { return met(number, topo); });
    settle();
    require(raw(topo) == topos.at(id), describe(id), "another reference");
    if (dice.chance(50)) {
        hold(id, topo);
    }
}

void Life::opNewOfTheGone()
{
    if (gone.empty()) {
        return;
    }
    const IDispatchPtr object = dice.among(gone);
    const Ending ending = run([&] { ktmdl_Topo::New(object); }, false);
    conclude({Ending::automationError, 0}, ending, 0, {});
    if (dice.chance(20)) {
        gone.clear();
    }
}

// Children

Hnd_ktmdl_Topo elementAt(const Hnd_ktmdl_TopoHSeq& list, std::size_t place)
{
    const long index = static_cast<long>(place) + 1;
    return list.IsNull() == 0 && index <= list->Length() ? list->Value(index) : Hnd_ktmdl_Topo();
}

//! Tells whether a child's key is that of several references, so that the registry's order counts.
bool Life::isAmbiguous(Id id)
{
    const Id thing = model.at(id).bound;
    if (!world.isAlive(thing)) {
        return false;
    }
    const auto several = [&](Id each) { return model.withKey(world.thing(each).key).size() > 1; };
    const Thing& it = world.thing(thing);
    return std::any_of(it.faces.begin(), it.faces.end(), several) ||
           std::any_of(it.edges.begin(), it.edges.end(), several);
}

void Life::opBuild()
{
    const Id id = chooseHeld();
    if (id == kNone) {
        return;
    }
    Hnd_ktmdl_Topo topo = handleOf(id);
    long result = 7;
    const Ending ending = run([&] { result = topo->BuildPersistentData(); }, !isAmbiguous(id));
    const Choose shown = [&](Id key, int list, std::size_t place) {
        const Hnd_ktmdl_TopoHSeq& children = topo->mSubTopos[list];
        return met(key, elementAt(children, place));
    };
    const Outcome expected = model.build(id, shown);
    May may;
    may.make = true;
    may.defaultBox = true;
    may.dropLists = true;
    topo.Nullify();
    conclude(expected, ending, result, may);
}

void Life::opHasChanged()
{
    const Id id = chooseHeld();
    if (id == kNone) {
        return;
    }
    const bool several = isAmbiguous(id);
    const bool isQuick = !several && dice.chance(40);
    ktmdl_BBox3d box(1, 2, 3, 4, 5, 6);
    Hnd_ktmdl_TopoHSeq lists[2][4];
    long result = 0;
    const Ending ending = run(
        [&] {
            result = held.at(id).front()->HasChanged(isQuick ? 1 : 0, box, lists[0][0], lists[0][1],
                                                     lists[0][2], lists[0][3], lists[1][0],
                                                     lists[1][1], lists[1][2], lists[1][3]);
        },
        // Where a box fails the quick way goes on to children that it would not have met.
        !several && !isQuick);
    const Choose shown = [&](Id key, int list, std::size_t place) {
        const Hnd_ktmdl_TopoHSeq& current = lists[list][0];
        return met(key, elementAt(current, place));
    };
    const Changes expected = model.hasChanged(id, isQuick, shown);
    if (!isStruck) {
        settle();
        equal(static_cast<int>(expected.outcome.ending), static_cast<int>(ending), "ending");
        if (ending == Ending::fine) {
            equal(expected.outcome.result, result, "change bits");
            require(cornersOf(box) == Box{}, "the box of nothing", "another");
        }
        for (int group = 0; group < 2; ++group) {
            for (int list = 0; list < 4; ++list) {
                checkList("list " + std::to_string(4 * group + list + 1),
                          expected.lists[group][list], lists[group][list]);
            }
        }
    } else if (ending == Ending::fine) {
        // Boxes that failed do not count as altered; all else is told.
        require((result & ~expected.outcome.result) == 0, "no bit but the right ones",
                std::to_string(result));
    }
    for (auto& group : lists) {
        for (Hnd_ktmdl_TopoHSeq& list : group) {
            list.Nullify();
        }
    }
    May may;
    may.make = true;
    may.defaultBox = true;
    conclude(expected.outcome, ending, result, may);
}

// Binding

void Life::opUpdateDispatch()
{
    const Id id = chooseHeld();
    if (id == kNone) {
        return;
    }
    long result = 7;
    const Ending ending = run([&] { result = held.at(id).front()->UpdateDispatch(); });
    const Outcome expected = model.updateDispatch(id);
    May may;
    may.unbind = true;
    conclude(expected, ending, result, may);
}

void Life::opUpdateKey()
{
    const Id id = chooseHeld();
    if (id == kNone) {
        return;
    }
    const Ending ending = run([&] { held.at(id).front()->UpdateReferenceKey(); });
    model.refreshKey(id);
    May may;
    may.unregister = true;
    conclude({}, ending, 0, may);
}

void Life::opBindAll()
{
    const Ending ending = run([] { ktmdl_Topo::BindAllToposInMap(); });
    model.refreshAllKeys();
    May may;
    may.unregister = true;
    conclude({}, ending, 0, may);
}

// Archives

void Life::opSave()
{
    if (held.empty() || archives.size() > 5) {
        return;
    }
    std::vector<Id> roots;
    for (long i = dice.from(1, 5); i > 0; --i) {
        roots.push_back(chooseHeld());
    }
    ArchiveFile file;
    file.isShared = dice.chance(50);
    if (dice.chance(size == Size::little ? 5 : 20)) {
        if (folder == nullptr) {
            folder = std::make_unique<kt_test::TempFolder>();
        }
        file.path = folder->File("saved" + std::to_string(dice.below(4)) + ".kta");
    }
    const Ending ending = run([&] {
        ktmdl_TopoSeq plain;
        Hnd_ktmdl_TopoHSeq shared(new ktmdl_TopoHSeq());
        for (const Id root : roots) {
            plain.Append(handleOf(root));
            shared->Append(handleOf(root));
        }
        ktstd_Archive archive;
        if (file.isShared) {
            archive << static_cast<const Hnd_ktstd_Transient&>(shared);
        } else {
            archive << plain;
        }
        if (file.path.empty()) {
            file.bytes = archive.Finish();
        } else {
            archive.Save(file.path.c_str());
        }
    });
    const Outcome expected = model.save(roots, file.saved);
    const bool wasStruck = isStruck;
    conclude(expected, ending, 0, {});
    if (ending != Ending::fine) {
        return;
    }
    if (wasStruck) {
        // Stored though a fault struck: the records are as the references are now.
        file.saved = {};
        const Outcome again = model.save(roots, file.saved);
        require(again.ending == Ending::fine, "names in all records", "none");
    }
    for (ArchiveFile& other : archives) {
        if (!file.path.empty() && other.path == file.path) {
            other = std::move(file);
            return;
        }
    }
    archives.push_back(std::move(file));
}

//! Compares what was loaded with the records, and learns which object is which.
void Life::readRecord(const Saved& saved, std::size_t place, const Hnd_ktmdl_Topo& found,
                      const std::vector<Id>& loaded, std::set<std::size_t>& seen)
{
    const Id id = loaded.at(place);
    require(found.IsNull() == 0, describe(id), "null");
    if (!seen.insert(place).second) {
        require(topos.at(id) == raw(found), describe(id), "another reference");
        return;
    }
    know(id, raw(found));
    for (int list = 0; list < 2; ++list) {
        const List& children = saved.records[place].lists[list];
        const Hnd_ktmdl_TopoHSeq& shown = found->mSubTopos[list];
        require((shown.IsNull() != 0) == !children.has_value(), "a list as saved", "another");
        if (!children) {
            continue;
        }
        equal(static_cast<long>(children->size()), shown->Length(), "length of a list");
        for (std::size_t i = 0; i < children->size(); ++i) {
            readRecord(saved, static_cast<std::size_t>((*children)[i]),
                       shown->Value(static_cast<long>(i) + 1), loaded, seen);
        }
    }
}

void Life::opLoad()
{
    if (archives.empty() || model.references.size() > 80000) {
        return;
    }
    const ArchiveFile& file = dice.among(archives);
    std::vector<Hnd_ktmdl_Topo> roots;
    {
        ktstd_Archive archive = file.path.empty() ? ktstd_Archive(file.bytes)
                                                  : ktstd_Archive::FromFile(file.path.c_str());
        ktmdl_TopoSeq plain;
        Hnd_ktmdl_TopoHSeq shared;
        if (file.isShared) {
            archive >> shared;
        } else {
            archive >> plain;
        }
        const long count = file.isShared ? shared->Length() : plain.Length();
        for (long i = 1; i <= count; ++i) {
            roots.push_back(file.isShared ? shared->Value(i) : plain.Value(i));
        }
    }
    const std::vector<Id> loaded = model.load(file.saved);
    equal(file.saved.roots.size(), roots.size(), "number of roots");
    std::set<std::size_t> seen;
    for (std::size_t i = 0; i < roots.size(); ++i) {
        readRecord(file.saved, file.saved.roots[i], roots[i], loaded, seen);
    }
    equal(file.saved.records.size(), seen.size(), "number of records reached");
    settle();
    std::map<Id, long> counts = model.counts();
    for (const std::size_t root : file.saved.roots) {
        ++counts[loaded[root]];
    }
    for (const Id id : loaded) {
        compare(id, *topos.at(id), counts.at(id));
    }
    for (std::size_t i = 0; i < roots.size(); ++i) {
        if (dice.chance(60)) {
            hold(loaded[file.saved.roots[i]], roots[i]);
        }
    }
}

//! An archive that was cut, or of which a bit is wrong, is refused and leaves nothing behind.
void Life::opDamaged()
{
    if (archives.empty()) {
        return;
    }
    const ArchiveFile& file = dice.among(archives);
    std::vector<unsigned char> bytes = file.bytes;
    if (bytes.empty() || bytes.size() > 100000) {
        return;
    }
    if (dice.chance(50)) {
        bytes.resize(dice.below(bytes.size()));
    } else {
        dice.among(bytes) ^= static_cast<unsigned char>(1U << dice.below(8));
    }
    bool isRefused = false;
    try {
        ktstd_Archive archive(bytes);
        ktmdl_TopoSeq plain;
        archive >> plain;
    } catch (const Hnd_ktstd_fail_FileIO&) {
        isRefused = true;
    }
    require(isRefused, "a damaged archive refused", "loaded");
}

void Life::opForgetArchive()
{
    if (!archives.empty()) {
        archives.erase(archives.begin() + static_cast<std::ptrdiff_t>(dice.below(archives.size())));
    }
}

// Handles and registry

void Life::opHoldChild()
{
    const Id id = chooseHeld();
    if (id == kNone || held.size() > 60) {
        return;
    }
    const List& list = model.at(id).lists[dice.below(2)];
    if (list && !list->empty()) {
        const std::size_t place = dice.below(list->size());
        const int which = &list == &model.at(id).lists[0] ? 0 : 1;
        const Hnd_ktmdl_Topo child =
            handleOf(id)->mSubTopos[which]->Value(static_cast<long>(place) + 1);
        require(idOf(child) == (*list)[place], describe((*list)[place]), describe(idOf(child)));
        hold((*list)[place], child);
    }
}

void Life::opCopyHandle()
{
    const Id id = chooseHeld();
    if (id != kNone) {
        hold(id, handleOf(id));
    }
}

void Life::opDrop()
{
    const Id id = chooseHeld();
    if (id != kNone) {
        drop(id);
        settle();
    }
}

void Life::opRemove()
{
    const Id id = chooseHeld();
    if (id != kNone) {
        const bool wasThere = model.remove(id);
        equal(wasThere ? 1 : 0, static_cast<int>(ktmdl_Topo::RemoveFromMap(handleOf(id))),
              "removed " + describe(id));
    }
}

void Life::opClearUnused()
{
    ktmdl_Topo::ClearUnusedToposOnly();
    model.clearUnused();
    settle();
}

void Life::opClearAll()
{
    ktmdl_Topo::ClearAllTopos();
    model.clearAll();
    settle();
}

// Questions

void Life::opQueries()
{
    const Id id = chooseHeld();
    if (id == kNone) {
        return;
    }
    const Id thing = model.at(id).bound;
    const bool isAlive = world.isAlive(thing);
    const Thing nothing;
    const Thing& it = isAlive ? world.thing(thing) : nothing;
    const bool isOfType = it.kind == Kind::edge ? model.at(id).type == 2 : false;
    unsigned char closed = 7;
    ktmdl_BBox3d box;
    ktmdl_Vec3d normal;
    const Ending ending = run([&] {
        const Hnd_ktmdl_Topo topo = held.at(id).front();
        closed = topo->IsClosed();
        box = ktmdl_Topo::BuildBBox(topo->mDispTopo);
        normal = topo->BuildNormal();
        ShowVariable("soak", topo);
    });
    require(ending == Ending::fine, "no error out of a query", "an error");
    const int right = isAlive && isOfType && it.isClosed ? 1 : 0;
    const bool isBoxed = cornersOf(box) == it.box;
    const bool isFace = isAlive && it.kind == Kind::face;
    const ktmdl_Vec3d expected =
        isFace ? ktmdl_Vec3d(it.normal[0], it.normal[1], it.normal[2]) : ktmdl_Vec3d();
    const bool isRightNormal = isFace && !it.isPlane ? std::fabs(normal.Magnitude() - 1.0) < 1e-9
                                                     : normal.IsEqual(expected, 1e-9) != 0;
    const bool isNoNormal = normal.IsEqual(ktmdl_Vec3d(), 0.0) != 0;
    require(closed == right || (isStruck && closed == 0), "closed " + std::to_string(right),
            std::to_string(closed));
    require(isBoxed || (isStruck && cornersOf(box) == Box{}), "the box of the object", "another");
    require(isRightNormal || (isStruck && isNoNormal), "the normal of the object", "another");
    conclude({}, ending, 0, {});
}

void Life::opLoops()
{
    const Id id = chooseHeld();
    if (id == kNone) {
        return;
    }
    const Reference& it = model.at(id);
    if (!world.isAlive(it.bound) || world.thing(it.bound).kind != Kind::face ||
        !world.thing(it.bound).isPlane || !it.lists[0]) {
        return;
    }
    // The edges must be those that the face has now.
    const Thing face = world.thing(it.bound);
    std::vector<Id> things;
    for (const Id edge : *it.lists[0]) {
        things.push_back(model.at(edge).bound);
        if (model.at(edge).type != 2) {
            return;
        }
    }
    if (things != face.edges) {
        return;
    }
    Hnd_ktmdl_TopoHSeq edges = handleOf(id)->mSubTopos[0]->ShallowCopy();
    std::unique_ptr<ktmdl_BldLoops> builder;
    long status = 7;
    const Ending ending = run([&] {
        builder = std::make_unique<ktmdl_BldLoops>(edges);
        status = builder->Compute();
    });
    if (!isStruck || (ending == Ending::fine && status == 0)) {
        equal(0, static_cast<int>(ending), "ending");
        equal(0L, status, "status");
        // A closed edge that can't tell so counts as open, and is no loop then.
        const bool hasClosed = std::any_of(face.edges.begin(), face.edges.end(),
                                           [&](Id edge) { return world.thing(edge).isClosed; });
        const long missing = isStruck && hasClosed && edges->Length() == 1 ? 1 : 0;
        const long loops = builder->Loops().IsNull() != 0 ? 0 : builder->Loops()->Length();
        equal(static_cast<long>(face.loops) - missing, loops, "number of loops");
        equal(missing, edges->Length(), "edges left over");
        long chained = 0;
        for (long i = 1; i <= loops; ++i) {
            chained += Hnd_ktmdl_TopoHSeq::DownCast(builder->Loops()->Value(i))->Length();
        }
        equal(static_cast<long>(things.size()) - missing, chained, "edges in loops");
    } else {
        require(ending == Ending::automationError, "an automation error or the right loops");
    }
    builder.reset();
    edges.Nullify();
    conclude({}, isStruck ? Ending::fine : ending, 0, {});
}

// Builders

void Life::opPartBox()
{
    const Id document = chooseDocument();
    if (document == kNone) {
        return;
    }
    const Box right = world.thing(world.document(document).bodies.front()).box;
    const IDispatchPtr object = documents.at(document);
    ktmdl_BldBBox builder(object, dice.chance(50) ? 1 : 0);
    const Ending ending = run([&] { builder.Compute(); });
    require(ending == Ending::fine, "no error out of the builder", "an error");
    if (!isStruck || builder.Status() == 0) {
        equal(0L, builder.Status(), "status");
        require(cornersOf(builder.BBox()) == right, "the box of the first body", "another");
    } else {
        equal(1L, builder.Status(), "status");
    }
    conclude({}, ending, 0, {});
}

void Life::opRectangle()
{
    const Id document = chooseDocument();
    if (document == kNone) {
        return;
    }
    const IDispatchPtr object = documents.at(document);
    const std::size_t profiles = host->profiles(object).size();
    if (profiles > 20) {
        return;
    }
    const IDispatchPtr plane = support::item(support::need(support::get(object, 24677)),
                                             static_cast<LONG>(dice.from(1, 3)));
    const unsigned char constrain = dice.chance(40) ? 1 : 0;
    const unsigned char useSet = dice.chance(50) ? 1 : 0;
    const double width = 0.01 * static_cast<double>(dice.from(1, 20));
    const double height = 0.01 * static_cast<double>(dice.from(1, 20));
    ktmdl_BldRectangularProfile builder(width, height, plane, object, constrain, useSet, 1);
    const Ending ending = run([&] { builder.Compute(); });
    require(ending == Ending::fine, "no error out of the builder", "an error");
    const std::vector<standin::ProfileView> drawn = host->profiles(object);
    if (!isStruck) {
        equal(0L, builder.Status(), "status");
        equal(profiles + 1, drawn.size(), "number of profiles");
        const auto isLine = [](const standin::SketchLine& line) {
            return line.plane == standin::geom::kNone;
        };
        // The view lists them by kind of container, so the new one is among those of its kind.
        const auto isRectangle = [&](const standin::ProfileView& view) {
            return std::count_if(view.lines.begin(), view.lines.end(), isLine) == 4 &&
                   view.finished && view.dimensions.size() == (constrain != 0 ? 2U : 0U);
        };
        require(std::any_of(drawn.begin(), drawn.end(), isRectangle), "a finished rectangle",
                "none");
    } else {
        require(builder.Status() == 0 || builder.Status() == 1 || builder.Status() == -1,
                "status 0, 1 or -1", std::to_string(builder.Status()));
        require(drawn.size() <= profiles + 1, "one profile at most", "more");
    }
    conclude({}, ending, 0, {});
}

void Life::opAssembly()
{
    const std::string name = "C:\\jobs\\vice" + std::to_string(step) + ".asm";
    const IDispatchPtr assembly = host->openAssembly(support::viceModel(), name);
    {
        ktmdl_BldBBox box(assembly, 0);
        const Ending ending = run([&] { box.Compute(); });
        require(ending == Ending::fine, "no error out of the builder", "an error");
        require(box.Status() == 0 || (isStruck && box.Status() == 1), "status 0",
                std::to_string(box.Status()));
        if (!isStruck) {
            // A base to (0.1, 0.2, 0.3), a jaw to (0.4, 0.5, 0.6) and bolts of radius 0.01 about
            // the z axis, wherever they are placed.
            const Box right{-0.01, -0.01, 0.0, 0.4, 0.5, 0.6};
            const Box found = cornersOf(box.BBox());
            for (std::size_t i = 0; i < right.size(); ++i) {
                require(std::fabs(right[i] - found[i]) < 1e-9, "the box of the assembly",
                        "another");
            }
        }
        conclude({}, ending, 0, {});
    }
    {
        const IDispatchPtr base = support::occurrenceOf(assembly, 1);
        const IDispatchPtr face = support::faceOf(support::documentOf(base), 1);
        const bool isWhole = dice.chance(30);
        ktmdl_BldReference builder(ktmdl_host::AssemblyDocumentPtr(assembly),
                                   ktmdl_host::OccurrencePtr(base), isWhole ? IDispatchPtr() : face,
                                   1);
        const Ending ending = run([&] { builder.Compute(); });
        require(ending == Ending::fine, "no error out of the builder", "an error");
        if (!isStruck || builder.Status() == 0) {
            equal(0L, builder.Status(), "status");
            const IDispatchPtr made = builder.Reference();
            const IDispatchPtr target = isWhole ? made : support::need(support::get(made, 4));
            require(target.GetInterfacePtr() == (isWhole ? base : face).GetInterfacePtr(),
                    "a reference to the target", "to another");
        } else {
            // An assembly that shows no occurrences is not begun.
            require(builder.Status() == 1 || builder.Status() == -2, "status 1 or -2",
                    std::to_string(builder.Status()));
        }
        conclude({}, ending, 0, {});
    }
    host->close(assembly);
}

const std::vector<Life::Operation>& Life::operations()
{
    static const std::vector<Operation> all = {
        {"open", 30, &Life::opOpen},
        {"close", 20, &Life::opClose},
        {"rename", 8, &Life::opRename},
        {"change", 20, &Life::opChange},
        {"restart of the host", 4, &Life::opRestart},
        {"session on or off", 6, &Life::opSession},
        {"New of an object", 120, &Life::opNew},
        {"New of a key", 40, &Life::opNewByKey},
        {"New of a gone object", 5, &Life::opNewOfTheGone},
        {"BuildPersistentData", 80, &Life::opBuild},
        {"HasChanged", 80, &Life::opHasChanged},
        {"DisconnectDocument", 15, &Life::opDisconnect},
        {"ReconnectDocument", 25, &Life::opReconnect},
        {"UpdateDispatch", 40, &Life::opUpdateDispatch},
        {"UpdateReferenceKey", 25, &Life::opUpdateKey},
        {"BindAllToposInMap", 8, &Life::opBindAll},
        {"save", 25, &Life::opSave},
        {"load", 12, &Life::opLoad},
        {"load of a damaged archive", 15, &Life::opDamaged},
        {"archive forgotten", 8, &Life::opForgetArchive},
        {"handle on a child", 30, &Life::opHoldChild},
        {"copy of a handle", 10, &Life::opCopyHandle},
        {"handle dropped", 110, &Life::opDrop},
        {"RemoveFromMap", 10, &Life::opRemove},
        {"ClearUnusedToposOnly", 25, &Life::opClearUnused},
        {"ClearAllTopos", 3, &Life::opClearAll},
        {"queries", 60, &Life::opQueries},
        {"loops", 60, &Life::opLoops},
        {"box of a part", 20, &Life::opPartBox},
        {"rectangle", 10, &Life::opRectangle},
        {"assembly", 3, &Life::opAssembly},
    };
    return all;
}

//! A life begins with an open document, a big one also with references to all of a body.
const Life::Operation& Life::chooseOperation()
{
    const std::vector<Operation>& all = operations();
    const auto named = [&](const char* name) -> const Operation& {
        return *std::find_if(all.begin(), all.end(),
                             [&](const Operation& each) { return std::string(name) == each.name; });
    };
    if (step == 1) {
        return named("open");
    }
    if (isOverture()) {
        return named(step <= 4 ? "New of an object" : "BuildPersistentData");
    }
    static const int sum =
        std::accumulate(all.begin(), all.end(), 0,
                        [](int weight, const Operation& each) { return weight + each.weight; });
    int thrown = static_cast<int>(dice.below(static_cast<std::size_t>(sum)));
    return *std::find_if(all.begin(), all.end(),
                         [&](const Operation& each) { return (thrown -= each.weight) < 0; });
}

//! Makes something wrong once, when there is something to be made wrong.
void Life::sabotage()
{
    if (tally.isSabotaged || plan.sabotage == Sabotage::none || held.empty() || step < 30) {
        return;
    }
    for (auto& [id, handles] : held) {
        Reference& it = model.at(id);
        ktmdl_Topo& topo = *handles.front();
        switch (plan.sabotage) {
        case Sabotage::type:
            it.type = it.type == 2 ? 1 : 2;
            tally.isSabotaged = true;
            break;
        case Sabotage::box:
            it.box[4] += 1e-12 + 1e-12 * std::fabs(it.box[4]);
            tally.isSabotaged = true;
            break;
        case Sabotage::docName:
            it.docName += "x";
            tally.isSabotaged = true;
            break;
        case Sabotage::bound:
            tally.isSabotaged = it.bound != kNone;
            topo.mDispTopo = nullptr;
            break;
        case Sabotage::registered:
            tally.isSabotaged = it.isRegistered;
            ktmdl_Topo::RemoveFromMap(handles.front());
            break;
        case Sabotage::handle:
            extra.push_back(handles.front());
            tally.isSabotaged = true;
            break;
        case Sabotage::archive:
            if (!archives.empty()) {
                archives.back().saved.records.front().docName += "x";
                archives.erase(archives.begin(), archives.end() - 1);
                tally.isSabotaged = true;
                operation = "load";
                opLoad();
            }
            break;
        case Sabotage::list:
            if (topo.mSubTopos[0].IsNull() == 0 && topo.mSubTopos[0]->Length() > 0) {
                topo.mSubTopos[0]->Remove(1);
                tally.isSabotaged = true;
            }
            break;
        case Sabotage::object:
            if (it.bound != kNone) {
                stolen.push_back(topo.mDispTopo);
                tally.isSabotaged = true;
            }
            break;
        default:
            break;
        }
        if (tally.isSabotaged) {
            return;
        }
    }
}

void Life::play()
{
    world.askHost = [this](Id document, Id key) { return askHost(document, key); };
    size = plan.size;
    if (size == Size::any) {
        const std::size_t chosen = dice.below(1000);
        size = chosen < 4 ? Size::large : chosen < 60 ? Size::medium : Size::little;
    }
    faultRate = static_cast<int>(dice.below(4) == 0 ? 0 : dice.from(1, 12));
    model.hasSession = false;
    if (dice.chance(75)) {
        opSession();
    }
    startHost();
    const long fileCount = isBig() ? 1 : dice.from(1, 4);
    for (long i = 0; i < fileCount; ++i) {
        File file;
        // Some files share a name in different folders, some are copies of others.
        file.name =
            "C:\\jobs\\" + std::to_string(i) + "\\part" + std::to_string(dice.below(3)) + ".par";
        file.states.push_back(i > 0 && dice.chance(25) ? files.front().states.front()
                                                       : newPart(dice, size));
        for (long k = dice.from(1, 3); k > 0 && size != Size::largest; --k) {
            file.states.push_back(changed(dice, dice.among(file.states)));
        }
        files.push_back(std::move(file));
    }

    const long steps = size == Size::largest ? 25
                       : isBig()             ? dice.from(40, 80)
                                             : dice.from(50, 600);
    for (step = 1; step <= steps; ++step) {
        const Operation& next = chooseOperation();
        operation = next.name;
        (this->*next.run)();
        ++tally.operations[next.name];
        isStruck = false;
        sabotage();
        check();
        if (held.size() > 40) {
            operation = "handle dropped";
            opDrop();
        }
    }
    end();
}

//! Lets go of everything, whatever state it is in.
void Life::letGo()
{
    extra.clear();
    held.clear();
    archives.clear();
    ktmdl_Topo::ClearAllTopos();
    gone.clear();
    collections.clear();
    documents.clear();
    ktstd_Session::SetCurSession(Hnd_ktstd_Session());
    host.reset();
    stolen.clear();
}

void Life::end()
{
    operation = "end";
    check(true);
    if (dice.chance(50)) {
        // Without a handle the registry's references go by themselves: bodies, faces, edges.
        while (!held.empty()) {
            drop(held.begin()->first);
        }
        settle();
        for (int round = 0; round < 4; ++round) {
            ktmdl_Topo::ClearUnusedToposOnly();
            model.clearUnused();
            settle();
        }
        equal(std::size_t{0}, model.references.size(), "references left");
        for (Id key = 0; key < static_cast<Id>(keys.size()); ++key) {
            bool isNew = false;
            static_cast<void>(lookUp(key, isNew));
            require(isNew, "an empty registry", "key " + std::to_string(key));
        }
    }
    const std::vector<IDispatchPtr> outlasting = std::exchange(stolen, {});
    letGo();
    for (std::size_t i = 0; i < keys.size(); i += 1 + keys.size() / 50) {
        bool isNew = false;
        static_cast<void>(lookUp(static_cast<Id>(i), isNew));
        require(isNew, "an empty registry", "key " + std::to_string(i));
    }
    const std::string left = standin::processCensus().text();
    require(left.empty(), "no object of the host left", left);
}

} // namespace

long Tally::steps() const
{
    return std::accumulate(operations.begin(), operations.end(), 0L,
                           [](long sum, const auto& each) { return sum + each.second; });
}

void playLife(const Plan& plan, Tally& tally)
{
    const long strings = com::liveStrings();
    const long arrays = com::liveArrays();
    {
        const LogCapture log;
        Life life(plan, tally);
        life.play();
    }
    ++tally.lives;
    const auto compare = [&](const char* what, long before, long after) {
        if (before != after) {
            throw Violation("seed " + std::to_string(plan.seed) + ", end: expected " +
                            std::to_string(before) + " " + what + ", found " +
                            std::to_string(after));
        }
    };
    compare("strings", strings, com::liveStrings());
    compare("arrays", arrays, com::liveArrays());
}

} // namespace soak
