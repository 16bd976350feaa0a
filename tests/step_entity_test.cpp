#include "standin/step/Exchange.h"
#include "standin/step/StepFile.h"
#include "support/StepText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <functional>
#include <locale>
#include <string>
#include <vector>

namespace {

using standin::step::Entity;
using standin::step::Exchange;
using standin::step::StepError;
using standin::step::Value;
using standin::step::ValueKind;
using test::kDataLine;
using test::stepFile;

// Holds a file with the one instance #1=A(...).
class OneEntity
{
public:
    explicit OneEntity(const std::string& parameters)
        : mText(stepFile("#1=A(" + parameters + ");\n")),
          mExchange(mText),
          mEntity(mExchange, 1)
    {}
    Value operator[](std::uint32_t index) const { return mEntity.attributes()[index]; }
    const Entity& entity() const { return mEntity; }

private:
    std::string mText;
    Exchange mExchange;
    Entity mEntity;
};

double numberOf(const std::string& text)
{
    return OneEntity(text)[0].number();
}

void expectFault(const std::string& word, const std::function<void()>& step)
{
    try {
        step();
        FAIL() << "nothing was raised";
    } catch (const StepError& error) {
        EXPECT_NE(std::string(error.what()).find(word), std::string::npos) << error.what();
        EXPECT_EQ(error.line(), kDataLine);
        EXPECT_EQ(error.entity(), 1);
    }
}

TEST(StepValue, NumbersInEveryForm)
{
    EXPECT_EQ(numberOf("1."), 1.0);
    EXPECT_EQ(numberOf("1"), 1.0);
    EXPECT_EQ(numberOf("+2.5"), 2.5);
    EXPECT_EQ(numberOf("-0.125"), -0.125);
    EXPECT_EQ(numberOf("1.E-3"), 1e-3);
    EXPECT_EQ(numberOf("2.54E1"), 25.4);
    EXPECT_EQ(numberOf("2.E+2"), 200.0);
    EXPECT_EQ(numberOf("1.e3"), 1000.0);
    EXPECT_EQ(numberOf(".5"), 0.5);
    EXPECT_EQ(numberOf("-5.043979378185165200"), -5.0439793781851652);
    EXPECT_EQ(numberOf("0.1000000000000000055511151231257827"), 0.1);
}

TEST(StepValue, NumbersBelowTheRangeAreZero)
{
    EXPECT_EQ(numberOf("1.E-400"), 0.0);
    EXPECT_EQ(numberOf("0." + std::string(400, '0') + "1"), 0.0);
    EXPECT_EQ(numberOf("-" + std::string("1.E-99999999999999999999")), 0.0);
}

TEST(StepValue, NumbersAboveTheRangeAreRefused)
{
    expectFault("too large", [] { (void)numberOf("1.E400"); });
    expectFault("too large", [] { (void)numberOf("1" + std::string(400, '0') + "."); });
}

// Numbers with a decimal comma, as in a German locale.
class CommaNumbers : public std::numpunct<char>
{
protected:
    char do_decimal_point() const override { return ','; }
};

TEST(StepValue, NumbersDoNotDependOnTheLocale)
{
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaNumbers));
    const std::string language = std::setlocale(LC_NUMERIC, nullptr);
    // The C library's part changes only where such a language is installed.
    (void)(std::setlocale(LC_NUMERIC, "de_DE.UTF-8") || std::setlocale(LC_NUMERIC, "German"));
    EXPECT_EQ(numberOf("1.5"), 1.5);
    EXPECT_EQ(numberOf("1.E3"), 1000.0);
    std::setlocale(LC_NUMERIC, language.c_str());
    std::locale::global(before);
}

TEST(StepValue, TypedNumbersCountAsNumbers)
{
    EXPECT_EQ(numberOf("LENGTH_MEASURE(2.5)"), 2.5);
    EXPECT_EQ(OneEntity("LENGTH_MEASURE(2.5)")[0].kind(), ValueKind::typed);
}

TEST(StepValue, Integers)
{
    EXPECT_EQ(OneEntity("-12")[0].integer(), -12);
    EXPECT_EQ(OneEntity("3.")[0].integer(), 3);
    EXPECT_EQ(OneEntity("2147483647")[0].integer(), 2147483647);
    expectFault("32 bits", [] { (void)OneEntity("2147483648")[0].integer(); });
    expectFault("32 bits", [] { (void)OneEntity("1.5")[0].integer(); });
    expectFault("32 bits", [] { (void)OneEntity("123456789012345678901234567890")[0].integer(); });
}

