// Archives beside serialization libraries and beside copying the same bytes.

#include "Rows.h"
#include "ktmdl/ktmdl_Pnt3d.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktstd/ktstd_Archive.h"

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/level.hpp>
#include <boost/serialization/shared_ptr.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/tracking.hpp>
#include <boost/serialization/vector.hpp>
#include <cereal/archives/binary.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>

#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string_view>
#include <unordered_map>

namespace bench {

//! Plain values as a user of a serialization library would have them.
template <std::size_t Count>
struct Numbers
{
    template <class Archive>
    void serialize(Archive& aArchive)
    {
        for (double& value : values) {
            aArchive(value);
        }
    }

    double values[Count];
};

//! A reference with what the library's has: key, type, box, flag, children, document.
struct PlainTopo
{
    using List = std::vector<std::shared_ptr<PlainTopo>>;
    //! Loaded references by their keys, which they hold, as the library registers them.
    using Registry = std::unordered_multimap<std::string_view, std::shared_ptr<PlainTopo>>;

    template <class Archive>
    void serialize(Archive& aArchive)
    {
        aArchive(key, type, box, isChild, edges, faces, document);
    }

    std::string key;
    unsigned char type{0};
    Numbers<6> box{};
    unsigned char isChild{0};
    List edges;
    List faces;
    std::string document;
};

} // namespace bench

// Values are stored without the library's own bookkeeping for shared and versioned objects.
namespace boost::serialization {
template <class Archive, std::size_t Count>
void serialize(Archive& aArchive, bench::Numbers<Count>& aNumbers, unsigned)
{
    for (double& value : aNumbers.values) {
        aArchive& value;
    }
}
template <class Archive>
void serialize(Archive& aArchive, bench::PlainTopo& aTopo, unsigned)
{
    aArchive& aTopo.key& aTopo.type& aTopo.box& aTopo.isChild& aTopo.edges& aTopo.faces;
    aArchive& aTopo.document;
}
template <std::size_t Count>
struct implementation_level<bench::Numbers<Count>>
{
    using tag = mpl::integral_c_tag;
    using type = mpl::int_<object_serializable>;
    BOOST_STATIC_CONSTANT(int, value = type::value);
};
template <std::size_t Count>
struct tracking_level<bench::Numbers<Count>>
{
    using tag = mpl::integral_c_tag;
    using type = mpl::int_<track_never>;
    BOOST_STATIC_CONSTANT(int, value = type::value);
};
} // namespace boost::serialization

namespace bench {

namespace {

constexpr long kMany = 1000000;
constexpr long kTopos = 100000;
constexpr long kFacesOfABody = 99;
constexpr std::size_t kKeySize = 40;

double numberAt(std::size_t aIdx)
{
    return 0.1 * static_cast<double>(aIdx);
}

// The values of each side.

template <class Value>
std::vector<Value> ourValues();
template <>
std::vector<ktmdl_Pnt3d> ourValues()
{
    std::vector<ktmdl_Pnt3d> all(kMany);
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i].Set(numberAt(i), numberAt(i + 1), numberAt(i + 2));
    }
    return all;
}
template <>
std::vector<ktmdl_Trsf3d> ourValues()
{
    std::vector<ktmdl_Trsf3d> all(kMany);
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (std::size_t k = 0; k < 16; ++k) {
            all[i].mMatrix[k / 4][k % 4] = numberAt(i + k);
        }
    }
    return all;
}
template <std::size_t Count>
std::vector<Numbers<Count>> theirValues()
{
    std::vector<Numbers<Count>> all(kMany);
    for (std::size_t i = 0; i < all.size(); ++i) {
        for (std::size_t k = 0; k < Count; ++k) {
            all[i].values[k] = numberAt(i + k);
        }
    }
    return all;
}

// Storing all values, and loading them, once per library. What is stored is complete data; each
// side leaves it where it made it. The memory of what is loaded is given back behind the time.

