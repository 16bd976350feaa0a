#include "ktstd/ktstd_Archive.h"

#include "ktstd/ktstd_ArchiveFormat_detail.h"
#include "ktstd/ktstd_ArchiveRoom_detail.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_File_detail.h"
#include "ktstd/ktstd_ObjectNumbers_detail.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_fail.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <set>
#include <string_view>
#include <utility>

using ktstd_detail::Bytes;
using ktstd_detail::Get;
using Reason = ktstd_fail_FileIO::Reason;

const short EOC = 0x5AE1;

namespace {

constexpr std::size_t kRoom = 8192; //!< made at once for small values
constexpr std::size_t kLargeArchive = std::size_t{1} << 26U;

[[noreturn]] void raiseStoring(const std::string& aWhat, unsigned char aCode)
{
    ktstd_fail_FileIO::Raise(("store archive: " + aWhat).c_str(), aCode);
}

bool fits32(long aValue) noexcept
{
    const long long value = aValue;
    return value >= std::numeric_limits<std::int32_t>::min() &&
           value <= std::numeric_limits<std::int32_t>::max();
}

} // namespace

class ktstd_Archive::State : public ktstd_detail::ArchiveRoom
{
public:
    bool isFinished{false}; //!< storing: complete; loading: closed
    long depth{0};          //!< objects being stored or loaded inside one another
    std::map<std::string, long> classVersions;
    ktstd_detail::ObjectNumbers objects;

    // Storing: room for the header, the data, and room for more of them; once finished, the
    // complete archive. Loading: the complete archive.
    Bytes bytes;
    std::size_t dataStart{0}; //!< storing: size of the room for the header
    std::vector<ktstd_detail::DirectoryEntry> directory; //!< storing
    std::set<std::string, std::less<>> classNames;       //!< storing: of all objects
    Hnd_ktstd_Type lastType;                             //!< storing: of the last new object
    const std::string* lastClass{nullptr};               //!< storing: its name
    ktstd_Schema::Maker lastMaker{nullptr};              //!< loading
    std::string_view lastMade;                           //!< loading: what it makes
    unsigned long long lastEpoch{0};                     //!< of the schema then

    // Loading.
    std::string source;
    ktstd_detail::ArchiveLayout layout;

    //! Gives the size of the data that are stored.
    [[nodiscard]] std::size_t Stored() const noexcept
    {
        return put != nullptr ? static_cast<std::size_t>(put - bytes.data()) - dataStart : 0;
    }
    //! Gives the place of the next read.
    [[nodiscard]] std::size_t At() const noexcept
    {
        return static_cast<std::size_t>(get - bytes.data());
    }

    [[noreturn]] void RaiseLoading(const std::string& aWhat, std::size_t aOffset,
                                   unsigned char aCode) const
    {
        ktstd_detail::RaiseLoading(source, aWhat, aOffset, aCode);
    }
    [[noreturn]] void RaiseShort(std::size_t aWanted) const
    {
        RaiseLoading("wanted " + std::to_string(aWanted) + " bytes, found " +
                         std::to_string(ToLoad()),
                     At(), Reason::kTruncated);
    }
    void CheckStoring() const
    {
        if (!isStoring || isFinished) {
            raiseStoring(isStoring ? "it is finished" : "it is loading", Reason::kWrongMode);
        }
    }
    void CheckLoading() const
    {
        if (isStoring) {
            ktstd_fail_FileIO::Raise("load archive: it is storing", Reason::kWrongMode);
        }
    }

    void StoreWithNewRoom(const void* aData, std::size_t aSize);
    //! Adds bytes to the data of a storing archive.
    void Store(const void* aData, std::size_t aSize)
    {
        if (aSize <= ToStore()) {
            Put(aData, aSize);
        } else {
            StoreWithNewRoom(aData, aSize);
        }
    }
    template <class Unsigned>
    void StoreNumber(Unsigned aNumber)
    {
        unsigned char number[sizeof(Unsigned)];
        ktstd_detail::Put(number, aNumber);
        Store(number, sizeof(number));
    }
    //! Drops the data from a place on.
    void DropData(std::size_t aKept) noexcept
    {
        if (put != nullptr) {
            put = bytes.data() + dataStart + aKept;
        }
    }
    const std::string& StorableClass(const Hnd_ktstd_Transient& aObject);

