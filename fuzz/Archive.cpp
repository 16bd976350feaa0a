#include "Targets.h"
#include "support/ArchiveChanges.h"
#include "support/ArchiveRoots.h"

namespace kt_fuzz {
namespace {

using kt_test::ArchiveRoot;
using kt_test::ArchiveRootKind;
using kt_test::Bytes;
using kt_test::KeptModelObjects;

//! Gives the bytes as an archive whose end mark, length and checksum are right.
Bytes asArchive(const unsigned char* aBytes, std::size_t aSize)
{
    Bytes bytes(aBytes, aBytes + aSize);
    constexpr std::size_t kShortest = 48;
    if (aSize < kShortest) {
        return bytes;
    }
    std::copy(kt_test::kArchiveEnd.begin(), kt_test::kArchiveEnd.end(), bytes.end() - 8);
    kt_test::overwrite(bytes, aSize - 20, aSize, 8);
    return kt_test::withChecksum(bytes);
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

void checkRoundTrip(const Bytes& aBytes, const ArchiveRootKind& aKind)
{
    const std::unique_ptr<ArchiveRoot> first = aKind.make();
    const bool isLoaded = loads(aBytes, [&] {
        ktstd_Archive archive{Bytes(aBytes)};
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
    const std::unique_ptr<ArchiveRoot> second = aKind.make();
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
    const Bytes bytes = asArchive(aBytes, aSize);
    KeptModelObjects kept;
    for (const ArchiveRootKind& kind : kt_test::kArchiveRootKinds) {
        loads(bytes, [&] {
            ktstd_Archive archive{Bytes(bytes)};
            for (const ktstd_ArchiveObject& object : archive.Objects()) {
                require(object.offset + object.length <= bytes.size(), "object outside");
            }
            const std::unique_ptr<ArchiveRoot> root = kind.make();
            do {
                root->Transfer(archive);
            } while (archive.Remaining() != 0);
        });
        kept.Release();
    }
}

void archiveRoundTrip(const unsigned char* aBytes, std::size_t aSize)
{
    const Bytes bytes = asArchive(aBytes, aSize);
    KeptModelObjects kept;
    for (const ArchiveRootKind& kind : kt_test::kArchiveRootKinds) {
        checkRoundTrip(bytes, kind);
        kept.Release();
    }
}

} // namespace kt_fuzz
