// Type descriptors when memory runs out while a class is asked for its own for the first time. Each
// class has a process of its own, since a descriptor is made once.

#include "ktmdl/ktmdl_ErosionPosSeq.h"
#include "ktmdl/ktmdl_Pnt3dSeq.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_TopoMap.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktmdl/ktmdl_Trsf3dSeq.h"
#include "ktstd/ktstd_MapNode.h"
#include "ktstd/ktstd_SeqNode.h"
#include "ktstd/ktstd_Session.h"
#include "ktstd/ktstd_TransientHSeq.h"
#include "ktstd/ktstd_Type.h"
#include "ktstd/ktstd_fail.h"
#include "support/AllocationFaults.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <new>
#include <ostream>
#include <string>

#if !defined(_WIN32) // a test that runs in a process of its own would start the program anew

namespace {

struct Class
{
    const char* name;
    Hnd_ktstd_Type& (*type)();
    Hnd_ktstd_Type& (*parent)(); //!< null for the root
};

std::ostream& operator<<(std::ostream& aStream, const Class& aClass)
{
    return aStream << aClass.name;
}

constexpr Class kClasses[] = {
    {"ktstd_Transient", ktstd_Transient_Type_, nullptr},
    {"ktstd_Type", ktstd_Type_Type_, ktstd_Transient_Type_},
    {"ktstd_TShared", ktstd_TShared_Type_, ktstd_Transient_Type_},
    {"ktstd_Session", ktstd_Session_Type_, ktstd_TShared_Type_},
    {"ktstd_TransientHSeq", ktstd_TransientHSeq_Type_, ktstd_TShared_Type_},
    {"ktstd_MapNode", ktstd_MapNode_Type_, ktstd_TShared_Type_},
    {"ktstd_SeqNode", ktstd_SeqNode_Type_, ktstd_TShared_Type_},
    {"ktstd_fail_Failure", ktstd_fail_Failure_Type_, ktstd_Transient_Type_},
    {"ktstd_fail_ProgramError", ktstd_fail_ProgramError_Type_, ktstd_fail_Failure_Type_},
    {"ktstd_fail_DivideByZero", ktstd_fail_DivideByZero_Type_, ktstd_fail_Failure_Type_},
    {"ktstd_fail_DomainError", ktstd_fail_DomainError_Type_, ktstd_fail_Failure_Type_},
    {"ktstd_fail_NoSuchObject", ktstd_fail_NoSuchObject_Type_, ktstd_fail_Failure_Type_},
    {"ktstd_fail_NullObject", ktstd_fail_NullObject_Type_, ktstd_fail_Failure_Type_},
    {"ktstd_fail_OutOfRange", ktstd_fail_OutOfRange_Type_, ktstd_fail_Failure_Type_},
    {"ktstd_fail_FileIO", ktstd_fail_FileIO_Type_, ktstd_fail_Failure_Type_},
    {"ktmdl_SequenceNodeOfErosionPosSeq", ktmdl_SequenceNodeOfErosionPosSeq_Type_,
     ktstd_SeqNode_Type_},
    {"ktmdl_SequenceNodeOfdtm3CrdSeq", ktmdl_SequenceNodeOfdtm3CrdSeq_Type_, ktstd_SeqNode_Type_},
    {"ktmdl_SequenceNodeOfTrsf3dSeq", ktmdl_SequenceNodeOfTrsf3dSeq_Type_, ktstd_SeqNode_Type_},
    {"ktmdl_SequenceNodeOfTopoSeq", ktmdl_SequenceNodeOfTopoSeq_Type_, ktstd_SeqNode_Type_},
    {"ktmdl_StdMapNodeOfTopoMap", ktmdl_StdMapNodeOfTopoMap_Type_, ktstd_MapNode_Type_},
    {"ktmdl_TopoHSeq", ktmdl_TopoHSeq_Type_, ktstd_TShared_Type_},
    {"ktmdl_Topo", ktmdl_Topo_Type_, ktstd_TShared_Type_},
};

//! Blocks that a descriptor takes for good: itself, its list of ancestors, a long name.
long blocksOf(const Class& aClass)
{
    const std::string name = aClass.name;
    return 1 + (aClass.parent != nullptr ? 1 : 0) +
           (name.capacity() > std::string().capacity() ? 1 : 0);
}

//! Asks for the descriptor with a later allocation failing each time, until it is there.
//! @return  what is wrong; empty when all is well
std::string askWithoutMemory(const Class& aClass)
{
    if (aClass.parent != nullptr) {
        (void)aClass.parent();
    }
    const long before = kt_test::Alive::Now().blocks;
    const Hnd_ktstd_Type* type = nullptr;
    long failed = 0;
    while (type == nullptr) {
        const kt_test::AllocationFault fault(failed + 1);
        try {
            type = &aClass.type();
        } catch (const std::bad_alloc&) {
            ++failed;
        }
    }
    const long taken = kt_test::Alive::Now().blocks - before;
    const bool hasParent = aClass.parent != nullptr;
    const Hnd_ktstd_Type* const ancestors = (*type)->Ancestors();
    if (failed == 0) {
        return "it had been made before";
    }
    if (taken != blocksOf(aClass)) {
        return "it took " + std::to_string(taken) + " blocks";
    }
    if (std::string((*type)->Name()) != aClass.name || &aClass.type() != type ||
        (hasParent ? *ancestors != aClass.parent() : ancestors->IsNull() == 0)) {
        return "it is damaged";
    }
    return "";
}

[[noreturn]] void leave(const std::string& aWhatIsWrong)
{
    std::cerr << aWhatIsWrong << std::endl;
    std::_Exit(aWhatIsWrong.empty() ? 0 : 1);
}

// So named that it runs before the tests that have descriptors made.
class memory_TypesDeathTest : public testing::TestWithParam<Class>
{
};

} // namespace

TEST_P(memory_TypesDeathTest, FirstRequestIsRefusedWholeAndLaterGranted)
{
    EXPECT_EXIT(leave(askWithoutMemory(GetParam())), testing::ExitedWithCode(0), "");
}

INSTANTIATE_TEST_SUITE_P(Classes, memory_TypesDeathTest, testing::ValuesIn(kClasses),
                         [](const testing::TestParamInfo<Class>& aInfo) {
                             return std::string(aInfo.param.name);
                         });

#endif
