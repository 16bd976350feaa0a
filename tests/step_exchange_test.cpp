#include "standin/step/Exchange.h"
#include "standin/step/StepFile.h"
#include "support/StepText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using standin::step::Entity;
using standin::step::Exchange;
using standin::step::StepError;
using test::kDataLine;
using test::stepFile;

// Expects a failure whose text holds a word, at a line and an entity.
void expectFault(const std::string& text, const std::string& word, std::size_t line,
                 long entity = 0)
{
    SCOPED_TRACE(text);
    try {
        const Exchange exchange(text);
        FAIL() << "nothing was raised";
    } catch (const StepError& error) {
        EXPECT_NE(std::string(error.what()).find(word), std::string::npos) << error.what();
        EXPECT_EQ(error.line(), line) << error.what();
        EXPECT_EQ(error.entity(), entity) << error.what();
    }
}

std::string headerAnd(const std::string& rest)
{
    return "ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('S'));\nENDSEC;\n" + rest;
}

TEST(StepExchange, FindsInstancesByNumber)
{
    const std::string text = stepFile("#30=A();\n#10=B();\n#20=A();\n");
    const Exchange exchange(text);
    EXPECT_EQ(exchange.size(), 3U);
    for (const long number : {10L, 20L, 30L}) {
        EXPECT_TRUE(exchange.has(number)) << number;
    }
    for (const long number : {0L, 1L, 15L, 31L, -1L}) {
        EXPECT_FALSE(exchange.has(number)) << number;
    }
    EXPECT_EQ(exchange.keywordOf(10), "B");
    EXPECT_EQ(exchange.lineOf(20), kDataLine + 2);
    EXPECT_EQ(exchange.lineOf(21), 0U);
}

TEST(StepExchange, ListsInstancesInFileOrder)
{
    const std::string text = stepFile("#30=A();\n#10=B();\n#5=(B()A());\n#20=A();\n#6=(A()A());\n");
    const Exchange exchange(text);
    EXPECT_EQ(exchange.withKeyword("A"), (std::vector<long>{30, 5, 20, 6}));
    EXPECT_EQ(exchange.withKeyword("B"), (std::vector<long>{10, 5}));
    EXPECT_TRUE(exchange.withKeyword("C").empty());
}

TEST(StepExchange, KeepsTheSchemas)
{
    const std::string text = "ISO-10303-21;HEADER;FILE_DESCRIPTION((''),'2;1');"
                             "FILE_SCHEMA(('ONE { 1 0 }','TWO'));ENDSEC;DATA;ENDSEC;"
                             "END-ISO-10303-21;";
    const Exchange exchange(text);
    EXPECT_EQ(exchange.schemas(), (std::vector<std::string>{"ONE { 1 0 }", "TWO"}));
}

TEST(StepExchange, AllowsBlanksAndCommentsBetweenAllTokens)
{
    const std::string text = "  ISO-10303-21 ; /* a */ HEADER ;\tENDSEC\n;\nDATA /*;*/ ;\n"
                             "# 1 = A ( ) ;\nENDSEC ; END-ISO-10303-21 ;\n";
    expectFault(text, "'#' without a number", 4); // a name is one token
    const std::string good = test::replaced(text, "# 1 = A ( ) ;",
                                            "#1 /* x */ =\n A ( 1. , /**/ ( 2 , $ ) \\N\\, * ) ;");
    const Exchange exchange(good);
    const Entity entity(exchange, 1);
    EXPECT_EQ(entity.attributes().size(), 3U);
    EXPECT_EQ(entity.attributes()[1].size(), 2U);
}

TEST(StepExchange, CountsLinesWhateverEndsThem)
{
    for (const char* lineEnd : {"\n", "\r", "\r\n"}) {
        std::string text;
        for (const char c : stepFile("#1=A();\n/* two\nlines */#2=A('x\ny');\n#3=A();\n")) {
            text += c == '\n' ? std::string(lineEnd) : std::string(1, c);
        }
        const Exchange exchange(text);
        EXPECT_EQ(exchange.lineOf(1), kDataLine);
        EXPECT_EQ(exchange.lineOf(2), kDataLine + 2);
        EXPECT_EQ(exchange.lineOf(3), kDataLine + 4);
    }
}

TEST(StepExchange, ReadsSeveralDataSections)
{
    const std::string text = headerAnd("DATA('one',('S'));\n#1=A();\nENDSEC;\n"
                                       "DATA;\n#2=A();\nENDSEC;\nEND-ISO-10303-21;\n");
    const Exchange exchange(text);
    EXPECT_TRUE(exchange.has(1));
    EXPECT_TRUE(exchange.has(2));
}

TEST(StepExchange, NamesTheSectionsItSkips)
{
    const std::string text = headerAnd("ANCHOR;\n<a>=#1;\nENDSEC;\nREFERENCE;\n#2=<b.stp#c>;\n"
                                       "ENDSEC;\nDATA;\n#1=A();\nENDSEC;\nEND-ISO-10303-21;\n");
    const Exchange exchange(text);
    EXPECT_TRUE(exchange.has(1));
    EXPECT_FALSE(exchange.has(2));
    ASSERT_EQ(exchange.remarks().size(), 2U);
    EXPECT_NE(exchange.remarks()[0].find("ANCHOR (line 5)"), std::string::npos);
    EXPECT_NE(exchange.remarks()[1].find("REFERENCE (line 8)"), std::string::npos);
}