    //! Takes bytes out of the data.
    const unsigned char* Take(std::size_t aSize)
    {
        if (ToLoad() < aSize) {
            RaiseShort(aSize);
        }
        const unsigned char* const data = get;
        get += aSize;
        return data;
    }
    template <class Unsigned>
    Unsigned TakeNumber()
    {
        return Get<Unsigned>(Take(sizeof(Unsigned)));
    }
    std::string_view TakeName()
    {
        const std::size_t start = At();
        const std::size_t length = TakeNumber<std::uint8_t>();
        if (length == 0) {
            RaiseLoading("a class name is empty", start, Reason::kDamaged);
        }
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes as characters
        return std::string_view(reinterpret_cast<const char*>(Take(length)), length);
    }
    [[nodiscard]] Hnd_ktstd_Transient
    KnownObject(std::uint32_t aNumber, const Hnd_ktstd_Type& aType, std::size_t aOffset) const;
    Hnd_ktstd_Transient NewObject(const Hnd_ktstd_Type& aType, std::size_t aOffset);
    void CheckKind(const Hnd_ktstd_Transient& aObject, const Hnd_ktstd_Type& aType,
                   std::size_t aOffset) const;
};

//! Adds bytes that don't fit, and makes room for small ones behind them. When memory runs out,
//! nothing has changed.
void ktstd_Archive::State::StoreWithNewRoom(const void* aData, std::size_t aSize)
{
    const std::size_t start = put != nullptr ? dataStart : ktstd_detail::HeaderSize(classVersions);
    const std::size_t used = start + Stored();
    const std::size_t wanted = used + aSize + kRoom;
    if (wanted > bytes.capacity()) {
        const std::size_t factor = bytes.capacity() < kLargeArchive ? 4 : 2;
        ktstd_detail::Reserve(bytes, std::max(wanted, factor * bytes.capacity()));
    }
    const auto* const data = static_cast<const unsigned char*>(aData);
    bytes.resize(used);
    bytes.insert(bytes.end(), data, data + aSize);
    bytes.resize(wanted);
    dataStart = start;
    put = bytes.data() + used + aSize;
    putEnd = bytes.data() + wanted;
}

//! Gives the class name of an object that can be stored.
const std::string& ktstd_Archive::State::StorableClass(const Hnd_ktstd_Transient& aObject)
{
    const Hnd_ktstd_Type& type = aObject->DynamicType();
    if (type != lastType || lastEpoch != ktstd_Schema::Epoch()) {
        const std::string_view name = type->Name();
        if (ktstd_Schema::MakerOf(name) == nullptr) {
            raiseStoring("object of class \"" + std::string(name) +
                             "\", which is not in the schema",
                         Reason::kUnknownClass);
        }
        lastClass = &*classNames.emplace(name).first;
        lastType = type;
        lastEpoch = ktstd_Schema::Epoch();
    }
    return *lastClass;
}

Hnd_ktstd_Transient ktstd_Archive::State::KnownObject(std::uint32_t aNumber,
                                                      const Hnd_ktstd_Type& aType,
                                                      std::size_t aOffset) const
{
    if (aNumber > objects.Size()) {
        RaiseLoading("reference to object " + std::to_string(aNumber) +
                         ", which was not read before",
                     aOffset, Reason::kBadReference);
    }
    const Hnd_ktstd_Transient& object = objects.Object(aNumber);
    CheckKind(object, aType, aOffset);
    return object;
}

//! Makes the object whose class name comes next, and gives it the next number.
Hnd_ktstd_Transient ktstd_Archive::State::NewObject(const Hnd_ktstd_Type& aType,
                                                    std::size_t aOffset)
{
    if (depth >= kMaxDepth) {
        RaiseLoading("objects are nested deeper than " + std::to_string(kMaxDepth), aOffset,
                     Reason::kTooDeep);
    }
    const std::string_view name = TakeName();
    if (name != lastMade || lastEpoch != ktstd_Schema::Epoch()) {
        lastMaker = ktstd_Schema::MakerOf(name);
        lastMade = name;
        lastEpoch = ktstd_Schema::Epoch();
    }
    Hnd_ktstd_Transient object;
    if (lastMaker != nullptr) {
        object = lastMaker();
    }
    if (object.IsNull() != 0) {
        RaiseLoading("object of the unknown class " + ktstd_detail::Quoted(std::string(name)),
                     aOffset, Reason::kUnknownClass);
    }
    CheckKind(object, aType, aOffset);
    objects.Add(object);
    return object;
}

