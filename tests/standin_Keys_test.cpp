#include "support/CensusGuard.h"
#include "support/HostObjects.h"
#include "support/PartOfAllKinds.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>

namespace {

using namespace support;

using Key = std::vector<unsigned char>;

//! Gives the keys of all bodies, faces and edges of a document, in its order.
std::vector<Key> keysOf(const IDispatchPtr& document)
{
    std::vector<Key> keys;
    const LONG bodies = get(need(get(document, 24681)), 5).number();
    for (LONG i = 1; i <= bodies; ++i) {
        const IDispatchPtr body = bodyOf(document, i);
        keys.push_back(keyOf(body));
        for (const IDispatchPtr& collection : {facesOf(body), edgesOf(body)}) {
            for (const IDispatchPtr& each : itemsOf(collection)) {
                keys.push_back(keyOf(each));
            }
        }
    }
    return keys;
}

class standin_Keys : public HostTest
{
protected:
    standin::Session session;
};

TEST_F(standin_Keys, HaveALengthForEachKind)
{
    const IDispatchPtr document = openBody(session, plainBox());
    EXPECT_EQ(keyOf(bodyOf(document)).size(), 24u);
    EXPECT_EQ(keyOf(faceOf(document, 1)).size(), 28u);
    EXPECT_EQ(keyOf(edgeOf(document, 1)).size(), 36u);
}

TEST_F(standin_Keys, AreDifferentForEveryObject)
{
    const std::vector<Key> keys = keysOf(session.openPart(partOfAllKinds(), "all"));
    ASSERT_GT(keys.size(), 50u);
    EXPECT_EQ(std::set<Key>(keys.begin(), keys.end()).size(), keys.size());
}

TEST_F(standin_Keys, AreTheSameWhenAskedTwice)
{
    const IDispatchPtr document = session.openPart(partOfAllKinds(), "all");
    EXPECT_EQ(keysOf(document), keysOf(document));
}

TEST_F(standin_Keys, AreTheSameInAnotherSession)
{
    const std::vector<Key> here = keysOf(session.openPart(partOfAllKinds(), "all"));
    standin::Session other;
    EXPECT_EQ(keysOf(other.openPart(partOfAllKinds(), "all")), here);
    EXPECT_EQ(keysOf(other.openPart(partOfAllKinds(), "another name")), here);
}

TEST_F(standin_Keys, AreTheSameWhenClosedAndOpenedAgain)
{
    const IDispatchPtr document = openBody(session, plainBox());
    const std::vector<Key> before = keysOf(document);
    session.close(document);
    EXPECT_EQ(keysOf(openBody(session, plainBox())), before);
}

TEST_F(standin_Keys, AreOthersForAnotherPart)
{
    const std::vector<Key> one = keysOf(openBody(session, plainBox(), "one"));
    const std::vector<Key> two =
        keysOf(openBody(session, standin::makeBox({0.0, 0.0, 0.0}, {0.1, 0.2, 0.31}), "two"));
    std::set<Key> all(one.begin(), one.end());
    all.insert(two.begin(), two.end());
    EXPECT_EQ(all.size(), one.size() + two.size());
}

TEST_F(standin_Keys, DependOnNothingButTheNumbersOfThePart)
{
    standin::geom::Body zero = plainBox();
    standin::geom::Body minusZero = plainBox();
    for (standin::geom::Vertex& vertex : minusZero.vertices) {
        if (vertex.point.x == 0.0) {
            vertex.point.x = -0.0;
        }
    }
    standin::geom::Body called = plainBox();
    called.name = "plate";
    const Key key = keyOf(bodyOf(openBody(session, zero, "a")));
    EXPECT_EQ(keyOf(bodyOf(openBody(session, minusZero, "b"))), key);
    EXPECT_NE(keyOf(bodyOf(openBody(session, called, "c"))), key);
}

TEST_F(standin_Keys, FollowADocumentThatIsRenamed)
{
    const IDispatchPtr document = openBody(session, plainBox(), "old.par");
    const std::vector<Key> before = keysOf(document);
    session.rename(document, "new.par");
    EXPECT_EQ(keysOf(document), before);
    session.close(document);
    EXPECT_EQ(
        keysOf(openBody(session, standin::makeBox({0.0, 0.0, 0.0}, {0.1, 0.2, 0.4}), "new.par")),
        before)
        << "the part is known under its new name";
}

class standin_KeysWithSalt : public standin_Keys
{
protected:
    standin_KeysWithSalt()
    {
        standin::SessionOptions options;
        options.keySalt = 0xA1B2C3D4u;
        salted = std::make_unique<standin::Session>(options);
        here = session.openPart(partOfAllKinds(), "all");
        there = salted->openPart(partOfAllKinds(), "all");
    }

    std::unique_ptr<standin::Session> salted;
    IDispatchPtr here;
    IDispatchPtr there;
};

TEST_F(standin_KeysWithSalt, AreOthersForTheSameObjects)
{
    const std::vector<Key> plain = keysOf(here);
    const std::vector<Key> other = keysOf(there);
    ASSERT_EQ(plain.size(), other.size());
    for (std::size_t i = 0; i < plain.size(); ++i) {
        EXPECT_NE(plain[i], other[i]);
        EXPECT_EQ(plain[i].size(), other[i].size());
    }
}

TEST_F(standin_KeysWithSalt, BindInEitherSession)
{
    const std::vector<Key> plain = keysOf(here);
    const std::vector<Key> other = keysOf(there);
    for (std::size_t i = 0; i < plain.size(); ++i) {
        const IDispatchPtr bound = bindKey(there, plain[i]);
        ASSERT_NE(bound.GetInterfacePtr(), nullptr);
        EXPECT_EQ(keyOf(bound), other[i]) << "read again it is the session's own";
        EXPECT_EQ(keyOf(bindKey(here, other[i])), plain[i]);
    }
}

} // namespace
