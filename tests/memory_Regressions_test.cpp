// Mistakes that the sweeps found where memory ran out, each by itself.

#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Debug.h"
#include "ktstd/ktstd_File_detail.h"
#include "ktstd/ktstd_StrStream.h"
#include "ktstd/ktstd_fail.h"
#include "support/AllocationFaults.h"
#include "support/TempFolder.h"
#include "support/TestTopo.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <new>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using kt_test::Alive;
using kt_test::AllocationFault;
using kt_test::makeTopo;
using kt_test::Shortage;
using kt_test::TempFolder;

//! Runs something while memory runs out at an allocation.
//! @return  whether it raised std::bad_alloc
template <class Action>
bool runsOut(long aNth, Action aAction)
{
    try {
        const AllocationFault fault(aNth, Shortage::Lasting);
        aAction();
        return false;
    } catch (const std::bad_alloc&) {
        return true;
    }
}

} // namespace

TEST(memory_Regressions, SplitWithoutMemoryKeepsTheTail)
{
    const Hnd_ktmdl_TopoHSeq sequence(new ktmdl_TopoHSeq);
    const Hnd_ktmdl_Topo topos[] = {makeTopo({1}), makeTopo({2}), makeTopo({3})};
    for (const Hnd_ktmdl_Topo& topo : topos) {
        sequence->Append(topo);
    }
    Hnd_ktmdl_TopoHSeq tail;
    long faults = 0;
    while (faults < 100 && runsOut(faults + 1, [&] { tail = sequence->Split(2); })) {
        ++faults;
        ASSERT_EQ(sequence->Length(), 3) << "at allocation " << faults;
        EXPECT_EQ(sequence->Value(2), topos[1]);
        EXPECT_EQ(sequence->Value(3), topos[2]);
    }
    EXPECT_EQ(faults, 3) << "the new sequence, and a node for each of two elements";
    EXPECT_EQ(tail->Length(), 2);
    EXPECT_EQ(sequence->Length(), 1);
}

TEST(memory_Regressions, SaveWithoutMemoryForItsMoveLeavesTheOldFileOrTheNewOne)
{
    //! Memory runs out at the move.
    class Exhausted : public ktstd_detail::FileCalls
    {
    public:
        std::error_code Move(const fs::path& aFrom, const fs::path& aTo) override
        {
            const AllocationFault fault(1, Shortage::Lasting);
            return FileCalls::Move(aFrom, aTo);
        }
    };
    const TempFolder folder;
    const std::string path = folder.File("data.kta");
    ktstd_Archive().Save(path.c_str());
    ktstd_Archive archive;
    archive << 7L;
    Exhausted calls;
    bool isRefused = false;
    try {
        ktstd_detail::WriteWholeFile(path, archive.Finish(), calls);
    } catch (const std::bad_alloc&) {
        isRefused = true;
    }
    EXPECT_EQ(ktstd_Archive::FromFile(path.c_str()).Remaining(), isRefused ? 0U : 4U);
    EXPECT_EQ(folder.Names(), std::set<std::string>{"data.kta"});
}

TEST(memory_Regressions, LogOpenedWithoutMemoryWritesAgain)
{
    const TempFolder folder;
    for (long nth = 1; nth < 100; ++nth) {
        const std::string path =
            folder.File("a log with a long name, number " + std::to_string(nth));
        ktstd_Debug::SetLogPath(path.c_str());
        ASSERT_FALSE(runsOut(nth, [] { ktstd_Debug::LogPrint() << "lost "; }));
        const long asked = AllocationFault::Asked();
        ktstd_Debug::LogPrint() << "kept" << std::endl;
        ktstd_Debug::SetLogPath(nullptr);
        std::ifstream file(fs::u8path(path), std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        if (asked < nth) { // by then there was memory for everything
            EXPECT_EQ(text, "lost kept\n");
            EXPECT_GT(nth, 1) << "opening a log takes no memory";
            return;
        }
        EXPECT_EQ(text, "kept\n") << "opened without allocation " << nth;
    }
    ADD_FAILURE() << "a log can't be opened";
}

TEST(memory_Regressions, FailureWithoutMemoryForItsTextFreesTheTextsBuffer)
{
    const Alive before = Alive::Now();
    {
        std::strstream text;
        text << "a text that is longer than what a string keeps within itself" << std::ends;
        EXPECT_TRUE(runsOut(1, [&] { ktstd_fail_OutOfRange::Raise(text); }));
    }
    EXPECT_TRUE(Alive::Now() == before);
}

TEST(memory_Regressions, KeyRefreshWithoutMemoryKeepsTheReferenceRegistered)
{
    Scene scene;
    fake::Object& face = scene.Keyed("face", {1});
    const Hnd_ktmdl_Topo topo = newTopo(face, 5);
    scriptKey(face, {2, 3});
    long faults = 0;
    while (faults < 100 && runsOut(faults + 1, [&] { topo->UpdateReferenceKey(); })) {
        ++faults;
        EXPECT_EQ(keyOf(topo), Bytes{1});
        EXPECT_TRUE(isRegistered({1})) << "at allocation " << faults;
    }
    EXPECT_GT(faults, 0);
    EXPECT_EQ(keyOf(topo), (Bytes{2, 3}));
    EXPECT_TRUE(isRegistered({2, 3}));
}
