// The archive record of a reference: its bytes, and what storing and loading do beside.

#include "com/Com.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

const char* const kSource = "ktmdl_Topo.cpp";

//! Composes bytes as docs/archive-format.md lays them down.
struct Composer
{
    Composer& U8(unsigned aValue)
    {
        bytes.push_back(static_cast<unsigned char>(aValue & 0xFF));
        return *this;
    }
    Composer& U16(unsigned aValue) { return U8(aValue).U8(aValue >> 8); }
    Composer& U32(unsigned aValue) { return U16(aValue).U16(aValue >> 16); }
    Composer& F64(double aValue)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &aValue, sizeof bits);
        return U32(static_cast<unsigned>(bits)).U32(static_cast<unsigned>(bits >> 32));
    }
    Composer& Raw(const Bytes& aBytes)
    {
        bytes.insert(bytes.end(), aBytes.begin(), aBytes.end());
        return *this;
    }
    Composer& Text(const std::string& aText)
    {
        return U32(static_cast<unsigned>(aText.size())).Raw(Bytes(aText.begin(), aText.end()));
    }
    //! An end marker, which data of format 15 doesn't have.
    Composer& End(long aFormat) { return aFormat >= 16 ? U16(0x5AE1) : *this; }
    Composer& Point(const Triple& aPoint, long aFormat)
    {
        return F64(aPoint[0]).F64(aPoint[1]).F64(aPoint[2]).End(aFormat);
    }

    Bytes bytes;
};

const Triple kMin = {-1.5, 2, -0.0};
const Triple kMax = {4, 5e300, 6};

//! The record of a reference with the box from kMin to kMax and two null lists.
Bytes record(const Bytes& aKey, const std::string& aName, long aFormat = 16)
{
    return Composer()
        .U16(static_cast<unsigned>(aKey.size()))
        .Raw(aKey)
        .U8(5)
        .Point(kMin, aFormat)
        .Point(kMax, aFormat)
        .End(aFormat)
        .U8(1)
        .U32(0)
        .U32(0)
        .Text(aName)
        .End(aFormat)
        .bytes;
}

//! Gives an unregistered reference that has this record.
Hnd_ktmdl_Topo withRecord(const Bytes& aKey, const std::string& aName)
{
    Hnd_ktmdl_Topo topo = newTopo(aKey);
    ktmdl_Topo::RemoveFromMap(topo);
    topo->tplType = 5;
    topo->mBBox = ktmdl_BBox3d(kMin[0], kMin[1], kMin[2], kMax[0], kMax[1], kMax[2]);
    topo->mIsSubTopo = 1;
    topo->mDocName = ktstd_AsciiString(aName.c_str());
    return topo;
}

//! The data of an archive, without header, directory and trailer.
Bytes dataOf(ktstd_Archive& aArchive)
{
    const Bytes file = aArchive.Finish();
    const ktstd_Archive reader(file);
    const auto start = file.begin() + static_cast<std::ptrdiff_t>(reader.Position());
    return Bytes(start, start + static_cast<std::ptrdiff_t>(reader.Remaining()));
}

Bytes stored(const Hnd_ktmdl_Topo& aTopo)
{
    ktstd_Archive archive;
    aTopo->Serialize(archive);
    return dataOf(archive);
}

//! A whole archive around some data.
Bytes archiveOf(const Bytes& aData, long aFormat = 16,
                const std::function<void(ktstd_Archive&)>& aPrepare = nullptr)
{
    ktstd_Archive archive(aFormat);
    if (aPrepare) {
        aPrepare(archive);
    }
    archive.Write(aData.data(), static_cast<long>(aData.size()));
    return archive.Finish();
}

Hnd_ktmdl_Topo loaded(const Bytes& aArchive)
{
    ktstd_Archive archive(aArchive);
    Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->Serialize(archive);
    EXPECT_EQ(archive.Remaining(), 0u) << "the record ends at its last field";
    return topo;
}

//! The failure that something raises; null when none.
Hnd_ktstd_fail_FileIO failureOf(const std::function<void()>& aAction)
{
    try {
        aAction();
    } catch (const Hnd_ktstd_fail_FileIO& failure) {
        return failure;
    }
    return Hnd_ktstd_fail_FileIO();
}

