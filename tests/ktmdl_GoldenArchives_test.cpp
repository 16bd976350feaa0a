// Archives kept in tests/data, one per kind of content and format version, which every later
// version must read, on every platform. They are never rewritten; a run with KT_WRITE_GOLDEN set
// writes those that are missing.

#include "ktmdl/ktmdl_BBox2d.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_CrdSys3d.h"
#include "ktmdl/ktmdl_ErosionPosSeq.h"
#include "ktmdl/ktmdl_Pnt3dSeq.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_TopoMap.h"
#include "ktmdl/ktmdl_Trsf3dSeq.h"
#include "ktmdl/ktmdl_Vec2d.h"
#include "support/ArchiveReader.h"
#include "support/Bits.h"
#include "support/Records.h"
#include "support/TestTopo.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

using kt_test::Bytes;
using kt_test::RecordBytes;
using kt_test::TopoGuard;

namespace {

using Key = std::vector<unsigned char>;

// ------------------------------------------------------------------------------------- points

const double kLeast = kt_test::above(0.0);

struct Points
{
    static constexpr char name[] = "points";

    static std::vector<ktmdl_Pnt3d> points()
    {
        return {
            {1, 2, 3}, {-0.0, 0.1, kt_test::kInfinity}, {kt_test::payloadNan(), kLeast, -1.0 / 3}};
    }
    static RecordBytes& record(RecordBytes& aBytes)
    {
        aBytes.u32(3);
        for (const ktmdl_Pnt3d& point : points()) {
            aBytes.data3d(point.mX, point.mY, point.mZ);
        }
        // An axis, a system, a box.
        aBytes.data3d(1, 2, 3).data3d(0, 1, 0).end("ktmdl_Axis3d");
        aBytes.data3d(4, 5, 6).data3d(0, 0, -1).end("ktmdl_Axis3d").data3d(0, 1, 0);
        aBytes.end("ktmdl_CrdSys3d");
        return aBytes.data3d(-1, -2, -3).data3d(1, 2, 3).end("ktmdl_BBox3d");
    }
    static void store(ktstd_Archive& aArchive)
    {
        ktmdl_Pnt3dSeq sequence;
        for (const ktmdl_Pnt3d& point : points()) {
            sequence.Append(point);
        }
        aArchive << sequence;
        ktmdl_Axis3d({1, 2, 3}, {0, 1, 0}).Serialize(aArchive);
        ktmdl_CrdSys3d(ktmdl_Axis3d({4, 5, 6}, {0, 0, -1}), {0, 1, 0}).Serialize(aArchive);
        ktmdl_BBox3d(-1, -2, -3, 1, 2, 3).Serialize(aArchive);
    }
    static void load(ktstd_Archive& aArchive)
    {
        ktmdl_Pnt3dSeq sequence;
        aArchive >> sequence;
        const std::vector<ktmdl_Pnt3d> wanted = points();
        ASSERT_EQ(sequence.Length(), static_cast<long>(wanted.size()));
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const ktmdl_Pnt3d& point = sequence.Value(static_cast<long>(i) + 1);
            EXPECT_EQ(kt_test::bitsOf(point.mX), kt_test::bitsOf(wanted[i].mX));
            EXPECT_EQ(kt_test::bitsOf(point.mY), kt_test::bitsOf(wanted[i].mY));
            EXPECT_EQ(kt_test::bitsOf(point.mZ), kt_test::bitsOf(wanted[i].mZ));
        }
        ktmdl_Axis3d axis;
        axis.Serialize(aArchive);
        EXPECT_EQ(axis.IsEqual(ktmdl_Axis3d({1, 2, 3}, {0, 1, 0}), 0), 1);
        ktmdl_CrdSys3d system;
        system.Serialize(aArchive);
        EXPECT_EQ(system.IsEqual(ktmdl_CrdSys3d(ktmdl_Axis3d({4, 5, 6}, {0, 0, -1}), {0, 1, 0}), 0),
                  1);
        ktmdl_BBox3d box;
        box.Serialize(aArchive);
        EXPECT_EQ(box.mMin.IsEqual({-1, -2, -3}, 0), 1);
        EXPECT_EQ(box.mMax.IsEqual({1, 2, 3}, 0), 1);
    }
};

// ------------------------------------------------------------------------------ planar values

struct Planar
{
    static constexpr char name[] = "planar";

