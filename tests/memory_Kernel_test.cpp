// Strings, archives, schema, log, failures and automation helpers when memory runs out.

#include "com/Com.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_BasicMap.h"
#include "ktstd/ktstd_ComTools.h"
#include "ktstd/ktstd_Debug.h"
#include "ktstd/ktstd_Dim.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_Session.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "ktstd/ktstd_fail.h"
#include "support/AllocationFaults.h"
#include "support/FakeDispatch.h"
#include "support/MemorySweep.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

namespace {

using kt_test::Alive;
using kt_test::AllocationFault;
using kt_test::Leaves;
using kt_test::Operation;
using kt_test::operation;
using kt_test::OwnWork;
using kt_test::Shortage;
using kt_test::Tells;

const char* const kLong = "a text that is longer than what a string keeps within itself";

// Strings

struct Strings
{
    [[nodiscard]] std::string State() const
    {
        return std::string(text.ToCString()) + "/" + other.ToCString();
    }

    ktstd_AsciiString text{"old"};
    ktstd_AsciiString other{kLong};
    _bstr_t wide{L"a wide text that is longer than what a string keeps within itself"};
};

void addStrings(std::vector<Operation>& aAll)
{
    const auto add = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<Strings>("ktstd_AsciiString" + aOperation, Leaves::AllAsBefore,
                                          Tells::ByRaising, aRun,
                                          [](const Strings& s) { return s.State(); }));
    };
    add("OfText", [](Strings& s) { s.text = ktstd_AsciiString(kLong); });
    add("OfWideText", [](Strings& s) { s.text = ktstd_AsciiString(s.wide); });
    add("Copy", [](Strings& s) { s.text.Copy(s.other); });
    add("AssignCat", [](Strings& s) { s.text.AssignCat(s.other); });
    add("AssignCatOfText", [](Strings& s) { s.text.AssignCat(kLong); });
    add("AssignCatOfItself", [](Strings& s) { s.other.AssignCat(s.other); });
    add("AssignCatOfItsOwnText", [](Strings& s) { s.other.AssignCat(s.other.ToCString()); });
    add("Output", [](Strings& s) {
        std::unique_ptr<std::ostringstream> stream;
        {
            const OwnWork own;
            stream = std::make_unique<std::ostringstream>();
            stream->exceptions(std::ios_base::badbit);
        }
        *stream << s.other;
        s.text = ktstd_AsciiString(stream->str().c_str());
    });
}

// Archives

//! A list of two lists and a null, with one of them twice.
Hnd_ktstd_TransientHSeq nestedLists()
{
    Hnd_ktstd_TransientHSeq list(new ktstd_TransientHSeq);
    const Hnd_ktstd_TransientHSeq inner(new ktstd_TransientHSeq);
    inner->Append(Hnd_ktstd_TransientHSeq(new ktstd_TransientHSeq));
    list->Append(inner);
    list->Append(Hnd_ktstd_Transient());
    list->Append(inner);
    return list;
}

std::string shown(const Hnd_ktstd_Transient& aObject)
{
    const Hnd_ktstd_TransientHSeq list = Hnd_ktstd_TransientHSeq::DownCast(aObject);
    if (list.IsNull() != 0) {
        return "null";
    }
    std::string text = "(";
    for (long i = 1; i <= list->Length(); ++i) {
        text += shown(list->Value(i));
    }
    return text + ")";
}

//! A storing archive that holds a number and a list.
struct Storing
{
    Storing()
    {
        archive << 7L;
        archive << Hnd_ktstd_Transient(first);
    }
    [[nodiscard]] std::string State() const
    {
        std::string text = std::to_string(archive.Position()) + " bytes";
        for (const ktstd_ArchiveObject& object : archive.Objects()) {
            text += ", " + object.className + " at " + std::to_string(object.offset) + "+" +
                    std::to_string(object.length);
        }
        return text + ", version " + std::to_string(archive.ClassVersion(name)) + ", " + result;
    }

    ktstd_Archive archive;
    Hnd_ktstd_TransientHSeq first{nestedLists()};
    Hnd_ktstd_TransientHSeq second{nestedLists()};
    ktstd_AsciiString name{kLong};
    // Longer than what an archive has room for.
    std::string block = std::string(20000, 'b');
    ktstd_AsciiString longText{block.c_str()};
    std::string result;
};

