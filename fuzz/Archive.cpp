#include "Targets.h"
#include "support/ArchiveChanges.h"
#include "support/ArchiveRoots.h"

namespace kt_fuzz {
namespace {

using kt_test::ArchiveRoot;
using kt_test::ArchiveRootKind;
using kt_test::Bytes;
using kt_test::KeptModelObjects;

constexpr std::size_t kTrailer = 32;
constexpr std::size_t kChecksum = 12; //!< from the end

//! Gives the bytes as an archive whose end mark, length and checksum are right.
//! @param aHasDirectory  leaves the directory. It fits no more as soon as bytes go or come before
//!                       it, and with it alone the records would be reached by hardly any input.
Bytes asArchive(Bytes aBytes, bool aHasDirectory)
{
    const std::size_t size = aBytes.size();
    if (!aHasDirectory) {
        kt_test::overwrite(aBytes, size - kTrailer, size - kTrailer, 8);
        kt_test::overwrite(aBytes, size - kTrailer + 8, 0, 4);
    }
    std::copy(kt_test::kArchiveEnd.begin(), kt_test::kArchiveEnd.end(), aBytes.end() - 8);
    kt_test::overwrite(aBytes, size - 20, size, 8);
    return kt_test::withChecksum(std::move(aBytes));
}

//! An input: an archive, and the kind of thing to load it as.
struct Input
{
    Bytes bytes;
    const ArchiveRootKind* kind;
};

//! Takes an input apart. The checksum that it brings isn't needed: its first byte tells the kind of
//! thing, twice each, with the directory and without.
Input inputOf(const unsigned char* aBytes, std::size_t aSize)
{
    const Bytes bytes(aBytes, aBytes + aSize);
    if (aSize < 16 + kTrailer) {
        return {bytes, std::begin(kt_test::kArchiveRootKinds)};
    }
    const std::size_t kind = bytes[aSize - kChecksum] / 2U % std::size(kt_test::kArchiveRootKinds);
    const bool hasDirectory = bytes[aSize - kChecksum] % 2 == 0;
    return {asArchive(bytes, hasDirectory), &kt_test::kArchiveRootKinds[kind]};
}

//! Calls a function, which may raise a failure of the one class that says where.
//! @return  whether it raised nothing
template <class Call>
bool loads(const Bytes& aBytes, Call&& aCall)
{
    try {
        aCall();
        return true;
    } catch (const Hnd_ktstd_fail_FileIO& failure) {
        require(kt_test::namesItsPlace(*failure, aBytes.size()),
                std::string("no place: ") + failure->Message());
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        require(false, std::string(failure->ClassName()) + ": " + failure->Message());
    }
    return false;
}

//! Gives the parts of a thing; none when it is nested too deeply to be stored, as a set whose order
//! is not that of the archive may be.
std::vector<Bytes> partsOf(ArchiveRoot& aRoot)
{
    try {
        return aRoot.Parts();
    } catch (const Hnd_ktstd_fail_FileIO& failure) {
        require(failure->Code() == ktstd_fail_FileIO::kTooDeep,
                std::string("not stored: ") + failure->Message());
        return {};
    }
}

void checkRoundTrip(const Input& aInput)
{
    const std::unique_ptr<ArchiveRoot> first = aInput.kind->make();
    const bool isLoaded = loads(aInput.bytes, [&] {
        ktstd_Archive archive{Bytes(aInput.bytes)};
        first->Transfer(archive);
    });
    if (!isLoaded) {
        return;
    }
    const std::vector<Bytes> parts = partsOf(*first);
    ktstd_Archive stored;
    try {
        first->Transfer(stored);
    } catch (const Hnd_ktstd_fail_FileIO& failure) {
        require(failure->Code() == ktstd_fail_FileIO::kTooDeep,
                std::string("not stored: ") + failure->Message());
        return;
    }
    const Bytes bytes = stored.Finish();
    const std::unique_ptr<ArchiveRoot> second = aInput.kind->make();
    require(loads(bytes,
                  [&] {
                      ktstd_Archive archive{Bytes(bytes)};
                      second->Transfer(archive);
                      require(archive.Remaining() == 0, "not all was loaded again");
                  }),
            "what was stored is refused");
    require(partsOf(*second) == parts, "what was loaded again differs");
}

} // namespace

void archiveLoad(const unsigned char* aBytes, std::size_t aSize)
{
    const Input input = inputOf(aBytes, aSize);
    KeptModelObjects kept;
    loads(input.bytes, [&] {
        ktstd_Archive archive{Bytes(input.bytes)};
        for (const ktstd_ArchiveObject& object : archive.Objects()) {
            require(object.offset + object.length <= input.bytes.size(), "object outside");
        }
        const std::unique_ptr<ArchiveRoot> root = input.kind->make();
        do {
            root->Transfer(archive);
        } while (archive.Remaining() != 0);
    });
}

void archiveRoundTrip(const unsigned char* aBytes, std::size_t aSize)
{
    const Input input = inputOf(aBytes, aSize);
    KeptModelObjects kept;
    checkRoundTrip(input);
}

} // namespace kt_fuzz