template <class Value>
const std::vector<unsigned char>& ourStore(ktstd_Archive& aArchive, std::vector<Value>& aValues)
{
    for (Value& value : aValues) {
        value.Serialize(aArchive);
    }
    return aArchive.Finish();
}
template <class Value>
std::vector<unsigned char> ourStore(std::vector<Value>& aValues)
{
    ktstd_Archive archive;
    return ourStore(archive, aValues);
}
template <class Value>
void ourLoad(ktstd_Archive& aArchive, std::vector<Value>& aValues)
{
    for (Value& value : aValues) {
        value.Serialize(aArchive);
    }
    aArchive.Close();
}

struct Boost
{
    using Out = boost::archive::binary_oarchive;
    using In = boost::archive::binary_iarchive;
    template <class Archive, class Value>
    static void put(Archive& aArchive, Value& aValue)
    {
        aArchive& aValue;
    }
};
struct Cereal
{
    using Out = cereal::BinaryOutputArchive;
    using In = cereal::BinaryInputArchive;
    template <class Archive, class Value>
    static void put(Archive& aArchive, Value& aValue)
    {
        aArchive(aValue);
    }
};

template <class Library, class Values>
void theirStore(std::ostringstream& aStream, Values& aValues)
{
    typename Library::Out archive(aStream);
    for (auto& value : aValues) {
        Library::put(archive, value);
    }
}
template <class Library, class Values>
std::string theirStore(Values& aValues)
{
    std::ostringstream stream;
    theirStore<Library>(stream, aValues);
    return stream.str();
}
template <class Library, class Values>
void theirLoad(std::istringstream& aStream, Values& aValues)
{
    aStream.clear();
    aStream.seekg(0);
    typename Library::In archive(aStream);
    for (auto& value : aValues) {
        Library::put(archive, value);
    }
}

template <class Value>
Side ourStoring()
{
    return {"ours", [] {
                const auto values = std::make_shared<std::vector<Value>>(ourValues<Value>());
                return timedOnly([values] {
                    ktstd_Archive archive;
                    consume(ourStore(archive, *values).data());
                });
            }};
}
template <class Value>
Side ourLoading()
{
    return {"ours", [] {
                const auto values = std::make_shared<std::vector<Value>>(ourValues<Value>());
                const auto data = std::make_shared<std::vector<unsigned char>>(ourStore(*values));
                const auto taken = std::make_shared<std::vector<unsigned char>>();
                const auto archive = std::make_shared<std::optional<ktstd_Archive>>();
                return Steps{[data, taken] { *taken = *data; },
                             [values, taken, archive] {
                                 archive->emplace(std::move(*taken));
                                 ourLoad(**archive, *values);
                                 consume(values->data());
                             },
                             [archive] { archive->reset(); }};
            }};
}
template <class Library, std::size_t Count>
Side theirStoring(const char* aName)
{
    return {aName,
            [] {
                const auto values =
                    std::make_shared<std::vector<Numbers<Count>>>(theirValues<Count>());
                return timedOnly([values] {
                    std::ostringstream stream;
                    theirStore<Library>(stream, *values);
                    consume(&stream);
                });
            },
            0.0, 3.0};
}
template <class Library, std::size_t Count>
Side theirLoading(const char* aName)
{
    return {aName,
            [] {
                const auto values =
                    std::make_shared<std::vector<Numbers<Count>>>(theirValues<Count>());
                const auto stream =
                    std::make_shared<std::istringstream>(theirStore<Library>(*values));
                return timedOnly([values, stream] {
                    theirLoad<Library>(*stream, *values);
                    consume(values->data());
                });
            },
            0.0, 3.0};
}
//! Copies every value into one buffer, or out of it.
template <std::size_t Count>
Side copying(bool aIntoTheBuffer, double aAim)
{
    return {"memcpy",
            [aIntoTheBuffer] {
                const auto values =
                    std::make_shared<std::vector<Numbers<Count>>>(theirValues<Count>());
                const auto kept = std::make_shared<std::vector<char>>();
                kept->resize(sizeof(Numbers<Count>) * values->size());
                return timedOnly([values, kept, aIntoTheBuffer] {
                    if (aIntoTheBuffer) {
                        // Memory of its own each time, as the others have.
                        const std::unique_ptr<char[]> buffer(new char[kept->size()]);
                        char* to = buffer.get();
                        for (const Numbers<Count>& value : *values) {
                            std::memcpy(to, value.values, sizeof(value.values));
                            to += sizeof(value.values);
                        }
                        consume(buffer.get());
                    } else {
                        const char* from = kept->data();
                        for (Numbers<Count>& value : *values) {
                            std::memcpy(value.values, from, sizeof(value.values));
                            from += sizeof(value.values);
                        }
                        consume(values->data());
                    }
                });
            },
            0.0, aAim};
}