    static RecordBytes& record(RecordBytes& aBytes)
    {
        aBytes.data2d(-0.0, 0.1).data2d(kt_test::payloadNan(), -kt_test::kInfinity);
        return aBytes.data2d(-1, -2).data2d(kLeast, 1.0 / 3).end("ktmdl_BBox2d");
    }
    static void store(ktstd_Archive& aArchive)
    {
        ktmdl_Pnt2d(-0.0, 0.1).Serialize(aArchive);
        ktmdl_Vec2d(kt_test::payloadNan(), -kt_test::kInfinity).Serialize(aArchive);
        ktmdl_BBox2d(-1, -2, kLeast, 1.0 / 3).Serialize(aArchive);
    }
    static void load(ktstd_Archive& aArchive)
    {
        const auto expectBits = [](const ktmdl_Data2d& aData, double aX, double aY) {
            EXPECT_EQ(kt_test::bitsOf(aData.mX), kt_test::bitsOf(aX));
            EXPECT_EQ(kt_test::bitsOf(aData.mY), kt_test::bitsOf(aY));
        };
        ktmdl_Pnt2d point;
        point.Serialize(aArchive);
        expectBits(point, -0.0, 0.1);
        ktmdl_Vec2d vector;
        vector.Serialize(aArchive);
        expectBits(vector, kt_test::payloadNan(), -kt_test::kInfinity);
        ktmdl_BBox2d box;
        box.Serialize(aArchive);
        expectBits(box.mMin, -1, -2);
        expectBits(box.mMax, kLeast, 1.0 / 3);
    }
};

// --------------------------------------------------------------------------------- transforms

struct Transforms
{
    static constexpr char name[] = "transforms";

    static double number(int aRow, int aColumn) { return 0.1 * (4 * aRow + aColumn) - 0.5; }
    static RecordBytes& record(RecordBytes& aBytes)
    {
        aBytes.u32(2);
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                aBytes.f64(number(row, column));
            }
        }
        aBytes.end("ktmdl_Trsf3d");
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                aBytes.f64(row == column ? 1.0 : 0.0);
            }
        }
        return aBytes.end("ktmdl_Trsf3d");
    }
    static ktmdl_Trsf3d trsf()
    {
        double numbers[4][4];
        for (int row = 0; row < 4; ++row) {
            for (int column = 0; column < 4; ++column) {
                numbers[row][column] = number(row, column);
            }
        }
        ktmdl_Trsf3d trsf;
        trsf.SetMatrix(numbers);
        return trsf;
    }
    static void store(ktstd_Archive& aArchive)
    {
        ktmdl_Trsf3dSeq sequence;
        sequence.Append(trsf());
        sequence.Append(ktmdl_Trsf3d());
        aArchive << sequence;
    }
    static void load(ktstd_Archive& aArchive)
    {
        ktmdl_Trsf3dSeq sequence;
        aArchive >> sequence;
        ASSERT_EQ(sequence.Length(), 2);
        double numbers[4][4];
        for (long i = 1; i <= 2; ++i) {
            sequence.Value(i).GetMatrix(numbers);
            for (int row = 0; row < 4; ++row) {
                for (int column = 0; column < 4; ++column) {
                    const double one = row == column ? 1.0 : 0.0;
                    EXPECT_EQ(numbers[row][column], i == 1 ? number(row, column) : one);
                }
            }
        }
    }
};

// ---------------------------------------------------------------------------------- positions

struct Positions
{
    static constexpr char name[] = "positions";

    static std::vector<ktmdl_ErosionPos> positions()
    {
        return {{1, 2, 3, ktstd_Dim(0.75, ktstd_Dim::kAngle)},
                {-4, 0.1, -0.0, ktstd_Dim(-5, ktstd_Dim::kLength)},
                {0, 0, 0, ktstd_Dim()}};
    }
    static RecordBytes& record(RecordBytes& aBytes)
    {
        // Kinds of quantities: 0 number, 1 length, 2 angle.
        aBytes.u32(3);
        aBytes.data3d(1, 2, 3).u8(2).f64(0.75).end("ktmdl_ErosionPos");
        aBytes.data3d(-4, 0.1, -0.0).u8(1).f64(-5).end("ktmdl_ErosionPos");
        return aBytes.data3d(0, 0, 0).u8(0).f64(0).end("ktmdl_ErosionPos");
    }
    static void store(ktstd_Archive& aArchive)
    {
        ktmdl_ErosionPosSeq sequence;
        for (const ktmdl_ErosionPos& position : positions()) {
            sequence.Append(position);
        }
        aArchive << sequence;
    }
    static void load(ktstd_Archive& aArchive)
    {
        ktmdl_ErosionPosSeq sequence;
        aArchive >> sequence;
        const std::vector<ktmdl_ErosionPos> wanted = positions();
        ASSERT_EQ(sequence.Length(), static_cast<long>(wanted.size()));
        for (std::size_t i = 0; i < wanted.size(); ++i) {
            const ktmdl_ErosionPos& position = sequence.Value(static_cast<long>(i) + 1);
            EXPECT_EQ(position.Position().IsEqual(wanted[i].Position(), 0), 1);
            EXPECT_EQ(position.RotationAngle(), wanted[i].RotationAngle());
        }
    }
};

