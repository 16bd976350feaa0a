// Sequences and maps of the model library when memory runs out.

#include "ktmdl/ktmdl_ErosionPosSeq.h"
#include "ktmdl/ktmdl_Pnt3dSeq.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_TopoMap.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktmdl/ktmdl_Trsf3dSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "support/AllocationFaults.h"
#include "support/MemorySweep.h"
#include "support/TestTopo.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

using kt_test::Leaves;
using kt_test::makeTopo;
using kt_test::Operation;
using kt_test::operation;
using kt_test::OwnWork;
using kt_test::Tells;

// How elements are made of a number, and shown.

void make(long aNumber, ktmdl_Pnt3d& aPoint)
{
    aPoint = ktmdl_Pnt3d(static_cast<double>(aNumber), 0, 0);
}
void make(long aNumber, ktmdl_ErosionPos& aPosition)
{
    aPosition = ktmdl_ErosionPos(static_cast<double>(aNumber), 0, 0, ktstd_Dim(0));
}
void make(long aNumber, ktmdl_Trsf3d& aTrsf)
{
    aTrsf.SetTranslation(ktmdl_Vec3d(static_cast<double>(aNumber), 0, 0), 1);
}
void make(long aNumber, Hnd_ktmdl_Topo& aTopo)
{
    aTopo = makeTopo({static_cast<unsigned char>(aNumber)});
}

long numberOf(const ktmdl_Pnt3d& aPoint)
{
    return static_cast<long>(aPoint.mX);
}
long numberOf(const ktmdl_ErosionPos& aPosition)
{
    return static_cast<long>(aPosition.Position().mX);
}
long numberOf(const ktmdl_Trsf3d& aTrsf)
{
    ktmdl_Pnt3d origin;
    origin.Transform(aTrsf);
    return static_cast<long>(origin.mX);
}
long numberOf(const Hnd_ktmdl_Topo& aTopo)
{
    return kt_test::keyOf(aTopo);
}

template <class Sequence>
std::string shown(const Sequence& aSequence)
{
    std::string text;
    for (long i = 1; i <= aSequence.Length(); ++i) {
        text += std::to_string(numberOf(aSequence.Value(i))) + " ";
    }
    return text;
}
std::string shown(const Hnd_ktmdl_TopoHSeq& aSequence)
{
    return aSequence.IsNull() != 0 ? "null" : shown(*aSequence);
}

//! The sequences 1 2 3 and 4 5, and an element 9.
template <class Sequence, class Element>
struct Sequences
{
    Sequences()
    {
        for (const long number : {1L, 2L, 3L}) {
            make(number, element);
            sequence.Append(element);
        }
        for (const long number : {4L, 5L}) {
            make(number, element);
            other.Append(element);
        }
        make(9, element);
    }
    [[nodiscard]] std::string State() const
    {
        return shown(sequence) + "/ " + shown(other) + "/ " + result;
    }

    Sequence sequence;
    Sequence other;
    Element element;
    std::string result;
};

template <class Sequence, class Element>
void addSequence(const std::string& aName, std::vector<Operation>& aAll)
{
    using Subject = Sequences<Sequence, Element>;
    const auto add = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<Subject>(aName + aOperation, Leaves::AllAsBefore, Tells::ByRaising,
                                          aRun, [](const Subject& s) { return s.State(); }));
    };
    add("Append", [](Subject& s) { s.sequence.Append(s.element); });
    add("AppendOfItsOwn", [](Subject& s) { s.sequence.Append(s.sequence.First()); });
    add("Prepend", [](Subject& s) { s.sequence.Prepend(s.element); });
    add("InsertAfter", [](Subject& s) { s.sequence.InsertAfter(2, s.element); });
    add("InsertAfterNothing", [](Subject& s) { s.sequence.InsertAfter(0, s.element); });
    add("Assign", [](Subject& s) { s.sequence.Assign(s.other); });
    add("CopyAssignment", [](Subject& s) { s.other = s.sequence; });
    add("CopyConstruction", [](Subject& s) {
        const Sequence copy(s.sequence);
        const OwnWork own;
        s.result = shown(copy);
    });
}

