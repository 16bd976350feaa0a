#include "ktmdl/ktmdl_Record_detail.h"

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_fail.h"

#include <ostream>

namespace ktmdl_detail {

void CheckClassVersion(const char* aName)
{
    const ktstd_AsciiString name(aName);
    const long version = ktstd_Schema::ClassVersion(name);
    if (version < 0 || version > ktstd_Schema::LastClassVersion(name)) {
        ktstd_detail::FailureText text;
        text << aName << ": bad class version [" << version << "]" << std::ends;
        ktstd_fail_FileIO::Raise(text, ktstd_fail_FileIO::kBadClassVersion);
    }
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
