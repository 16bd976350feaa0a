#include "ktmdl/ktmdl_ValueSeq.h"

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_Pnt3dSeq.h"
#include "ktstd/ktstd_TransientSeq.h"
#include "ktstd/ktstd_fail.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <locale>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

// What every typed sequence does stands in its own tests; here is what only elements that can't
// be copied show.

namespace {

class Node;

//! An element whose copies are counted and fail when none are left.
struct Scarce
{
    explicit Scarce(int aNumber) : number(aNumber) { ++alive; }
    Scarce(const Scarce& aOther) : number(aOther.number)
    {
        if (copiesLeft == 0) {
            throw std::runtime_error("no copies left");
        }
        --copiesLeft;
        ++alive;
    }
    Scarce& operator=(const Scarce&) = default;
    ~Scarce() { --alive; }

    int number;
    static int copiesLeft;
    static int alive;
};
int Scarce::copiesLeft = 0;
int Scarce::alive = 0;

class Node : public ktmdl_detail::ValueNode<Scarce>
{
public:
    using ktmdl_detail::ValueNode<Scarce>::ValueNode;
};

class ScarceSeq : public ktmdl_detail::ValueSeq<ScarceSeq, Scarce, Node>
{
};

void fill(ScarceSeq& aSequence, int aFirst, int aLast)
{
    Scarce::copiesLeft = aLast - aFirst + 1;
    for (int number = aFirst; number <= aLast; ++number) {
        aSequence.Append(Scarce(number));
    }
}

void expectNumbers(const ScarceSeq& aSequence, int aFirst, int aLast)
{
    ASSERT_EQ(aSequence.Length(), aLast - aFirst + 1);
    for (int number = aFirst; number <= aLast; ++number) {
        EXPECT_EQ(aSequence.Value(number - aFirst + 1).number, number);
    }
}

//! Numbers as another part of the process might want them: 1.234,5
class Punctuation : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

class GlobalLocale
{
public:
    GlobalLocale()
        : mFormer(std::locale::global(std::locale(std::locale::classic(), new Punctuation)))
    {}
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;
    ~GlobalLocale() { std::locale::global(mFormer); }

private:
    std::locale mFormer;
};

template <class Call>
std::string messageOf(Call aCall)
{
    try {
        aCall();
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        return failure->Message();
    }
    return "nothing was raised";
}

} // namespace

TEST(ktmdl_ValueSeq, ElementThatCannotBeCopiedIsNotPutIn)
{
    {
        ScarceSeq sequence;
        fill(sequence, 1, 3);
        const Scarce element(4);
        EXPECT_THROW(sequence.Append(element), std::runtime_error);
        EXPECT_THROW(sequence.Prepend(element), std::runtime_error);
        EXPECT_THROW(sequence.InsertAfter(2, element), std::runtime_error);
        expectNumbers(sequence, 1, 3);
        EXPECT_EQ(Scarce::alive, 4);
    }
    EXPECT_EQ(Scarce::alive, 0);
}

TEST(ktmdl_ValueSeq, AssignmentThatFailsChangesNothing)
{
    {
        ScarceSeq source;
        fill(source, 11, 15);
        ScarceSeq sequence;
        fill(sequence, 1, 3);
        for (int copies = 0; copies < 5; ++copies) {
            SCOPED_TRACE(testing::Message() << copies << " copies");
            Scarce::copiesLeft = copies;
            EXPECT_THROW(sequence.Assign(source), std::runtime_error);
            expectNumbers(sequence, 1, 3);
            EXPECT_EQ(Scarce::alive, 8);
        }
        Scarce::copiesLeft = 5;
        sequence.Assign(source);
        expectNumbers(sequence, 11, 15);
    }
    EXPECT_EQ(Scarce::alive, 0);
}

TEST(ktmdl_ValueSeq, IndicesInMessagesIgnoreTheLocale)
{
    const GlobalLocale locale;
    const ktmdl_Pnt3dSeq sequence;
    EXPECT_EQ(messageOf([&] { static_cast<void>(sequence.Value(1234567)); }),
              "ktstd_Sequence::Value (aIdx=1234567, mSize=0)");
}

TEST(ktstd_TransientSeq, IndicesInMessagesIgnoreTheLocale)
{
    const GlobalLocale locale;
    const ktstd_TransientSeq sequence;
    EXPECT_EQ(messageOf([&] { static_cast<void>(sequence.Value(1234567)); }),
              "ktstd_Sequence::Value (aIdx=1234567, mSize=0)");
}

TEST(ktmdl, NumbersInMessagesIgnoreTheLocale)
{
    const GlobalLocale locale;
    EXPECT_EQ(messageOf([] { static_cast<void>(ktmdl::ChooseAngle(0.5, 1234.5)); }),
              "ChooseAngle: cannot find angle (aSinA=0.5,aCosA=1234.5)");
}

TEST(ktmdl_ValueSeq, HoldsWhatAListHoldsThroughRandomChanges)
{
    std::mt19937 random(1);
    ktmdl_Pnt3dSeq sequence;
    std::vector<double> list;
    double next = 0.0;
    // Ends where a position is wanted: at the front, at the back, beside the last one, anywhere.
    long last = 1;
    const auto place = [&](long lowest) {
        const auto length = static_cast<long>(list.size());
        const long wanted[] = {lowest, length,   last - 1,
                               last,   last + 1, static_cast<long>(random() % (list.size() + 1))};
        last = std::clamp(wanted[random() % 6], lowest, std::max(lowest, length));
        return last;
    };
    const auto at = [&](long idx) { return list.begin() + (idx - 1); };
    for (int i = 0; i < 20000; ++i) {
        const ktmdl_Pnt3d point(next++, 0, 0);
        const auto what = list.empty() ? random() % 3 : random() % 12;
        if (what == 0) {
            sequence.Append(point);
            list.push_back(point.mX);
        } else if (what == 1) {
            sequence.Prepend(point);
            list.insert(list.begin(), point.mX);
        } else if (what == 2) {
            const long idx = place(0);
            sequence.InsertAfter(idx, point);
            list.insert(list.begin() + idx, point.mX);
        } else if (what == 3) {
            const long idx = place(1);
            sequence.SetValue(idx, point);
            *at(idx) = point.mX;
        } else if (what == 4) {
            const long idx = place(1);
            sequence.Remove(idx);
            list.erase(at(idx));
        } else if (what == 5 && list.size() > 40) {
            const long from = place(1);
            const long to = std::min(from + 3, static_cast<long>(list.size()));
            sequence.Remove(from, to);
            list.erase(at(from), at(to) + 1);
        } else if (what == 6) {
            const long first = place(1);
            const long second = place(1);
            sequence.Exchange(first, second);
            std::swap(*at(first), *at(second));
        } else if (what == 7 && i % 5 == 0) {
            sequence.Reverse();
            std::reverse(list.begin(), list.end());
        } else if (what == 8 && i % 5 == 0) {
            ktmdl_Pnt3dSeq copy;
            copy.Assign(sequence);
            sequence.Assign(copy);
        } else if (i % 2000 == 1999) {
            sequence.Clear();
            list.clear();
        } else if (!list.empty()) {
            // A walk of some steps.
            for (long idx = place(1); idx <= static_cast<long>(list.size()); ++idx) {
                ASSERT_EQ(sequence.Value(idx).mX, *at(idx)) << i;
                last = idx;
                if (random() % 4 == 0) {
                    break;
                }
            }
        }
        ASSERT_EQ(sequence.Length(), static_cast<long>(list.size())) << i;
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_EQ(sequence.Value(static_cast<long>(i) + 1).mX, list[i]);
    }
}
