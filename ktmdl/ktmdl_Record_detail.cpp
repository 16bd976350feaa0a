#include "ktmdl/ktmdl_Record_detail.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_fail.h"

#include <cstdint>
#include <ostream>

namespace ktmdl_detail {

namespace {

//! A class whose version was found good.
struct Accepted
{
    const char* name;         //!< compared by its address
    unsigned long long epoch; //!< of the schema then
};

//! Gives the place where the last good class of a few is noted.
Accepted& acceptedLast(const char* aName) noexcept
{
    static Accepted sAccepted[16] = {};
    return sAccepted[(reinterpret_cast<std::uintptr_t>(aName) >> 4) % 16];
}

} // namespace

void CheckClassVersion(const char* aName)
{
    Accepted& accepted = acceptedLast(aName);
    if (accepted.name == aName && accepted.epoch == ktstd_Schema::Epoch()) {
        return;
    }
    const ktstd_AsciiString name(aName);
    const long version = ktstd_Schema::ClassVersion(name);
    if (version < 0 || version > ktstd_Schema::LastClassVersion(name)) {
        ktstd_detail::FailureText text;
        text << aName << ": bad class version [" << version << "]" << std::ends;
        ktstd_fail_FileIO::Raise(text, ktstd_fail_FileIO::kBadClassVersion);
    }
    accepted = {aName, ktstd_Schema::Epoch()};
}

void EndOfClass(ktstd_Archive& aArchive, const char* aName)
{
    constexpr long kFirstFormatWithMarkers = 16;
    const auto expected = static_cast<unsigned short>(EOC);
    if (aArchive.IsStoring() != 0) {
        aArchive << expected;
        return;
    }
    // Kept for data written before format 16, whose records end right after their last field.
    if (aArchive.FormatVersion() < kFirstFormatWithMarkers) {
        return;
    }
    unsigned short found = 0;
    aArchive >> found;
    if (found != expected) {
        ktstd_detail::FailureText text;
        text << aName << ": expected end of class" << std::ends;
        ktstd_fail_FileIO::Raise(text, ktstd_fail_FileIO::kMissingEndOfClass);
    }
}

} // namespace ktmdl_detail
