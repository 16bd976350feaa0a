#include "support/SoakModel.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <stdexcept>

namespace soak {
namespace {

constexpr int kEdges = 0;
constexpr int kFaces = 1;
constexpr Outcome kRaised{Ending::automationError, 0};

bool isKnown(int type)
{
    return type >= 1 && type <= 7;
}

//! A box counts as the box of nothing when no number is more than a millionth from 0.
bool isNothing(const Box& box)
{
    return std::all_of(box.begin(), box.end(), [](double x) { return std::fabs(x) <= 1e-6; });
}

bool isPoint(const Box& box)
{
    return box[0] == box[3] && box[1] == box[4] && box[2] == box[5];
}

} // namespace

bool World::isAlive(Id id) const
{
    if (id == kNone) {
        return false;
    }
    const Thing& one = thing(id);
    const Document& of = documents.at(static_cast<std::size_t>(one.document));
    return of.isOpen && of.generation == one.generation;
}

Id World::bind(Id id, Id key)
{
    Document& of = document(id);
    if (!of.isOpen) {
        return kNone;
    }
    const auto found = of.byKey.find(key);
    if (found != of.byKey.end()) {
        return found->second;
    }
    const Id thing = askHost(id, key);
    of.byKey[key] = thing;
    return thing;
}

std::vector<Id> Model::withKey(Id key) const
{
    const auto found = registered.find(key);
    return found == registered.end() ? std::vector<Id>{} : found->second;
}

void Model::setRegistered(Id id, bool isRegistered)
{
    Reference& reference = at(id);
    if (reference.isRegistered == isRegistered) {
        return;
    }
    reference.isRegistered = isRegistered;
    std::vector<Id>& same = registered[reference.key];
    if (isRegistered) {
        same.push_back(id);
    } else {
        same.erase(std::find(same.begin(), same.end(), id));
        if (same.empty()) {
            registered.erase(reference.key);
        }
    }
}

void Model::setBound(Id id, Id thing)
{
    at(id).bound = thing;
    at(id).binding = ++bindings;
}

std::map<Id, long> Model::counts() const
{
    std::map<Id, long> all = held;
    for (const auto& [id, reference] : references) {
        all[id] += reference.isRegistered ? 1 : 0;
        for (const List& list : reference.lists) {
            for (const Id child : list.value_or(std::vector<Id>{})) {
                ++all[child];
            }
        }
    }
    return all;
}

void Model::collect()
{
    std::set<Id> reached;
    std::vector<Id> left;
    const auto reach = [&](Id id) {
        if (reached.insert(id).second) {
            left.push_back(id);
        }
    };
    for (const auto& [id, reference] : references) {
        if (reference.isRegistered || held.count(id) != 0) {
            reach(id);
        }
    }
    while (!left.empty()) {
        const Id id = left.back();
        left.pop_back();
        for (const List& list : at(id).lists) {
            if (list) {
                std::for_each(list->begin(), list->end(), reach);
            }
        }
    }
    for (auto each = references.begin(); each != references.end();) {
        if (reached.count(each->first) == 0) {
            buried.push_back(each->first);
            each = references.erase(each);
        } else {
            ++each;
        }
    }
}

void Model::forget()
{
    made.clear();
    buried.clear();
}

Id Model::make(Id key, bool isRegistered)
{
    const Id id = next++;
    references[id].key = key;
    setRegistered(id, isRegistered);
    made.push_back(id);
    return id;
}

Id Model::newByKey(Id key, const Choose& choose)
{
    const std::vector<Id> same = withKey(key);
    if (same.empty()) {
        return make(key, true);
    }
    return same.size() == 1 ? same.front() : choose(key, kNone, 0);
}

Outcome Model::newByThing(Id thing, const Choose& choose, Id& reference)
{
    if (!world->isAlive(thing)) {
        return kRaised;
    }
    reference = newByKey(world->thing(thing).key, choose);
    setBound(reference, thing);
    return {};
}

const Thing* Model::aliveThing(Id reference)
{
    const Id thing = at(reference).bound;
    return world->isAlive(thing) ? &world->thing(thing) : nullptr;
}

//! Makes or finds the reference of a child and marks it as such.
Id Model::adopt(Id parent, Id thing, int list, const Choose& choose, std::size_t place)
{
    const Id key = world->thing(thing).key;
    const std::vector<Id> same = withKey(key);
    const Id id = same.size() > 1 ? choose(key, list, place) : newByKey(key, choose);
    Reference& child = at(id);
    setBound(id, thing);
    child.type = list == kEdges ? 2 : 5;
    child.isChild = true;
    child.document = at(parent).document;
    return id;
}

Outcome Model::build(Id id, const Choose& choose)
{
    const Thing* thing = aliveThing(id);
    at(id).box = thing != nullptr ? thing->box : Box{};
    at(id).lists[kEdges].reset();
    at(id).lists[kFaces].reset();
    collect(); // children that only the lists held
    const int type = at(id).type;
    if (!isKnown(type)) {
        return {Ending::fine, -1};
    }
    if (type >= 3 && thing == nullptr) {
        return kRaised;
    }
    for (const int list : {kFaces, kEdges}) {
        if (type < (list == kFaces ? 6 : 3)) {
            continue;
        }
        std::vector<Id> children;
        for (const Id each : list == kFaces ? thing->faces : thing->edges) {
            const Id child = adopt(id, each, list, choose, children.size());
            at(child).box = world->thing(each).box;
            children.push_back(child);
        }
        at(id).lists[list] = std::move(children);
    }
    return {};
}

Changes Model::hasChanged(Id id, bool isQuick, const Choose& choose)
{
    Changes changes;
    long& bits = changes.outcome.result;
    bits = isNothing(at(id).box) ? 0 : 1;
    const int type = at(id).type;
    if (bits != 0 && isQuick) {
        return changes;
    }
    if (!isKnown(type)) {
        changes.outcome = {Ending::kernelFailure, 0};
        return changes;
    }
    if (type < 3) {
        return changes;
    }
    const Thing* thing = aliveThing(id);
    if (thing == nullptr) {
        changes.outcome = kRaised;
        return changes;
    }
    const int group = type >= 6 ? kFaces : kEdges;
    const long countBit = group == kFaces ? 8 : 2;
    const std::vector<Id>& now = group == kFaces ? thing->faces : thing->edges;
    const std::vector<Id> before = at(id).lists[group].value_or(std::vector<Id>{});
    if (now.size() != before.size()) {
        bits |= countBit;
        if (isQuick) {
            return changes;
        }
    }
    for (List& list : changes.lists[group]) {
        list.emplace();
    }
    auto& [current, gone, fresh, altered] = changes.lists[group];
    const std::set<Id> old(before.begin(), before.end());
    std::set<Id> seen;
    for (const Id each : now) {
        const Id child = adopt(id, each, group, choose, current->size());
        Box& box = at(child).box;
        long difference = 0;
        if (old.count(child) != 0) {
            seen.insert(child);
            if (isPoint(box)) {
                box = world->thing(each).box;
            }
            if (!isNothing(box)) {
                altered->push_back(child);
                difference = 2 * countBit;
            }
        } else {
            box = world->thing(each).box;
            fresh->push_back(child);
            difference = countBit;
        }
        bits |= difference;
        if (difference != 0 && isQuick) {
            return changes;
        }
        current->push_back(child);
    }
    if (fresh->size() + before.size() > now.size()) {
        for (const Id child : before) {
            if (seen.count(child) == 0) {
                gone->push_back(child);
            }
        }
    }
    return changes;
}

std::vector<Id> Model::allRegistered() const
{
    std::vector<Id> all;
    for (const auto& [id, reference] : references) {
        if (reference.isRegistered) {
            all.push_back(id);
        }
    }
    return all;
}

Outcome Model::fillName(Id document, std::string& name)
{
    if (name.empty() && hasSession) {
        if (!world->document(document).isOpen) {
            return kRaised;
        }
        name = world->document(document).fullName;
    }
    return {};
}

Outcome Model::disconnect(Id document, std::string& name)
{
    const Outcome filled = fillName(document, name);
    if (filled.ending != Ending::fine) {
        return filled;
    }
    for (const Id id : allRegistered()) {
        Reference& each = at(id);
        if (each.bound != kNone) {
            if (!isKnown(each.type) || each.document != document) {
                continue;
            }
            each.bound = kNone;
        }
        if (each.docName.empty()) {
            each.docName = name;
        }
        each.document = kNone; // whichever it was
    }
    return {};
}

long Model::bindIn(Id id, Id document, const std::string& name)
{
    Reference& reference = at(id);
    if (!reference.docName.empty()) {
        if (reference.docName != name) {
            return 0;
        }
    } else if (reference.document == kNone) {
        return 1;
    } else if (reference.document != document) {
        return 0;
    }
    if (!isKnown(reference.type)) {
        return -1;
    }
    reference.document = document;
    reference.docName = name;
    setBound(id, world->bind(document, reference.key));
    return 0;
}

Outcome Model::reconnect(Id document, std::string& name)
{
    const Outcome filled = fillName(document, name);
    if (filled.ending != Ending::fine) {
        return filled;
    }
    for (const Id id : allRegistered()) {
        bindIn(id, document, name);
    }
    return {};
}

Outcome Model::fillOwnName(Id id)
{
    Reference& reference = at(id);
    if (reference.docName.empty() && reference.document != kNone) {
        const Document& document = world->document(reference.document);
        if (!document.isOpen) {
            return kRaised;
        }
        reference.docName = hasSession ? document.fullName : document.name;
    }
    return {};
}

Outcome Model::updateDispatch(Id id)
{
    if (at(id).document == kNone) {
        return {Ending::fine, -1};
    }
    const Outcome filled = fillOwnName(id);
    if (filled.ending != Ending::fine) {
        return filled;
    }
    return {Ending::fine, bindIn(id, at(id).document, std::string(at(id).docName))};
}

void Model::refreshKey(Id id)
{
    const Thing* thing = aliveThing(id);
    if (thing != nullptr) {
        setRegistered(id, false);
        at(id).key = thing->key;
        setRegistered(id, true);
    }
}

void Model::refreshAllKeys()
{
    for (const Id id : allRegistered()) {
        refreshKey(id);
    }
}

Outcome Model::saveOne(Id id, Saved& saved, std::map<Id, std::size_t>& places)
{
    if (!places.emplace(id, saved.records.size()).second) {
        return {};
    }
    const std::size_t place = saved.records.size();
    saved.records.emplace_back();
    const Outcome filled = fillOwnName(id);
    if (filled.ending != Ending::fine) {
        return filled;
    }
    Reference record = at(id);
    record.bound = kNone;
    record.document = kNone;
    record.isRegistered = false;
    for (List& list : record.lists) {
        for (Id* child = list ? list->data() : nullptr;
             list && child != list->data() + list->size(); ++child) {
            const Outcome stored = saveOne(*child, saved, places);
            if (stored.ending != Ending::fine) {
                return stored;
            }
            *child = static_cast<Id>(places.at(*child));
        }
    }
    saved.records[place] = std::move(record);
    return {};
}

Outcome Model::save(const std::vector<Id>& roots, Saved& saved)
{
    std::map<Id, std::size_t> places;
    for (const Id root : roots) {
        const Outcome stored = saveOne(root, saved, places);
        if (stored.ending != Ending::fine) {
            return stored;
        }
        saved.roots.push_back(places.at(root));
    }
    return {};
}

std::vector<Id> Model::load(const Saved& saved)
{
    std::vector<Id> ids;
    for (const Reference& record : saved.records) {
        ids.push_back(make(record.key, true));
    }
    for (std::size_t i = 0; i < ids.size(); ++i) {
        Reference reference = saved.records[i];
        reference.isRegistered = true;
        for (List& list : reference.lists) {
            if (list) {
                std::transform(list->begin(), list->end(), list->begin(),
                               [&](Id place) { return ids.at(static_cast<std::size_t>(place)); });
            }
        }
        at(ids[i]) = std::move(reference);
    }
    return ids;
}

bool Model::remove(Id id)
{
    const bool wasThere = at(id).isRegistered;
    setRegistered(id, false);
    return wasThere;
}

void Model::clearUnused()
{
    const std::map<Id, long> all = counts();
    for (const Id id : allRegistered()) {
        if (all.at(id) == 1) {
            setRegistered(id, false);
        }
    }
    collect();
}

void Model::clearAll()
{
    for (const Id id : allRegistered()) {
        setRegistered(id, false);
    }
    collect();
}

} // namespace soak
