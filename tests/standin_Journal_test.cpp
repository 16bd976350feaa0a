#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace support;
using standin::CallKind;
using standin::JournalEntry;

class standin_Journal : public HostTest
{
protected:
    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
    IDispatchPtr face = faceOf(document, 1);

    void SetUp() override { session.journal().clear(); }
};

TEST_F(standin_Journal, CountsWithoutBeingSwitchedOn)
{
    EXPECT_FALSE(session.journal().isRecording());
    get(face, 48);
    get(face, 48);
    get(face, 4711);
    get(document, 70);
    DISPID id = 0;
    identify(face, L"Type", id);
    void* found = nullptr;
    face->QueryInterface(IID_IUnknown, &found);
    face->Release();
    EXPECT_EQ(session.journal().count("Face.Type"), 2);
    EXPECT_EQ(session.journal().count("Type"), 3) << "on every class";
    EXPECT_EQ(session.journal().count("Face.#4711"), 1);
    EXPECT_EQ(session.journal().count("GetIDsOfNames"), 1);
    EXPECT_EQ(session.journal().count("Face.QueryInterface"), 1);
    EXPECT_EQ(session.journal().count("Edge.Type"), 0);
    EXPECT_EQ(session.journal().invokes(), 4);
    EXPECT_EQ(session.journal().calls(), 6);
    EXPECT_EQ(session.journal().counters().size(), 5u);
    EXPECT_TRUE(session.journal().entries().empty());
}

TEST_F(standin_Journal, ListsCallsWithArgumentsAndAnswers)
{
    session.journal().record(true);
    LONG count = 0;
    Array points(VT_R8, 0);
    ASSERT_EQ(
        method(face, 47, {value(0.05), reference(count), reference(points), missing(), missing()})
            .code,
        S_OK);
    ASSERT_EQ(session.journal().entries().size(), 1u);
    const JournalEntry& entry = session.journal().entries()[0];
    EXPECT_EQ(entry.number, 1);
    EXPECT_EQ(entry.className, "Face");
    EXPECT_GT(entry.object, 0);
    EXPECT_EQ(entry.kind, CallKind::method);
    EXPECT_EQ(entry.member, "GetFacetData");
    EXPECT_EQ(entry.id, 47);
    EXPECT_EQ(entry.arguments, "0.05, long&, double[0]&, missing, missing");
    EXPECT_EQ(entry.answer, "2, double[18]") << "a rectangle is two triangles";
    EXPECT_EQ(entry.result, S_OK);
    EXPECT_FALSE(entry.faulty);
}

TEST_F(standin_Journal, ListsFailuresWithTheirCode)
{
    session.journal().record(true);
    get(face, 4711);
    session.faults().failMember("Type", E_ABORT);
    get(face, 48);
    ASSERT_EQ(session.journal().entries().size(), 2u);
    const JournalEntry& unknown = session.journal().entries()[0];
    EXPECT_EQ(unknown.member, "#4711");
    EXPECT_EQ(unknown.result, DISP_E_MEMBERNOTFOUND);
    EXPECT_TRUE(unknown.answer.empty());
    const JournalEntry& struck = session.journal().entries()[1];
    EXPECT_EQ(struck.result, E_ABORT);
    EXPECT_TRUE(struck.faulty);
    EXPECT_NE(struck.text().find("0x80004004"), std::string::npos) << struck.text();
}

TEST_F(standin_Journal, ListsLookUpsAndInterfaces)
{
    session.journal().record(true);
    DISPID id = 0;
    identify(face, L"GetNormal", id);
    void* found = nullptr;
    face->QueryInterface(IID_IErrorInfo, &found);
    ASSERT_EQ(session.journal().entries().size(), 2u);
    const JournalEntry& lookUp = session.journal().entries()[0];
    EXPECT_EQ(lookUp.kind, CallKind::getIdsOfNames);
    EXPECT_EQ(lookUp.arguments, "GetNormal");
    EXPECT_EQ(lookUp.answer, "229");
    const JournalEntry& query = session.journal().entries()[1];
    EXPECT_EQ(query.kind, CallKind::queryInterface);
    EXPECT_EQ(query.arguments, "{1CF2B120-547D-101B-8E65-08002B2BD119}");
    EXPECT_EQ(query.result, E_NOINTERFACE);
}

TEST_F(standin_Journal, ListsPropertiesAsSuch)
{
    session.journal().record(true);
    get(face, 48);
    call(face, 48, DISPATCH_METHOD | DISPATCH_PROPERTYGET);
    call(face, 48, DISPATCH_PROPERTYPUT);
    ASSERT_EQ(session.journal().entries().size(), 3u);
    EXPECT_EQ(session.journal().entries()[0].kind, CallKind::propertyGet);
    EXPECT_EQ(session.journal().entries()[1].kind, CallKind::propertyGet);
    EXPECT_EQ(session.journal().entries()[2].kind, CallKind::propertyPut);
}

TEST_F(standin_Journal, WritesOneLinePerCall)
{
    session.journal().record(true);
    get(face, 48);
    get(document, 18);
    get(document, 24681);
    const std::string text = session.journal().text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
    EXPECT_EQ(text.rfind("1 Face ", 0), 0u) << text;
    EXPECT_NE(text.find(".Type get(48) = 167551075\n"), std::string::npos) << text;
    EXPECT_NE(text.find(".Name get(18) = \"part.par\"\n"), std::string::npos) << text;
    EXPECT_NE(text.find(".Models get(24681) = object\n"), std::string::npos) << text;
}

TEST_F(standin_Journal, TellsObjectsApart)
{
    const IDispatchPtr other = faceOf(document, 2);
    session.journal().clear();
    session.journal().record(true);
    get(face, 48);
    get(other, 48);
    get(face, 48);
    ASSERT_EQ(session.journal().entries().size(), 3u);
    EXPECT_NE(session.journal().entries()[0].object, session.journal().entries()[1].object);
    EXPECT_EQ(session.journal().entries()[0].object, session.journal().entries()[2].object);
}

TEST_F(standin_Journal, ClearsListAndCounters)
{
    session.journal().record(true);
    get(face, 48);
    session.journal().clear();
    EXPECT_TRUE(session.journal().entries().empty());
    EXPECT_EQ(session.journal().calls(), 0);
    EXPECT_EQ(session.journal().invokes(), 0);
    EXPECT_TRUE(session.journal().isRecording());
    get(face, 48);
    EXPECT_EQ(session.journal().entries().at(0).number, 1);
    session.journal().record(false);
    get(face, 48);
    EXPECT_EQ(session.journal().entries().size(), 1u);
}

TEST_F(standin_Journal, DescribesArgumentsOfEveryType)
{
    session.journal().record(true);
    const IDispatchPtr faces = facesOf(bodyOf(document));
    session.journal().clear();
    const _variant_t text(L"2");
    method(faces, 0, {text});
    method(faces, 0, {value(true)});
    VARIANT null;
    VariantInit(&null);
    V_VT(&null) = VT_NULL;
    method(faces, 0, {null});
    VARIANT error;
    VariantInit(&error);
    V_VT(&error) = VT_ERROR;
    V_ERROR(&error) = E_FAIL;
    method(faces, 0, {error});
    Array missingArray;
    method(faces, 0, {reference(missingArray)});
    std::vector<std::string> found;
    for (const JournalEntry& entry : session.journal().entries()) {
        found.push_back(entry.arguments);
    }
    EXPECT_EQ(found, (std::vector<std::string>{"\"2\"", "true", "null", "error 0x80004005",
                                               "double[null]&"}));
}

} // namespace