Triple minOf(const ktmdl_BBox3d& aBox)
{
    const std::array<double, 6> c = cornersOf(aBox);
    return {c[0], c[1], c[2]};
}

} // namespace

// Storing

TEST(ktmdl_Topo, RecordHasItsFieldsInOrder)
{
    Scene scene;
    EXPECT_EQ(stored(withRecord({1, 2, 250}, "C:\\part")), record({1, 2, 250}, "C:\\part"));
}

TEST(ktmdl_Topo, RecordOfADefaultReferenceIsEmpty)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    const Bytes wanted = Composer()
                             .U16(0)
                             .U8(0)
                             .Point({0, 0, 0}, 16)
                             .Point({0, 0, 0}, 16)
                             .End(16)
                             .U8(0)
                             .U32(0)
                             .U32(0)
                             .Text("")
                             .End(16)
                             .bytes;
    EXPECT_EQ(stored(topo), wanted);
}

TEST(ktmdl_Topo, RecordHoldsTheEdgesBeforeTheFaces)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = withRecord({1}, "n");
    topo->mSubTopos[0] = listOf({});
    topo->mSubTopos[1] = listOf({topo, Hnd_ktmdl_Topo()});
    const auto list = [](Composer& aComposer, unsigned aNumber) -> Composer& {
        const std::string name = "ktmdl_TopoHSeq";
        return aComposer.U32(aNumber)
            .U8(static_cast<unsigned>(name.size()))
            .Raw(Bytes(name.begin(), name.end()));
    };
    // The reference is itself stored by reference, as object 1.
    Composer wanted;
    const std::string name = "ktmdl_Topo";
    wanted.U32(1).U8(static_cast<unsigned>(name.size())).Raw(Bytes(name.begin(), name.end()));
    wanted.U16(1).U8(1).U8(5).Point(kMin, 16).Point(kMax, 16).End(16).U8(1);
    list(wanted, 2).U32(0);               // no edges
    list(wanted, 3).U32(2).U32(1).U32(0); // two faces: the reference itself and null
    wanted.Text("n").End(16);
    ktstd_Archive archive;
    archive << topo;
    EXPECT_EQ(dataOf(archive), wanted.bytes);
    topo->mSubTopos[1].Nullify(); // it holds itself
}

TEST(ktmdl_Topo, StoringLeavesTheReferenceAsItWas)
{
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    fake::Object& document = scene.world.Make("document");
    const Hnd_ktmdl_Topo topo = withRecord({1, 2}, "part");
    topo->mDispTopo = object.Ptr();
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(stored(topo), record({1, 2}, "part")) << "neither object is stored";
    EXPECT_EQ(object.Held(), 1);
    EXPECT_EQ(document.Held(), 1);
    EXPECT_EQ(topo->RefCount(), 1) << "it was not registered";
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, StoringFillsAnEmptyNameWithoutSession)
{
    Scene scene;
    fake::Object& document = scene.Document("doc", L"full", L"short");
    const Hnd_ktmdl_Topo topo = withRecord({1}, "");
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(stored(topo), record({1}, "short"));
    EXPECT_STREQ(topo->mDocName.ToCString(), "short");
    scene.ExpectCalls({"doc.Name?", "doc.get Name()"});
}

TEST(ktmdl_Topo, StoringFillsAnEmptyNameWithSession)
{
    Scene scene;
    (void)beginSession();
    fake::Object& document = scene.Document("doc", L"full", L"short");
    const Hnd_ktmdl_Topo topo = withRecord({1}, "");
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(stored(topo), record({1}, "[full]"));
    EXPECT_STREQ(topo->mDocName.ToCString(), "[full]");
    scene.ExpectCalls({"doc.FullName?", "doc.get FullName()"});
}

TEST(ktmdl_Topo, StoringWithoutDocumentKeepsTheNameEmpty)
{
    Scene scene;
    const BracketSession& session = beginSession();
    EXPECT_EQ(stored(withRecord({1}, "")), record({1}, ""));
    EXPECT_TRUE(session.mAsked.empty());
}

TEST(ktmdl_Topo, StoringRaisesAFailedNameReadAndLogsIt)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    document.Property(L"Name", fake::fails(E_FAIL));
    const Hnd_ktmdl_Topo topo = withRecord({1}, "");
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(codeOf([&] { (void)stored(topo); }), E_FAIL);
    scene.ExpectLog({failedCallForm(kSource, E_FAIL)});
}

