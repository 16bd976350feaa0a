//! @file
//! What every typed sequence must do: KT_SEQUENCE_TESTS(Class, Kit) makes the tests of one class
//! from a kit with
//!   using Sequence, Element, Node, NodeHandle;
//!   using Guard;                         made before each test, gone behind it
//!   static Element element(int);         an element that carries a number
//!   static int idOf(const Element&);     the number
//!   static const char* nodeName();       name of the node's type
//!   static Hnd_ktstd_Type& nodeType();   the node's type function
#pragma once

#include "ktstd/ktstd_BaseSequence.h"
#include "support/Failures.h"
#include "support/SharedClass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace kt_test {

//! The lowest positive number that needs more than 32 bits; 0 where there is none.
template <class Long = long>
constexpr Long beyond32Bits()
{
    if constexpr (sizeof(Long) > 4) {
        return Long{1} << 32;
    } else {
        return 0;
    }
}

template <class Kit>
class SequenceContract
{
public:
    using Sequence = typename Kit::Sequence;
    using Element = typename Kit::Element;
    using Ids = std::vector<int>;
    using OutOfRange = Hnd_ktstd_fail_OutOfRange;
    using NoSuchObject = Hnd_ktstd_fail_NoSuchObject;

    static_assert(std::is_base_of_v<ktstd_BaseSequence, Sequence>);
    static_assert(std::is_base_of_v<ktstd_SeqNode, typename Kit::Node>);
    static_assert(keepsInheritedOperations<typename Kit::Node>);
    static_assert(keepsInheritedRecord<typename Kit::Node>);
    static_assert(hasOwnType<typename Kit::Node>);

    //! A sequence that shows its nodes and its cursor.
    class Probe : public Sequence
    {
    public:
        using Sequence::Sequence;

        [[nodiscard]] const ktstd_SeqNode* first() const { return this->mFirstItem; }
        [[nodiscard]] const ktstd_SeqNode* last() const { return this->mLastItem; }
        [[nodiscard]] const ktstd_SeqNode* cursor() const { return this->mCurrentItem; }
        [[nodiscard]] long cursorIndex() const { return this->mCurrentIndex; }
    };

    static void fill(Sequence& aSequence, const Ids& aIds)
    {
        aSequence.Clear();
        for (const int id : aIds) {
            aSequence.Append(Kit::element(id));
        }
    }

    static Ids idsOf(const Sequence& aSequence)
    {
        Ids ids;
        for (long i = 1; i <= aSequence.Length(); ++i) {
            ids.push_back(Kit::idOf(aSequence.Value(i)));
        }
        return ids;
    }

    //! Checks the content, both directions of the links, both ends and the cursor.
    static void expectIs(const Probe& aSequence, const Ids& aIds)
    {
        ASSERT_EQ(aSequence.Length(), static_cast<long>(aIds.size()));
        EXPECT_EQ(aSequence.IsEmpty(), aIds.empty() ? 1 : 0);
        const ktstd_SeqNode* before = nullptr;
        long index = 0;
        for (const ktstd_SeqNode* node = aSequence.first(); node != nullptr; node = node->Next()) {
            ++index;
            ASSERT_LE(index, aSequence.Length()) << "more nodes than elements";
            EXPECT_EQ(node->Previous(), before) << "at " << index;
            if (node == aSequence.cursor()) {
                EXPECT_EQ(aSequence.cursorIndex(), index) << "the cursor is elsewhere";
            }
            before = node;
        }
        EXPECT_EQ(index, aSequence.Length());
        EXPECT_EQ(aSequence.last(), before);
        EXPECT_EQ(idsOf(aSequence), aIds);
        if (!aIds.empty()) {
            EXPECT_EQ(Kit::idOf(aSequence.First()), aIds.front());
            EXPECT_EQ(Kit::idOf(aSequence.Last()), aIds.back());
        }
    }

    static std::string text(const char* aOperation, long aIdx, long aSize)
    {
        return std::string("ktstd_Sequence::") + aOperation + " (aIdx=" + std::to_string(aIdx) +
               ", mSize=" + std::to_string(aSize) + ")";
    }

    static void newSequenceIsEmpty()
    {
        const Probe sequence;
        expectIs(sequence, {});
        EXPECT_EQ(sequence.first(), nullptr);
        EXPECT_EQ(sequence.last(), nullptr);
    }