void ktstd_Archive::State::CheckKind(const Hnd_ktstd_Transient& aObject,
                                     const Hnd_ktstd_Type& aType, std::size_t aOffset) const
{
    if (aObject->IsKind(aType) == 0) {
        RaiseLoading(std::string("wanted an object of class ") + aType->Name() + ", found " +
                         aObject->DynamicType()->Name(),
                     aOffset, Reason::kWrongClass);
    }
}

ktstd_Archive::ktstd_Archive() : ktstd_Archive(kNewestFormat) {}

ktstd_Archive::ktstd_Archive(long aFormatVersion)
    : mState(std::make_unique<State>()),
      mRoom(mState.get())
{
    if (aFormatVersion < kOldestFormat || aFormatVersion > kNewestFormat) {
        raiseStoring("wanted format version 15 or 16, found " + std::to_string(aFormatVersion),
                     Reason::kBadFormat);
    }
    mState->formatVersion = aFormatVersion;
    mState->classVersions = ktstd_Schema::NewestVersions();
}

ktstd_Archive::ktstd_Archive(std::vector<unsigned char> aBytes)
    : ktstd_Archive(std::move(aBytes), "in memory")
{}

ktstd_Archive::ktstd_Archive(std::vector<unsigned char> aBytes, std::string aSource)
    : mState(std::make_unique<State>()),
      mRoom(mState.get())
{
    State& state = *mState;
    state.isStoring = false;
    state.source = std::move(aSource);
    state.bytes = std::move(aBytes);
    state.layout = ktstd_detail::ParseArchive(state.bytes, state.source);
    state.formatVersion = state.layout.formatVersion;
    state.classVersions = std::move(state.layout.classVersions);
    state.get = state.bytes.data() + state.layout.dataStart;
    state.getEnd = state.bytes.data() + state.layout.dataEnd;
}

ktstd_Archive ktstd_Archive::FromFile(const char* aPath)
{
    const std::string path = aPath != nullptr ? aPath : "";
    return ktstd_Archive(ktstd_detail::ReadWholeFile(path, ktstd_detail::ArchiveMagic()),
                         "\"" + path + "\"");
}

ktstd_Archive::~ktstd_Archive()
{
    ktstd_Schema::ForgetArchive(this);
    mState->objects.Drop(0);
}

unsigned char ktstd_Archive::IsStoring() const noexcept
{
    if (!mState->isStoring) {
        ktstd_Schema::SetArchiveBeingRead(this);
    }
    return mState->isStoring ? 1 : 0;
}

long ktstd_Archive::FormatVersion() const noexcept
{
    return mState->formatVersion;
}

long ktstd_Archive::ClassVersion(const ktstd_AsciiString& aName) const
{
    const auto found = mState->classVersions.find(aName.ToCString());
    return found != mState->classVersions.end() ? found->second : -1;
}

const std::map<std::string, long>& ktstd_Archive::ClassVersions() const noexcept
{
    return mState->classVersions;
}

std::vector<ktstd_ArchiveObject> ktstd_Archive::Objects() const
{
    const State& state = *mState;
    if (!state.isStoring) {
        return ktstd_detail::ParseDirectory(state.bytes, state.layout, state.source);
    }
    std::vector<ktstd_ArchiveObject> objects;
    objects.reserve(state.directory.size());
    for (const ktstd_detail::DirectoryEntry& entry : state.directory) {
        const auto number = static_cast<unsigned long>(objects.size() + 1);
        objects.push_back({number, *entry.className, entry.offset, entry.length});
    }
    return objects;
}

unsigned long long ktstd_Archive::Position() const noexcept
{
    const State& state = *mState;
    if (!state.isStoring) {
        return state.At();
    }
    return state.isFinished ? state.bytes.size() : state.Stored();
}

unsigned long long ktstd_Archive::Remaining() const noexcept
{
    return mState->ToLoad();
}