// Shared sequences

struct SharedSequences
{
    SharedSequences()
    {
        for (const Hnd_ktmdl_Topo& each : {makeTopo({1}), makeTopo({2}), makeTopo({3})}) {
            sequence->Append(each);
        }
        for (const Hnd_ktmdl_Topo& each : {makeTopo({4}), makeTopo({5})}) {
            other->Append(each);
        }
    }
    [[nodiscard]] std::string State() const
    {
        return shown(sequence) + "/ " + shown(other) + "/ " + shown(result);
    }

    Hnd_ktmdl_TopoHSeq sequence{new ktmdl_TopoHSeq};
    Hnd_ktmdl_TopoHSeq other{new ktmdl_TopoHSeq};
    Hnd_ktmdl_TopoHSeq result;
    Hnd_ktmdl_Topo topo{makeTopo({9})};
};

void addSharedSequence(std::vector<Operation>& aAll)
{
    using Subject = SharedSequences;
    const auto add = [&](const std::string& aOperation, Leaves aLeaves, auto aRun) {
        aAll.push_back(operation<Subject>("ktmdl_TopoHSeq" + aOperation, aLeaves, Tells::ByRaising,
                                          aRun, [](const Subject& s) { return s.State(); }));
    };
    const Leaves all = Leaves::AllAsBefore;
    add("Append", all, [](Subject& s) { s.sequence->Append(s.topo); });
    add("Prepend", all, [](Subject& s) { s.sequence->Prepend(s.topo); });
    add("InsertAfter", all, [](Subject& s) { s.sequence->InsertAfter(1, s.topo); });
    add("InsertBefore", all, [](Subject& s) { s.sequence->InsertBefore(1, s.topo); });
    add("ShallowCopy", all, [](Subject& s) { s.result = s.sequence->ShallowCopy(); });
    add("Split", all, [](Subject& s) { s.result = s.sequence->Split(2); });
    // Elements go in one by one; those that did stay.
    add("AppendSequence", Leaves::PartDone, [](Subject& s) { s.sequence->Append(s.other); });
    add("AppendItself", Leaves::PartDone, [](Subject& s) { s.sequence->Append(s.sequence); });
    add("PrependSequence", Leaves::PartDone, [](Subject& s) { s.sequence->Prepend(s.other); });
    add("InsertSequenceAfter", Leaves::PartDone,
        [](Subject& s) { s.sequence->InsertAfter(1, s.other); });
    add("InsertSequenceBefore", Leaves::PartDone,
        [](Subject& s) { s.sequence->InsertBefore(2, s.other); });
}

// Maps

std::string shown(const ktmdl_TopoMap& aMap)
{
    std::string text = std::to_string(aMap.Extent()) + " in " + std::to_string(aMap.NbBuckets());
    for (ktmdl_MapIteratorOfTopoMap it(aMap); it.More(); it.Next()) {
        text += " " + std::to_string(kt_test::keyOf(it.Key()));
    }
    return text;
}

//! A map that is empty; one that the next key makes grow; one of twelve keys.
struct Maps
{
    Maps()
    {
        full.Add(makeTopo({1}));
        while (full.Extent() <= full.NbBuckets()) {
            full.Add(makeTopo({static_cast<unsigned char>(full.Extent() + 1)}));
        }
        for (unsigned char i = 21; i < 33; ++i) {
            other.Add(makeTopo({i}));
        }
    }
    [[nodiscard]] std::string State() const
    {
        return shown(empty) + " / " + shown(full) + " / " + shown(other) + " / " + result;
    }

    ktmdl_TopoMap empty{0};
    ktmdl_TopoMap full{1};
    ktmdl_TopoMap other{4};
    Hnd_ktmdl_Topo topo{makeTopo({99})};
    std::string result;
};