template <class Value, std::size_t Count>
void addValues(const std::string& aWhat, double aAimOfCopying)
{
    const auto same = [] {
        std::vector<Value> ours = ourValues<Value>();
        const std::vector<Value> before = ours;
        const std::vector<unsigned char> data = ourStore(ours);
        std::vector<Value> loaded(ours.size());
        ktstd_Archive archive(data);
        ourLoad(archive, loaded);
        std::vector<Numbers<Count>> theirs = theirValues<Count>();
        std::istringstream stream(theirStore<Cereal>(theirs));
        std::vector<Numbers<Count>> theirLoaded(theirs.size());
        theirLoad<Cereal>(stream, theirLoaded);
        std::istringstream boosted(theirStore<Boost>(theirs));
        std::vector<Numbers<Count>> boostLoaded(theirs.size());
        theirLoad<Boost>(boosted, boostLoaded);
        for (std::size_t i = 0; i < loaded.size(); ++i) {
            // The numbers follow the table pointer.
            const char* const numbers = reinterpret_cast<const char*>(&loaded[i]) + sizeof(void*);
            if (std::memcmp(numbers, theirLoaded[i].values, sizeof(double) * Count) != 0 ||
                std::memcmp(numbers, boostLoaded[i].values, sizeof(double) * Count) != 0) {
                return std::string("values");
            }
        }
        return std::string();
    };
    add({"archive: store " + aWhat,
         kMany,
         ourStoring<Value>(),
         {theirStoring<Boost, Count>("Boost.Serialization"), theirStoring<Cereal, Count>("cereal"),
          copying<Count>(true, aAimOfCopying)},
         same});
    add({"archive: load " + aWhat,
         kMany,
         ourLoading<Value>(),
         {theirLoading<Boost, Count>("Boost.Serialization"), theirLoading<Cereal, Count>("cereal"),
          copying<Count>(false, aAimOfCopying)},
         same});
}

// References.

std::string keyAt(std::size_t aIdx)
{
    std::mt19937_64 random(aIdx + 1);
    std::string key(kKeySize, '\0');
    for (char& byte : key) {
        byte = static_cast<char>(random());
    }
    return key;
}

class Topo : public ktmdl_Topo
{
public:
    static Hnd_ktmdl_Topo make(std::size_t aIdx, unsigned char aType)
    {
        const std::string key = keyAt(aIdx);
        auto* const topo = new Topo(key);
        topo->tplType = aType;
        topo->mIsSubTopo = aType == 5 ? 1 : 0;
        topo->mBBox = ktmdl_BBox3d(0.0, 1.0, 2.0, 3.0, 4.0, 5.0);
        topo->mDocName = ktstd_AsciiString("C:\\Parts\\electrode holder.par");
        return Hnd_ktmdl_Topo(topo);
    }

private:
    explicit Topo(const std::string& aKey)
        : ktmdl_Topo(static_cast<long>(aKey.size()),
                     reinterpret_cast<const unsigned char*>(aKey.data()))
    {}
};

//! Bodies with a list of faces each.
std::shared_ptr<ktmdl_TopoSeq> ourTopos()
{
    const auto bodies = std::make_shared<ktmdl_TopoSeq>();
    std::size_t made = 0;
    while (made < kTopos) {
        const Hnd_ktmdl_Topo body = Topo::make(made++, 6);
        const Hnd_ktmdl_TopoHSeq faces(new ktmdl_TopoHSeq());
        for (long i = 0; i < kFacesOfABody; ++i) {
            faces->Append(Topo::make(made++, 5));
        }
        body->mSubTopos[1] = faces;
        bodies->Append(body);
    }
    return bodies;
}

