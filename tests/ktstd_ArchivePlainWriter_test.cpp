// Archives beside a plain writer and a plain reader that go by docs/archive-format.md byte by byte,
// with random operations.

#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_TShared.h"
#include "ktstd/ktstd_fail.h"
#include "support/ArchiveReader.h"
#include "support/Failures.h"
#include "support/Links.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

class Bag;
KTSTD_HANDLE(Bag, Hnd_ktstd_TShared)
Hnd_ktstd_Type& Bag_Type_();
class BagWithALongerName;
KTSTD_HANDLE(BagWithALongerName, Hnd_Bag)
Hnd_ktstd_Type& BagWithALongerName_Type_();

namespace {

//! What is stored, one after the other. In the archive the kind stands in front of the content.
struct Step
{
    enum Kind : unsigned char
    {
        kLong,
        kShort,
        kChar,
        kBlock,
        kCount,
        kText,
        kReference,
        kRefused, //!< a reference whose failure is caught; nothing stands in the archive
        kKinds
    };

    Kind kind{kLong};
    std::int32_t number{0};
    std::string bytes;
    Hnd_Bag object;
};

using Steps = std::vector<Step>;

} // namespace

//! An object that stores steps.
class Bag : public ktstd_TShared
{
public:
    Bag() = default;
    Bag(const Bag&) = delete;
    Bag& operator=(const Bag&) = delete;
    ~Bag() override = default;
    void Serialize(ktstd_Archive& aArchive) override;
    KTSTD_DECLARE_TYPE(Bag)

    Steps steps;
    bool raises{false}; //!< behind the last step, while it is stored
};
class BagWithALongerName : public Bag
{
public:
    KTSTD_DECLARE_TYPE(BagWithALongerName)
};

KTSTD_DEFINE_TYPE(Bag, ktstd_TShared)
KTSTD_DEFINE_TYPE(BagWithALongerName, Bag)

namespace {

Hnd_ktstd_Transient makeBag()
{
    return Hnd_ktstd_Transient(new Bag());
}
Hnd_ktstd_Transient makeBagWithALongerName()
{
    return Hnd_ktstd_Transient(new BagWithALongerName());
}
const ktstd_SchemaEntry bagEntry("Bag", 0, makeBag);
const ktstd_SchemaEntry longerEntry("BagWithALongerName", 3, makeBagWithALongerName);

constexpr unsigned char kEnd = 0xEE; //!< behind the last step

// With the library.

void store(ktstd_Archive& aArchive, const Step& aStep)
{
    if (aStep.kind == Step::kRefused) {
        EXPECT_THROW(aArchive << aStep.object, Hnd_ktstd_fail_DomainError);
        return;
    }
    aArchive << static_cast<unsigned char>(aStep.kind);
    switch (aStep.kind) {
    case Step::kLong:
        aArchive << static_cast<long>(aStep.number);
        break;
    case Step::kShort:
        aArchive << static_cast<unsigned short>(aStep.number);
        break;
    case Step::kChar:
        aArchive << static_cast<unsigned char>(aStep.number);
        break;
    case Step::kBlock:
        aArchive << static_cast<long>(aStep.bytes.size());
        aArchive.Write(aStep.bytes.data(), static_cast<long>(aStep.bytes.size()));
        break;
    case Step::kCount:
        aArchive.WriteCount(static_cast<unsigned long>(aStep.number));
        break;
    case Step::kText:
        aArchive << ktstd_AsciiString(aStep.bytes.c_str());
        break;
    default:
        aArchive << aStep.object;
        break;
    }
}

Step load(ktstd_Archive& aArchive, unsigned char aKind)
{
    Step step;
    step.kind = static_cast<Step::Kind>(aKind);
    long number = 0;
    unsigned short word = 0;
    unsigned char byte = 0;
    ktstd_AsciiString text;
    switch (step.kind) {
    case Step::kLong:
        aArchive >> number;
        break;
    case Step::kShort:
        aArchive >> word;
        break;
    case Step::kChar:
        aArchive >> byte;
        break;
    case Step::kBlock:
        aArchive >> number;
        step.bytes.resize(static_cast<std::size_t>(number));
        aArchive.Read(step.bytes.data(), number);
        number = 0;
        break;
    case Step::kCount:
        number = static_cast<long>(aArchive.ReadCount());
        break;
    case Step::kText:
        aArchive >> text;
        step.bytes.assign(text.ToCString(), static_cast<std::size_t>(text.Length()));
        break;
    default:
        aArchive >> step.object;
        break;
    }
    step.number = static_cast<std::int32_t>(number + word + byte);
    return step;
}

// Without it.

//! A storing archive as plain as can be.
struct PlainWriter
{
    void Store(const Step& aStep)
    {
        if (aStep.kind == Step::kRefused) {
            return;
        }
        record.u8(aStep.kind);
        const auto number = static_cast<std::uint32_t>(aStep.number);
        switch (aStep.kind) {
        case Step::kShort:
            record.u16(number & 0xFFFFU);
            break;
        case Step::kChar:
            record.u8(number & 0xFFU);
            break;
        case Step::kBlock:
        case Step::kText:
            record.u32(static_cast<std::uint32_t>(aStep.bytes.size())).text(aStep.bytes);
            break;
        case Step::kReference:
            StoreReference(aStep.object);
            break;
        default:
            record.u32(number);
            break;
        }
    }
    void StoreReference(const Hnd_Bag& aBag)
    {
        if (aBag.IsNull() != 0) {
            record.u32(0);
            return;
        }
        const auto known = numbers.find(&*aBag);
        if (known != numbers.end()) {
            record.u32(known->second);
            return;
        }
        const std::uint32_t number = record.beginObject(aBag->DynamicType()->Name());
        numbers[&*aBag] = number;
        for (const Step& step : aBag->steps) {
            Store(step);
        }
        record.u8(kEnd);
        record.endObject(number);
    }