struct Loading
{
    Loading()
    {
        ktstd_Archive storing;
        storing << Hnd_ktstd_Transient(nestedLists()) << ktstd_AsciiString(kLong) << 7L;
        bytes = storing.Finish();
        archive = std::make_unique<ktstd_Archive>(bytes);
    }
    [[nodiscard]] std::string State() const
    {
        return shown(object) + " " + text.ToCString() + " " + std::to_string(number) + " " + result;
    }

    std::vector<unsigned char> bytes;
    std::unique_ptr<ktstd_Archive> archive;
    std::unique_ptr<ktstd_Archive> made;
    Hnd_ktstd_Transient object;
    ktstd_AsciiString text;
    long number{0};
    std::string result;
};

std::string contentOf(const std::string& aPath)
{
    std::ifstream file(aPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

//! A folder with one file that holds an archive.
struct Files
{
    Files()
    {
        ktstd_Archive old;
        old << Hnd_ktstd_Transient(nestedLists());
        old.Save(path.c_str());
        archive << 7L;
    }
    [[nodiscard]] std::string State() const
    {
        std::string text;
        for (const std::string& name : folder.Names()) {
            text += name + ": " + std::to_string(contentOf(folder.File(name)).size()) + " bytes, ";
        }
        return text + shown(object);
    }

    kt_test::TempFolder folder;
    std::string path = folder.File("an archive with a name that is not short");
    ktstd_Archive archive;
    Hnd_ktstd_Transient object;
};

void addArchives(std::vector<Operation>& aAll)
{
    const auto store = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<Storing>("ktstd_Archive" + aOperation, Leaves::AllAsBefore,
                                          Tells::ByRaising, aRun,
                                          [](const Storing& s) { return s.State(); }));
    };
    store("OfStoring", [](Storing& s) {
        const ktstd_Archive archive;
        const OwnWork own;
        s.result = std::to_string(archive.ClassVersions().size());
    });
    store("WriteBlock",
          [](Storing& s) { s.archive.Write(s.block.data(), static_cast<long>(s.block.size())); });
    store("WriteObject", [](Storing& s) { s.archive << Hnd_ktstd_Transient(s.second); });
    store("SetClassVersion", [](Storing& s) { s.archive.SetClassVersion(kLong, 5); });
    store("Finish", [](Storing& s) { s.archive.Finish(); });
    store("Close", [](Storing& s) { s.archive.Close(); });
    store("ObjectsWhileStoring", [](Storing& s) {
        const auto objects = s.archive.Objects();
        const OwnWork own;
        s.result = std::to_string(objects.size());
    });
    store("WrongModeFailure", [](Storing& s) {
        try {
            long number = 0;
            s.archive >> number;
        } catch (const Hnd_ktstd_fail_FileIO& failure) {
            const OwnWork own;
            s.result = failure->Message();
        }
    });

    // The length that was stored before the text stays.
    aAll.push_back(operation<Storing>(
        "ktstd_ArchiveWriteText", Leaves::PartDone, Tells::ByRaising,
        [](Storing& s) { s.archive << s.longText; }, [](const Storing& s) { return s.State(); }));

    const auto load = [&](const std::string& aOperation, Leaves aLeaves, auto aRun) {
        aAll.push_back(operation<Loading>("ktstd_Archive" + aOperation, aLeaves, Tells::ByRaising,
                                          aRun, [](const Loading& s) { return s.State(); }));
    };
    load("OfLoading", Leaves::AllAsBefore, [](Loading& s) {
        s.made = std::make_unique<ktstd_Archive>(s.bytes);
        s.number = static_cast<long>(s.made->Remaining());
    });
    load("OfForeignBytes", Leaves::AllAsBefore, [](Loading& s) {
        try {
            const ktstd_Archive archive(std::vector<unsigned char>(100, 'x'));
        } catch (const Hnd_ktstd_fail_FileIO& failure) {
            const OwnWork own;
            s.result = failure->Message();
        }
    });
    load("Objects", Leaves::AllAsBefore, [](Loading& s) {
        const auto objects = s.archive->Objects();
        const OwnWork own;
        s.result = std::to_string(objects.size());
    });
    // What was read before stays read.
    load("ReadObject", Leaves::PartDone, [](Loading& s) { *s.archive >> s.object; });
    load("ReadAll", Leaves::PartDone,
         [](Loading& s) { *s.archive >> s.object >> s.text >> s.number; });

    const auto file = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<Files>("ktstd_Archive" + aOperation, Leaves::AllAsBefore,
                                        Tells::ByRaising, aRun,
                                        [](const Files& f) { return f.State(); }));
    };
    file("Save", [](Files& f) { f.archive.Save(f.path.c_str()); });
    file("SaveToANewFile",
         [](Files& f) { f.archive.Save((f.path + " as it was not there before").c_str()); });
    file("FromFile", [](Files& f) {
        ktstd_Archive archive = ktstd_Archive::FromFile(f.path.c_str());
        archive >> f.object;
    });
}

