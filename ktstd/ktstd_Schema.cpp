#include "ktstd/ktstd_Schema.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_TransientHSeq.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace {

struct Entry
{
    long newest;
    ktstd_Schema::Maker maker;
};

constexpr std::size_t kLongestName = 255;

Hnd_ktstd_Transient makeTransientHSeq()
{
    return Hnd_ktstd_Transient(new ktstd_TransientHSeq());
}

std::map<std::string, Entry, std::less<>>& entries()
{
    // The kernel's own class stands here, so that it is known wherever the schema is used.
    static std::map<std::string, Entry, std::less<>> sEntries = {
        {"ktstd_TransientHSeq", {0, makeTransientHSeq}}};
    return sEntries;
}

bool isGoodEntry(const char* aName, long aNewest) noexcept
{
    if (aName == nullptr || aNewest < 0 || aNewest > std::numeric_limits<std::int32_t>::max()) {
        return false;
    }
    const std::size_t length = std::strlen(aName);
    return length >= 1 && length <= kLongestName;
}

} // namespace

const ktstd_Archive* ktstd_Schema::sArchiveBeingRead = nullptr;
unsigned long long ktstd_Schema::sEpoch = 1;

unsigned char ktstd_Schema::Register(const char* aName, long aNewest, Maker aMaker)
{
    if (!isGoodEntry(aName, aNewest)) {
        return 0;
    }
    ++sEpoch;
    return entries().emplace(aName, Entry{aNewest, aMaker}).second ? 1 : 0;
}

unsigned char ktstd_Schema::Unregister(const char* aName) noexcept
{
    const auto found = aName != nullptr ? entries().find(aName) : entries().end();
    if (found == entries().end()) {
        return 0;
    }
    ++sEpoch;
    entries().erase(found);
    return 1;
}

long ktstd_Schema::ClassVersion(const ktstd_AsciiString& aName)
{
    return sArchiveBeingRead != nullptr ? sArchiveBeingRead->ClassVersion(aName)
                                        : LastClassVersion(aName);
}

long ktstd_Schema::LastClassVersion(const ktstd_AsciiString& aName)
{
    const auto found = entries().find(aName.ToCString());
    return found != entries().end() ? found->second.newest : -1;
}

Hnd_ktstd_Transient ktstd_Schema::Make(const std::string& aName)
{
    const Maker maker = MakerOf(aName);
    return maker != nullptr ? maker() : Hnd_ktstd_Transient();
}

unsigned char ktstd_Schema::CanMake(const std::string& aName)
{
    return MakerOf(aName) != nullptr ? 1 : 0;
}

ktstd_Schema::Maker ktstd_Schema::MakerOf(std::string_view aName) noexcept
{
    const auto found = entries().find(aName);
    return found != entries().end() ? found->second.maker : nullptr;
}

std::map<std::string, long> ktstd_Schema::NewestVersions()
{
    std::map<std::string, long> versions;
    for (const auto& [name, entry] : entries()) {
        versions.emplace_hint(versions.end(), name, entry.newest);
    }
    return versions;
}

ktstd_SchemaEntry::ktstd_SchemaEntry(const char* aName, long aNewest,
                                     ktstd_Schema::Maker aMaker) noexcept
    : mName(aName)
{
    try {
        mIsRegistered = ktstd_Schema::Register(aName, aNewest, aMaker);
    } catch (...) {
        mIsRegistered = 0; // no memory: the class is unknown to archives, which say so
    }
}

ktstd_SchemaEntry::~ktstd_SchemaEntry()
{
    if (mIsRegistered != 0) {
        ktstd_Schema::Unregister(mName);
    }
}