//! The maps by what is in them: a table may grow for a key that does not come.
struct MapContents : Maps
{
    [[nodiscard]] std::string State() const
    {
        std::string text;
        for (const ktmdl_TopoMap* const map : {&empty, &full, &other}) {
            std::set<int> keys;
            for (ktmdl_MapIteratorOfTopoMap it(*map); it.More(); it.Next()) {
                keys.insert(kt_test::keyOf(it.Key()));
            }
            for (const int key : keys) {
                text += std::to_string(key) + " ";
            }
            text += "/ ";
        }
        return text;
    }
};

void addMap(std::vector<Operation>& aAll)
{
    const auto add = [&](const std::string& aOperation, Leaves aLeaves, auto aRun) {
        aAll.push_back(operation<Maps>("ktmdl_TopoMap" + aOperation, aLeaves, Tells::ByRaising,
                                       aRun, [](const Maps& m) { return m.State(); }));
    };
    const auto addToContents = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<MapContents>("ktmdl_TopoMap" + aOperation, Leaves::AllAsBefore,
                                              Tells::ByRaising, aRun,
                                              [](const MapContents& m) { return m.State(); }));
    };
    addToContents("AddFirst", [](MapContents& m) { m.empty.Add(m.topo); });
    addToContents("AddThatGrows", [](MapContents& m) { m.full.Add(m.topo); });
    add("AddThatDoesNotGrow", Leaves::AllAsBefore, [](Maps& m) { m.other.Add(m.topo); });
    add("ReSize", Leaves::AllAsBefore, [](Maps& m) { m.full.ReSize(1000); });
    // The set is emptied first, and filled key by key.
    add("Assign", Leaves::FreshStart, [](Maps& m) { m.full.Assign(m.other); });
    add("AssignToEmpty", Leaves::FreshStart, [](Maps& m) { m.empty = m.other; });
}

// Records

//! A sequence, an archive to store it in, and one to load it from.
template <class Sequence, class Element>
struct SequenceRecord : Sequences<Sequence, Element>
{
    SequenceRecord()
    {
        ktstd_Archive archive;
        archive << this->other;
        loading = std::make_unique<ktstd_Archive>(archive.Finish());
    }
    [[nodiscard]] std::string State() const
    {
        return std::to_string(storing.Position()) + " bytes, " + shown(this->sequence);
    }

    ktstd_Archive storing;
    std::unique_ptr<ktstd_Archive> loading;
};

//! What was stored or loaded before stays.
template <class Sequence, class Element>
void addSequenceRecord(const std::string& aName, std::vector<Operation>& aAll)
{
    using Subject = SequenceRecord<Sequence, Element>;
    const auto add = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<Subject>(aName + aOperation, Leaves::PartDone, Tells::ByRaising,
                                          aRun, [](const Subject& s) { return s.State(); }));
    };
    add("Store", [](Subject& s) { s.storing << s.sequence; });
    add("Load", [](Subject& s) { *s.loading >> s.sequence; });
}

struct MapRecord : Maps
{
    MapRecord()
    {
        ktstd_Archive archive;
        archive << full;
        loading = std::make_unique<ktstd_Archive>(archive.Finish());
    }
    MapRecord(const MapRecord&) = delete;
    MapRecord& operator=(const MapRecord&) = delete;
    // Loaded references are registered.
    ~MapRecord() { ktmdl_Topo::ClearAllTopos(); }
    [[nodiscard]] std::string State() const
    {
        return std::to_string(storing.Position()) + " bytes, " + Maps::State();
    }

    ktstd_Archive storing;
    std::unique_ptr<ktstd_Archive> loading;
};