void ktstd_Archive::SetClassVersion(const ktstd_AsciiString& aName, long aVersion)
{
    mState->CheckStoring();
    const std::string name = aName.ToCString();
    if (!fits32(aVersion)) {
        raiseStoring("class version " + std::to_string(aVersion) + " doesn't fit 32 bits",
                     Reason::kValueOutOfRange);
    }
    if (name.empty() || name.size() > ktstd_detail::kLongestClassName) {
        raiseStoring("a class name has 1 to 255 bytes, found " + std::to_string(name.size()),
                     Reason::kValueOutOfRange);
    }
    mState->classVersions[name] = aVersion;
}

const std::vector<unsigned char>& ktstd_Archive::Finish()
{
    State& state = *mState;
    if (state.isStoring && state.isFinished) {
        return state.bytes;
    }
    state.CheckStoring();
    if (state.depth != 0) {
        raiseStoring("finished while an object is being stored", Reason::kWrongMode);
    }
    const Bytes header = ktstd_detail::BuildHeader(state.formatVersion, state.classVersions);
    const std::size_t used = state.dataStart + state.Stored();
    const std::size_t size =
        ktstd_detail::CompleteSize(header.size(), state.Stored(), state.directory);
    ktstd_detail::Reserve(state.bytes, size);
    // From here on no memory is taken.
    state.bytes.resize(used);
    ktstd_detail::CompleteArchive(state.bytes, state.dataStart, header, state.directory);
    state.put = nullptr;
    state.putEnd = nullptr;
    state.isFinished = true;
    return state.bytes;
}

void ktstd_Archive::Save(const char* aPath)
{
    ktstd_detail::FileCalls system;
    ktstd_detail::WriteWholeFile(aPath != nullptr ? aPath : "", Finish(), system);
}

void ktstd_Archive::Close()
{
    State& state = *mState;
    if (state.isStoring) {
        Finish();
    } else if (state.depth != 0) {
        ktstd_fail_FileIO::Raise("load archive: closed while an object is being loaded",
                                 Reason::kWrongMode);
    }
    state.isFinished = true;
    state.objects.Drop(0);
}

void ktstd_Archive::Write(const void* aData, long aLength)
{
    mState->CheckStoring();
    if (aLength < 0) {
        raiseStoring("block of " + std::to_string(aLength) + " bytes", Reason::kValueOutOfRange);
    }
    if (aLength != 0) {
        mState->Store(aData, static_cast<std::size_t>(aLength));
    }
}

long ktstd_Archive::Read(void* aData, long aLength)
{
    mState->CheckLoading();
    ktstd_Schema::SetArchiveBeingRead(this);
    if (aLength < 0) {
        mState->RaiseLoading("wanted a block of " + std::to_string(aLength) + " bytes",
                             mState->At(), Reason::kDamaged);
    }
    const auto length = static_cast<std::size_t>(aLength);
    const unsigned char* const data = mState->Take(length);
    if (length != 0) {
        std::memcpy(aData, data, length);
    }
    return aLength;
}

void ktstd_Archive::WriteCount(unsigned long aCount)
{
    mState->CheckStoring();
    const unsigned long long count = aCount;
    if (count > std::numeric_limits<std::uint32_t>::max()) {
        raiseStoring("count " + std::to_string(aCount) + " doesn't fit 32 bits",
                     Reason::kValueOutOfRange);
    }
    mState->StoreNumber(static_cast<std::uint32_t>(aCount));
}

unsigned long ktstd_Archive::ReadCount()
{
    mState->CheckLoading();
    ktstd_Schema::SetArchiveBeingRead(this);
    const unsigned char* const start = mState->get;
    const auto count = mState->TakeNumber<std::uint32_t>();
    if (count > mState->ToLoad()) {
        const std::size_t left = mState->ToLoad();
        mState->get = start;
        mState->RaiseLoading("count of " + std::to_string(count) + " elements, but " +
                                 std::to_string(left) + " bytes are left",
                             mState->At(), Reason::kDamaged);
    }
    return count;
}

ktstd_Archive& ktstd_Archive::operator<<(long aValue)
{
    mState->CheckStoring();
    if (!fits32(aValue)) {
        raiseStoring("number " + std::to_string(aValue) + " doesn't fit 32 bits",
                     Reason::kValueOutOfRange);
    }
    mState->StoreNumber(static_cast<std::uint32_t>(aValue));
    return *this;
}

ktstd_Archive& ktstd_Archive::operator<<(unsigned short aValue)
{
    mState->CheckStoring();
    mState->StoreNumber(aValue);
    return *this;
}

