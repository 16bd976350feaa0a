//! @file
//! Register of the persistent classes: name, newest version, and how an object is made.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_Handle.h"

#include <map>
#include <string>
#include <string_view>

class ktstd_Archive;
class ktstd_AsciiString;

//! The persistent classes of the program. Each registers itself once, with a ktstd_SchemaEntry.
class KTSTD_EXPORT ktstd_Schema
{
public:
    //! Makes an empty object, whose Serialize then loads its content.
    using Maker = Hnd_ktstd_Transient (*)();

    //! Enters a class.
    //! @param aName     class name, 1 to 255 bytes; for shared objects that of the type descriptor
    //! @param aNewest   newest version that the program reads and the one it writes; at least 0
    //! @param aMaker    null for a class that is only stored by value
    //! @return         1; 0, and nothing changes, when the class is there already, or an argument
    //!                 is none of the above
    static unsigned char Register(const char* aName, long aNewest, Maker aMaker);
    //! Takes a class out; gives 1 when it was there.
    static unsigned char Unregister(const char* aName) noexcept;

    //! Gives the version of a class in the archive being read: the loading archive that was asked
    //! for its mode, or read from, most recently and is still alive. -1 when the class is not in
    //! that archive's table. While no archive is being read, the same as LastClassVersion.
    [[nodiscard]] static long ClassVersion(const ktstd_AsciiString& aName);
    //! Gives the newest version of a class that the program accepts; -1 when it doesn't know the
    //! class.
    [[nodiscard]] static long LastClassVersion(const ktstd_AsciiString& aName);

    //! Makes an empty object of a class.
    //! @return  null when the class is unknown or only stored by value
    [[nodiscard]] static Hnd_ktstd_Transient Make(const std::string& aName);
    //! Tells whether objects of a class can be made: 1 or 0.
    [[nodiscard]] static unsigned char CanMake(const std::string& aName);
    //! Gives a number that changes whenever ClassVersion or LastClassVersion may answer otherwise
    //! than before, so that their answers can be kept as long as it stays.
    [[nodiscard]] static unsigned long long Epoch() noexcept { return sEpoch; }
    //! Gives all classes with their newest versions.
    [[nodiscard]] static std::map<std::string, long> NewestVersions();

private:
    friend class ktstd_Archive;

    //! Gives how objects of a class are made; null when they can't be.
    [[nodiscard]] static Maker MakerOf(std::string_view aName) noexcept;
    //! Tells which archive is being read; null for none.
    static void SetArchiveBeingRead(const ktstd_Archive* aArchive) noexcept
    {
        if (sArchiveBeingRead != aArchive) {
            ++sEpoch;
            sArchiveBeingRead = aArchive;
        }
    }
    //! Forgets an archive that ends.
    static void ForgetArchive(const ktstd_Archive* aArchive) noexcept
    {
        if (sArchiveBeingRead == aArchive) {
            SetArchiveBeingRead(nullptr);
        }
    }

    static const ktstd_Archive* sArchiveBeingRead;
    static unsigned long long sEpoch;
};

//! Registers a class for as long as it lives: one static object in the class's source,
//! const ktstd_SchemaEntry schemaEntry("ktmdl_Topo", 0, makeTopo);
class KTSTD_EXPORT ktstd_SchemaEntry
{
public:
    //! As ktstd_Schema::Register. A class that is there already stays as it is.
    explicit ktstd_SchemaEntry(const char* aName, long aNewest = 0,
                               ktstd_Schema::Maker aMaker = nullptr) noexcept;
    ktstd_SchemaEntry(const ktstd_SchemaEntry&) = delete;
    ktstd_SchemaEntry& operator=(const ktstd_SchemaEntry&) = delete;
    ~ktstd_SchemaEntry();

    //! Gives 1 when this entry registered the class, else 0.
    [[nodiscard]] unsigned char IsRegistered() const noexcept { return mIsRegistered; }

private:
    const char* mName; //!< borrowed; a literal
    unsigned char mIsRegistered{0};
};
