#include "standin/Census.h"
#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <memory>

namespace {

using namespace support;

class standin_Census : public HostTest
{
};

TEST_F(standin_Census, CountsLiveObjectsByClass)
{
    standin::Session session;
    EXPECT_EQ(session.census().live(), 0);
    EXPECT_EQ(session.census().text(), "");
    const IDispatchPtr document = openBody(session, plainBox());
    const IDispatchPtr body = bodyOf(document);
    const std::vector<IDispatchPtr> edges = itemsOf(edgesOf(body));
    EXPECT_EQ(session.census().live("PartDocument"), 1);
    EXPECT_EQ(session.census().live("Edge"), 12);
    EXPECT_EQ(session.census().live("Unicorn"), 0);
    EXPECT_EQ(session.census().live(), 14);
    EXPECT_EQ(session.census().text(), "1 Body, 12 Edge, 1 PartDocument");
    EXPECT_GT(session.census().created(), 14) << "models and collections came and went";
}

TEST_F(standin_Census, AnOpenDocumentNeedsNoObject)
{
    standin::Session session;
    openBody(session, plainBox());
    EXPECT_EQ(session.census().live(), 0);
    const IDispatchPtr document = session.document("part.par");
    ASSERT_NE(document.GetInterfacePtr(), nullptr);
    EXPECT_EQ(get(document, 9).text(), "part.par");
}

TEST_F(standin_Census, TheProcessKnowsWhatOutlivesASession)
{
    const long before = standin::processCensus().live();
    IDispatchPtr face;
    {
        standin::Session session;
        face = faceOf(openBody(session, plainBox()), 1);
    }
    EXPECT_EQ(standin::processCensus().live(), before + 1);
    face = nullptr;
    EXPECT_EQ(standin::processCensus().live(), before);
}

TEST_F(standin_Census, AGuardSaysWhatIsLeft)
{
    standin::Session session;
    IDispatchPtr document;
    EXPECT_NONFATAL_FAILURE(
        {
            const CensusGuard guard;
            document = openBody(session, plainBox());
        },
        "1 PartDocument");
}

TEST_F(standin_Census, AGuardSeesStringsAndArrays)
{
    if (!com::countsStrings()) {
        GTEST_SKIP() << "strings and arrays are not counted on this platform";
    }
    BSTR text = nullptr;
    EXPECT_NONFATAL_FAILURE(
        {
            const CensusGuard guard;
            text = SysAllocString(L"left");
        },
        "strings are left");
    SysFreeString(text);
    SAFEARRAY* array = nullptr;
    EXPECT_NONFATAL_FAILURE(
        {
            const CensusGuard guard;
            array = SafeArrayCreateVector(VT_R8, 0, 3);
        },
        "arrays are left");
    SafeArrayDestroy(array);
}

} // namespace