    static void appendPutsAtTheEnd()
    {
        Probe sequence;
        sequence.Append(Kit::element(1));
        expectIs(sequence, {1});
        sequence.Append(Kit::element(2));
        sequence.Append(Kit::element(3));
        expectIs(sequence, {1, 2, 3});
    }

    static void prependPutsAtTheFront()
    {
        Probe sequence;
        sequence.Prepend(Kit::element(1));
        expectIs(sequence, {1});
        sequence.Prepend(Kit::element(2));
        sequence.Prepend(Kit::element(3));
        expectIs(sequence, {3, 2, 1});
    }

    static void insertAfterPutsBehindTheIndex()
    {
        for (long index = 0; index <= 3; ++index) {
            SCOPED_TRACE(index);
            Probe sequence;
            fill(sequence, {1, 2, 3});
            sequence.InsertAfter(index, Kit::element(9));
            Ids wanted = {1, 2, 3};
            wanted.insert(wanted.begin() + index, 9);
            expectIs(sequence, wanted);
        }
        Probe empty;
        empty.InsertAfter(0, Kit::element(9));
        expectIs(empty, {9});
    }

    static void insertAfterOutsideRaises()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3});
        for (const long index : {-1L, 4L, -1000L, 1000L}) {
            EXPECT_TRUE(raises<OutOfRange>(text("InsertAfter", index, 3),
                                           [&] { sequence.InsertAfter(index, Kit::element(9)); }));
        }
        expectIs(sequence, {1, 2, 3});
        Probe empty;
        for (const long index : {-1L, 1L}) {
            EXPECT_TRUE(raises<OutOfRange>(text("InsertAfter", index, 0),
                                           [&] { empty.InsertAfter(index, Kit::element(9)); }));
        }
        expectIs(empty, {});
    }

    static void firstAndLastOfAnEmptySequenceRaise()
    {
        const Sequence empty;
        EXPECT_TRUE(raises<NoSuchObject>("ktstd_Sequence::First",
                                         [&] { static_cast<void>(empty.First()); }));
        EXPECT_TRUE(
            raises<NoSuchObject>("ktstd_Sequence::Last", [&] { static_cast<void>(empty.Last()); }));
        Sequence cleared;
        cleared.Append(Kit::element(1));
        cleared.Clear();
        EXPECT_TRUE(raises<NoSuchObject>("ktstd_Sequence::First",
                                         [&] { static_cast<void>(cleared.First()); }));
        EXPECT_TRUE(raises<NoSuchObject>("ktstd_Sequence::Last",
                                         [&] { static_cast<void>(cleared.Last()); }));
    }

    static void firstAndLastAreTheEnds()
    {
        Sequence sequence;
        sequence.Append(Kit::element(1));
        EXPECT_EQ(&sequence.First(), &sequence.Last());
        sequence.Append(Kit::element(2));
        sequence.Append(Kit::element(3));
        EXPECT_EQ(&sequence.First(), &sequence.Value(1));
        EXPECT_EQ(&sequence.Last(), &sequence.Value(3));
    }

    static void valueOutsideRaises()
    {
        Sequence sequence;
        fill(sequence, {1, 2, 3});
        for (const long index : {0L, -1L, 4L, 1000L}) {
            EXPECT_TRUE(raises<OutOfRange>(text("Value", index, 3),
                                           [&] { static_cast<void>(sequence.Value(index)); }));
        }
        const Sequence empty;
        EXPECT_TRUE(raises<OutOfRange>("ktstd_Sequence::Value (aIdx=1, mSize=0)",
                                       [&] { static_cast<void>(empty.Value(1)); }));
        EXPECT_TRUE(raises<OutOfRange>("ktstd_Sequence::Value (aIdx=0, mSize=0)",
                                       [&] { static_cast<void>(empty.Value(0)); }));
    }

    static void changeValueOutsideRaises()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3});
        for (const long index : {0L, -1L, 4L, 1000L}) {
            EXPECT_TRUE(raises<OutOfRange>(text("ChangeValue", index, 3), [&] {
                static_cast<void>(sequence.ChangeValue(index));
            }));
            EXPECT_TRUE(raises<OutOfRange>(text("ChangeValue", index, 3), [&] {
                sequence.SetValue(index, Kit::element(9));
            })) << "SetValue has no message of its own";
        }
        expectIs(sequence, {1, 2, 3});
    }

    static void indexBeyond32BitsIsNotCut()
    {
        const long big = beyond32Bits();
        if (big == 0) {
            GTEST_SKIP() << "long has 32 bits here";
        }
        Probe sequence;
        fill(sequence, {1, 2, 3});
        EXPECT_TRUE(raises<OutOfRange>(text("Value", big + 1, 3),
                                       [&] { static_cast<void>(sequence.Value(big + 1)); }));
        EXPECT_TRUE(raises<OutOfRange>(text("ChangeValue", big + 1, 3),
                                       [&] { sequence.SetValue(big + 1, Kit::element(9)); }));
        EXPECT_TRUE(raises<OutOfRange>(text("InsertAfter", big, 3),
                                       [&] { sequence.InsertAfter(big, Kit::element(9)); }));
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence.Remove(big + 1); }));
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence.Remove(1, big + 1); }));
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence.Exchange(1, big + 2); }));
        expectIs(sequence, {1, 2, 3});
    }

    static void valuesAreReachedInAnyOrder()
    {
        Ids ids;
        for (int i = 1; i <= 20; ++i) {
            ids.push_back(i);
        }
        Sequence sequence;
        fill(sequence, ids);
        for (const long from : {1L, 7L, 10L, 14L, 20L}) {
            for (long to = 1; to <= 20; ++to) {
                EXPECT_EQ(Kit::idOf(sequence.Value(from)), static_cast<int>(from));
                EXPECT_EQ(Kit::idOf(sequence.Value(to)), static_cast<int>(to));
            }
        }
    }

    static void accessMovesTheCursor()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3, 4, 5});
        const Probe& constant = sequence;
        for (const long index : {3L, 1L, 5L, 2L}) {
            static_cast<void>(constant.Value(index));
            EXPECT_EQ(sequence.cursorIndex(), index);
            ASSERT_NE(sequence.cursor(), nullptr);
            EXPECT_EQ(&static_cast<const typename Kit::Node*>(sequence.cursor())->Value(),
                      &constant.Value(index));
        }
        static_cast<void>(sequence.ChangeValue(4));
        EXPECT_EQ(sequence.cursorIndex(), 4);
        sequence.SetValue(2, Kit::element(9));
        EXPECT_EQ(sequence.cursorIndex(), 2);
    }

    static void setValueReplacesOneElement()
    {
        for (long index = 1; index <= 3; ++index) {
            Probe sequence;
            fill(sequence, {1, 2, 3});
            const Element* const place = &sequence.Value(index);
            sequence.SetValue(index, Kit::element(9));
            Ids wanted = {1, 2, 3};
            wanted[static_cast<std::size_t>(index - 1)] = 9;
            expectIs(sequence, wanted);
            EXPECT_EQ(&sequence.Value(index), place) << "the element stays in its node";
        }
    }

    static void changeValueGivesTheElementItself()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3});
        Element& element = sequence.ChangeValue(2);
        EXPECT_EQ(&element, &sequence.Value(2));
        element = Kit::element(9);
        expectIs(sequence, {1, 9, 3});
    }

    static void elementsAreHeldByCopy()
    {
        Probe sequence;
        Element element = Kit::element(1);
        sequence.Append(element);
        sequence.Prepend(element);
        sequence.InsertAfter(1, element);
        element = Kit::element(9);
        expectIs(sequence, {1, 1, 1});
        EXPECT_NE(&sequence.Value(1), &sequence.Value(2));
    }

    static void ownElementMayBeTheArgument()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3});
        sequence.Append(sequence.Value(1));
        sequence.Prepend(sequence.Last());
        sequence.InsertAfter(2, sequence.Value(3));
        expectIs(sequence, {1, 1, 2, 2, 3, 1});
        sequence.SetValue(1, sequence.Value(5));
        sequence.SetValue(2, sequence.Value(2));
        expectIs(sequence, {3, 1, 2, 2, 3, 1});
    }

    static void removeTakesOneElementOut()
    {
        for (long index = 1; index <= 4; ++index) {
            for (const long cursor : {1L, 2L, 4L}) {
                SCOPED_TRACE(testing::Message() << index << ", cursor at " << cursor);
                Probe sequence;
                fill(sequence, {1, 2, 3, 4});
                static_cast<void>(sequence.Value(cursor));
                sequence.Remove(index);
                Ids wanted = {1, 2, 3, 4};
                wanted.erase(wanted.begin() + (index - 1));
                expectIs(sequence, wanted);
            }
        }
        Probe single;
        fill(single, {1});
        single.Remove(1);
        expectIs(single, {});
        single.Append(Kit::element(2));
        expectIs(single, {2});
    }

    static void removeOutsideRaisesAndRemovesNothing()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3});
        for (const long index : {0L, -1L, 4L}) {
            EXPECT_TRUE(raisesClass<OutOfRange>([&] { sequence.Remove(index); })) << index;
            expectIs(sequence, {1, 2, 3});
        }
        Probe empty;
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { empty.Remove(1); }));
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { empty.Remove(0); }));
    }

    static void removeOfARangeIncludesBothEnds()
    {
        for (long from = 1; from <= 5; ++from) {
            for (long to = from; to <= 5; ++to) {
                for (const long cursor : {1L, 3L, 5L}) {
                    SCOPED_TRACE(testing::Message()
                                 << from << " to " << to << ", cursor at " << cursor);
                    Probe sequence;
                    fill(sequence, {1, 2, 3, 4, 5});
                    static_cast<void>(sequence.Value(cursor));
                    sequence.Remove(from, to);
                    Ids wanted = {1, 2, 3, 4, 5};
                    wanted.erase(wanted.begin() + (from - 1), wanted.begin() + to);
                    expectIs(sequence, wanted);
                }
            }
        }
    }

    static void removeOfABadRangeRaisesAndRemovesNothing()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3});
        const std::vector<std::pair<long, long>> ranges = {{0, 1}, {0, 0},  {-1, 2}, {1, 4},
                                                           {4, 4}, {3, 10}, {2, 1},  {3, 1}};
        for (const auto& [from, to] : ranges) {
            SCOPED_TRACE(testing::Message() << from << " to " << to);
            EXPECT_TRUE(raisesClass<OutOfRange>([&, f = from, t = to] { sequence.Remove(f, t); }));
            expectIs(sequence, {1, 2, 3});
        }
        Probe empty;
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { empty.Remove(1, 1); }));
        EXPECT_TRUE(raisesClass<OutOfRange>([&] { empty.Remove(1, 0); }));
    }

    static void clearRemovesAll()
    {
        Probe sequence;
        sequence.Clear();
        expectIs(sequence, {});
        fill(sequence, {1, 2, 3});
        static_cast<void>(sequence.Value(2));
        sequence.Clear();
        expectIs(sequence, {});
        fill(sequence, {4, 5});
        expectIs(sequence, {4, 5});
    }

    static void exchangeSwapsTwoElements()
    {
        for (long first = 1; first <= 4; ++first) {
            for (long second = 1; second <= 4; ++second) {
                for (const long cursor : {1L, 2L, 4L}) {
                    SCOPED_TRACE(testing::Message()
                                 << first << " and " << second << ", cursor at " << cursor);
                    Probe sequence;
                    fill(sequence, {1, 2, 3, 4});
                    static_cast<void>(sequence.Value(cursor));
                    sequence.Exchange(first, second);
                    Ids wanted = {1, 2, 3, 4};
                    std::swap(wanted[static_cast<std::size_t>(first - 1)],
                              wanted[static_cast<std::size_t>(second - 1)]);
                    expectIs(sequence, wanted);
                }
            }
        }
    }

    static void exchangeOutsideRaisesAndChangesNothing()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3});
        const std::vector<std::pair<long, long>> pairs = {{0, 1},  {1, 0}, {4, 1}, {1, 4},
                                                          {-1, 2}, {0, 0}, {4, 4}};
        for (const auto& [first, second] : pairs) {
            SCOPED_TRACE(testing::Message() << first << " and " << second);
            EXPECT_TRUE(
                raisesClass<OutOfRange>([&, f = first, s = second] { sequence.Exchange(f, s); }));
            expectIs(sequence, {1, 2, 3});
        }
    }

    static void reverseTurnsTheOrderRound()
    {
        for (int length = 0; length <= 5; ++length) {
            for (int cursor = 0; cursor <= length; ++cursor) {
                SCOPED_TRACE(testing::Message() << length << " elements, cursor at " << cursor);
                Ids ids;
                for (int i = 1; i <= length; ++i) {
                    ids.push_back(i);
                }
                Probe sequence;
                fill(sequence, ids);
                if (cursor > 0) {
                    static_cast<void>(sequence.Value(cursor));
                }
                sequence.Reverse();
                std::reverse(ids.begin(), ids.end());
                expectIs(sequence, ids);
            }
        }
    }

    static void assignCopiesDeeply()
    {
        Probe source;
        fill(source, {1, 2, 3});
        Probe copy;
        fill(copy, {7, 8, 9, 10});
        const Sequence& result = copy.Assign(source);
        EXPECT_EQ(&result, &copy);
        expectIs(copy, {1, 2, 3});
        expectIs(source, {1, 2, 3});
        copy.SetValue(2, Kit::element(9));
        copy.Append(Kit::element(4));
        expectIs(source, {1, 2, 3});
        source.Remove(1);
        expectIs(copy, {1, 9, 3, 4});
    }

    static void assignLeavesTheCursorOnIndex1()
    {
        Probe source;
        fill(source, {1, 2, 3});
        static_cast<void>(source.Value(3));
        Probe copy;
        fill(copy, {7, 8});
        copy.Assign(source);
        EXPECT_EQ(copy.cursorIndex(), 1);
        EXPECT_EQ(copy.cursor(), copy.first());
        EXPECT_EQ(source.cursorIndex(), 3) << "the source's cursor stays";
    }

    static void assignOfAnEmptySequenceEmpties()
    {
        const Probe source;
        Probe copy;
        fill(copy, {7, 8});
        static_cast<void>(copy.Value(2));
        EXPECT_EQ(&copy.Assign(source), &copy);
        expectIs(copy, {});
        EXPECT_EQ(copy.first(), nullptr);
        EXPECT_EQ(copy.last(), nullptr);
        EXPECT_EQ(copy.cursor(), nullptr);
        EXPECT_EQ(copy.cursorIndex(), 1);
    }

    static void assignToItselfChangesNothing()
    {
        Probe sequence;
        fill(sequence, {1, 2, 3});
        static_cast<void>(sequence.Value(2));
        const ktstd_SeqNode* const first = sequence.first();
        EXPECT_EQ(&sequence.Assign(sequence), &sequence);
        EXPECT_EQ(sequence.cursorIndex(), 2);
        EXPECT_EQ(sequence.first(), first) << "the nodes stay";
        expectIs(sequence, {1, 2, 3});
    }

    static void copyConstructionIsLikeAssign()
    {
        Probe source;
        fill(source, {1, 2, 3});
        static_cast<void>(source.Value(2));
        Probe copy(source);
        EXPECT_EQ(copy.cursorIndex(), 1);
        EXPECT_EQ(copy.cursor(), copy.first());
        expectIs(copy, {1, 2, 3});
        copy.SetValue(1, Kit::element(9));
        expectIs(source, {1, 2, 3});
    }

    static void randomChangesMatchAVector()
    {
        std::mt19937 random(20240611); // fixed, so that a failure comes back
        const auto below = [&](std::size_t aEnd) {
            return static_cast<long>(random() % static_cast<std::mt19937::result_type>(aEnd));
        };
        Probe sequence;
        Ids ids;
        for (int step = 0; step < 2000; ++step) {
            const std::size_t size = ids.size();
            const auto at = [&](long aOffset) { return ids.begin() + aOffset; };
            switch (below(size < 3 ? 3 : 9)) {
            case 0:
                sequence.Append(Kit::element(step % 100 + 1));
                ids.push_back(step % 100 + 1);
                break;
            case 1:
                sequence.Prepend(Kit::element(step % 100 + 1));
                ids.insert(ids.begin(), step % 100 + 1);
                break;
            case 2: {
                const long index = below(size + 1);
                sequence.InsertAfter(index, Kit::element(step % 100 + 1));
                ids.insert(at(index), step % 100 + 1);
                break;
            }
            case 3: {
                const long index = below(size);
                sequence.Remove(index + 1);
                ids.erase(at(index));
                break;
            }
            case 4: {
                const long from = below(size);
                const long to = std::min(from + below(3), static_cast<long>(size) - 1);
                sequence.Remove(from + 1, to + 1);
                ids.erase(at(from), at(to + 1));
                break;
            }
            case 5: {
                const long first = below(size);
                const long second = below(size);
                sequence.Exchange(first + 1, second + 1);
                std::iter_swap(at(first), at(second));
                break;
            }
            case 6:
                if (below(4) == 0) {
                    sequence.Reverse();
                    std::reverse(ids.begin(), ids.end());
                }
                break;
            case 7: {
                const long index = below(size);
                sequence.SetValue(index + 1, Kit::element(step % 100 + 1));
                *at(index) = step % 100 + 1;
                break;
            }
            default: {
                const long index = below(size);
                ASSERT_EQ(Kit::idOf(sequence.Value(index + 1)), *at(index)) << "step " << step;
                break;
            }
            }
            if (step % 50 == 0) {
                SCOPED_TRACE(testing::Message() << "step " << step);
                expectIs(sequence, ids);
            }
        }
        expectIs(sequence, ids);
    }

    static void nodeHasItsType()
    {
        ktstd_SeqNode* const none = nullptr;
        const Hnd_ktstd_SeqNode node(new typename Kit::Node(Kit::element(7), none, none));
        const Hnd_ktstd_Type& type = Kit::nodeType();
        EXPECT_EQ(&type, &Kit::nodeType()) << "made once";
        EXPECT_EQ(&node->DynamicType(), &type);
        EXPECT_STREQ(type->Name(), Kit::nodeName());
        EXPECT_EQ(type->Size(), static_cast<long>(sizeof(typename Kit::Node)));
        EXPECT_EQ(type->NbParents(), 1);
        EXPECT_EQ(type->Ancestors()[0], ktstd_SeqNode_Type_());
        EXPECT_EQ(type->Ancestors()[1], ktstd_TShared_Type_());
        EXPECT_EQ(type->Ancestors()[2], ktstd_Transient_Type_());
        EXPECT_EQ(type->Ancestors()[3].IsNull(), 1);
        EXPECT_EQ(node->IsKind(type), 1);
        EXPECT_EQ(node->IsKind(ktstd_SeqNode_Type_()), 1);
        EXPECT_EQ(node->IsKind(ktstd_TShared_Type_()), 1);
        EXPECT_EQ(node->IsKind(ktstd_Transient_Type_()), 1);
        EXPECT_EQ(node->IsKind(ktstd_Type_Type_()), 0);
        EXPECT_EQ(node->IsKind(Hnd_ktstd_Type()), 0);
    }

    static void nodeIsCastDown()
    {
        using Handle = typename Kit::NodeHandle;
        ktstd_SeqNode* const none = nullptr;
        const Hnd_ktstd_Transient node(new typename Kit::Node(Kit::element(7), none, none));
        const Hnd_ktstd_Transient plain(new ktstd_SeqNode(none, none));
        EXPECT_EQ(Handle::DownCast(plain).IsNull(), 1);
        EXPECT_EQ(Handle::DownCast(Hnd_ktstd_Transient()).IsNull(), 1);
        const Handle cast = Handle::DownCast(node);
        ASSERT_EQ(cast.IsNull(), 0);
        EXPECT_EQ(cast, node);
        EXPECT_EQ(node->RefCount(), 2);
        EXPECT_EQ(Kit::idOf(cast->Value()), 7);
    }

    static void nodeHoldsLinksThenTheElement()
    {
        Probe sequence;
        fill(sequence, {1, 2});
        const auto* const node = static_cast<const typename Kit::Node*>(sequence.first());
        const auto* const bytes = reinterpret_cast<const char*>(node);
        const auto* const element = reinterpret_cast<const char*>(&sequence.Value(1));
        EXPECT_EQ(element - bytes, static_cast<std::ptrdiff_t>(sizeof(ktstd_SeqNode)));
    }
};

} // namespace kt_test