TEST(ktmdl_Topo, StoringAKeyThatWasCutWritesWhatIsKept)
{
    Scene scene;
    EXPECT_EQ(stored(withRecord(Bytes(70000, 8), "part")), record(Bytes(4464, 8), "part"));
    EXPECT_EQ(stored(withRecord(Bytes(32767, 8), "part")), record(Bytes(32767, 8), "part"));
}

TEST(ktmdl_Topo, StoringAKeyOfNegativeLengthIsRefusedBeforeAByteIsWritten)
{
    Scene scene;
    fake::Object& document = scene.Document("doc", L"full", L"short");
    for (const std::size_t size : {32768u, 40000u, 65535u}) {
        const Hnd_ktmdl_Topo topo = withRecord(Bytes(size, 8), "");
        topo->mDispDoc = document.Ptr();
        ASSERT_LT(topo->mKeySize, 0);
        ktstd_Archive archive;
        archive << 7L;
        const unsigned long long place = archive.Position();
        const Hnd_ktstd_fail_FileIO failure = failureOf([&] { topo->Serialize(archive); });
        ASSERT_EQ(failure.IsNull(), 0) << size;
        EXPECT_EQ(failure->Code(), ktstd_fail_FileIO::kValueOutOfRange);
        EXPECT_NE(std::string(failure->Message()).find("ktmdl_Topo"), std::string::npos);
        EXPECT_EQ(archive.Position(), place);
    }
}

// Loading

TEST(ktmdl_Topo, LoadingReadsEveryField)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = loaded(archiveOf(record({1, 2, 250}, "C:\\part")));
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2, 250}));
    EXPECT_EQ(topo->tplType, 5);
    EXPECT_EQ(cornersOf(topo->mBBox), corners(kMin, kMax));
    EXPECT_TRUE(std::signbit(minOf(topo->mBBox)[2]));
    EXPECT_EQ(topo->mIsSubTopo, 1);
    EXPECT_EQ(topo->mSubTopos[0].IsNull(), 1);
    EXPECT_EQ(topo->mSubTopos[1].IsNull(), 1);
    EXPECT_STREQ(topo->mDocName.ToCString(), "C:\\part");
}

TEST(ktmdl_Topo, LoadingKeepsTypeAndFlagByteForByte)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = withRecord({1}, "n");
    topo->tplType = 200;
    topo->mIsSubTopo = 7;
    const Hnd_ktmdl_Topo again = loaded(archiveOf(stored(topo)));
    EXPECT_EQ(again->tplType, 200);
    EXPECT_EQ(again->mIsSubTopo, 7);
}

TEST(ktmdl_Topo, LoadingReadsFormat15WithoutMarkers)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = loaded(archiveOf(record({1, 2}, "part", 15), 15));
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2}));
    EXPECT_EQ(cornersOf(topo->mBBox), corners(kMin, kMax));
    EXPECT_STREQ(topo->mDocName.ToCString(), "part");
}

TEST(ktmdl_Topo, LoadingRegistersTheReferenceUnbound)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = loaded(archiveOf(record({1, 2}, "part")));
    EXPECT_EQ(topo->RefCount(), 2);
    EXPECT_EQ(newTopo(Bytes{1, 2}), topo);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, LoadingNeverMergesWithARegisteredReference)
{
    Scene scene;
    const Hnd_ktmdl_Topo known = newTopo(Bytes{1, 2});
    const Hnd_ktmdl_Topo topo = loaded(archiveOf(record({1, 2}, "part")));
    EXPECT_NE(topo, known);
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(topo), 1);
    EXPECT_EQ(ktmdl_Topo::RemoveFromMap(known), 1);
}

TEST(ktmdl_Topo, LoadingReplacesWhatAReferenceHeld)
{
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    fake::Object& document = scene.world.Make("document");
    const Hnd_ktmdl_Topo topo = withRecord({9, 9, 9, 9}, "before");
    topo->mDispTopo = object.Ptr();
    topo->mDispDoc = document.Ptr();
    topo->mSubTopos[0] = listOf({});
    topo->mSubTopos[1] = listOf({});
    ktstd_Archive archive(archiveOf(record({1, 2}, "after")));
    topo->Serialize(archive);
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2}));
    EXPECT_EQ(object.Held(), 0);
    EXPECT_EQ(document.Held(), 0);
    EXPECT_EQ(topo->mSubTopos[0].IsNull(), 1);
    EXPECT_EQ(topo->mSubTopos[1].IsNull(), 1);
    EXPECT_STREQ(topo->mDocName.ToCString(), "after");
}