    kt_test::RecordBytes record;
    std::map<const Bag*, std::uint32_t> numbers;
};

//! Describes loaded steps, objects in the place where they come first.
struct Description
{
    void Add(const Step& aStep)
    {
        text += std::to_string(aStep.kind) + ":" + std::to_string(aStep.number) + aStep.bytes;
        if (aStep.kind == Step::kReference) {
            AddReference(aStep.object);
        }
        text += ";";
    }
    void AddReference(const Hnd_Bag& aBag)
    {
        if (aBag.IsNull() != 0) {
            text += "null";
            return;
        }
        const auto [place, isNew] = numbers.emplace(&*aBag, numbers.size() + 1);
        text += "#" + std::to_string(place->second);
        if (isNew) {
            text += std::string(aBag->DynamicType()->Name()) + "{";
            for (const Step& step : aBag->steps) {
                Add(step);
            }
            text += "}";
        }
    }

    std::string text;
    std::map<const Bag*, std::size_t> numbers;
};

//! A loading archive as plain as can be: gives the description of what it reads.
struct PlainReader
{
    std::string Load(kt_test::ByteReader& aReader, unsigned aKind)
    {
        std::string content = std::to_string(aKind) + ":";
        switch (aKind) {
        case Step::kShort:
            content += std::to_string(aReader.u16());
            break;
        case Step::kChar:
            content += std::to_string(aReader.u8());
            break;
        case Step::kBlock:
        case Step::kText:
            content += "0" + aReader.text(aReader.u32());
            break;
        case Step::kReference:
            content += "0" + LoadReference(aReader);
            break;
        default:
            content += std::to_string(static_cast<std::int32_t>(aReader.u32()));
            break;
        }
        return content + ";";
    }
    std::string LoadReference(kt_test::ByteReader& aReader)
    {
        const std::uint32_t number = aReader.u32();
        if (number == 0) {
            return "null";
        }
        std::string content = "#" + std::to_string(number);
        if (number <= objects) {
            return content;
        }
        EXPECT_EQ(number, ++objects);
        content += aReader.name() + "{";
        for (unsigned kind = aReader.u8(); kind != kEnd; kind = aReader.u8()) {
            content += Load(aReader, kind);
        }
        return content + "}";
    }