std::shared_ptr<PlainTopo> plainTopo(std::size_t aIdx, unsigned char aType)
{
    auto topo = std::make_shared<PlainTopo>();
    topo->key = keyAt(aIdx);
    topo->type = aType;
    topo->isChild = aType == 5 ? 1 : 0;
    for (std::size_t i = 0; i < 6; ++i) {
        topo->box.values[i] = static_cast<double>(i);
    }
    topo->document = "C:\\Parts\\electrode holder.par";
    return topo;
}
std::shared_ptr<PlainTopo::List> theirTopos()
{
    const auto bodies = std::make_shared<PlainTopo::List>();
    std::size_t made = 0;
    while (made < kTopos) {
        bodies->push_back(plainTopo(made++, 6));
        for (long i = 0; i < kFacesOfABody; ++i) {
            bodies->back()->faces.push_back(plainTopo(made++, 5));
        }
    }
    return bodies;
}

const std::vector<unsigned char>& storeTopos(ktstd_Archive& aArchive, ktmdl_TopoSeq& aTopos)
{
    aTopos.Serialize(aArchive);
    return aArchive.Finish();
}

template <class Library>
void storeTopos(std::ostringstream& aStream, PlainTopo::List& aTopos)
{
    typename Library::Out archive(aStream);
    Library::put(archive, aTopos);
}
template <class Library>
std::string storeTopos(PlainTopo::List& aTopos)
{
    std::ostringstream stream;
    storeTopos<Library>(stream, aTopos);
    return stream.str();
}

//! Bytes in the registered class, without the class of the benchmark: what loading makes.
std::shared_ptr<std::vector<unsigned char>> ourData()
{
    const auto topos = ourTopos();
    ktstd_Archive archive;
    return std::make_shared<std::vector<unsigned char>>(storeTopos(archive, *topos));
}

void enter(const PlainTopo::List& aTopos, PlainTopo::Registry& aRegistry)
{
    for (const std::shared_ptr<PlainTopo>& topo : aTopos) {
        aRegistry.emplace(topo->key, topo);
        enter(topo->edges, aRegistry);
        enter(topo->faces, aRegistry);
    }
}

Side ourToposStored()
{
    return {"ours", [] {
                const auto topos = ourTopos();
                return timedOnly([topos] {
                    ktstd_Archive archive;
                    consume(storeTopos(archive, *topos).data());
                });
            }};
}
Side ourToposLoaded()
{
    return {"ours", [] {
                const auto data = ourData();
                const auto taken = std::make_shared<std::vector<unsigned char>>();
                const auto topos = std::make_shared<ktmdl_TopoSeq>();
                const auto archive = std::make_shared<std::optional<ktstd_Archive>>();
                return Steps{[data, taken] { *taken = *data; },
                             [taken, topos, archive] {
                                 archive->emplace(std::move(*taken));
                                 topos->Serialize(**archive);
                                 (*archive)->Close();
                                 consume(topos.get());
                             },
                             [topos, archive] {
                                 archive->reset();
                                 topos->Clear();
                                 ktmdl_Topo::ClearAllTopos();
                             }};
            }};
}
template <class Library>
Side theirToposStored(const char* aName)
{
    return {aName,
            [] {
                const auto topos = theirTopos();
                return timedOnly([topos] {
                    std::ostringstream stream;
                    storeTopos<Library>(stream, *topos);
                    consume(&stream);
                });
            },
            0.0, 3.0};
}
template <class Library>
Side theirToposLoaded(const char* aName)
{
    return {aName,
            [] {
                const auto topos = theirTopos();
                const auto stream =
                    std::make_shared<std::istringstream>(storeTopos<Library>(*topos));
                const auto loaded = std::make_shared<PlainTopo::List>();
                const auto registry = std::make_shared<PlainTopo::Registry>();
                return Steps{nullptr,
                             [stream, loaded, registry] {
                                 stream->clear();
                                 stream->seekg(0);
                                 typename Library::In archive(*stream);
                                 Library::put(archive, *loaded);
                                 enter(*loaded, *registry);
                                 consume(registry.get());
                             },
                             [loaded, registry] {
                                 loaded->clear();
                                 *registry = PlainTopo::Registry();
                             }};
            },
            0.0, 3.0};
}

