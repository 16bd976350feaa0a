// Dumps, failures and records of values when memory runs out.

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_BBox2d.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_CrdSys3d.h"
#include "ktmdl/ktmdl_ErosionPos.h"
#include "ktmdl/ktmdl_ShowVariable.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_Trsf2d.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_Vec2d.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Debug.h"
#include "ktstd/ktstd_fail.h"
#include "support/AllocationFaults.h"
#include "support/MemorySweep.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

using kt_test::Leaves;
using kt_test::Operation;
using kt_test::operation;
using kt_test::OwnWork;
using kt_test::Tells;

//! A value and a log that is not open yet.
template <class Value>
struct Dumped
{
    Dumped() { ktstd_Debug::SetLogPath(path.c_str()); }
    Dumped(const Dumped&) = delete;
    Dumped& operator=(const Dumped&) = delete;
    ~Dumped() { ktstd_Debug::SetLogPath(nullptr); }
    [[nodiscard]] std::string State() const
    {
        std::ifstream file(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }

    kt_test::TempFolder folder;
    std::string path = folder.File("a log with a name that is not short");
    Value value;
};

//! Text for which there is no memory is lost; nothing is raised.
template <class Value>
void addDump(const std::string& aName, std::vector<Operation>& aAll)
{
    using Subject = Dumped<Value>;
    aAll.push_back(operation<Subject>(
        "ShowVariableOf" + aName, Leaves::PartDone, Tells::InItsResult,
        [](Subject& s) { ShowVariable("name", s.value); },
        [](const Subject& s) { return s.State(); }));
}

//! A value, an archive to store it in, and one to load it from.
template <class Value>
struct Recorded
{
    Recorded()
    {
        ktstd_Archive archive;
        value.Serialize(archive);
        loading = std::make_unique<ktstd_Archive>(archive.Finish());
    }
    [[nodiscard]] std::string State() const
    {
        return std::to_string(storing.Position()) + " bytes, " +
               std::to_string(loading->Remaining()) + " left";
    }

    Value value;
    ktstd_Archive storing;
    std::unique_ptr<ktstd_Archive> loading;
};

template <class Value, class Run>
Operation recordOperation(const std::string& aName, Run aRun)
{
    // What was stored or loaded before stays.
    using Subject = Recorded<Value>;
    return operation<Subject>(aName, Leaves::PartDone, Tells::ByRaising, aRun,
                              [](const Subject& s) { return s.State(); });
}
template <class Value>
Operation store(const std::string& aName)
{
    return recordOperation<Value>(aName + "Store",
                                  [](Recorded<Value>& r) { r.value.Serialize(r.storing); });
}
template <class Value>
Operation load(const std::string& aName)
{
    return recordOperation<Value>(aName + "Load",
                                  [](Recorded<Value>& r) { r.value.Serialize(*r.loading); });
}

struct Failing
{
    [[nodiscard]] std::string State() const { return message; }

    std::string message;
};

//! A message for which there is not enough memory is cut short.
template <class Call>
void addFailure(const std::string& aName, std::vector<Operation>& aAll, Call aCall)
{
    aAll.push_back(operation<Failing>(
        aName, Leaves::FreshStart, Tells::InItsResult,
        [aCall](Failing& f) {
            try {
                aCall();
            } catch (const Hnd_ktstd_fail_Failure& failure) {
                const OwnWork own;
                f.message = std::string(failure->ClassName()) + ": " + failure->Message();
            }
        },
        [](const Failing& f) { return f.State(); }));
}

std::vector<Operation> operations()
{
    std::vector<Operation> all;
    addDump<ktmdl_Pnt2d>("ktmdl_Pnt2d", all);
    addDump<ktmdl_Vec2d>("ktmdl_Vec2d", all);
    addDump<ktmdl_Pnt3d>("ktmdl_Pnt3d", all);
    addDump<ktmdl_Vec3d>("ktmdl_Vec3d", all);
    addDump<ktmdl_Axis3d>("ktmdl_Axis3d", all);
    addDump<ktmdl_CrdSys3d>("ktmdl_CrdSys3d", all);
    addDump<ktmdl_BBox2d>("ktmdl_BBox2d", all);
    addDump<ktmdl_BBox3d>("ktmdl_BBox3d", all);
    addDump<ktmdl_ErosionPos>("ktmdl_ErosionPos", all);
    addDump<ktmdl_Trsf2d>("ktmdl_Trsf2d", all);
    addDump<ktmdl_Trsf3d>("ktmdl_Trsf3d", all);
    addDump<Hnd_ktmdl_Topo>("Hnd_ktmdl_Topo", all);
    all.push_back(store<ktmdl_Pnt2d>("ktmdl_Pnt2d"));
    all.push_back(store<ktmdl_Pnt3d>("ktmdl_Pnt3d"));
    all.push_back(store<ktmdl_Axis3d>("ktmdl_Axis3d"));
    all.push_back(store<ktmdl_CrdSys3d>("ktmdl_CrdSys3d"));
    all.push_back(store<ktmdl_BBox2d>("ktmdl_BBox2d"));
    all.push_back(store<ktmdl_BBox3d>("ktmdl_BBox3d"));
    all.push_back(store<ktmdl_ErosionPos>("ktmdl_ErosionPos"));
    all.push_back(store<ktmdl_Trsf3d>("ktmdl_Trsf3d"));
    all.push_back(load<ktmdl_ErosionPos>("ktmdl_ErosionPos")); // its class names are long
    addFailure("ktmdlAngle2DOfNoVector", all,
               [] { static_cast<void>(ktmdl::Angle2D(0, 0, 1, 0)); });
    addFailure("ktmdlChooseAngleOfNoAngle", all,
               [] { static_cast<void>(ktmdl::ChooseAngle(0.5, 0.5)); });
    addFailure("ktmdl_Vec3dNormalizeOfNoVector", all, [] { ktmdl_Vec3d().Normalize(); });
    return all;
}

//! Operations that take no memory.
std::vector<Operation> frugalOperations()
{
    return {load<ktmdl_Pnt2d>("ktmdl_Pnt2d"),   load<ktmdl_Pnt3d>("ktmdl_Pnt3d"),
            load<ktmdl_Axis3d>("ktmdl_Axis3d"), load<ktmdl_CrdSys3d>("ktmdl_CrdSys3d"),
            load<ktmdl_BBox2d>("ktmdl_BBox2d"), load<ktmdl_BBox3d>("ktmdl_BBox3d"),
            load<ktmdl_Trsf3d>("ktmdl_Trsf3d")};
}

class FrugalValues : public testing::TestWithParam<Operation>
{
};

class Values : public testing::TestWithParam<Operation>
{
};

} // namespace

TEST_P(Values, LoseNothingWhenMemoryRunsOut)
{
    kt_test::sweep(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Memory, Values, testing::ValuesIn(operations()),
                         [](const auto& aInfo) { return aInfo.param.name; });

TEST_P(FrugalValues, NeedNoMemory)
{
    kt_test::runWithoutMemory(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Memory, FrugalValues, testing::ValuesIn(frugalOperations()),
                         [](const auto& aInfo) { return aInfo.param.name; });