    std::uint32_t objects{0};
};

//! Random objects that refer to one another, in cycles too, and steps with them.
class Play
{
public:
    explicit Play(unsigned aSeed) : mRandom(aSeed)
    {
        for (std::size_t i = 0; i < kBags; ++i) {
            mBags.push_back(Below(2) == 0 ? Hnd_Bag(new Bag()) : Hnd_Bag(new BagWithALongerName()));
        }
        // Inner ones know each other alone; outer ones know these and each other, and try to store
        // raising ones, which know inner ones: no raising one is met while it is stored.
        for (std::size_t i = 0; i < kBags; ++i) {
            mBags[i]->raises = i >= kGood;
            const std::size_t end = i < kInner || i >= kGood ? kInner : kGood;
            for (std::size_t count = Below(6); count > 0; --count) {
                mBags[i]->steps.push_back(Next(end));
            }
        }
    }
    Play(const Play&) = delete;
    Play& operator=(const Play&) = delete;
    ~Play()
    {
        for (const Hnd_Bag& bag : mBags) {
            bag->steps.clear();
        }
    }

    std::size_t Below(std::size_t aEnd) { return mRandom() % aEnd; }
    //! @param aEnd  the objects before this one are referred to
    Step Next(std::size_t aEnd = kGood)
    {
        Step step;
        step.kind = static_cast<Step::Kind>(Below(aEnd < kGood ? Step::kRefused : Step::kKinds));
        const auto number = static_cast<std::int32_t>(mRandom());
        switch (step.kind) {
        case Step::kLong:
            step.number = number;
            break;
        case Step::kShort:
            step.number = number & 0xFFFF;
            break;
        case Step::kChar:
            step.number = number & 0xFF;
            break;
        case Step::kBlock:
            step.bytes = Bytes();
            break;
        case Step::kCount:
            step.number = number & 1;
            break; // a byte follows in any case
        case Step::kText:
            step.bytes = std::string(Below(40), 't');
            break;
        case Step::kReference:
            if (Below(5) != 0) {
                step.object = mBags[Below(aEnd)];
            }
            break;
        default:
            step.object = mBags[kGood + Below(kBags - kGood)];
            break;
        }
        return step;
    }

private:
    static constexpr std::size_t kInner = 12;
    static constexpr std::size_t kGood = 24;
    static constexpr std::size_t kBags = 30;

    //! Most are short; some are longer than what an archive gathers, or than all before.
    std::string Bytes()
    {
        constexpr std::size_t kLongest[] = {3, 40, 40, 300, 300, 9000, 20000, 200000};
        return std::string(Below(kLongest[Below(Below(4) == 0 ? 8 : 5)] + 1),
                           static_cast<char>('a' + Below(26)));
    }

    std::mt19937 mRandom;
    std::vector<Hnd_Bag> mBags;
};

//! Unties the objects that an archive loaded.
void untie(const Description& aDescription)
{
    std::vector<Hnd_Bag> bags;
    for (const auto& entry : aDescription.numbers) {
        bags.emplace_back(entry.first);
    }
    for (const Hnd_Bag& bag : bags) {
        bag->steps.clear();
    }
}

void compareDirectory(const ktstd_Archive& aArchive, const PlainWriter& aPlain)
{
    const std::vector<ktstd_ArchiveObject> objects = aArchive.Objects();
    ASSERT_EQ(objects.size(), aPlain.record.objects().size());
    for (std::size_t i = 0; i < objects.size(); ++i) {
        const kt_test::RecordObject& plain = aPlain.record.objects()[i];
        ASSERT_EQ(objects[i].number, i + 1);
        ASSERT_EQ(objects[i].className, plain.className);
        ASSERT_EQ(objects[i].offset, plain.offset);
        ASSERT_EQ(objects[i].length, plain.length);
    }
}

//! Stores random steps with the library and the plain writer; gives the finished archive.
kt_test::Bytes storeBoth(unsigned aSeed)
{
    Play play(aSeed);
    ktstd_Archive archive;
    PlainWriter plain;
    std::map<std::string, long> versions = ktstd_Schema::NewestVersions();
    for (std::size_t count = play.Below(60); count > 0; --count) {
        const Step step = play.Next();
        store(archive, step);
        plain.Store(step);
        EXPECT_EQ(archive.Position(), plain.record.bytes().size());
        if (play.Below(8) == 0) {
            compareDirectory(archive, plain);
        }
        if (play.Below(20) == 0) {
            // The header takes another size than when the data started.
            const std::string name(1 + play.Below(255), 'Z');
            archive.SetClassVersion(ktstd_AsciiString(name.c_str()), -1);
            versions[name] = -1;
        }
    }
    archive << kEnd;
    plain.record.u8(kEnd);
    const std::vector<std::pair<std::string, std::int32_t>> listed(versions.begin(),
                                                                   versions.end());
    EXPECT_EQ(archive.Finish(), kt_test::putTogether(16, listed, plain.record)) << aSeed;
    EXPECT_EQ(archive.Position(), archive.Finish().size());
    return archive.Finish();
}

} // namespace

