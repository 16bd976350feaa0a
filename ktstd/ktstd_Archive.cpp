#include "ktstd/ktstd_Archive.h"

#include "ktstd/ktstd_ArchiveFormat_detail.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_File_detail.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_fail.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <unordered_map>
#include <utility>

using ktstd_detail::Bytes;
using ktstd_detail::Get;
using ktstd_detail::Put;
using Reason = ktstd_fail_FileIO::Reason;

const short EOC = 0x5AE1;

namespace {

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

class ktstd_Archive::State
{
public:
    //! Lets go of objects from the last one on, so that those that hold others go before them.
    void DropObjects(std::size_t aKept) noexcept
    {
        while (objects.size() > aKept) {
            numbers.erase(&*objects.back());
            objects.pop_back();
        }
    }

    bool isStoring{true};
    bool isFinished{false}; //!< storing: complete; loading: closed
    long formatVersion{kNewestFormat};
    long depth{0}; //!< objects being stored or loaded inside one another
    std::map<std::string, long> classVersions;
    std::vector<Hnd_ktstd_Transient> objects; //!< object with number n at n - 1

    // Storing: the data; once finished, the complete archive. Loading: the complete archive.
    Bytes bytes;
    std::vector<ktstd_ArchiveObject> directory; //!< storing: offsets from the start of the data
    std::unordered_map<const ktstd_Transient*, std::uint32_t> numbers; //!< storing

    // Loading.
    std::string source;
    ktstd_detail::ArchiveLayout layout;
    std::size_t at{0};

    [[nodiscard]] std::size_t Left() const noexcept { return layout.dataEnd - at; }

