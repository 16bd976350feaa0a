//! @file
//! The objects of an archive, and which number each has.
#pragma once

#include "ktstd/ktstd_Handle.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ktstd_detail {

//! Objects numbered 1, 2, ... in the order in which they came, and let go of from the last one on.
//!
//! The numbers stand in a table by their objects' addresses, each at the first free place from its
//! own on. Because the last number is always the first to go, emptying its place is enough.
class ObjectNumbers
{
public:
    [[nodiscard]] std::size_t Size() const noexcept { return mObjects.size(); }
    [[nodiscard]] const Hnd_ktstd_Transient& Object(std::uint32_t aNumber) const noexcept
    {
        return mObjects[aNumber - 1];
    }
    [[nodiscard]] const Hnd_ktstd_Transient& Last() const noexcept { return mObjects.back(); }
    //! Gives the number of an object that AddNumbered added; 0 for another.
    [[nodiscard]] std::uint32_t NumberOf(const ktstd_Transient& aObject) const noexcept
    {
        return mPlaces.empty() ? 0 : mPlaces[placeOf(aObject)];
    }
    //! Adds an object, whose number nobody will ask for.
    void Add(const Hnd_ktstd_Transient& aObject) { mObjects.push_back(aObject); }
    //! Adds an object. All objects are added in the same way.
    //! @throws std::bad_alloc  nothing has changed
    void AddNumbered(const Hnd_ktstd_Transient& aObject)
    {
        if (2 * (mObjects.size() + 1) > mPlaces.size()) {
            widen();
        }
        mObjects.push_back(aObject);
        mPlaces[placeOf(*aObject)] = static_cast<std::uint32_t>(mObjects.size());
    }
    //! Lets go of objects from the last one on, so that those that hold others go before them.
    void Drop(std::size_t aKept) noexcept
    {
        if (aKept == 0) {
            mPlaces.clear();
        }
        while (mObjects.size() > aKept) {
            if (!mPlaces.empty()) {
                mPlaces[placeOf(*mObjects.back())] = 0;
            }
            mObjects.pop_back();
        }
    }

private:
    static constexpr std::size_t kFirstPlaces = 16;

    //! Gives the place of an object's number, or the one where it would be put.
    [[nodiscard]] std::size_t placeOf(const ktstd_Transient& aObject) const noexcept
    {
        const std::size_t last = mPlaces.size() - 1; // all bits set
        std::size_t place = (reinterpret_cast<std::uintptr_t>(&aObject) * kSpread >> 20U) & last;
        while (mPlaces[place] != 0 && &*mObjects[mPlaces[place] - 1] != &aObject) {
            place = (place + 1) & last;
        }
        return place;
    }
    void widen()
    {
        std::vector<std::uint32_t> wider(mPlaces.empty() ? kFirstPlaces : 2 * mPlaces.size());
        mPlaces.swap(wider);
        for (std::size_t i = 0; i < mObjects.size(); ++i) {
            mPlaces[placeOf(*mObjects[i])] = static_cast<std::uint32_t>(i + 1);
        }
    }

    static constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15U; //!< 2^64 over the golden ratio

    std::vector<Hnd_ktstd_Transient> mObjects;
    std::vector<std::uint32_t> mPlaces; //!< 0 where free; as many as a power of two
};

} // namespace ktstd_detail
