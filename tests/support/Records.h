//! @file
//! Records in archives: bytes as they must stand there, written without the library, and archives
//! made of such bytes.
#pragma once

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace kt_test {

using Bytes = std::vector<unsigned char>;

//! An end marker of a record, or the place where a class's version is first asked for.
struct RecordPlace
{
    std::string className;
    std::size_t offset;
};

//! An object that is stored by reference: where its content lies in the data.
struct RecordObject
{
    std::string className;
    std::size_t offset;
    std::size_t length;
};

//! The bytes of a record, put together number by number, lowest byte first.
class RecordBytes
{
public:
    explicit RecordBytes(bool aHasMarkers = true) : mHasMarkers(aHasMarkers) {}

    RecordBytes& u8(unsigned aValue)
    {
        mBytes.push_back(static_cast<unsigned char>(aValue));
        return *this;
    }
    RecordBytes& u16(unsigned aValue) { return u8(aValue & 0xFFU).u8(aValue >> 8U & 0xFFU); }
    RecordBytes& u32(std::uint32_t aValue)
    {
        return u16(aValue & 0xFFFFU).u16(aValue >> 16U & 0xFFFFU);
    }
    RecordBytes& u64(std::uint64_t aValue)
    {
        return u32(static_cast<std::uint32_t>(aValue & 0xFFFFFFFFU))
            .u32(static_cast<std::uint32_t>(aValue >> 32U));
    }
    RecordBytes& f64(double aValue)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &aValue, sizeof bits);
        return u64(bits);
    }
    RecordBytes& text(const std::string& aText)
    {
        mBytes.insert(mBytes.end(), aText.begin(), aText.end());
        return *this;
    }
    //! Notes that here, before the class's own fields, its version is asked for.
    RecordBytes& version(const char* aClass)
    {
        mVersions.push_back({aClass, mBytes.size()});
        return *this;
    }
    //! Ends the record of a class; without markers nothing stands there.
    RecordBytes& end(const char* aClass)
    {
        if (mHasMarkers) {
            mMarkers.push_back({aClass, mBytes.size()});
            u16(static_cast<unsigned short>(EOC));
        }
        return *this;
    }
    //! A complete record of two coordinates.
    RecordBytes& data2d(double aX, double aY)
    {
        return version("ktmdl_Data2d").f64(aX).f64(aY).end("ktmdl_Data2d");
    }
    //! A complete record of three coordinates.
    RecordBytes& data3d(double aX, double aY, double aZ)
    {
        return version("ktmdl_Data3d").f64(aX).f64(aY).f64(aZ).end("ktmdl_Data3d");
    }

    //! The first reference to a new object: the next number (1, 2, ...) and the class; its content
    //! follows, up to endObject with the number.
    std::uint32_t beginObject(const std::string& aClass)
    {
        const std::size_t number = mObjects.size() + 1;
        u32(static_cast<std::uint32_t>(number)).u8(static_cast<unsigned>(aClass.size()));
        text(aClass);
        mObjects.push_back({aClass, mBytes.size(), 0});
        return static_cast<std::uint32_t>(number);
    }
    RecordBytes& endObject(std::uint32_t aNumber)
    {
        RecordObject& object = mObjects.at(aNumber - 1);
        object.length = mBytes.size() - object.offset;
        return *this;
    }

    [[nodiscard]] const Bytes& bytes() const { return mBytes; }
    [[nodiscard]] const std::vector<RecordObject>& objects() const { return mObjects; }
    [[nodiscard]] const std::vector<RecordPlace>& markers() const { return mMarkers; }
    //! First place of each class only: there a bad version is found.
    [[nodiscard]] std::map<std::string, std::size_t> versions() const
    {
        std::map<std::string, std::size_t> first;
        for (const RecordPlace& place : mVersions) {
            first.emplace(place.className, place.offset);
        }
        return first;
    }

private:
    bool mHasMarkers;
    Bytes mBytes;
    std::vector<RecordObject> mObjects;
    std::vector<RecordPlace> mMarkers;
    std::vector<RecordPlace> mVersions;
};

//! A complete archive that holds the bytes and nothing else.
inline Bytes archiveHolding(const Bytes& aData, long aFormat = 16,
                            const std::map<std::string, long>& aVersions = {})
{
    ktstd_Archive archive(aFormat);
    for (const auto& [name, version] : aVersions) {
        archive.SetClassVersion(ktstd_AsciiString(name.c_str()), version);
    }
    archive.Write(aData.data(), static_cast<long>(aData.size()));
    return archive.Finish();
}

//! The bytes that a call stores.
template <class Store>
Bytes dataOf(Store&& aStore, long aFormat = 16)
{
    ktstd_Archive archive(aFormat);
    aStore(archive);
    ktstd_Archive loading(archive.Finish());
    Bytes data(static_cast<std::size_t>(loading.Remaining()));
    if (!data.empty()) {
        loading.Read(data.data(), static_cast<long>(data.size()));
    }
    return data;
}

//! The bytes that an object stores of itself.
template <class Object>
Bytes recordOf(Object& aObject, long aFormat = 16)
{
    return dataOf([&](ktstd_Archive& aArchive) { aObject.Serialize(aArchive); }, aFormat);
}

} // namespace kt_test