// Schema

Hnd_ktstd_Transient makeList()
{
    return Hnd_ktstd_Transient(new ktstd_TransientHSeq);
}

struct Schema
{
    Schema() = default;
    Schema(const Schema&) = delete;
    Schema& operator=(const Schema&) = delete;
    ~Schema() { ktstd_Schema::Unregister(kLong); }
    [[nodiscard]] std::string State() const
    {
        return std::to_string(ktstd_Schema::LastClassVersion(kLong)) + " " + shown(object) + " " +
               result;
    }

    std::unique_ptr<ktstd_SchemaEntry> entry;
    Hnd_ktstd_Transient object;
    std::string name = "ktstd_TransientHSeq";
    std::string result;
};

void addSchema(std::vector<Operation>& aAll)
{
    const auto add = [&](const std::string& aOperation, Tells aTells, auto aRun) {
        aAll.push_back(operation<Schema>("ktstd_Schema" + aOperation, Leaves::AllAsBefore, aTells,
                                         aRun, [](const Schema& s) { return s.State(); }));
    };
    add("Register", Tells::ByRaising, [](Schema&) { ktstd_Schema::Register(kLong, 3, makeList); });
    add("Entry", Tells::InItsResult, [](Schema& s) {
        s.entry.reset();
        s.entry = std::make_unique<ktstd_SchemaEntry>(kLong, 3, makeList);
    });
    add("Make", Tells::ByRaising, [](Schema& s) { s.object = ktstd_Schema::Make(s.name); });
    add("ClassVersion", Tells::ByRaising, [](Schema& s) {
        const long version = ktstd_Schema::ClassVersion("ktstd_TransientHSeq");
        const OwnWork own;
        s.result = std::to_string(version);
    });
    add("NewestVersions", Tells::ByRaising, [](Schema& s) {
        const std::map<std::string, long> versions = ktstd_Schema::NewestVersions();
        const OwnWork own;
        s.result = std::to_string(versions.size());
    });
}

// Objects and failures

struct Objects
{
    [[nodiscard]] std::string State() const { return shown(list) + " " + result; }

    Hnd_ktstd_TransientHSeq list{nestedLists()};
    std::string result;
};

template <class Raise>
std::string messageOf(Raise aRaise)
{
    std::string message;
    try {
        aRaise();
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        const OwnWork own;
        message = std::string(failure->ClassName()) + ": " + failure->Message();
    }
    return message;
}

