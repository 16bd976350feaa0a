//! @file
//! Frame of the archive records of classes: version check in front when loading, end marker behind.
#pragma once

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_ArchiveRoom_detail.h"
#include "ktstd/ktstd_Schema.h"

#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

#if defined(__BYTE_ORDER__) && defined(__ORDER_LITTLE_ENDIAN__)
#if __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "coordinates are stored as they lie in memory, which must be little-endian"
#endif
#endif

namespace ktmdl_detail {

constexpr long kFirstFormatWithMarkers = 16;

static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8,
              "coordinates are stored as 64-bit IEEE 754 numbers");

//! A class that has records, and where its version was found good last.
struct RecordClass
{
    //! Tells whether the version is known to be good in the archive, which is the one being read.
    [[nodiscard]] bool IsGoodIn(const ktstd_Archive& aArchive) const noexcept
    {
        return archive == &aArchive && epoch == ktstd_Schema::Epoch();
    }

    const char* name{nullptr};
    const ktstd_Archive* archive{nullptr};
    unsigned long long epoch{0}; //!< of the schema then
};

//! Looks the version of a class up in a loading archive, and notes that it is good.
//! @throws ktstd_fail_FileIO  code 16: the version is negative or above the newest one known
void CheckClassVersion(const ktstd_Archive& aArchive, RecordClass& aClass);
//! Does what EndRecord promises for any archive.
void EndRecordAnew(ktstd_Archive& aArchive, const RecordClass& aClass);

//! Starts a record; in a loading archive the version of the class is checked.
//! @return                    whether the archive is storing
//! @throws ktstd_fail_FileIO  code 16: the version is negative or above the newest one known
inline bool BeginRecord(ktstd_Archive& aArchive, RecordClass& aClass)
{
    if (ktstd_detail::ArchiveRoom::Of(aArchive).isStoring) {
        return true;
    }
    if (!aClass.IsGoodIn(aArchive)) {
        CheckClassVersion(aArchive, aClass);
    }
    return false;
}

//! Writes the end marker of a record, or reads and checks it. In archives before format 16 none is
//! read.
//! @throws ktstd_fail_FileIO  code 17: something else stands there
inline void EndRecord(ktstd_Archive& aArchive, const RecordClass& aClass)
{
    ktstd_detail::ArchiveRoom& room = ktstd_detail::ArchiveRoom::Of(aArchive);
    if (room.ToStore() >= sizeof(EOC)) {
        room.Put(&EOC, sizeof(EOC));
    } else {
        EndRecordAnew(aArchive, aClass);
    }
}

//! Stores or loads the whole record of a class whose fields are numbers. When loading fails, the
//! fields are as they were, but when only the end marker is missing.
template <class... Fields>
void SerializeRecord(ktstd_Archive& aArchive, RecordClass& aClass, Fields&... aFields)
{
    static_assert((std::is_trivially_copyable_v<Fields> && ...));
    constexpr std::size_t kFields = (sizeof(Fields) + ...);
    constexpr std::size_t kRecord = kFields + sizeof(EOC);
    const auto putFields = [&](unsigned char* to) {
        ((std::memcpy(to, &aFields, sizeof(Fields)), to += sizeof(Fields)), ...);
    };
    const auto getFields = [&](const unsigned char* from) {
        ((std::memcpy(&aFields, from, sizeof(Fields)), from += sizeof(Fields)), ...);
    };

    ktstd_detail::ArchiveRoom& room = ktstd_detail::ArchiveRoom::Of(aArchive);
    if (room.ToStore() >= kRecord) {
        putFields(room.put);
        std::memcpy(room.put + kFields, &EOC, sizeof(EOC));
        room.put += kRecord;
        return;
    }
    if (room.ToLoad() >= kRecord && room.formatVersion >= kFirstFormatWithMarkers &&
        aClass.IsGoodIn(aArchive) && std::memcmp(room.get + kFields, &EOC, sizeof(EOC)) == 0) {
        getFields(room.get);
        room.get += kRecord;
        return;
    }

    unsigned char fields[kFields];
    if (BeginRecord(aArchive, aClass)) {
        putFields(fields);
        aArchive.Write(fields, sizeof(fields));
    } else {
        aArchive.Read(fields, sizeof(fields));
        getFields(fields);
    }
    EndRecord(aArchive, aClass);
}

} // namespace ktmdl_detail