void Bag::Serialize(ktstd_Archive& aArchive)
{
    if (aArchive.IsStoring() != 0) {
        for (const Step& step : steps) {
            store(aArchive, step);
        }
        if (raises) {
            ktstd_fail_DomainError::Raise("asked for by the test");
        }
        aArchive << kEnd;
        return;
    }
    unsigned char kind = 0;
    for (aArchive >> kind; kind != kEnd; aArchive >> kind) {
        steps.push_back(load(aArchive, kind));
    }
}

TEST(ktstd_ArchivePlainWriter, RandomStepsGiveThePlainBytes)
{
    for (unsigned seed = 1; seed <= 150 && !HasFailure(); ++seed) {
        storeBoth(seed);
    }
}

TEST(ktstd_ArchivePlainWriter, RandomStepsAreLoadedAsThePlainReaderReadsThem)
{
    for (unsigned seed = 1001; seed <= 1100 && !HasFailure(); ++seed) {
        const kt_test::Bytes bytes = storeBoth(seed);
        const kt_test::ArchiveParts parts = kt_test::takeApart(bytes);
        kt_test::ByteReader reader(parts.data, 0, parts.data.size());
        PlainReader plain;
        ktstd_Archive archive{kt_test::Bytes(bytes)};
        Description loaded;
        std::string wanted;
        for (unsigned kind = reader.u8(); kind != kEnd; kind = reader.u8()) {
            wanted += plain.Load(reader, kind);
            unsigned char found = 0;
            archive >> found;
            ASSERT_EQ(found, kind);
            loaded.Add(load(archive, found));
            ASSERT_EQ(archive.Position(), parts.dataStart + reader.place());
            ASSERT_EQ(archive.Remaining(), parts.data.size() - reader.place());
        }
        EXPECT_EQ(loaded.text, wanted) << seed;
        untie(loaded);
    }
}

TEST(ktstd_ArchivePlainWriter, LargeArchiveHoldsItsBlocks)
{
    constexpr std::size_t kBlock = std::size_t{9} << 20U;
    const Hnd_Link link(new Link(5));
    ktstd_Archive storing;
    for (int i = 0; i < 5; ++i) {
        const std::string block(kBlock, static_cast<char>('a' + i));
        storing << link;
        storing.Write(block.data(), static_cast<long>(kBlock));
    }
    EXPECT_EQ(storing.Position(), 4 + 5 + 4 + 4 + 4 * 4 + 5 * kBlock);
    ktstd_Archive loading(storing.Finish());
    std::string block(kBlock, ' ');
    for (int i = 0; i < 5; ++i) {
        Hnd_Link loaded;
        loading >> loaded;
        EXPECT_EQ(loaded->number, 5);
        loading.Read(block.data(), static_cast<long>(kBlock));
        EXPECT_EQ(block.find_first_not_of(static_cast<char>('a' + i)), std::string::npos);
    }
    EXPECT_EQ(loading.Remaining(), 0U);
}

TEST(ktstd_ArchivePlainWriter, ClassTakenOutOfTheSchemaIsNeitherStoredNorLoadedAnyMore)
{
    const Hnd_Bag first(new Bag());
    const Hnd_Bag second(new Bag());
    ktstd_Archive complete;
    complete << first << second;
    ktstd_Archive storing;
    ktstd_Archive loading(complete.Finish());
    Hnd_Bag loaded;
    storing << first;
    loading >> loaded;
    const unsigned long long stored = storing.Position();
    ktstd_Schema::Unregister("Bag");
    EXPECT_TRUE(kt_test::raisesCode(ktstd_fail_FileIO::kUnknownClass, [&] { storing << second; }));
    EXPECT_TRUE(kt_test::raisesCode(ktstd_fail_FileIO::kUnknownClass, [&] { loading >> loaded; }));
    EXPECT_EQ(storing.Position(), stored);
    EXPECT_EQ(storing.Objects().size(), 1U);
    ASSERT_EQ(ktstd_Schema::Register("Bag", 0, makeBag), 1);
    storing << second;
    EXPECT_EQ(storing.Objects().size(), 2U);
}