TEST(ktmdl_Topo, LoadingARegisteredReferenceAnewFindsItUnderItsNewKey)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{9, 9});
    ktstd_Archive archive(archiveOf(record({1, 2}, "after")));
    topo->Serialize(archive);
    EXPECT_EQ(newTopo(Bytes{1, 2}), topo);
    EXPECT_FALSE(isRegistered(Bytes{9, 9}));
}

TEST(ktmdl_Topo, ReferencesComeBackWithTheirChildren)
{
    Scene scene;
    Bytes file;
    {
        const Hnd_ktmdl_Topo edge = withRecord({20}, "part");
        const Hnd_ktmdl_Topo face = withRecord({10}, "part");
        const Hnd_ktmdl_Topo body = withRecord({1}, "part");
        face->mSubTopos[0] = listOf({edge});
        body->mSubTopos[1] = listOf({face});
        body->mSubTopos[0] = listOf({edge});
        ktstd_Archive archive;
        archive << body << face;
        file = archive.Finish();
    }
    ktstd_Archive archive(file);
    Hnd_ktmdl_Topo body;
    Hnd_ktmdl_Topo face;
    archive >> body >> face;
    ASSERT_EQ(body.IsNull(), 0);
    ASSERT_EQ(elementsOf(body->mSubTopos[1]).size(), 1u);
    EXPECT_EQ(body->mSubTopos[1]->Value(1), face);
    ASSERT_EQ(elementsOf(body->mSubTopos[0]).size(), 1u);
    ASSERT_EQ(elementsOf(face->mSubTopos[0]).size(), 1u);
    EXPECT_EQ(face->mSubTopos[0]->Value(1), body->mSubTopos[0]->Value(1)) << "stored once";
    EXPECT_EQ(keyOf(face->mSubTopos[0]->Value(1)), (Bytes{20}));
    EXPECT_TRUE(isRegistered(Bytes{1}));
    EXPECT_TRUE(isRegistered(Bytes{10}));
    EXPECT_TRUE(isRegistered(Bytes{20}));
}

// Records that can't be read

TEST(ktmdl_Topo, LoadingRefusesAClassVersionOutsideTheKnown)
{
    Scene scene;
    const ktstd_AsciiString name("ktmdl_Topo");
    const long newest = ktstd_Schema::LastClassVersion(name);
    ASSERT_GE(newest, 0) << "the class is registered";
    for (const long version : {-1L, newest + 1, 2147483647L, -2147483647L - 1}) {
        const Bytes file = archiveOf(record({1, 2}, "part"), 16, [&](ktstd_Archive& aArchive) {
            aArchive.SetClassVersion(name, version);
        });
        const Hnd_ktstd_fail_FileIO failure = failureOf([&] { (void)loaded(file); });
        ASSERT_EQ(failure.IsNull(), 0) << version;
        EXPECT_EQ(failure->Code(), 16);
        EXPECT_EQ(failure->Message(),
                  "ktmdl_Topo: bad class version [" + std::to_string(version) + "]");
        EXPECT_FALSE(isRegistered(Bytes{1, 2})) << "no field was read";
    }
}

TEST(ktmdl_Topo, LoadingAcceptsEveryKnownClassVersion)
{
    Scene scene;
    const ktstd_AsciiString name("ktmdl_Topo");
    for (long version = 0; version <= ktstd_Schema::LastClassVersion(name); ++version) {
        const Bytes file = archiveOf(record({1, 2}, "part"), 16, [&](ktstd_Archive& aArchive) {
            aArchive.SetClassVersion(name, version);
        });
        EXPECT_EQ(keyOf(loaded(file)), (Bytes{1, 2})) << version;
    }
}