#define KT_SEQUENCE_TEST(SUITE, KIT, NAME, CHECK)                                                  \
    TEST(SUITE, NAME)                                                                              \
    {                                                                                              \
        [[maybe_unused]] const KIT::Guard guard{};                                                 \
        kt_test::SequenceContract<KIT>::CHECK();                                                   \
    }

#define KT_SEQUENCE_TESTS(SUITE, KIT)                                                              \
    KT_SEQUENCE_TEST(SUITE, KIT, NewSequenceIsEmpty, newSequenceIsEmpty)                           \
    KT_SEQUENCE_TEST(SUITE, KIT, AppendPutsAtTheEnd, appendPutsAtTheEnd)                           \
    KT_SEQUENCE_TEST(SUITE, KIT, PrependPutsAtTheFront, prependPutsAtTheFront)                     \
    KT_SEQUENCE_TEST(SUITE, KIT, InsertAfterPutsBehindTheIndex, insertAfterPutsBehindTheIndex)     \
    KT_SEQUENCE_TEST(SUITE, KIT, InsertAfterOutsideRaises, insertAfterOutsideRaises)               \
    KT_SEQUENCE_TEST(SUITE, KIT, FirstAndLastOfAnEmptySequenceRaise,                               \
                     firstAndLastOfAnEmptySequenceRaise)                                           \
    KT_SEQUENCE_TEST(SUITE, KIT, FirstAndLastAreTheEnds, firstAndLastAreTheEnds)                   \
    KT_SEQUENCE_TEST(SUITE, KIT, ValueOutsideRaises, valueOutsideRaises)                           \
    KT_SEQUENCE_TEST(SUITE, KIT, ChangeValueAndSetValueOutsideRaise, changeValueOutsideRaises)     \
    KT_SEQUENCE_TEST(SUITE, KIT, IndexBeyond32BitsIsNotCut, indexBeyond32BitsIsNotCut)             \
    KT_SEQUENCE_TEST(SUITE, KIT, ValuesAreReachedInAnyOrder, valuesAreReachedInAnyOrder)           \
    KT_SEQUENCE_TEST(SUITE, KIT, AccessMovesTheCursor, accessMovesTheCursor)                       \
    KT_SEQUENCE_TEST(SUITE, KIT, SetValueReplacesOneElement, setValueReplacesOneElement)           \
    KT_SEQUENCE_TEST(SUITE, KIT, ChangeValueGivesTheElementItself,                                 \
                     changeValueGivesTheElementItself)                                             \
    KT_SEQUENCE_TEST(SUITE, KIT, ElementsAreHeldByCopy, elementsAreHeldByCopy)                     \
    KT_SEQUENCE_TEST(SUITE, KIT, OwnElementMayBeTheArgument, ownElementMayBeTheArgument)           \
    KT_SEQUENCE_TEST(SUITE, KIT, RemoveTakesOneElementOut, removeTakesOneElementOut)               \
    KT_SEQUENCE_TEST(SUITE, KIT, RemoveOutsideRaisesAndRemovesNothing,                             \
                     removeOutsideRaisesAndRemovesNothing)                                         \
    KT_SEQUENCE_TEST(SUITE, KIT, RemoveOfARangeIncludesBothEnds, removeOfARangeIncludesBothEnds)   \
    KT_SEQUENCE_TEST(SUITE, KIT, RemoveOfABadRangeRaisesAndRemovesNothing,                         \
                     removeOfABadRangeRaisesAndRemovesNothing)                                     \
    KT_SEQUENCE_TEST(SUITE, KIT, ClearRemovesAll, clearRemovesAll)                                 \
    KT_SEQUENCE_TEST(SUITE, KIT, ExchangeSwapsTwoElements, exchangeSwapsTwoElements)               \
    KT_SEQUENCE_TEST(SUITE, KIT, ExchangeOutsideRaisesAndChangesNothing,                           \
                     exchangeOutsideRaisesAndChangesNothing)                                       \
    KT_SEQUENCE_TEST(SUITE, KIT, ReverseTurnsTheOrderRound, reverseTurnsTheOrderRound)             \
    KT_SEQUENCE_TEST(SUITE, KIT, AssignCopiesDeeply, assignCopiesDeeply)                           \
    KT_SEQUENCE_TEST(SUITE, KIT, AssignLeavesTheCursorOnIndex1, assignLeavesTheCursorOnIndex1)     \
    KT_SEQUENCE_TEST(SUITE, KIT, AssignOfAnEmptySequenceEmpties, assignOfAnEmptySequenceEmpties)   \
    KT_SEQUENCE_TEST(SUITE, KIT, AssignToItselfChangesNothing, assignToItselfChangesNothing)       \
    KT_SEQUENCE_TEST(SUITE, KIT, CopyConstructionIsLikeAssign, copyConstructionIsLikeAssign)       \
    KT_SEQUENCE_TEST(SUITE, KIT, RandomChangesMatchAVector, randomChangesMatchAVector)             \
    KT_SEQUENCE_TEST(SUITE, KIT, NodeHasItsType, nodeHasItsType)                                   \
    KT_SEQUENCE_TEST(SUITE, KIT, NodeIsCastDown, nodeIsCastDown)                                   \
    KT_SEQUENCE_TEST(SUITE, KIT, NodeHoldsLinksThenTheElement, nodeHoldsLinksThenTheElement)       \
    static_assert(true, "the macro ends with a semicolon")
