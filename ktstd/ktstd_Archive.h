//! @file
//! Binary archive of values and shared objects, stored to memory or a file and loaded from it.
//! docs/archive-format.md describes the bytes.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_Handle.h"
#include "ktstd/ktstd_Type.h"

#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

class ktstd_AsciiString;
namespace ktstd_detail {
struct ArchiveRoom;
} // namespace ktstd_detail

//! End-of-class marker: the value with which each record of a class ends.
extern KTSTD_EXPORT const short EOC;

//! An entry of an archive's directory: one object that is stored by reference.
struct ktstd_ArchiveObject
{
    unsigned long number{0};      //!< 1 for the first object of the archive, and so on
    std::string className;        //!< as registered in the schema
    unsigned long long offset{0}; //!< file offset of the object's first content byte
    unsigned long long length{0}; //!< bytes of content, objects first stored inside included
};

//! A binary archive that is either storing or loading; which one is settled when it is made.
//!
//! - A storing archive collects bytes in memory; Finish completes them, Save writes them to a file.
//! - A loading archive checks the whole file (length, checksum, directory) before anything is read.
//!   It believes nothing that it reads: what can't be raises ktstd_fail_FileIO, which says what is
//!   wrong and at which byte. Reading never takes memory for more than the archive still holds.
//! - Shared objects are stored once, at the first reference; later references give the same object.
//!   References may form cycles, which are the program's to untie. Up to kMaxDepth objects may be
//!   stored one inside the other.
//! - An archive holds a handle on every object that went through it until Close or its end.
//! - Numbers are little-endian and of fixed width on every platform; a long takes 4 bytes.
//! Archives are not copied and belong to one thread.
class KTSTD_EXPORT ktstd_Archive
{
public:
    //! Limits; of type long.
    enum : long
    {
        kNewestFormat = 16, //!< format version in which records end with EOC
        kOldestFormat = 15, //!< format version in which records have no end markers
        kMaxDepth = 200     //!< most objects inside one another; fits a stack of 1 MiB
    };

    //! Makes a storing archive of the newest format, with the class versions of the schema.
    ktstd_Archive();
    //! Makes a storing archive.
    //! @param aFormatVersion  15 or 16. The archive only notes it; what is stored into an archive
    //!                        of format 15 must leave out the end markers of its records.
    //! @throws ktstd_fail_FileIO  another format version
    explicit ktstd_Archive(long aFormatVersion);
    //! Makes a loading archive.
    //! @param aBytes  a complete archive; taken
    //! @throws ktstd_fail_FileIO  the bytes are no archive, or not all of one
    explicit ktstd_Archive(std::vector<unsigned char> aBytes);
    //! Makes a loading archive from a file, which is read as a whole.
    //! @param aPath  path in UTF-8
    //! @throws ktstd_fail_FileIO  the file is missing, no plain file, can't be read, or is no
    //!                            complete archive
    [[nodiscard]] static ktstd_Archive FromFile(const char* aPath);
    ktstd_Archive(const ktstd_Archive&) = delete;
    ktstd_Archive& operator=(const ktstd_Archive&) = delete;
    ~ktstd_Archive();

    //! Gives 1 for a storing archive, 0 for a loading one.
    [[nodiscard]] unsigned char IsStoring() const noexcept;
    //! Gives the format version: 15 or 16.
    [[nodiscard]] long FormatVersion() const noexcept;
    //! Gives the version of a class in this archive's table; -1 when the class is not in it.
    [[nodiscard]] long ClassVersion(const ktstd_AsciiString& aName) const;
    //! Gives this archive's table of class versions.
    [[nodiscard]] const std::map<std::string, long>& ClassVersions() const noexcept;
    //! Gives the directory of a loading archive, in the order of the objects' numbers; nothing of
    //! the objects is read. A storing archive gives the objects stored so far, with offsets from
    //! the start of the data.
    [[nodiscard]] std::vector<ktstd_ArchiveObject> Objects() const;
    //! Gives the place of the next read in the file, or of the next write in the data.
    [[nodiscard]] unsigned long long Position() const noexcept;
    //! Gives the bytes of data that a loading archive still has; 0 for a storing one.
    [[nodiscard]] unsigned long long Remaining() const noexcept;

