//! @file
//! The bytes of an archive that can be stored or loaded next without a call into the library.
#pragma once

#include "ktstd/ktstd_Archive.h"

#include <cstddef>
#include <cstring>

namespace ktstd_detail {

//! Room for what is stored next, or what is left to load. What doesn't fit is the operations' of
//! ktstd_Archive: they make more room or say what is wrong.
struct ArchiveRoom
{
    static ArchiveRoom& Of(ktstd_Archive& aArchive) noexcept { return *aArchive.mRoom; }

    [[nodiscard]] std::size_t ToStore() const noexcept
    {
        return static_cast<std::size_t>(putEnd - put);
    }
    [[nodiscard]] std::size_t ToLoad() const noexcept
    {
        return static_cast<std::size_t>(getEnd - get);
    }
    //! Stores bytes that fit.
    //! @param aSize  above 0
    void Put(const void* aData, std::size_t aSize) noexcept
    {
        std::memcpy(put, aData, aSize);
        put += aSize;
    }

    bool isStoring{true};
    long formatVersion{ktstd_Archive::kNewestFormat};
    unsigned char* put{nullptr};          //!< place of the next byte stored
    unsigned char* putEnd{nullptr};       //!< end of the room; no room when nothing can be stored
    const unsigned char* get{nullptr};    //!< next byte loaded
    const unsigned char* getEnd{nullptr}; //!< end of the data; nothing is left in a storing archive
};

} // namespace ktstd_detail
