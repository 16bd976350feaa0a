#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest.h>

namespace {

using namespace support;

class standin_Document : public HostTest
{
protected:
    standin::Session session;
};

TEST_F(standin_Document, HasAFullNameAndAName)
{
    const IDispatchPtr document = openBody(session, plainBox(), "C:\\parts\\h\xC3\xA4lter.par");
    EXPECT_EQ(get(document, 9).text(), "C:\\parts\\h\xC3\xA4lter.par");
    EXPECT_EQ(get(document, 18).text(), "h\xC3\xA4lter.par");
    const IDispatchPtr other = openBody(session, plainBox(), "/parts/b.step");
    EXPECT_EQ(get(other, 18).text(), "b.step");
    const IDispatchPtr plain = openBody(session, plainBox(), "c");
    EXPECT_EQ(get(plain, 18).text(), "c");
}

TEST_F(standin_Document, BelongsToTheApplication)
{
    const IDispatchPtr document = openBody(session, plainBox());
    const IDispatchPtr application = need(get(document, 22));
    EXPECT_EQ(application.GetInterfacePtr(), session.application().GetInterfacePtr());
}

TEST_F(standin_Document, HasOneModelPerBody)
{
    const IDispatchPtr document = session.openPart(
        standin::makeModel({plainBox(), standin::makeBox({1.0, 0.0, 0.0}, {2.0, 1.0, 1.0})}),
        "two");
    const IDispatchPtr models = need(get(document, 24681));
    EXPECT_EQ(get(models, 5).number(), 2);
    Array min;
    Array max;
    ASSERT_TRUE(method(bodyOf(document, 2), 129, {reference(min), reference(max)}).ok());
    EXPECT_EQ(min.doubles(), (std::vector<double>{1.0, 0.0, 0.0}));
    EXPECT_EQ(method(models, 0, {value(LONG{3})}).code, DISP_E_BADINDEX);
}

TEST_F(standin_Document, TellsSolidsFromSheets)
{
    const IDispatchPtr document = openBody(session, plainBox());
    EXPECT_TRUE(get(bodyOf(document), 65).flag());
    EXPECT_TRUE(get(bodyOf(document), 518).flag());
    standin::geom::Body sheet = plainBox();
    sheet.solid = false;
    const IDispatchPtr other = openBody(session, sheet, "sheet");
    const Outcome solid = get(bodyOf(other), 65);
    EXPECT_EQ(V_VT(&solid.result), VT_BOOL);
    EXPECT_EQ(V_BOOL(&solid.result), VARIANT_FALSE);
}

TEST_F(standin_Document, BindsTheKeysOfBodiesFacesAndEdges)
{
    const IDispatchPtr document = openBody(session, plainBox());
    std::vector<IDispatchPtr> all{bodyOf(document)};
    for (const IDispatchPtr& face : itemsOf(facesOf(all[0]))) {
        all.push_back(face);
    }
    for (const IDispatchPtr& edge : itemsOf(edgesOf(all[0]))) {
        all.push_back(edge);
    }
    ASSERT_EQ(all.size(), 1u + 6u + 12u);
    for (const IDispatchPtr& object : all) {
        EXPECT_EQ(bindKey(document, keyOf(object)).GetInterfacePtr(), object.GetInterfacePtr());
    }
}

TEST_F(standin_Document, TheNewerBindingTakesAFlag)
{
    const IDispatchPtr document = openBody(session, plainBox());
    const IDispatchPtr face = faceOf(document, 4);
    Array key(keyOf(face));
    IDispatch* object = nullptr;
    EXPECT_EQ(
        method(document, 24791, {value(true), reference(key, VT_UI1), reference(object)}).code,
        S_OK);
    EXPECT_EQ(object, face.GetInterfacePtr());
    IDispatchPtr(object, false);
}

TEST_F(standin_Document, AKeyOfNothingGivesANullObject)
{
    const IDispatchPtr document = openBody(session, plainBox());
    std::vector<unsigned char> key = keyOf(faceOf(document, 1));
    key[5] = static_cast<unsigned char>(key[5] ^ 1u);
    EXPECT_EQ(bindKey(document, key).GetInterfacePtr(), nullptr);
    key.resize(3);
    EXPECT_EQ(bindKey(document, key).GetInterfacePtr(), nullptr);
}

TEST_F(standin_Document, AKeyOfNothingFailsWhenTheSessionSaysSo)
{
    standin::SessionOptions options;
    options.unboundKey = standin::UnboundKey::failure;
    options.unboundCode = E_FAIL;
    standin::Session strict(options);
    const IDispatchPtr document = openBody(strict, plainBox());
    Array key(std::vector<unsigned char>{1, 2, 3, 4, 5, 6, 7, 8});
    IDispatch* object = nullptr;
    EXPECT_EQ(method(document, 24685, {reference(key, VT_UI1), reference(object)}).failure(),
              E_FAIL);
    EXPECT_EQ(object, nullptr);
}

TEST_F(standin_Document, NoKeyAtAllIsRefused)
{
    const IDispatchPtr document = openBody(session, plainBox());
    IDispatch* object = nullptr;
    Array null;
    EXPECT_EQ(method(document, 24685, {reference(null, VT_UI1), reference(object)}).failure(),
              E_INVALIDARG);
    Array empty(VT_UI1, 0);
    EXPECT_EQ(method(document, 24685, {reference(empty, VT_UI1), reference(object)}).failure(),
              E_INVALIDARG);
}

TEST_F(standin_Document, KeysOfAnotherDocumentDoNotBind)
{
    const IDispatchPtr document = openBody(session, plainBox(), "a");
    const IDispatchPtr other =
        openBody(session, standin::makeBox({0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}), "b");
    EXPECT_EQ(bindKey(other, keyOf(faceOf(document, 1))).GetInterfacePtr(), nullptr);
}

TEST_F(standin_Document, ClosesItself)
{
    const IDispatchPtr document = openBody(session, plainBox());
    const IDispatchPtr face = faceOf(document, 1);
    EXPECT_EQ(named(document, L"Close", DISPATCH_METHOD).code, S_OK);
    EXPECT_EQ(get(document, 9).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(get(face, 48).code, RPC_E_DISCONNECTED);
    EXPECT_TRUE(session.documents().empty());
}

TEST_F(standin_Document, ClosingThroughTheLastReferenceWorks)
{
    IDispatchPtr document = openBody(session, plainBox());
    IDispatch* const bare = document.Detach();
    EXPECT_EQ(named(bare, L"Close", DISPATCH_METHOD).code, S_OK);
    EXPECT_EQ(bare->Release(), 0u);
}

} // namespace