    //! Notes a class version in a storing archive, instead of the schema's. For writing data as an
    //! older program did.
    //! @throws ktstd_fail_FileIO  the archive is loading or finished, or the version doesn't fit 32
    //!                            bits
    void SetClassVersion(const ktstd_AsciiString& aName, long aVersion);
    //! Completes a storing archive; afterwards nothing can be stored. A second call gives the same.
    //! @return                    the bytes; borrowed until the archive ends
    //! @throws ktstd_fail_FileIO  the archive is loading, or an object is being stored
    const std::vector<unsigned char>& Finish();
    //! Completes a storing archive and writes it to a file. The bytes are written beside the
    //! target, flushed to disk and moved over it: whatever fails, the target is either as it was or
    //! complete, and nothing else stays behind. May be called again.
    //! @param aPath  path in UTF-8
    //! @throws ktstd_fail_FileIO  as Finish, or the file can't be written
    void Save(const char* aPath);
    //! Lets go of the objects that went through the archive, the last one first. Later references
    //! to them can't be loaded; a storing archive is finished first.
    void Close();

    //! Stores a block of bytes.
    //! @param aData    may be null when aLength is 0
    //! @param aLength  at least 0
    //! @throws ktstd_fail_FileIO  the archive is not storing, or the length is negative
    void Write(const void* aData, long aLength);
    //! Loads a block of bytes.
    //! @param aData    room for aLength bytes; left as it was when the call fails
    //! @param aLength  at least 0
    //! @return        aLength
    //! @throws ktstd_fail_FileIO  the archive is not loading, the length is negative, or fewer
    //!                            bytes are left
    long Read(void* aData, long aLength);
    //! Stores the number of elements of a collection in 4 bytes. Each element must take at least
    //! one byte of its own.
    //! @throws ktstd_fail_FileIO  the archive is not storing, or the count doesn't fit 32 bits
    void WriteCount(unsigned long aCount);
    //! Loads a number of elements.
    //! @throws ktstd_fail_FileIO  the archive is not loading, or has fewer bytes left than elements
    unsigned long ReadCount();

    //! Stores a number in 4 bytes.
    //! @throws ktstd_fail_FileIO  the number doesn't fit 32 bits (nothing is stored), or the
    //!                            archive is not storing
    ktstd_Archive& operator<<(long aValue);
    ktstd_Archive& operator<<(unsigned short aValue);
    ktstd_Archive& operator<<(unsigned char aValue);
    //! @throws ktstd_fail_FileIO  the archive ends too early, or is not loading
    ktstd_Archive& operator>>(long& aValue);
    ktstd_Archive& operator>>(unsigned short& aValue);
    ktstd_Archive& operator>>(unsigned char& aValue);

    //! Stores a reference to an object: at the first one its class name and content, later its
    //! number. When a failure or another exception passes, the archive is as it was before.
    //! @param aObject  may be null
    //! @throws ktstd_fail_FileIO  the object's class is not in the schema, objects are nested too
    //!                            deeply, or the archive is not storing
    void WriteObject(const Hnd_ktstd_Transient& aObject);
    //! Loads a reference to an object, at the first one with its content. When a failure or another
    //! exception passes, the archive has let go of the objects that were being read.
    //! @param aType  the class that the object must be of or derive from
    //! @return      null when a null handle was stored
    //! @throws ktstd_fail_FileIO  the class is unknown or not the one asked for, the object was not
    //!                            read before, objects are nested too deeply, or the archive is not
    //!                            loading
    [[nodiscard]] Hnd_ktstd_Transient ReadObject(const Hnd_ktstd_Type& aType);

    //! Raises ktstd_fail_FileIO with code kDamaged for what a record found in a loading archive.
    //! @param aWhat  what is wrong, for instance "ktmdl_Topo: key length is negative"; the place
    //!               (archive and byte offset of the next read) is added
    [[noreturn]] void RaiseDamaged(const char* aWhat) const;

private:
    class State;
    friend struct ktstd_detail::ArchiveRoom;

    ktstd_Archive(std::vector<unsigned char> aBytes, std::string aSource);

    std::unique_ptr<State> mState;
    ktstd_detail::ArchiveRoom* mRoom; //!< the part of the state that records reach without a call
};

//! Stores a reference to an object; see ktstd_Archive::WriteObject.
KTSTD_EXPORT ktstd_Archive& operator<<(ktstd_Archive& aArchive, const Hnd_ktstd_Transient& aHandle);
//! Loads a reference to an object of any class; see ktstd_Archive::ReadObject. The handle is left
//! as it was when that fails.
KTSTD_EXPORT ktstd_Archive& operator>>(ktstd_Archive& aArchive, Hnd_ktstd_Transient& aHandle);

//! Loads a reference to an object of the handle's class.
//! @throws ktstd_fail_FileIO  as above, and when the object is of another class
template <class Handle, class = std::enable_if_t<std::is_base_of_v<Hnd_ktstd_Transient, Handle> &&
                                                 !std::is_same_v<Hnd_ktstd_Transient, Handle>>>
ktstd_Archive& operator>>(ktstd_Archive& aArchive, Handle& aHandle)
{
    aHandle = Handle::DownCast(aArchive.ReadObject(Handle::ObjectType::TypeOfClass()));
    return aArchive;
}
