#include "ktmdl/ktmdl_ValueSeq.h"

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_Pnt3dSeq.h"
#include "ktstd/ktstd_TransientSeq.h"
#include "ktstd/ktstd_fail.h"

#include <gtest/gtest.h>

#include <locale>
#include <stdexcept>
#include <string>

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