void addObjects(std::vector<Operation>& aAll)
{
    const auto add = [&](const std::string& aOperation, Tells aTells, auto aRun) {
        aAll.push_back(operation<Objects>(aOperation, Leaves::AllAsBefore, aTells, aRun,
                                          [](const Objects& o) { return o.State(); }));
    };
    add("ktstd_TransientHSeqAppend", Tells::ByRaising,
        [](Objects& o) { o.list->Append(Hnd_ktstd_Transient()); });
    add("ktstd_TransientHSeqOfNothing", Tells::ByRaising,
        [](Objects& o) { o.list = new ktstd_TransientHSeq; });
    add("ktstd_Type", Tells::ByRaising, [](Objects& o) {
        const Hnd_ktstd_Type type(new ktstd_Type(kLong, 8, 0, nullptr));
        const OwnWork own;
        o.result = type->Name();
    });
    add("ktstd_TypeAncestors", Tells::ByRaising, [](Objects& o) {
        ktstd_TypeAncestors ancestors(ktstd_TransientHSeq_Type_());
        o.result = ancestors.Array() != nullptr ? "made" : "";
    });
    add("ktstd_SessionSetCurSession", Tells::ByRaising, [](Objects& o) {
        ktstd_Session::SetCurSession(Hnd_ktstd_Session(new ktstd_Session));
        o.result = ktstd_Session::CurSession().IsNull() == 0 ? "set" : "";
        ktstd_Session::SetCurSession(Hnd_ktstd_Session());
    });
    add("ktstd_failRaise", Tells::ByRaising,
        [](Objects& o) { o.result = messageOf([] { ktstd_fail_OutOfRange::Raise(kLong); }); });
    add("ktstd_failRaiseOfANullHandle", Tells::ByRaising, [](Objects& o) {
        o.result = messageOf([] { static_cast<void>(Hnd_ktstd_TransientHSeq()->Length()); });
    });
    // A message that can't be composed as a whole is cut short.
    aAll.push_back(operation<Objects>(
        "ktstd_failRaiseOfAnIndex", Leaves::FreshStart, Tells::InItsResult,
        [](Objects& o) { o.result = messageOf([&o] { static_cast<void>(o.list->Value(99)); }); },
        [](const Objects& o) { return o.State(); }));
}

// The log

//! A log that is not open yet.
struct Log
{
    Log() { ktstd_Debug::SetLogPath(folder.File("a log with a name that is not short").c_str()); }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    ~Log() { ktstd_Debug::SetLogPath(nullptr); }
    [[nodiscard]] std::string State() const
    {
        std::string text = result;
        for (const std::string& name : folder.Names()) {
            text += name + ": " + contentOf(folder.File(name));
        }
        return text;
    }

    kt_test::TempFolder folder;
    std::string result;
};

void addLog(std::vector<Operation>& aAll)
{
    const auto add = [&](const std::string& aOperation, Leaves aLeaves, Tells aTells, auto aRun) {
        aAll.push_back(operation<Log>("ktstd_Debug" + aOperation, aLeaves, aTells, aRun,
                                      [](const Log& l) { return l.State(); }));
    };
    // What can't be written is lost.
    add("LogPrint", Leaves::FreshStart, Tells::InItsResult,
        [](Log&) { ktstd_Debug::LogPrint() << kLong << std::endl; });
    add("LogPath", Leaves::AllAsBefore, Tells::ByRaising, [](Log& l) {
        ktstd_Debug::SetLogPath("a path in a place that does not exist/with a file in it");
        const char* const path = ktstd_Debug::LogPath();
        const OwnWork own;
        l.result = path;
    });
}

// Automation helpers

struct Host
{
    Host()
    {
        object.Property(L"Name", fake::givesText(L"a name that no string keeps within itself"));
        object.Property(L"Number", fake::givesNumber(7));
        object.Property(L"Parent", fake::givesObject(&object));
        object.Property(L"Bytes", [](const fake::Args&, VARIANT* aResult) {
            V_VT(aResult) = VT_ARRAY | VT_UI1;
            V_ARRAY(aResult) = fake::arrayOf(std::vector<unsigned char>{1, 2, 3});
            return S_OK;
        });
    }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;
    ~Host()
    {
        SysFreeString(text);
        SafeArrayDestroy(array);
        VariantClear(&value);
        parent = nullptr;
        EXPECT_EQ(object.Held(), 1) << "held by others than this";
    }
    [[nodiscard]] std::string State() const
    {
        std::string shown = std::to_string(static_cast<HRESULT>(code)) + " " + name.ToCString();
        shown += text != nullptr ? " text" : "";
        shown += parent != nullptr ? " parent" : "";
        shown += array != nullptr ? " array" : "";
        return shown + " " + std::to_string(V_VT(&value));
    }

    fake::World world;
    fake::Object& object{world.Make("object")};
    IDispatchPtr pointer{object.Ptr()};
    IDispatchPtr parent;
    ktstd_AsciiString name{"old"};
    BSTR text{nullptr};
    SAFEARRAY* array{nullptr};
    VARIANT value{};
    long code{1};
};