    [[noreturn]] void RaiseLoading(const std::string& aWhat, std::size_t aOffset,
                                   unsigned char aCode) const
    {
        ktstd_detail::RaiseLoading(source, aWhat, aOffset, aCode);
    }
    [[noreturn]] void RaiseShort(std::size_t aWanted) const
    {
        RaiseLoading("wanted " + std::to_string(aWanted) + " bytes, found " +
                         std::to_string(Left()),
                     at, Reason::kTruncated);
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

    //! Takes bytes out of the data.
    const unsigned char* Take(std::size_t aSize)
    {
        if (Left() < aSize) {
            RaiseShort(aSize);
        }
        const unsigned char* const data = bytes.data() + at;
        at += aSize;
        return data;
    }
    template <class Unsigned>
    Unsigned TakeNumber()
    {
        return Get<Unsigned>(Take(sizeof(Unsigned)));
    }
    std::string TakeName()
    {
        const std::size_t start = at;
        const std::size_t length = TakeNumber<std::uint8_t>();
        if (length == 0) {
            RaiseLoading("a class name is empty", start, Reason::kDamaged);
        }
        const unsigned char* const text = Take(length);
        return std::string(text, text + length);
    }
    Hnd_ktstd_Transient KnownObject(std::uint32_t aNumber, const Hnd_ktstd_Type& aType,
                                    std::size_t aOffset) const;
    Hnd_ktstd_Transient NewObject(const Hnd_ktstd_Type& aType, std::size_t aOffset);
    void CheckKind(const Hnd_ktstd_Transient& aObject, const Hnd_ktstd_Type& aType,
                   std::size_t aOffset) const;
};

Hnd_ktstd_Transient ktstd_Archive::State::KnownObject(std::uint32_t aNumber,
                                                      const Hnd_ktstd_Type& aType,
                                                      std::size_t aOffset) const
{
    if (aNumber > objects.size()) {
        RaiseLoading("reference to object " + std::to_string(aNumber) +
                         ", which was not read before",
                     aOffset, Reason::kBadReference);
    }
    const Hnd_ktstd_Transient& object = objects[aNumber - 1];
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
    const std::string name = TakeName();
    Hnd_ktstd_Transient object = ktstd_Schema::Make(name);
    if (object.IsNull() != 0) {
        RaiseLoading("object of the unknown class " + ktstd_detail::Quoted(name), aOffset,
                     Reason::kUnknownClass);
    }
    CheckKind(object, aType, aOffset);
    objects.push_back(object);
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

ktstd_Archive::ktstd_Archive(long aFormatVersion) : mState(std::make_unique<State>())
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
    : mState(std::make_unique<State>())
{
    State& state = *mState;
    state.isStoring = false;
    state.source = std::move(aSource);
    state.bytes = std::move(aBytes);
    state.layout = ktstd_detail::ParseArchive(state.bytes, state.source);
    state.formatVersion = state.layout.formatVersion;
    state.classVersions = std::move(state.layout.classVersions);
    state.at = state.layout.dataStart;
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
    mState->DropObjects(0);
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
    return state.isStoring ? state.directory
                           : ktstd_detail::ParseDirectory(state.bytes, state.layout, state.source);
}

unsigned long long ktstd_Archive::Position() const noexcept
{
    return mState->isStoring ? mState->bytes.size() : mState->at;
}

unsigned long long ktstd_Archive::Remaining() const noexcept
{
    return mState->isStoring ? 0 : mState->Left();
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
    state.bytes = ktstd_detail::BuildArchive(state.formatVersion, state.classVersions, state.bytes,
                                             state.directory);
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
    state.DropObjects(0);
}

void ktstd_Archive::Write(const void* aData, long aLength)
{
    mState->CheckStoring();
    if (aLength < 0) {
        raiseStoring("block of " + std::to_string(aLength) + " bytes", Reason::kValueOutOfRange);
    }
    const auto* const data = static_cast<const unsigned char*>(aData);
    mState->bytes.insert(mState->bytes.end(), data, data + aLength);
}

long ktstd_Archive::Read(void* aData, long aLength)
{
    mState->CheckLoading();
    ktstd_Schema::SetArchiveBeingRead(this);
    if (aLength < 0) {
        mState->RaiseLoading("wanted a block of " + std::to_string(aLength) + " bytes", mState->at,
                             Reason::kDamaged);
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
    Put(mState->bytes, static_cast<std::uint32_t>(aCount));
}

unsigned long ktstd_Archive::ReadCount()
{
    mState->CheckLoading();
    ktstd_Schema::SetArchiveBeingRead(this);
    const std::size_t start = mState->at;
    const auto count = mState->TakeNumber<std::uint32_t>();
    if (count > mState->Left()) {
        const std::size_t left = mState->Left();
        mState->at = start;
        mState->RaiseLoading("count of " + std::to_string(count) + " elements, but " +
                                 std::to_string(left) + " bytes are left",
                             start, Reason::kDamaged);
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
    Put(mState->bytes, static_cast<std::uint32_t>(aValue));
    return *this;
}

ktstd_Archive& ktstd_Archive::operator<<(unsigned short aValue)
{
    mState->CheckStoring();
    Put(mState->bytes, aValue);
    return *this;
}

ktstd_Archive& ktstd_Archive::operator<<(unsigned char aValue)
{
    mState->CheckStoring();
    Put(mState->bytes, aValue);
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
        Put(state.bytes, std::uint32_t{0});
        return;
    }
    const auto known = state.numbers.find(&*aObject);
    if (known != state.numbers.end()) {
        Put(state.bytes, known->second);
        return;
    }
    const std::string name = aObject->DynamicType()->Name();
    if (ktstd_Schema::CanMake(name) == 0) {
        raiseStoring("object of class \"" + name + "\", which is not in the schema",
                     Reason::kUnknownClass);
    }
    if (state.depth >= kMaxDepth) {
        raiseStoring("objects are nested deeper than " + std::to_string(kMaxDepth),
                     Reason::kTooDeep);
    }
    if (state.objects.size() >= std::numeric_limits<std::uint32_t>::max()) {
        raiseStoring("too many objects", Reason::kValueOutOfRange);
    }

    const std::size_t start = state.bytes.size();
    const std::size_t index = state.objects.size();
    ++state.depth;
    try {
        const auto number = static_cast<std::uint32_t>(index + 1);
        state.objects.push_back(aObject);
        state.numbers.emplace(&*aObject, number);
        Put(state.bytes, number);
        ktstd_detail::PutName(state.bytes, name);
        state.directory.push_back({number, name, state.bytes.size(), 0});
        state.objects.back()->Serialize(*this);
        ktstd_ArchiveObject& entry = state.directory[index];
        entry.length = state.bytes.size() - entry.offset;
    } catch (...) {
        state.bytes.resize(start);
        state.directory.resize(std::min(index, state.directory.size()));
        state.DropObjects(index);
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
    const std::size_t start = state.at;
    const auto number = state.TakeNumber<std::uint32_t>();
    if (number == 0) {
        return Hnd_ktstd_Transient();
    }
    const std::size_t index = state.objects.size();
    if (number != index + 1) {
        return state.KnownObject(number, aType, start);
    }
    Hnd_ktstd_Transient object = state.NewObject(aType, start);
    ++state.depth;
    try {
        object->Serialize(*this);
    } catch (...) {
        state.DropObjects(index);
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