// --------------------------------------------------------------------------------- references

//! A body with a face with two edges, which the face's and the body's list share; the face again;
//! a set of twelve loose references.
struct References
{
    static constexpr char name[] = "references";

    static Hnd_ktmdl_Topo make(const Key& aKey, unsigned char aType, unsigned char aIsSubTopo,
                               double aSize)
    {
        const Hnd_ktmdl_Topo topo = kt_test::makeTopo(aKey);
        topo->tplType = aType;
        topo->mIsSubTopo = aIsSubTopo;
        topo->mBBox = ktmdl_BBox3d(0, 0, 0, aSize, aSize, aSize);
        return topo;
    }
    static Key looseKey(int aNumber)
    {
        return {static_cast<unsigned char>(17 * aNumber), static_cast<unsigned char>(aNumber)};
    }
    static std::vector<Hnd_ktmdl_Topo> fill(ktmdl_TopoMap& aMap)
    {
        for (int i = 1; i <= 12; ++i) {
            aMap.Add(kt_test::makeTopo(looseKey(i)));
        }
        std::vector<Hnd_ktmdl_Topo> order;
        for (ktmdl_MapIteratorOfTopoMap i(aMap); i.More() != 0; i.Next()) {
            order.push_back(i.Key());
        }
        return order;
    }
    //! The fields up to the children.
    static void head(RecordBytes& aBytes, const Key& aKey, unsigned aType, unsigned aIsSubTopo,
                     double aSize)
    {
        aBytes.u16(static_cast<unsigned>(aKey.size()));
        aBytes.text(std::string(aKey.begin(), aKey.end())).u8(aType);
        aBytes.data3d(0, 0, 0).data3d(aSize, aSize, aSize).end("ktmdl_BBox3d").u8(aIsSubTopo);
    }
    static void edge(RecordBytes& aBytes, const Key& aKey)
    {
        const std::uint32_t number = aBytes.beginObject("ktmdl_Topo");
        head(aBytes, aKey, 2, 1, 1);
        aBytes.u32(0).u32(0).u32(0).end("ktmdl_Topo").endObject(number);
    }
    static RecordBytes& record(RecordBytes& aBytes)
    {
        const std::uint32_t body = aBytes.beginObject("ktmdl_Topo");
        head(aBytes, {3, 200, 255}, 7, 0, 3);
        const std::uint32_t edges = aBytes.beginObject("ktmdl_TopoHSeq");
        aBytes.u32(2);
        edge(aBytes, {1, 1});
        edge(aBytes, {1, 2});
        aBytes.endObject(edges);
        const std::uint32_t faces = aBytes.beginObject("ktmdl_TopoHSeq");
        aBytes.u32(1);
        const std::uint32_t face = aBytes.beginObject("ktmdl_Topo");
        head(aBytes, {2}, 5, 1, 2);
        aBytes.u32(edges).u32(0).u32(0).end("ktmdl_Topo").endObject(face).endObject(faces);
        aBytes.u32(8).text("part.par").end("ktmdl_Topo").endObject(body);
        aBytes.u32(face);

        ktmdl_TopoMap map(1);
        const std::vector<Hnd_ktmdl_Topo> order = fill(map);
        aBytes.u32(12);
        for (const Hnd_ktmdl_Topo& topo : order) {
            kt_test::newTopo(aBytes, Key(topo->mKey, topo->mKey + topo->mKeySize));
        }
        return aBytes;
    }
    static void store(ktstd_Archive& aArchive)
    {
        const Hnd_ktmdl_TopoHSeq edges(new ktmdl_TopoHSeq());
        edges->Append(make({1, 1}, 2, 1, 1));
        edges->Append(make({1, 2}, 2, 1, 1));
        const Hnd_ktmdl_Topo face = make({2}, 5, 1, 2);
        face->mSubTopos[0] = edges;
        const Hnd_ktmdl_Topo body = make({3, 200, 255}, 7, 0, 3);
        body->mSubTopos[0] = edges;
        body->mSubTopos[1] = Hnd_ktmdl_TopoHSeq(new ktmdl_TopoHSeq());
        body->mSubTopos[1]->Append(face);
        body->mDocName.Copy("part.par");
        aArchive << body << face;
        ktmdl_TopoMap map(1);
        fill(map);
        aArchive << map;
    }
    static void expectTopo(const Hnd_ktmdl_Topo& aTopo, const Key& aKey, int aType, int aIsSubTopo,
                           double aSize, const char* aDocName)
    {
        ASSERT_EQ(aTopo.IsNull(), 0);
        EXPECT_EQ(Key(aTopo->mKey, aTopo->mKey + aTopo->mKeySize), aKey);
        EXPECT_EQ(aTopo->tplType, aType);
        EXPECT_EQ(aTopo->mIsSubTopo, aIsSubTopo);
        EXPECT_EQ(aTopo->mBBox.mMin.IsEqual({0, 0, 0}, 0), 1);
        EXPECT_EQ(aTopo->mBBox.mMax.IsEqual({aSize, aSize, aSize}, 0), 1);
        EXPECT_STREQ(aTopo->mDocName.ToCString(), aDocName);
    }
    static void load(ktstd_Archive& aArchive)
    {
        Hnd_ktmdl_Topo body;
        Hnd_ktmdl_Topo face;
        ktmdl_TopoMap map(1);
        aArchive >> body >> face >> map;
        expectTopo(body, {3, 200, 255}, 7, 0, 3, "part.par");
        expectTopo(face, {2}, 5, 1, 2, "");
        const Hnd_ktmdl_TopoHSeq edges = body->mSubTopos[0];
        ASSERT_EQ(edges.IsNull(), 0);
        ASSERT_EQ(edges->Length(), 2);
        expectTopo(edges->Value(1), {1, 1}, 2, 1, 1, "");
        expectTopo(edges->Value(2), {1, 2}, 2, 1, 1, "");
        EXPECT_EQ(face->mSubTopos[0], edges) << "one list, shared";
        EXPECT_EQ(face->mSubTopos[1].IsNull(), 1);
        ASSERT_EQ(body->mSubTopos[1].IsNull(), 0);
        ASSERT_EQ(body->mSubTopos[1]->Length(), 1);
        EXPECT_EQ(body->mSubTopos[1]->Value(1), face);
        EXPECT_EQ(map.Extent(), 12);
        for (int i = 1; i <= 12; ++i) {
            const Key key = looseKey(i);
            const Hnd_ktmdl_Topo topo = map.FindByKey(2, key.data());
            expectTopo(topo, key, 0, 0, 0, "");
        }
    }
};