void addRecords(std::vector<Operation>& aAll)
{
    addSequenceRecord<ktmdl_Pnt3dSeq, ktmdl_Pnt3d>("ktmdl_Pnt3dSeq", aAll);
    addSequenceRecord<ktmdl_ErosionPosSeq, ktmdl_ErosionPos>("ktmdl_ErosionPosSeq", aAll);
    addSequenceRecord<ktmdl_Trsf3dSeq, ktmdl_Trsf3d>("ktmdl_Trsf3dSeq", aAll);
    const auto add = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<MapRecord>("ktmdl_TopoMap" + aOperation, Leaves::PartDone,
                                            Tells::ByRaising, aRun,
                                            [](const MapRecord& m) { return m.State(); }));
    };
    add("Store", [](MapRecord& m) { m.storing << m.full; });
    add("Load", [](MapRecord& m) { *m.loading >> m.empty; });
}

template <class Sequence, class Element>
void addFrugalSequence(const std::string& aName, std::vector<Operation>& aAll)
{
    using Subject = Sequences<Sequence, Element>;
    const auto add = [&](const std::string& aOperation, auto aRun) {
        aAll.push_back(operation<Subject>(aName + aOperation, Leaves::AllAsBefore, Tells::ByRaising,
                                          aRun, [](const Subject& s) { return s.State(); }));
    };
    add("Clear", [](Subject& s) { s.sequence.Clear(); });
    add("Remove", [](Subject& s) { s.sequence.Remove(2); });
    add("RemoveRange", [](Subject& s) { s.sequence.Remove(1, 2); });
    add("Exchange", [](Subject& s) { s.sequence.Exchange(1, 3); });
    add("Reverse", [](Subject& s) { s.sequence.Reverse(); });
    add("SetValue", [](Subject& s) { s.sequence.SetValue(2, s.element); });
}

//! Operations that take no memory.
std::vector<Operation> frugalOperations()
{
    std::vector<Operation> all;
    addFrugalSequence<ktmdl_Pnt3dSeq, ktmdl_Pnt3d>("ktmdl_Pnt3dSeq", all);
    addFrugalSequence<ktmdl_ErosionPosSeq, ktmdl_ErosionPos>("ktmdl_ErosionPosSeq", all);
    addFrugalSequence<ktmdl_Trsf3dSeq, ktmdl_Trsf3d>("ktmdl_Trsf3dSeq", all);
    addFrugalSequence<ktmdl_TopoSeq, Hnd_ktmdl_Topo>("ktmdl_TopoSeq", all);
    const auto add = [&](const std::string& aOperation, auto aRun) {
        all.push_back(operation<Maps>("ktmdl_TopoMap" + aOperation, Leaves::AllAsBefore,
                                      Tells::ByRaising, aRun,
                                      [](const Maps& m) { return m.State(); }));
    };
    add("Clear", [](Maps& m) { m.other.Clear(); });
    add("Remove", [](Maps& m) {
        const unsigned char key = 25;
        m.other.Remove(m.other.FindByKey(1, &key));
    });
    return all;
}

std::vector<Operation> operations()
{
    std::vector<Operation> all;
    addSequence<ktmdl_Pnt3dSeq, ktmdl_Pnt3d>("ktmdl_Pnt3dSeq", all);
    addSequence<ktmdl_ErosionPosSeq, ktmdl_ErosionPos>("ktmdl_ErosionPosSeq", all);
    addSequence<ktmdl_Trsf3dSeq, ktmdl_Trsf3d>("ktmdl_Trsf3dSeq", all);
    addSequence<ktmdl_TopoSeq, Hnd_ktmdl_Topo>("ktmdl_TopoSeq", all);
    addSharedSequence(all);
    addMap(all);
    addRecords(all);
    return all;
}

class Removals : public testing::TestWithParam<Operation>
{
};

class Containers : public testing::TestWithParam<Operation>
{
};

} // namespace

TEST_P(Containers, LoseNothingWhenMemoryRunsOut)
{
    kt_test::sweep(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Memory, Containers, testing::ValuesIn(operations()),
                         [](const auto& aInfo) { return aInfo.param.name; });

TEST_P(Removals, NeedNoMemory)
{
    kt_test::runWithoutMemory(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Memory, Removals, testing::ValuesIn(frugalOperations()),
                         [](const auto& aInfo) { return aInfo.param.name; });
