#include "ktmdl/ktmdl_Record_detail.h"

#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_fail.h"

#include <ostream>

namespace ktmdl_detail {

void CheckClassVersion(const ktstd_Archive& aArchive, RecordClass& aClass)
{
    static_cast<void>(aArchive.IsStoring()); // who asks a loading archive is reading it
    const ktstd_AsciiString name(aClass.name);
    const long version = ktstd_Schema::ClassVersion(name);
    if (version < 0 || version > ktstd_Schema::LastClassVersion(name)) {
        ktstd_detail::FailureText text;
        text << aClass.name << ": bad class version [" << version << "]" << std::ends;
        ktstd_fail_FileIO::Raise(text, ktstd_fail_FileIO::kBadClassVersion);
    }
    aClass.archive = &aArchive;
    aClass.epoch = ktstd_Schema::Epoch();
}

void EndRecordAnew(ktstd_Archive& aArchive, const RecordClass& aClass)
{
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
        text << aClass.name << ": expected end of class" << std::ends;
        ktstd_fail_FileIO::Raise(text, ktstd_fail_FileIO::kMissingEndOfClass);
    }
}

} // namespace ktmdl_detail