void addAutomation(std::vector<Operation>& aAll)
{
    const auto add = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<Host>(aOperation, Leaves::FreshStart, Tells::InItsResult, aRun,
                                       [](const Host& h) { return h.State(); }));
    };
    add("ComGetPropertyAsText",
        [](Host& h) { h.code = ComGetProperty(h.pointer, L"Name", h.name); });
    add("ComGetPropertyOfANumberAsText",
        [](Host& h) { h.code = ComGetProperty(h.pointer, L"Number", h.name); });
    add("ComGetPropertyAsString",
        [](Host& h) { h.code = ComGetProperty(h.pointer, L"Number", VT_BSTR, &h.text); });
    add("ComGetPropertyAsVariant",
        [](Host& h) { h.code = ComGetProperty(h.pointer, L"Name", VT_VARIANT, &h.value); });
    add("ComGetPropertyAsArray",
        [](Host& h) { h.code = ComGetProperty(h.pointer, L"Bytes", VT_ARRAY | VT_UI1, &h.array); });
    add("PutValuesInSafeArray", [](Host& h) {
        const double values[] = {1, 2, 3};
        h.code = PutValuesInSafeArray(3, values, &h.array);
    });
}

std::vector<Operation> operations()
{
    std::vector<Operation> all;
    addStrings(all);
    addArchives(all);
    addSchema(all);
    addObjects(all);
    addLog(all);
    addAutomation(all);
    return all;
}

//! A map of the form with two arrays.
class TwoArrays : public ktstd_BasicMap
{
public:
    TwoArrays() : ktstd_BasicMap(0, 0) {}

    //! Makes room for a number of keys, while memory runs out at an allocation.
    //! @return  whether it ran out
    bool CantGrowTo(long aSize, long aNth)
    {
        long buckets = 0;
        ktstd_MapNode* first = nullptr;
        ktstd_MapNode* second = nullptr;
        try {
            const AllocationFault fault(aNth, Shortage::Lasting);
            BeginResize(aSize, buckets, first, second);
        } catch (const std::bad_alloc&) {
            return true;
        }
        EndResize(aSize, buckets, first, second);
        return false;
    }
};

class Kernel : public testing::TestWithParam<Operation>
{
};

} // namespace

TEST(memory_BasicMap, SecondArrayThatCantBeMadeTakesTheFirstWithIt)
{
    const Alive before = Alive::Now();
    TwoArrays map;
    EXPECT_TRUE(map.CantGrowTo(100, 2));
    EXPECT_EQ(map.NbBuckets(), 0);
    EXPECT_TRUE(Alive::Now() == before);
    EXPECT_FALSE(map.CantGrowTo(100, 3)) << "two arrays are all it takes";
    EXPECT_GT(map.NbBuckets(), 100);
}

TEST(memory_BasicMap, NoTableHasMoreThanTwoToTheThirtiethSlots)
{
    TwoArrays map;
    const bool ranOut = map.CantGrowTo(std::numeric_limits<std::int32_t>::max(), 1);
    const std::size_t size = AllocationFault::Size();
    EXPECT_TRUE(ranOut);
    EXPECT_EQ(size, (std::size_t{1} << 30) * sizeof(void*));
}

TEST(memory_TShared, ChainIsDeletedWithoutMemoryToPutDeletionsOff)
{
    const Alive before = Alive::Now();
    Hnd_ktstd_TransientHSeq chain;
    for (int i = 0; i < 500; ++i) {
        const Hnd_ktstd_TransientHSeq outer(new ktstd_TransientHSeq);
        outer->Append(chain);
        chain = outer;
    }
    {
        const AllocationFault fault(1, Shortage::Lasting);
        chain.Nullify();
    }
    EXPECT_GT(AllocationFault::Asked(), 0) << "nothing was put off";
    EXPECT_TRUE(Alive::Now() == before);
}

TEST_P(Kernel, LosesNothingWhenMemoryRunsOut)
{
    kt_test::sweep(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Memory, Kernel, testing::ValuesIn(operations()),
                         [](const auto& aInfo) { return aInfo.param.name; });