// -------------------------------------------------------------------------------------- files

std::filesystem::path fileOf(const std::string& aName, int aFormat)
{
    return std::filesystem::path(KT_SOURCE_DIR) / "tests" / "data" /
           ("golden-" + aName + "-" + std::to_string(aFormat) + ".bin");
}

Bytes readGolden(const std::string& aName, int aFormat)
{
    std::ifstream file(fileOf(aName, aFormat), std::ios::binary);
    EXPECT_TRUE(file.good()) << "missing: " << fileOf(aName, aFormat)
                             << "; a run with KT_WRITE_GOLDEN set writes it";
    return Bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

template <class Kind>
RecordBytes recordOf(bool aHasMarkers)
{
    RecordBytes bytes(aHasMarkers);
    Kind::record(bytes);
    return bytes;
}

template <class Kind>
Bytes storedToday()
{
    ktstd_Archive archive;
    Kind::store(archive);
    return archive.Finish();
}

//! The objects with their offsets from the start of the data.
void expectSameObjects(const kt_test::ArchiveParts& aParts,
                       const std::vector<kt_test::RecordObject>& aWanted)
{
    ASSERT_EQ(aParts.objects.size(), aWanted.size());
    for (std::size_t i = 0; i < aWanted.size(); ++i) {
        EXPECT_EQ(aParts.objects[i].className, aWanted[i].className) << "object " << i + 1;
        EXPECT_EQ(aParts.objects[i].offset - aParts.dataStart, aWanted[i].offset)
            << "object " << i + 1;
        EXPECT_EQ(aParts.objects[i].length, aWanted[i].length) << "object " << i + 1;
    }
}

template <class Kind>
void expectFileAsDescribed(int aFormat)
{
    SCOPED_TRACE(testing::Message() << Kind::name << ", format " << aFormat);
    const Bytes golden = readGolden(Kind::name, aFormat);
    ASSERT_FALSE(golden.empty());
    const RecordBytes wanted = recordOf<Kind>(aFormat >= 16);
    const kt_test::ArchiveParts parts = kt_test::takeApart(golden);
    EXPECT_EQ(parts.format, static_cast<std::uint32_t>(aFormat));
    EXPECT_EQ(parts.data, wanted.bytes());
    expectSameObjects(parts, wanted.objects());
    EXPECT_EQ(kt_test::putTogether(parts.format, parts.versions, wanted), golden);
}

template <class Kind>
void expectWrittenTheSame()
{
    SCOPED_TRACE(Kind::name);
    const kt_test::ArchiveParts golden = kt_test::takeApart(readGolden(Kind::name, 16));
    const Bytes today = storedToday<Kind>();
    const kt_test::ArchiveParts parts = kt_test::takeApart(today);
    EXPECT_EQ(parts.format, 16U);
    EXPECT_EQ(parts.data, golden.data);
    expectSameObjects(parts, recordOf<Kind>(true).objects());
    EXPECT_EQ(kt_test::putTogether(16, parts.versions, recordOf<Kind>(true)), today);
    const std::map<std::string, std::int32_t> versions(parts.versions.begin(),
                                                       parts.versions.end());
    EXPECT_FALSE(golden.versions.empty());
    for (const auto& [name, version] : golden.versions) {
        ASSERT_EQ(versions.count(name), 1U) << name << " is not known any more";
        EXPECT_GE(versions.at(name), version) << name << " is too old";
    }
}

template <class Kind>
void expectLoaded(int aFormat)
{
    SCOPED_TRACE(testing::Message() << Kind::name << ", format " << aFormat);
    ktstd_Archive archive(readGolden(Kind::name, aFormat));
    EXPECT_EQ(archive.FormatVersion(), aFormat);
    Kind::load(archive);
    EXPECT_EQ(archive.Remaining(), 0U);
}

void writeIfMissing(const std::string& aName, int aFormat, const Bytes& aBytes)
{
    if (std::filesystem::exists(fileOf(aName, aFormat))) {
        return;
    }
    for (const auto& [name, version] : kt_test::takeApart(aBytes).versions) {
        ASSERT_TRUE(name.rfind("ktmdl_", 0) == 0 || name.rfind("ktstd_", 0) == 0)
            << name << " belongs to no library";
    }
    std::ofstream file(fileOf(aName, aFormat), std::ios::binary);
    for (const unsigned char value : aBytes) {
        file.put(static_cast<char>(value));
    }
    file.close();
    ASSERT_TRUE(file.good());
    std::printf("written: %s\n", fileOf(aName, aFormat).string().c_str());
}

template <class Kind>
void writeGolden()
{
    const Bytes today = storedToday<Kind>();
    writeIfMissing(Kind::name, 16, today);
    // The libraries write records of the newest format only; the older one lacks the end markers.
    writeIfMissing(
        Kind::name, 15,
        kt_test::putTogether(15, kt_test::takeApart(today).versions, recordOf<Kind>(false)));
}

} // namespace