//! Says where a loaded reference differs from the plain one.
bool isSame(const Hnd_ktmdl_Topo& aOurs, const PlainTopo& aTheirs)
{
    return aTheirs.key == std::string(reinterpret_cast<const char*>(aOurs->mKey),
                                      static_cast<std::size_t>(aOurs->mKeySize)) &&
           aOurs->tplType == aTheirs.type && aOurs->mIsSubTopo == aTheirs.isChild &&
           aOurs->mBBox.mMax.mZ == aTheirs.box.values[5] &&
           aTheirs.document == aOurs->mDocName.ToCString();
}

std::string toposAlike()
{
    const auto theirs = theirTopos();
    std::istringstream stream(storeTopos<Cereal>(*theirs));
    PlainTopo::List loaded;
    {
        cereal::BinaryInputArchive in(stream);
        in(loaded);
    }
    ktmdl_TopoSeq ours;
    {
        ktstd_Archive archive(*ourData());
        ours.Serialize(archive);
    }
    std::string difference;
    for (long i = 1; i <= ours.Length() && difference.empty(); ++i) {
        const PlainTopo& body = *loaded[static_cast<std::size_t>(i - 1)];
        const Hnd_ktmdl_TopoHSeq faces = ours.Value(i)->mSubTopos[1];
        if (!isSame(ours.Value(i), body) || faces->Length() != kFacesOfABody ||
            !isSame(faces->Value(kFacesOfABody), *body.faces.back())) {
            difference = "reference " + std::to_string(i);
        }
    }
    ours.Clear();
    ktmdl_Topo::ClearAllTopos();
    return difference;
}

// Bytes per record.

template <class Store>
Side recordSide(const char* aName, Store aStore)
{
    Side side{aName};
    side.measure = [aStore] { return aStore(); };
    return side;
}

template <class Value, std::size_t Count>
void addRecordBytes(const char* aName)
{
    const auto per = [](std::size_t bytes) { return static_cast<double>(bytes) / kMany; };
    const auto theirs = [per](auto library) {
        return [per, library] {
            std::vector<Numbers<Count>> values = theirValues<Count>();
            return per(theirStore<decltype(library)>(values).size());
        };
    };
    add({aName,
         kMany,
         recordSide("ours",
                    [per] {
                        std::vector<Value> values = ourValues<Value>();
                        return per(ourStore(values).size());
                    }),
         {recordSide("Boost.Serialization", theirs(Boost())),
          recordSide("cereal", theirs(Cereal()))},
         nullptr});
}

void addReferenceBytes()
{
    const auto per = [](std::size_t bytes) { return static_cast<double>(bytes) / kTopos; };
    const auto theirs = [per](auto library) {
        return [per, library] { return per(storeTopos<decltype(library)>(*theirTopos()).size()); };
    };
    add({"archived reference",
         kTopos,
         recordSide("ours", [per] { return per(ourData()->size()); }),
         {recordSide("Boost.Serialization", theirs(Boost())),
          recordSide("cereal", theirs(Cereal()))},
         nullptr});
}

} // namespace

void addArchives()
{
    addRecordBytes<ktmdl_Pnt3d, 3>("archived point");
    addRecordBytes<ktmdl_Trsf3d, 16>("archived transformation");
    addReferenceBytes();
    addValues<ktmdl_Pnt3d, 3>("points", 0.25);
    addValues<ktmdl_Trsf3d, 16>("transformations", 0.5);
    add({"archive: store references",
         kTopos,
         ourToposStored(),
         {theirToposStored<Boost>("Boost.Serialization"), theirToposStored<Cereal>("cereal")},
         &toposAlike});
    add({"archive: load references",
         kTopos,
         ourToposLoaded(),
         {theirToposLoaded<Boost>("Boost.Serialization"), theirToposLoaded<Cereal>("cereal")},
         &toposAlike});
}

} // namespace bench