TEST(StepValue, Strings)
{
    EXPECT_EQ(OneEntity("'a''b'")[0].text(), "a'b");
    EXPECT_EQ(OneEntity("$")[0].text(), "");
    EXPECT_EQ(OneEntity("''")[0].text(), "");
    EXPECT_EQ(OneEntity("'a)b;c#1=/*'")[0].text(), "a)b;c#1=/*");
    expectFault("wanted a string, found an integer", [] { (void)OneEntity("1")[0].text(); });
    expectFault("longer than 32768",
                [] { (void)OneEntity("'" + std::string(40000, 'x') + "'")[0].text(); });
}

TEST(StepValue, EnumerationsAndBooleans)
{
    EXPECT_EQ(OneEntity(".UNSPECIFIED.")[0].enumeration(), "UNSPECIFIED");
    EXPECT_TRUE(OneEntity(".T.")[0].boolean());
    EXPECT_FALSE(OneEntity(".F.")[0].boolean());
    expectFault("found .U.", [] { (void)OneEntity(".U.")[0].boolean(); });
    expectFault("wanted an enumeration value", [] { (void)OneEntity("'T'")[0].boolean(); });
}

TEST(StepValue, References)
{
    EXPECT_EQ(OneEntity("#17")[0].reference(), 17);
    EXPECT_TRUE(OneEntity("#17")[0].isReference());
    EXPECT_FALSE(OneEntity("17")[0].isReference());
    expectFault("wanted a reference", [] { (void)OneEntity("17")[0].reference(); });
    expectFault("names no instance", [] { (void)OneEntity("#3000000000")[0].reference(); });
}

TEST(StepValue, OmittedAndDerived)
{
    EXPECT_EQ(OneEntity("$")[0].kind(), ValueKind::omitted);
    EXPECT_EQ(OneEntity("*")[0].kind(), ValueKind::derived);
    EXPECT_TRUE(OneEntity("$")[0].isOmitted());
    EXPECT_TRUE(OneEntity("*")[0].isOmitted());
    EXPECT_FALSE(OneEntity("0")[0].isOmitted());
}

TEST(StepValue, Binaries)
{
    EXPECT_EQ(OneEntity("\"23A\"")[0].kind(), ValueKind::binary);
}

TEST(StepValue, ListsAreWalkedInOrder)
{
    const OneEntity one("(1,(2,3),B(4),5)");
    std::vector<ValueKind> kinds;
    for (const Value element : one[0]) {
        kinds.push_back(element.kind());
    }
    EXPECT_EQ(kinds, (std::vector<ValueKind>{ValueKind::integer, ValueKind::list, ValueKind::typed,
                                             ValueKind::integer}));
    EXPECT_EQ(one[0].size(), 4U);
    EXPECT_EQ(OneEntity("()")[0].size(), 0U);
    expectFault("wanted a list", [] { (void)OneEntity("1")[0].size(); });
}

TEST(StepEntity, AttributesAreCounted)
{
    const OneEntity one("1,(2,3),4");
    EXPECT_EQ(one.entity().attributes().size(), 3U);
    EXPECT_EQ(one[2].integer(), 4);
    expectFault("at least 4 attributes, found 3", [&one] { (void)one[3]; });
}

TEST(StepEntity, ComplexInstancesHaveParts)
{
    const std::string text = stepFile("#1=(A(1)B()C(2,3));\n");
    const Exchange exchange(text);
    const Entity entity(exchange, 1);
    EXPECT_TRUE(entity.isComplex());
    EXPECT_EQ(entity.keyword(), "");
    EXPECT_EQ(entity.title(), "A+B+C");
    EXPECT_TRUE(entity.is("C"));
    EXPECT_FALSE(entity.is("D"));
    EXPECT_EQ(entity.part("C")[1].integer(), 3);
    EXPECT_EQ(entity.part("B").size(), 0U);
    expectFault("wanted D", [&entity] { (void)entity.part("D"); });
    expectFault("wanted a simple instance", [&entity] { (void)entity.attributes(); });
}

TEST(StepEntity, ForwardReferencesAreFollowed)
{
    const std::string text = stepFile("#1=A(#9);\n#9=B(7);\n");
    const Exchange exchange(text);
    const Entity first(exchange, 1);
    const Entity second(exchange, first.attributes()[0], "B");
    EXPECT_EQ(second.attributes()[0].integer(), 7);
    EXPECT_EQ(second.line(), kDataLine + 1);
}

TEST(StepEntity, BrokenReferencesNameTheReferringInstance)
{
    const std::string text = stepFile("#1=A(#9,#2);\n#2=B();\n");
    const Exchange exchange(text);
    const Entity first(exchange, 1);
    expectFault("refers to #9, which is missing",
                [&] { const Entity other(exchange, first.attributes()[0]); });
    expectFault("wanted C, but #2 is B",
                [&] { const Entity other(exchange, first.attributes()[1], "C"); });
}

} // namespace