TEST(ktmdl_GoldenArchives, AreWrittenWhenAskedFor)
{
    if (std::getenv("KT_WRITE_GOLDEN") == nullptr) {
        GTEST_SKIP() << "KT_WRITE_GOLDEN is not set";
    }
    const TopoGuard guard;
    writeGolden<Points>();
    writeGolden<Planar>();
    writeGolden<Transforms>();
    writeGolden<Positions>();
    writeGolden<References>();
}

TEST(ktmdl_GoldenArchives, FilesAreAsTheFormatIsDescribed)
{
    const TopoGuard guard;
    for (const int format : {15, 16}) {
        expectFileAsDescribed<Points>(format);
        expectFileAsDescribed<Planar>(format);
        expectFileAsDescribed<Transforms>(format);
        expectFileAsDescribed<Positions>(format);
        expectFileAsDescribed<References>(format);
    }
}

TEST(ktmdl_GoldenArchives, AreWrittenTheSameToday)
{
    const TopoGuard guard;
    expectWrittenTheSame<Points>();
    expectWrittenTheSame<Planar>();
    expectWrittenTheSame<Transforms>();
    expectWrittenTheSame<Positions>();
    expectWrittenTheSame<References>();
}

TEST(ktmdl_GoldenArchives, AreLoaded)
{
    const TopoGuard guard;
    for (const int format : {15, 16}) {
        expectLoaded<Points>(format);
        expectLoaded<Planar>(format);
        expectLoaded<Transforms>(format);
        expectLoaded<Positions>(format);
        expectLoaded<References>(format);
    }
}