ktstd_Archive& ktstd_Archive::operator<<(unsigned char aValue)
{
    mState->CheckStoring();
    mState->StoreNumber(aValue);
    return *this;
}

ktstd_Archive& ktstd_Archive::operator>>(long& aValue)
{
    mState->CheckLoading();
    ktstd_Schema::SetArchiveBeingRead(this);
    aValue = static_cast<std::int32_t>(mState->TakeNumber<std::uint32_t>());
    return *this;
}

ktstd_Archive& ktstd_Archive::operator>>(unsigned short& aValue)
{
    mState->CheckLoading();
    ktstd_Schema::SetArchiveBeingRead(this);
    aValue = mState->TakeNumber<std::uint16_t>();
    return *this;
}

ktstd_Archive& ktstd_Archive::operator>>(unsigned char& aValue)
{
    mState->CheckLoading();
    ktstd_Schema::SetArchiveBeingRead(this);
    aValue = mState->TakeNumber<std::uint8_t>();
    return *this;
}

void ktstd_Archive::WriteObject(const Hnd_ktstd_Transient& aObject)
{
    State& state = *mState;
    state.CheckStoring();
    if (aObject.IsNull() != 0) {
        state.StoreNumber(std::uint32_t{0});
        return;
    }
    const std::uint32_t known = state.objects.NumberOf(*aObject);
    if (known != 0) {
        state.StoreNumber(known);
        return;
    }
    const std::string& name = state.StorableClass(aObject);
    if (state.depth >= kMaxDepth) {
        raiseStoring("objects are nested deeper than " + std::to_string(kMaxDepth),
                     Reason::kTooDeep);
    }
    const std::size_t index = state.objects.Size();
    if (index >= std::numeric_limits<std::uint32_t>::max()) {
        raiseStoring("too many objects", Reason::kValueOutOfRange);
    }

    const std::size_t start = state.Stored();
    ++state.depth;
    try {
        state.objects.AddNumbered(aObject);
        unsigned char reference[sizeof(std::uint32_t) + 1 + ktstd_detail::kLongestClassName];
        const unsigned char* const end = ktstd_detail::PutName(
            ktstd_detail::Put(reference, static_cast<std::uint32_t>(index + 1)), name);
        state.Store(reference, static_cast<std::size_t>(end - reference));
        ktstd_detail::DirectoryEntry& added = state.directory.emplace_back();
        added.className = &name;
        added.offset = state.Stored();
        state.objects.Last()->Serialize(*this);
        ktstd_detail::DirectoryEntry& entry = state.directory[index];
        entry.length = state.Stored() - entry.offset;
    } catch (...) {
        state.DropData(start);
        state.directory.resize(std::min(index, state.directory.size()));
        state.objects.Drop(index);
        --state.depth;
        throw;
    }
    --state.depth;
}

Hnd_ktstd_Transient ktstd_Archive::ReadObject(const Hnd_ktstd_Type& aType)
{
    State& state = *mState;
    state.CheckLoading();
    ktstd_Schema::SetArchiveBeingRead(this);
    if (state.isFinished) {
        ktstd_fail_FileIO::Raise("load archive: it is closed", Reason::kWrongMode);
    }
    const std::size_t start = state.At();
    const auto number = state.TakeNumber<std::uint32_t>();
    if (number == 0) {
        return Hnd_ktstd_Transient();
    }
    const std::size_t index = state.objects.Size();
    if (number != index + 1) {
        return state.KnownObject(number, aType, start);
    }
    Hnd_ktstd_Transient object = state.NewObject(aType, start);
    ++state.depth;
    try {
        object->Serialize(*this);
    } catch (...) {
        state.objects.Drop(index);
        --state.depth;
        throw;
    }
    --state.depth;
    return object;
}

void ktstd_Archive::RaiseDamaged(const char* aWhat) const
{
    mState->RaiseLoading(aWhat != nullptr ? aWhat : "", Position(), Reason::kDamaged);
}

ktstd_Archive& operator<<(ktstd_Archive& aArchive, const Hnd_ktstd_Transient& aHandle)
{
    aArchive.WriteObject(aHandle);
    return aArchive;
}

ktstd_Archive& operator>>(ktstd_Archive& aArchive, Hnd_ktstd_Transient& aHandle)
{
    aHandle = aArchive.ReadObject(ktstd_Transient_Type_());
    return aArchive;
}
