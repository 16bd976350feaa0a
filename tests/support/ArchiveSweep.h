//! @file
//! Archives cut, flipped and overwritten at every place in turn: each must load or be refused with
//! ktstd_fail_FileIO that names a byte.
#pragma once

#include "support/ArchiveChanges.h"
#include "support/Failures.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <fstream>
#include <functional>
#include <string>

namespace kt_test {

//! Gives the front of an archive with a trailer that fits it: no objects in the directory.
inline Bytes cutWithTrailer(const Bytes& aArchive, std::size_t aSize)
{
    Bytes cut(aArchive.begin(), aArchive.begin() + static_cast<std::ptrdiff_t>(aSize));
    cut.insert(cut.end(), aArchive.end() - 32, aArchive.end());
    overwrite(cut, aSize, aSize, 8);
    overwrite(cut, aSize + 8, 0, 4);
    overwrite(cut, aSize + 12, cut.size(), 8);
    return withChecksum(cut);
}

//! Loads archives and counts what becomes of them.
class ArchiveSweep
{
public:
    //! @param aLoad  loads all that the archive holds
    explicit ArchiveSweep(std::function<void(const Bytes&)> aLoad) : mLoad(std::move(aLoad)) {}

    //! Loads an archive. Fails the test, with the name given, for whatever is neither success nor
    //! the failure that there may be.
    template <class Name>
    void Try(const Bytes& aArchive, Name&& aName)
    {
        std::string wrong;
        try {
            mLoad(aArchive);
            ++mLoaded;
        } catch (const Hnd_ktstd_fail_FileIO& failure) {
            ++mRefused;
            if (!namesItsPlace(*failure, aArchive.size())) {
                wrong = std::string("no place: ") + failure->Message();
            }
        } catch (const Hnd_ktstd_fail_Failure& failure) {
            wrong = std::string(failure->ClassName()) + ": " + failure->Message();
        } catch (const std::exception& exception) {
            wrong = exception.what();
        }
        if (!wrong.empty() && ++mWrong <= 10) {
            ADD_FAILURE() << aName() << ": " << wrong;
        }
    }

    //! Cuts at each byte: the archive is never complete.
    void CutEverywhere(const Bytes& aArchive)
    {
        for (std::size_t size = 0; size < aArchive.size(); ++size) {
            Try(Bytes(aArchive.begin(), aArchive.begin() + static_cast<std::ptrdiff_t>(size)),
                [&] { return "cut at " + std::to_string(size); });
        }
    }
    //! Cuts at each byte from the class table on and puts a right trailer behind.
    void CutUnderRightTrailer(const Bytes& aArchive)
    {
        for (std::size_t size = 16; size <= aArchive.size() - 32; ++size) {
            Try(cutWithTrailer(aArchive, size),
                [&] { return "cut at " + std::to_string(size) + " with a trailer"; });
        }
    }
    //! Flips each bit.
    //! @param aSeal  makes the checksum right again
    void FlipEachBit(const Bytes& aArchive, bool aSeal)
    {
        Bytes changed = aArchive;
        for (std::size_t bit = 0; bit < 8 * aArchive.size(); ++bit) {
            const auto mask = static_cast<unsigned char>(1U << (bit % 8));
            changed[bit / 8] = static_cast<unsigned char>(changed[bit / 8] ^ mask);
            Try(aSeal ? withChecksum(changed) : changed,
                [&] { return "bit " + std::to_string(bit) + (aSeal ? ", sealed" : ""); });
            changed[bit / 8] = aArchive[bit / 8];
        }
    }
    //! Puts the least and largest counts, lengths and references at every place, in 2, 4 and 8
    //! bytes, under a right checksum.
    void OverwriteNumbers(const Bytes& aArchive)
    {
        struct Number
        {
            std::uint64_t value;
            std::size_t size;
        };
        const Number numbers[] = {{0x7FFF, 2},     {0xFFFF, 2},     {0, 4},          {1, 4},
                                  {0x7FFFFFFF, 4}, {0x80000000, 4}, {0xFFFFFFFF, 4}, {0, 8},
                                  {~0ULL >> 1, 8}, {~0ULL, 8}};
        for (std::size_t at = 0; at + 12 < aArchive.size(); ++at) {
            for (const Number& number : numbers) {
                if (at + number.size > aArchive.size()) {
                    continue;
                }
                Bytes changed = aArchive;
                overwrite(changed, at, number.value, number.size);
                Try(withChecksum(changed), [&] {
                    return std::to_string(number.value) + " in " + std::to_string(number.size) +
                           " bytes at " + std::to_string(at);
                });
            }
        }
    }

    [[nodiscard]] long Loaded() const noexcept { return mLoaded; }
    [[nodiscard]] long Refused() const noexcept { return mRefused; }

private:
    std::function<void(const Bytes&)> mLoad;
    long mLoaded{0};
    long mRefused{0};
    long mWrong{0};
};

//! Measures the most memory that the process takes while this lives, beyond what it had before.
class PeakMemory
{
public:
    PeakMemory()
    {
        std::ofstream("/proc/self/clear_refs") << "5"; // starts measuring anew
        mBefore = read();
    }
    //! Fails the test when an archive took more than 64 MiB and four times its size. Where memory
    //! can't be measured, or isn't given back at once for checking, nothing is checked.
    void ExpectBelowLimit(std::size_t aFileSize) const
    {
        if (mBefore == 0) {
            return;
        }
        const std::size_t most = read();
        EXPECT_LE(most - std::min(mBefore, most), (std::size_t{64} << 20) + 4 * aFileSize);
    }

private:
    //! Gives the peak in bytes; 0 when it isn't known.
    static std::size_t read()
    {
#if defined(__SANITIZE_ADDRESS__)
        return 0;
#else
#if defined(__has_feature)
        if (__has_feature(address_sanitizer)) {
            return 0;
        }
#endif
        std::ifstream status("/proc/self/status");
        std::string word;
        std::size_t kibibytes = 0;
        while (status >> word) {
            if (word == "VmHWM:" && status >> kibibytes) {
                return kibibytes * 1024;
            }
        }
        return 0;
#endif
    }

    std::size_t mBefore{0};
};

} // namespace kt_test