TEST(ktmdl_GoldenArchives, ReferenceIsDecodedByHand)
{
    const Bytes golden = readGolden(References::name, 16);
    const kt_test::ArchiveParts parts = kt_test::takeApart(golden);
    kt_test::ByteReader in(parts.data, 0, parts.data.size());
    const auto marker = [&] { EXPECT_EQ(in.u16(), 0x5AE1U) << "end marker"; };
    const auto point = [&](double aX, double aY, double aZ) {
        EXPECT_EQ(in.f64(), aX);
        EXPECT_EQ(in.f64(), aY);
        EXPECT_EQ(in.f64(), aZ);
        marker();
    };
    const auto object = [&](std::uint32_t aNumber, const char* aClass) {
        EXPECT_EQ(in.u32(), aNumber);
        EXPECT_EQ(in.name(), aClass);
        EXPECT_EQ(parts.objects.at(aNumber - 1).className, aClass);
        EXPECT_EQ(parts.objects.at(aNumber - 1).offset - parts.dataStart, in.place());
    };
    const auto head = [&](const std::string& aKey, unsigned aType, double aSize, unsigned aIsSub) {
        EXPECT_EQ(in.u16(), aKey.size());
        EXPECT_EQ(in.text(aKey.size()), aKey);
        EXPECT_EQ(in.u8(), aType);
        point(0, 0, 0);
        point(aSize, aSize, aSize);
        marker();
        EXPECT_EQ(in.u8(), aIsSub);
    };
    const auto tail = [&](const std::string& aDocName) {
        EXPECT_EQ(in.u32(), aDocName.size());
        EXPECT_EQ(in.text(aDocName.size()), aDocName);
        marker();
    };
    object(1, "ktmdl_Topo"); // the body
    head("\x03\xC8\xFF", 7, 3, 0);
    object(2, "ktmdl_TopoHSeq"); // its edges
    EXPECT_EQ(in.u32(), 2U);
    for (std::uint32_t edge = 1; edge <= 2; ++edge) {
        object(2 + edge, "ktmdl_Topo");
        head(std::string("\x01") + static_cast<char>(edge), 2, 1, 1);
        EXPECT_EQ(in.u32(), 0U);
        EXPECT_EQ(in.u32(), 0U);
        tail("");
    }
    object(5, "ktmdl_TopoHSeq"); // its faces
    EXPECT_EQ(in.u32(), 1U);
    object(6, "ktmdl_Topo");
    head("\x02", 5, 2, 1);
    EXPECT_EQ(in.u32(), 2U) << "the list of edges again";
    EXPECT_EQ(in.u32(), 0U);
    tail("");
    tail("part.par");         // the body's end
    EXPECT_EQ(in.u32(), 6U);  // the face again
    EXPECT_EQ(in.u32(), 12U); // the set
    for (std::uint32_t loose = 1; loose <= 12; ++loose) {
        object(6 + loose, "ktmdl_Topo");
        EXPECT_EQ(in.u16(), 2U);
        const std::string key = in.text(2);
        EXPECT_EQ(static_cast<unsigned char>(key[0]),
                  static_cast<unsigned char>(17 * static_cast<unsigned char>(key[1])));
        EXPECT_EQ(in.u8(), 0U);
        point(0, 0, 0);
        point(0, 0, 0);
        marker();
        EXPECT_EQ(in.u8(), 0U);
        EXPECT_EQ(in.u32(), 0U);
        EXPECT_EQ(in.u32(), 0U);
        tail("");
    }
    EXPECT_TRUE(in.isAtEnd());
    EXPECT_EQ(parts.objects.size(), 18U);
}
