// The set of references and the registry beside hash tables of the same keys.

#include "Rows.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoMap.h"
#include "ktstd/ktstd_ComTools.h"

#include <absl/container/flat_hash_map.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string_view>
#include <unordered_map>

namespace bench {

namespace {

constexpr std::size_t kKeySize = 40;

enum class Keys
{
    random, //!< no two alike
    counted //!< differ in the last four bytes, a counter
};

using Key = std::vector<unsigned char>;

std::vector<Key> makeKeys(Keys aKind, long aCount)
{
    std::mt19937_64 random(1);
    std::vector<Key> keys(static_cast<std::size_t>(aCount), Key(kKeySize));
    std::uint32_t counter = 0;
    for (Key& key : keys) {
        if (aKind == Keys::random) {
            for (unsigned char& byte : key) {
                byte = static_cast<unsigned char>(random());
            }
        } else {
            ++counter;
            std::memcpy(key.data() + kKeySize - sizeof(counter), &counter, sizeof(counter));
        }
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
    return keys;
}

class Reference : public ktmdl_Topo
{
public:
    explicit Reference(const Key& aKey)
        : ktmdl_Topo(static_cast<long>(aKey.size()), static_cast<const unsigned char*>(aKey.data()))
    {}
};

//! The same references for all sides, and the keys to look up, in another order.
struct Data
{
    Data(Keys aKind, long aCount) : wanted(makeKeys(aKind, aCount))
    {
        topos.reserve(wanted.size());
        for (const Key& key : wanted) {
            topos.emplace_back(new Reference(key));
        }
        std::shuffle(wanted.begin(), wanted.end(), std::mt19937(3));
    }

    std::vector<Hnd_ktmdl_Topo> topos;
    std::vector<Key> wanted;
};

std::string_view viewOf(const unsigned char* aKey, std::size_t aSize)
{
    return {reinterpret_cast<const char*>(aKey), aSize};
}
std::string_view viewOf(const Hnd_ktmdl_Topo& aTopo)
{
    return viewOf(aTopo->mKey, static_cast<std::size_t>(aTopo->mKeySize));
}

//! The tables under one set of names. Keys of the standard ones are views into the references.
struct Ours
{
    void add(const Hnd_ktmdl_Topo& aTopo) { table.Add(aTopo); }
    void remove(const Hnd_ktmdl_Topo& aTopo) { table.Remove(aTopo); }
    [[nodiscard]] const ktmdl_Topo* find(const Key& aKey) const
    {
        const Hnd_ktmdl_Topo topo = table.FindByKey(static_cast<long>(aKey.size()), aKey.data());
        return topo.IsNull() != 0 ? nullptr : &*topo;
    }

    ktmdl_TopoMap table{1};
};
template <class Table>
struct Theirs
{
    void add(const Hnd_ktmdl_Topo& aTopo) { table.emplace(viewOf(aTopo), aTopo); }
    void remove(const Hnd_ktmdl_Topo& aTopo) { table.erase(viewOf(aTopo)); }
    [[nodiscard]] const ktmdl_Topo* find(const Key& aKey) const
    {
        const auto found = table.find(viewOf(aKey.data(), aKey.size()));
        if (found == table.end()) {
            return nullptr;
        }
        const Hnd_ktmdl_Topo topo = found->second; // as a look-up hands it out
        return &*topo;
    }

    Table table;
};
using Standard = Theirs<std::unordered_map<std::string_view, Hnd_ktmdl_Topo>>;
using Abseil = Theirs<absl::flat_hash_map<std::string_view, Hnd_ktmdl_Topo>>;

template <class Table>
void addAll(Table& aTable, const Data& aData)
{
    for (const Hnd_ktmdl_Topo& topo : aData.topos) {
        aTable.add(topo);
    }
}

template <class Table>
struct Filled
{
    Filled(Keys aKind, long aCount) : data(aKind, aCount) { addAll(table, data); }

    Data data;
    Table table;
};

template <class Table>
Side findSide(const char* aName, Keys aKind, long aSize, double aAim)
{
    return {aName,
            [aKind, aSize] {
                const auto filled = std::make_shared<Filled<Table>>(aKind, aSize);
                return timedOnly([filled] {
                    std::uintptr_t sum = 0;
                    for (const Key& key : filled->data.wanted) {
                        sum += reinterpret_cast<std::uintptr_t>(filled->table.find(key));
                    }
                    consume(&sum);
                });
            },
            0.0, aAim};
}

template <class Table>
Side addSide(const char* aName, Keys aKind, long aSize, double aAim)
{
    return {aName,
            [aKind, aSize] {
                const auto data = std::make_shared<Data>(aKind, aSize);
                const auto table = std::make_shared<std::unique_ptr<Table>>();
                return Steps{[table] { *table = std::make_unique<Table>(); },
                             [data, table] {
                                 addAll(**table, *data);
                                 consume(table->get());
                             },
                             [table] { table->reset(); }};
            },
            0.0, aAim};
}

template <class Table>
Side removeSide(const char* aName, Keys aKind, long aSize, double aAim)
{
    return {aName,
            [aKind, aSize] {
                const auto filled = std::make_shared<Filled<Table>>(aKind, aSize);
                return Steps{nullptr,
                             [filled] {
                                 for (const Hnd_ktmdl_Topo& topo : filled->data.topos) {
                                     filled->table.remove(topo);
                                 }
                                 consume(filled.get());
                             },
                             [filled] { addAll(filled->table, filled->data); }};
            },
            0.0, aAim};
}

//! The registry with half of its references held elsewhere.
struct HalfUsed
{
    HalfUsed(Keys aKind, long aCount) : keys(makeKeys(aKind, aCount)) {}

    ~HalfUsed()
    {
        held.clear();
        ktmdl_Topo::ClearAllTopos();
    }
    void fill()
    {
        held.clear();
        ktmdl_Topo::ClearAllTopos();
        for (std::size_t i = 0; i < keys.size(); ++i) {
            SAFEARRAY* array = nullptr;
            PutValuesInSafeArray(static_cast<long>(kKeySize), keys[i].data(), &array);
            const Hnd_ktmdl_Topo topo = ktmdl_Topo::New(static_cast<long>(kKeySize), array);
            SafeArrayDestroy(array);
            if (i % 2 == 0) {
                held.push_back(topo);
            }
        }
    }

    std::vector<Key> keys;
    std::vector<Hnd_ktmdl_Topo> held;
};

Side ourClearUnused(Keys aKind, long aSize)
{
    return {"ours", [aKind, aSize] {
                const auto data = std::make_shared<HalfUsed>(aKind, aSize);
                return Steps{[data] { data->fill(); }, [] { ktmdl_Topo::ClearUnusedToposOnly(); },
                             nullptr};
            }};
}

template <class Table>
Side theirClearUnused(const char* aName, Keys aKind, long aSize, double aAim)
{
    return {aName,
            [aKind, aSize] {
                const auto keys = std::make_shared<std::vector<Key>>(makeKeys(aKind, aSize));
                const auto held = std::make_shared<std::vector<Hnd_ktmdl_Topo>>();
                const auto all = std::make_shared<Table>();
                return Steps{[=] {
                                 all->table.clear();
                                 held->clear();
                                 for (std::size_t i = 0; i < keys->size(); ++i) {
                                     const Hnd_ktmdl_Topo topo(new Reference((*keys)[i]));
                                     all->add(topo);
                                     if (i % 2 == 0) {
                                         held->push_back(topo);
                                     }
                                 }
                             },
                             [=] {
                                 auto& table = all->table;
                                 for (auto it = table.begin(); it != table.end();) {
                                     if (it->second->RefCount() == 1) {
                                         // The key is a view into the reference.
                                         const Hnd_ktmdl_Topo last = it->second;
                                         table.erase(it++);
                                     } else {
                                         ++it;
                                     }
                                 }
                                 consume(all.get());
                             },
                             nullptr};
            },
            0.0, aAim};
}

//! Measures the memory of a table, without the references in it.
template <class Table>
std::function<double()> bytesOf(Keys aKind, long aSize)
{
    return [aKind, aSize] {
        const Data data(aKind, aSize);
        return heapBytesPer(aSize, [&data] {
            auto table = std::make_shared<Table>();
            addAll(*table, data);
            return table;
        });
    };
}

template <class Table>
std::string foundAlike(const Data& aData)
{
    Table table;
    Ours ours;
    addAll(table, aData);
    addAll(ours, aData);
    for (const Key& key : aData.wanted) {
        if (ours.find(key) == nullptr || ours.find(key) != table.find(key)) {
            return "what a key finds";
        }
    }
    return "";
}

} // namespace

void addRegistry()
{
    for (const Keys kind : {Keys::random, Keys::counted}) {
        const std::string suffix = kind == Keys::random ? "" : ", counted keys";
        for (const long size : {1000L, 10000L, 100000L, 1000000L}) {
            const auto same = [kind, size] {
                const Data data(kind, std::min(size, 10000L));
                return foundAlike<Standard>(data) + foundAlike<Abseil>(data);
            };
            add({"registry: find by key" + suffix,
                 size,
                 findSide<Ours>("ours", kind, size, 0.0),
                 {findSide<Standard>("std::unordered_map", kind, size, 1.0),
                  findSide<Abseil>("absl::flat_hash_map", kind, size, 0.5)},
                 same});
            Row grow{"registry: add" + suffix,
                     size,
                     addSide<Ours>("ours", kind, size, 0.0),
                     {addSide<Standard>("std::unordered_map", kind, size, 1.0),
                      addSide<Abseil>("absl::flat_hash_map", kind, size, 0.5)},
                     same};
            if (kind == Keys::random) { // a table takes no more for other keys
                grow.ours.measure = bytesOf<Ours>(kind, size);
                grow.peers[0].measure = bytesOf<Standard>(kind, size);
                grow.peers[1].measure = bytesOf<Abseil>(kind, size);
            }
            add(grow);
            add({"registry: remove" + suffix,
                 size,
                 removeSide<Ours>("ours", kind, size, 0.0),
                 {removeSide<Standard>("std::unordered_map", kind, size, 1.0),
                  removeSide<Abseil>("absl::flat_hash_map", kind, size, 0.5)},
                 same});
            add({"registry: clear unused" + suffix,
                 size,
                 ourClearUnused(kind, size),
                 {theirClearUnused<Standard>("std::unordered_map", kind, size, 1.0),
                  theirClearUnused<Abseil>("absl::flat_hash_map", kind, size, 0.5)},
                 same});
        }
    }
}

} // namespace bench