TEST(ktmdl_Topo, LoadingRefusesAMissingEndMarker)
{
    Scene scene;
    Bytes data = record({1, 2}, "part");
    data.back() ^= 1;
    const Hnd_ktstd_fail_FileIO failure = failureOf([&] { (void)loaded(archiveOf(data)); });
    ASSERT_EQ(failure.IsNull(), 0);
    EXPECT_EQ(failure->Code(), 17);
    EXPECT_STREQ(failure->Message(), "ktmdl_Topo: expected end of class");
    EXPECT_TRUE(isRegistered(Bytes{1, 2})) << "it was entered as soon as its key was read";
}

TEST(ktmdl_Topo, LoadingRefusesARecordOfFormat15InAnArchiveOf16)
{
    Scene scene;
    const Bytes file = archiveOf(record({1, 2}, "part", 15), 16);
    EXPECT_EQ(failureOf([&] { (void)loaded(file); }).IsNull(), 0);
}

TEST(ktmdl_Topo, LoadingRefusesARecordCutAtAnyLength)
{
    Scene scene;
    const Bytes key = {1, 2, 3, 4};
    const Bytes whole = record(key, "part");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        const Bytes file = archiveOf(cut);
        EXPECT_EQ(failureOf([&] { (void)loaded(file); }).IsNull(), 0) << length;
        EXPECT_EQ(isRegistered(key), length >= 2 + key.size()) << length;
        ktmdl_Topo::ClearAllTopos();
    }
}

TEST(ktmdl_Topo, LoadingSurvivesAnyAlteredByte)
{
    Scene scene;
    const Bytes whole = record({1, 2, 3, 4}, "part");
    long refused = 0;
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (const unsigned char change :
             {static_cast<unsigned char>(1), static_cast<unsigned char>(0x80),
              static_cast<unsigned char>(0xFF)}) {
            Bytes altered = whole;
            altered[place] ^= change;
            ktstd_Archive archive(archiveOf(altered));
            const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
            refused += failureOf([&] { topo->Serialize(archive); }).IsNull() == 0 ? 1 : 0;
            ktmdl_Topo::ClearAllTopos();
        }
    }
    EXPECT_GT(refused, 0);
}

TEST(ktmdl_Topo, LoadingRefusesANegativeKeyLength)
{
    Scene scene;
    for (const unsigned size : {0x8000u, 0x9C40u, 0xFFFFu}) {
        Composer composer;
        composer.U16(size).Raw(Bytes(70000, 1)); // enough bytes for any reading of it
        const Bytes file = archiveOf(composer.bytes);
        const Hnd_ktstd_fail_FileIO failure = failureOf([&] { (void)loaded(file); });
        ASSERT_EQ(failure.IsNull(), 0) << size;
        EXPECT_EQ(failure->Code(), ktstd_fail_FileIO::kDamaged);
        EXPECT_FALSE(isRegistered(Bytes{}));
    }
}

TEST(ktmdl_Topo, LoadingRefusesAnObjectOfAnotherClassAsAList)
{
    Scene scene;
    for (int place = 0; place < 2; ++place) {
        ktstd_Archive out;
        const Bytes whole = record({1, 2}, "part");
        const long head = 2 + 2 + 1 + 26 + 26 + 2 + 1; // up to the first list
        out.Write(whole.data(), head);
        if (place == 1) {
            out << Hnd_ktstd_Transient();
        }
        out << Hnd_ktstd_Transient(new ktstd_TransientHSeq);
        if (place == 0) {
            out << Hnd_ktstd_Transient();
        }
        out << ktstd_AsciiString("part") << static_cast<unsigned short>(EOC);
        const Bytes file = out.Finish();
        const Hnd_ktstd_fail_FileIO failure = failureOf([&] { (void)loaded(file); });
        ASSERT_EQ(failure.IsNull(), 0) << place;
        EXPECT_EQ(failure->Code(), ktstd_fail_FileIO::kWrongClass);
    }
}

TEST(ktmdl_Topo, LoadingThatFailsLeavesTheReferenceUnbound)
{
    Scene scene;
    fake::Object& object = scene.world.Make("object");
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->mDispTopo = object.Ptr();
    const Bytes whole = record({1, 2}, "part");
    ktstd_Archive archive(archiveOf(Bytes(whole.begin(), whole.begin() + 10)));
    EXPECT_EQ(failureOf([&] { topo->Serialize(archive); }).IsNull(), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2}));
}