TEST(StepExchange, TextBehindTheEndIsRemarked)
{
    const std::string text = stepFile("#1=A();\n");
    const std::string blanks = text + " \r\n" + std::string(3, '\0');
    const std::string words = text + "more";
    EXPECT_TRUE(Exchange(blanks).remarks().empty());
    EXPECT_EQ(Exchange(words).remarks().size(), 1U);
}

TEST(StepExchange, UserDefinedKeywordsAreKeywords)
{
    const std::string text = stepFile("#1=!MINE(1);\n");
    EXPECT_EQ(Exchange(text).keywordOf(1), "!MINE");
}

// Failures

TEST(StepExchange, RefusesANumberUsedTwice)
{
    expectFault(stepFile("#1=A();\n#2=A();\n#1=B();\n"), "on line 8", kDataLine + 2, 1);
    expectFault(stepFile("#7=A();\n#7=A();\n"), "on line 8", kDataLine + 1, 7);
}

TEST(StepExchange, RefusesMissingEnds)
{
    expectFault(headerAnd("DATA;\n#1=A();\nEND-ISO-10303-21;\n"), "no ENDSEC", 7);
    expectFault(headerAnd("DATA;\n#1=A();\n"), "no ENDSEC", 7);
    expectFault(headerAnd("DATA;\n#1=A();\nENDSEC;\n"), "cut off", 8);
    expectFault(headerAnd("ANCHOR;\n<a>=#1;\n"), "no ENDSEC", 5);
    expectFault("ISO-10303-21;\nHEADER;\nFILE_SCHEMA(('S'));\nDATA;\n", "wanted '('", 4);
}

TEST(StepExchange, RefusesWhatIsNoStepFile)
{
    expectFault("hello", "'h' begins no token", 1);
    expectFault("ISO-10303-22;", "not a STEP file", 1);
    expectFault("ISO-10303-21;\nDATA;\n", "wanted HEADER", 2);
    expectFault("ISO-10303-21", "wanted ';'", 1);
}

TEST(StepExchange, RefusesBrokenInstances)
{
    const std::size_t line = kDataLine + 1;
    const auto second = [](const std::string& broken) {
        return stepFile("#1=A();\n" + broken + "\n");
    };
    expectFault(second("#2 A();"), "wanted '='", line, 2);
    expectFault(second("#2=();"), "without parts", line, 2);
    expectFault(second("#2=(A() 3);"), "wanted a keyword", line, 2);
    expectFault(second("#2=5;"), "wanted a keyword", line, 2);
    expectFault(second("#2=A;"), "wanted '('", line, 2);
    expectFault(second("#2=A(1 2);"), "wanted ',' or ')'", line, 2);
    expectFault(second("#2=A(1,);"), "wanted a parameter", line, 2);
    expectFault(second("#2=A(,1);"), "wanted a parameter", line, 2);
    expectFault(second("#2=A((1);"), "wanted ',' or ')'", line, 2);
    expectFault(second("#2=A(B(1,2));"), "not one", line, 2);
    expectFault(second("#2=A(B);"), "wanted '('", line, 2);
    expectFault(second("#2=A()"), "wanted ';'", line + 1, 2);
    expectFault(second("A();"), "wanted an instance", line);
}

TEST(StepExchange, RefusesBrokenTokens)
{
    const auto first = [](const std::string& token) { return stepFile("#1=A(" + token + ");\n"); };
    expectFault(first("'open"), "string is not closed", kDataLine);
    expectFault(first("/* open"), "comment is not closed", kDataLine);
    expectFault(first("\"0G\""), "binary", kDataLine);
    expectFault(first("\"01"), "binary", kDataLine);
    expectFault(first(".T"), "enumeration", kDataLine);
    expectFault(first(".."), "enumeration", kDataLine);
    expectFault(first("+"), "sign without a number", kDataLine);
    expectFault(first("-."), "sign without a number", kDataLine);
    expectFault(first("1.E"), "exponent", kDataLine);
    expectFault(first("1.E+"), "exponent", kDataLine);
    expectFault(first("#"), "'#' without a number", kDataLine);
    expectFault(first("%"), "'%' begins no token", kDataLine);
    expectFault(first("\x01"), "byte 0x01", kDataLine);
}

TEST(StepExchange, InstanceNumbersFit31Bits)
{
    const std::string text = stepFile("#2147483647=A();\n");
    EXPECT_TRUE(Exchange(text).has(2147483647));
    for (const char* number : {"#2147483648", "#99999999999999999999999999", "#0"}) {
        expectFault(stepFile(number + std::string("=A();\n")), "is not an instance number",
                    kDataLine);
    }
}

TEST(StepExchange, NestingIsLimited)
{
    const auto nested = [](int depth) {
        return stepFile("#1=A" + std::string(static_cast<std::size_t>(depth), '(') +
                        std::string(static_cast<std::size_t>(depth), ')') + ";\n");
    };
    const std::string good = nested(64);
    EXPECT_TRUE(Exchange(good).has(1));
    expectFault(nested(65), "deeper than 64", kDataLine, 1);
    expectFault(nested(1000000), "deeper than 64", kDataLine, 1);
    std::string typed = "#1=A(";
    for (int i = 0; i < 100000; ++i) {
        typed += "B(";
    }
    expectFault(stepFile(typed), "deeper than 64", kDataLine, 1);
}

} // namespace
