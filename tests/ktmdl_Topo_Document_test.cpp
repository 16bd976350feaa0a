// Which document a reference belongs to: names, binding, disconnecting and reconnecting.

#include "com/Com.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktstd/ktstd_fail.h"
#include "support/FakeDispatch.h"
#include "support/TopoScene.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

const char* const kSource = "ktmdl_Topo.cpp";
const char* const kUpdate = "ktmdl_Topo::UpdateDocDispatches";
const unsigned char kUnknownTypes[] = {0, 8, 255};
const unsigned char kSomeTypes[] = {0, 2, 8};

//! Gives a registered reference of type 2 with the key {1, 2, 3}.
Hnd_ktmdl_Topo edgeTopo()
{
    Hnd_ktmdl_Topo topo = newTopo(Bytes{1, 2, 3});
    topo->tplType = 2;
    return topo;
}

std::string nameOf(const Hnd_ktmdl_Topo& aTopo)
{
    return aTopo->mDocName.ToCString();
}

long update(const Hnd_ktmdl_Topo& aTopo, fake::Object& aDocument, const char* aName)
{
    ktstd_AsciiString name(aName);
    const long result = aTopo->UpdateDocDispatches(aDocument.Ptr(), name);
    EXPECT_STREQ(name.ToCString(), aName) << "the name is only read";
    return result;
}

std::vector<std::string> bindCalls(const std::string& aName, const std::string& aKey)
{
    return {aName + ".BindKeyToObject?",
            aName + ".BindKeyToObject(UI1[]& " + aKey + ", DISP& null)"};
}

std::vector<std::string> nameCalls(const std::string& aDocument, const std::string& aProperty)
{
    return {aDocument + "." + aProperty + "?", aDocument + ".get " + aProperty + "()"};
}

} // namespace

// UpdateDispatch and the name rule.

TEST(ktmdl_Topo, UpdateDispatchWithoutDocumentAndNameGivesMinusOne)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = edgeTopo();
    EXPECT_EQ(topo->UpdateDispatch(), -1);
    EXPECT_EQ(nameOf(topo), "");
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, UpdateDispatchWithoutDocumentAsksNoSession)
{
    Scene scene;
    const BracketSession& session = beginSession();
    const Hnd_ktmdl_Topo topo = edgeTopo();
    EXPECT_EQ(topo->UpdateDispatch(), -1);
    EXPECT_TRUE(session.mAsked.empty());
    EXPECT_EQ(nameOf(topo), "");
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, UpdateDispatchWithANameButNoDocumentGivesMinusOne)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    EXPECT_EQ(topo->UpdateDispatch(), -1);
    EXPECT_EQ(nameOf(topo), "part");
}

TEST(ktmdl_Topo, UpdateDispatchReadsTheNameWithoutSession)
{
    Scene scene;
    fake::Object& document = scene.Document("doc", L"C:\\parts\\a.par", L"a.par");
    fake::Object& object = scene.world.Make("edge");
    scriptBind(document, {{{1, 2, 3}, &object}});
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(topo->UpdateDispatch(), 0);
    EXPECT_EQ(nameOf(topo), "a.par");
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    scene.ExpectCalls(joined({nameCalls("doc", "Name"), bindCalls("doc", "{1,2,3}")}));
}

TEST(ktmdl_Topo, UpdateDispatchReadsTheFullNameWithSessionWhichAdjustsIt)
{
    Scene scene;
    const BracketSession& session = beginSession();
    fake::Object& document = scene.Document("doc", L"C:\\parts\\a.par", L"a.par");
    fake::Object& object = scene.world.Make("edge");
    scriptBind(document, {{{1, 2, 3}, &object}});
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(topo->UpdateDispatch(), 0);
    EXPECT_EQ(nameOf(topo), "[C:\\parts\\a.par]");
    EXPECT_EQ(session.mAsked, std::vector<std::string>{"C:\\parts\\a.par"});
    scene.ExpectCalls(joined({nameCalls("doc", "FullName"), bindCalls("doc", "{1,2,3}")}));
}

TEST(ktmdl_Topo, UpdateDispatchReadsNoNameThatIsKnown)
{
    Scene scene;
    const BracketSession& session = beginSession();
    fake::Object& document = scene.Document("doc", L"full", L"short");
    fake::Object& object = scene.world.Make("edge");
    scriptBind(document, {{{1, 2, 3}, &object}});
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = document.Ptr();
    topo->mDocName = ktstd_AsciiString("known");
    EXPECT_EQ(topo->UpdateDispatch(), 0);
    EXPECT_EQ(nameOf(topo), "known");
    EXPECT_TRUE(session.mAsked.empty());
    scene.ExpectCalls(bindCalls("doc", "{1,2,3}"));
}

TEST(ktmdl_Topo, UpdateDispatchOfAnUnknownTypeFillsTheNameAndGivesMinusOne)
{
    Scene scene;
    fake::Object& document = scene.Document("doc", L"full", L"short");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->tplType = 0;
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(topo->UpdateDispatch(), -1);
    EXPECT_EQ(nameOf(topo), "short");
    scene.ExpectCalls(nameCalls("doc", "Name"));
}

TEST(ktmdl_Topo, UpdateDispatchInADocumentWithoutNameGivesMinusOne)
{
    Scene scene;
    fake::Object& document = scene.Document("doc", L"", L"");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(topo->UpdateDispatch(), -1);
    scene.ExpectCalls(nameCalls("doc", "Name"));
}

TEST(ktmdl_Topo, UpdateDispatchRaisesAFailedNameReadAndLogsIt)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    document.Property(L"Name", fake::fails(static_cast<HRESULT>(0x80010108u)));
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(codeOf([&] { topo->UpdateDispatch(); }), static_cast<HRESULT>(0x80010108u));
    EXPECT_EQ(nameOf(topo), "");
    scene.ExpectLog({failedCallForm(kSource, static_cast<HRESULT>(0x80010108u))});
}

TEST(ktmdl_Topo, UpdateDispatchRaisesAFailedFullNameReadBeforeTheSessionIsAsked)
{
    Scene scene;
    const BracketSession& session = beginSession();
    fake::Object& document = scene.world.Make("doc");
    document.FailName(L"FullName", DISP_E_UNKNOWNNAME);
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(codeOf([&] { topo->UpdateDispatch(); }), DISP_E_UNKNOWNNAME);
    EXPECT_TRUE(session.mAsked.empty());
    scene.ExpectLog({failedCallForm(kSource, DISP_E_UNKNOWNNAME)});
}

TEST(ktmdl_Topo, UpdateDispatchReadsTheNameAgainAfterASessionThatFailed)
{
    //! Fails once.
    class FailingOnce : public BracketSession
    {
    public:
        void AdjustDocumentName(ktstd_AsciiString& aName) override
        {
            if (!std::exchange(mHasFailed, true)) {
                ktstd_fail_DomainError::Raise("not now");
            }
            BracketSession::AdjustDocumentName(aName);
        }

    private:
        bool mHasFailed{false};
    };
    Scene scene;
    ktstd_Session::SetCurSession(Hnd_ktstd_Session(new FailingOnce));
    fake::Object& document = scene.Document("doc", L"C:\\full", L"short");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->tplType = 0; // so that nothing is bound
    topo->mDispDoc = document.Ptr();
    EXPECT_THROW(topo->UpdateDispatch(), Hnd_ktstd_fail_DomainError);
    EXPECT_EQ(nameOf(topo), "") << "not the name as the host gave it";
    EXPECT_EQ(topo->UpdateDispatch(), -1);
    EXPECT_EQ(nameOf(topo), "[C:\\full]");
    scene.ExpectLog({});
}

// UpdateDocDispatches: where the reference belongs.

TEST(ktmdl_Topo, UpdateDocDispatchesOfAnotherDocumentsNameChangesNothing)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& old = scene.world.Make("old document");
    fake::Object& object = scene.world.Make("edge");
    for (const unsigned char type : kSomeTypes) {
        const Hnd_ktmdl_Topo topo = edgeTopo();
        topo->tplType = type;
        topo->mDocName = ktstd_AsciiString("other");
        topo->mDispDoc = old.Ptr();
        topo->mDispTopo = object.Ptr();
        EXPECT_EQ(update(topo, document, "part"), 0) << int{type};
        EXPECT_EQ(nameOf(topo), "other");
        EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &old);
        EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    }
    scene.ExpectNoCalls();
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, UpdateDocDispatchesComparesNamesByteForByte)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("Part");
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(update(topo, document, ""), 0);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, UpdateDocDispatchesWithoutNameAndDocumentGivesOne)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    for (const unsigned char type : kSomeTypes) {
        const Hnd_ktmdl_Topo topo = edgeTopo();
        topo->tplType = type;
        EXPECT_EQ(update(topo, document, "part"), 1) << int{type};
        EXPECT_EQ(nameOf(topo), "");
        EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
    }
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, UpdateDocDispatchesInAnotherDocumentChangesNothing)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& other = scene.world.Make("other document");
    for (const unsigned char type : kSomeTypes) {
        const Hnd_ktmdl_Topo topo = edgeTopo();
        topo->tplType = type;
        topo->mDispDoc = other.Ptr();
        EXPECT_EQ(update(topo, document, "part"), 0) << int{type};
        EXPECT_EQ(nameOf(topo), "");
        EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &other);
    }
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, UpdateDocDispatchesWithANullDocumentIsAnotherDocument)
{
    Scene scene;
    fake::Object& other = scene.world.Make("other document");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = other.Ptr();
    ktstd_AsciiString name("part");
    EXPECT_EQ(topo->UpdateDocDispatches(IDispatchPtr(), name), 0);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &other);
}

TEST(ktmdl_Topo, UpdateDocDispatchesKnowsADocumentByItsIdentity)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& otherFace = scene.world.Make("same doc");
    otherFace.BeSameAs(document);
    fake::Object& object = scene.world.Make("edge");
    scriptBind(document, {{{1, 2, 3}, &object}});
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = otherFace.Ptr();
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(nameOf(topo), "part");
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &document);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    EXPECT_EQ(otherFace.Held(), 0);
    EXPECT_EQ(document.Held(), 1);
}

TEST(ktmdl_Topo, UpdateDocDispatchesTakesADocumentWithoutIdentityForAnother)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& silent = scene.world.Make("silent document");
    silent.Refuse(IID_IUnknown, E_NOINTERFACE);
    const Hnd_ktmdl_Topo topo = edgeTopo();
    for (fake::Object* const own : {&silent, &document}) {
        for (fake::Object* const given : {&silent, &document}) {
            if (own == &document && given == &document) {
                continue; // that one is the document itself
            }
            topo->mDispDoc = own->Ptr();
            EXPECT_EQ(update(topo, *given, "part"), 0);
            EXPECT_EQ(nameOf(topo), "") << own->Name() << ", given " << given->Name();
            EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), own);
        }
    }
    topo->mDispDoc = silent.Ptr();
    ktstd_AsciiString name("part");
    EXPECT_EQ(topo->UpdateDocDispatches(IDispatchPtr(), name), 0) << "nor is it no document";
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &silent);
    scene.ExpectNoCalls();
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, UpdateDocDispatchesRefusesTypesOutside1To7)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("edge");
    for (const unsigned char type : kUnknownTypes) {
        const Hnd_ktmdl_Topo topo = edgeTopo();
        topo->tplType = type;
        topo->mDocName = ktstd_AsciiString("part");
        topo->mDispTopo = object.Ptr();
        EXPECT_EQ(update(topo, document, "part"), -1) << int{type};
        EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
        EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    }
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, UpdateDocDispatchesRefusesATypeBeforeTheNameIsCopied)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->tplType = 0;
    topo->mDispDoc = document.Ptr();
    EXPECT_EQ(update(topo, document, "part"), -1);
    EXPECT_EQ(nameOf(topo), "");
}

// UpdateDocDispatches: binding.

TEST(ktmdl_Topo, UpdateDocDispatchesBindsEveryType)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("object");
    scriptBind(document, {{{1, 2, 3}, &object}});
    for (unsigned char type = 1; type <= 7; ++type) {
        const Hnd_ktmdl_Topo topo = newTopo(Bytes{1, 2, 3});
        topo->tplType = type;
        topo->mDocName = ktstd_AsciiString("part");
        topo->mDispTopo = IDispatchPtr();
        scene.world.Forget();
        EXPECT_EQ(update(topo, document, "part"), 0) << int{type};
        scene.ExpectCalls(bindCalls("doc", "{1,2,3}"));
        EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
        EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &document);
        EXPECT_EQ(object.Held(), 1);
        EXPECT_EQ(document.Held(), 1);
        EXPECT_EQ(topo->tplType, type);
    }
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, UpdateDocDispatchesReplacesTheDocument)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& old = scene.world.Make("old document");
    fake::Object& object = scene.world.Make("edge");
    scriptBind(document, {{{1, 2, 3}, &object}});
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    topo->mDispDoc = old.Ptr();
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &document);
    EXPECT_EQ(old.Held(), 0);
}

TEST(ktmdl_Topo, UpdateDocDispatchesLetsGoOfTheObjectBeforeTheCall)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& old = scene.world.Make("old edge");
    fake::Object& object = scene.world.Make("edge");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    topo->mDispTopo = old.Ptr();
    long heldInTheCall = -1;
    document.Method(L"BindKeyToObject", [&](const fake::Args& aArgs, VARIANT*) {
        heldInTheCall = old.Held();
        aArgs.SetObject(1, &object);
        return S_OK;
    });
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(heldInTheCall, 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
}

TEST(ktmdl_Topo, UpdateDocDispatchesPassesAnEmptyKey)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("edge");
    scriptBind(document, {{{}, &object}});
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->tplType = 2;
    topo->mDocName = ktstd_AsciiString("part");
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    scene.ExpectCalls(bindCalls("doc", "{}"));
}

TEST(ktmdl_Topo, UpdateDocDispatchesGivesBackAnArrayThatTheHostReplaced)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("edge");
    document.Method(L"BindKeyToObject", [&](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetBytes(0, {9, 9, 9, 9});
        aArgs.SetObject(1, &object);
        return S_OK;
    });
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2, 3}));
}

TEST(ktmdl_Topo, UpdateDocDispatchesTakesEverySuccessCode)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("edge");
    document.Method(L"BindKeyToObject", [&](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetObject(1, &object);
        return S_FALSE;
    });
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, UpdateDocDispatchesLogsAFailedCallTwice)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& old = scene.world.Make("old edge");
    document.Method(L"BindKeyToObject", fake::fails(static_cast<HRESULT>(0x80010108u)));
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    topo->mDispTopo = old.Ptr();
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &document);
    EXPECT_EQ(nameOf(topo), "part");
    EXPECT_EQ(old.Held(), 0);
    scene.ExpectLog({failedCallForm(kSource, static_cast<HRESULT>(0x80010108u)),
                     caughtForm(kSource, kUpdate, static_cast<HRESULT>(0x80010108u))});
}

TEST(ktmdl_Topo, UpdateDocDispatchesLogsANullObjectTwice)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    scriptBind(document, {});
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    scene.ExpectLog(
        {nullPointerForm(kSource, "mDispTopo"), caughtForm(kSource, kUpdate, E_POINTER)});
}

TEST(ktmdl_Topo, UpdateDocDispatchesOfAKeyTooLongForItsSizeLogsTwiceAndUnbinds)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& old = scene.world.Make("old edge");
    const Hnd_ktmdl_Topo topo = newTopo(Bytes(40000, 1));
    ASSERT_LT(topo->mKeySize, 0);
    topo->tplType = 2;
    topo->mDocName = ktstd_AsciiString("part");
    topo->mDispTopo = old.Ptr();
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &document);
    EXPECT_EQ(old.Held(), 0);
    scene.ExpectNoCalls();
    scene.ExpectLog(
        {failedCallForm(kSource, E_INVALIDARG), caughtForm(kSource, kUpdate, E_INVALIDARG)});
}

TEST(ktmdl_Topo, UpdateDocDispatchesTakesNoObjectFromAFailedCall)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("edge");
    document.Method(L"BindKeyToObject", [&](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetObject(1, &object);
        return E_FAIL;
    });
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    EXPECT_EQ(object.Held(), 0);
}

TEST(ktmdl_Topo, UpdateDocDispatchesLogsAFailedLookUp)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& old = scene.world.Make("old edge");
    document.FailName(L"BindKeyToObject", DISP_E_UNKNOWNNAME);
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    topo->mDispTopo = old.Ptr();
    EXPECT_EQ(update(topo, document, "part"), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    scene.ExpectCalls({"doc.BindKeyToObject?"});
    scene.ExpectLog({caughtForm(kSource, kUpdate, DISP_E_UNKNOWNNAME)});
}

TEST(ktmdl_Topo, UpdateDocDispatchesInANullDocumentOfTheNameLogsAndGivesZero)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    ktstd_AsciiString name("part");
    EXPECT_EQ(topo->UpdateDocDispatches(IDispatchPtr(), name), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    scene.ExpectLog({caughtForm(kSource, kUpdate, E_POINTER)});
}

TEST(ktmdl_Topo, UpdateDocDispatchesLetsNoErrorOutWhenADocumentCantTellItsIdentity)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& other = scene.world.Make("other document");
    other.Refuse(IID_IUnknown, static_cast<HRESULT>(0x80010108u));
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispDoc = other.Ptr();
    EXPECT_EQ(codeOf([&] { update(topo, document, "part"); }), S_OK);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &other);
    scene.ExpectLog({caughtForm(kSource, kUpdate, static_cast<HRESULT>(0x80010108u))});
}

TEST(ktmdl_Topo, UpdateDocDispatchesLetsAKernelFailureThrough)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    document.Method(L"BindKeyToObject", [](const fake::Args&, VARIANT*) -> HRESULT {
        ktstd_fail_ProgramError::Raise("the kernel gave up");
    });
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDocName = ktstd_AsciiString("part");
    EXPECT_THROW(update(topo, document, "part"), Hnd_ktstd_fail_ProgramError);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
    scene.ExpectLog({});
}

// DisconnectDocument.

TEST(ktmdl_Topo, DisconnectDocumentUnbindsItsReferences)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    for (unsigned char type = 1; type <= 7; ++type) {
        fake::Object& object = scene.world.Make("object");
        const Hnd_ktmdl_Topo topo = newTopo(Bytes{type});
        topo->tplType = type;
        topo->mDispTopo = object.Ptr();
        topo->mDispDoc = document.Ptr();
        ktstd_AsciiString name("part");
        EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
        EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr) << int{type};
        EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr) << int{type};
        EXPECT_EQ(nameOf(topo), "part");
        EXPECT_EQ(object.Held(), 0);
        EXPECT_EQ(document.Held(), 0);
    }
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, DisconnectDocumentKeepsTheNameOfABoundReference)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("object");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispTopo = object.Ptr();
    topo->mDispDoc = document.Ptr();
    topo->mDocName = ktstd_AsciiString("before");
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(nameOf(topo), "before");
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
}

TEST(ktmdl_Topo, DisconnectDocumentLeavesBoundReferencesOfOthersAlone)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& other = scene.world.Make("other document");
    fake::Object& object = scene.world.Make("object");
    const Hnd_ktmdl_Topo ofOther = newTopo(Bytes{1});
    ofOther->tplType = 2;
    ofOther->mDispTopo = object.Ptr();
    ofOther->mDispDoc = other.Ptr();
    const Hnd_ktmdl_Topo ofNone = newTopo(Bytes{2});
    ofNone->tplType = 2;
    ofNone->mDispTopo = object.Ptr();
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(object.Held(), 2);
    EXPECT_EQ(ofOther->mDispDoc.GetInterfacePtr(), &other);
    EXPECT_EQ(nameOf(ofOther), "");
    EXPECT_EQ(nameOf(ofNone), "");
}

TEST(ktmdl_Topo, DisconnectDocumentLeavesBoundReferencesOfUnknownTypeAlone)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("object");
    for (const unsigned char type : kUnknownTypes) {
        const Hnd_ktmdl_Topo topo = newTopo(Bytes{type});
        topo->tplType = type;
        topo->mDispTopo = object.Ptr();
        topo->mDispDoc = document.Ptr();
        ktstd_AsciiString name("part");
        EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
        EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object) << int{type};
        EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &document) << int{type};
        EXPECT_EQ(nameOf(topo), "");
    }
}

TEST(ktmdl_Topo, DisconnectDocumentKnowsTheDocumentByItsIdentity)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& otherFace = scene.world.Make("same doc");
    otherFace.BeSameAs(document);
    fake::Object& object = scene.world.Make("object");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispTopo = object.Ptr();
    topo->mDispDoc = otherFace.Ptr();
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
}

TEST(ktmdl_Topo, DisconnectDocumentTakesEveryUnboundReferencesDocument)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& other = scene.world.Make("other document");
    const Hnd_ktmdl_Topo nameless = newTopo(Bytes{1}); // of unknown type, too
    nameless->mDispDoc = other.Ptr();
    const Hnd_ktmdl_Topo named = newTopo(Bytes{2});
    named->mDispDoc = other.Ptr();
    named->mDocName = ktstd_AsciiString("other");
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(nameless->mDispDoc.GetInterfacePtr(), nullptr);
    EXPECT_EQ(nameOf(nameless), "part");
    EXPECT_EQ(named->mDispDoc.GetInterfacePtr(), nullptr);
    EXPECT_EQ(nameOf(named), "other");
    EXPECT_EQ(other.Held(), 0);
}

TEST(ktmdl_Topo, DisconnectDocumentTakesAReferencesOwnDocumentForItsArgument)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    Hnd_ktmdl_Topo topos[3];
    unsigned char number = 1;
    for (Hnd_ktmdl_Topo& topo : topos) {
        topo = newTopo(scene.Keyed("face" + std::to_string(number), {number}), 5);
        topo->mDispDoc = document.Ptr();
        ++number;
    }
    ktstd_AsciiString name("part");
    for (const Hnd_ktmdl_Topo& own : topos) {
        for (const Hnd_ktmdl_Topo& topo : topos) {
            topo->mDispDoc = document.Ptr();
        }
        EXPECT_EQ(ktmdl_Topo::DisconnectDocument(own->mDispDoc, name), 0);
        for (const Hnd_ktmdl_Topo& topo : topos) {
            EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
            EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
        }
    }
    EXPECT_EQ(document.Held(), 0);
}

TEST(ktmdl_Topo, DisconnectDocumentTouchesRegisteredReferencesOnly)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    const Hnd_ktmdl_Topo topo(new ktmdl_Topo);
    topo->mDispDoc = document.Ptr();
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &document);
}

TEST(ktmdl_Topo, DisconnectDocumentWithoutNameAndSessionKeepsTheNameEmpty)
{
    Scene scene;
    fake::Object& document = scene.Document("doc", L"full", L"short");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    ktstd_AsciiString name;
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(name.IsEmpty(), 1);
    EXPECT_EQ(nameOf(topo), "");
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, DisconnectDocumentAsksForTheFullNameWithSession)
{
    Scene scene;
    const BracketSession& session = beginSession();
    fake::Object& document = scene.Document("doc", L"full", L"short");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    ktstd_AsciiString name;
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
    EXPECT_STREQ(name.ToCString(), "[full]");
    EXPECT_EQ(nameOf(topo), "[full]");
    EXPECT_EQ(session.mAsked, std::vector<std::string>{"full"});
    scene.ExpectCalls(nameCalls("doc", "FullName"));
}

TEST(ktmdl_Topo, DisconnectDocumentKeepsTheNameGiven)
{
    Scene scene;
    const BracketSession& session = beginSession();
    fake::Object& document = scene.Document("doc", L"full", L"short");
    ktstd_AsciiString name("given");
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(document.Ptr(), name), 0);
    EXPECT_STREQ(name.ToCString(), "given");
    EXPECT_TRUE(session.mAsked.empty());
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, DisconnectDocumentRaisesAFailedNameReadBeforeAnythingChanges)
{
    Scene scene;
    const BracketSession& session = beginSession();
    fake::Object& document = scene.world.Make("doc");
    document.Property(L"FullName", fake::fails(E_FAIL));
    fake::Object& object = scene.world.Make("object");
    const Hnd_ktmdl_Topo topo = edgeTopo();
    topo->mDispTopo = object.Ptr();
    topo->mDispDoc = document.Ptr();
    ktstd_AsciiString name;
    EXPECT_EQ(codeOf([&] { ktmdl_Topo::DisconnectDocument(document.Ptr(), name); }), E_FAIL);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    EXPECT_TRUE(session.mAsked.empty());
    scene.ExpectLog({failedCallForm(kSource, E_FAIL)});
}

// ReconnectDocument.

TEST(ktmdl_Topo, ReconnectDocumentBindsReferencesOfItsName)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    std::vector<std::pair<Bytes, fake::Object*>> objects;
    std::vector<Hnd_ktmdl_Topo> topos;
    for (unsigned char i = 0; i < 30; ++i) {
        objects.emplace_back(Bytes{i}, &scene.world.Make("object"));
        topos.push_back(newTopo(Bytes{i}));
        topos.back()->tplType = 5;
        topos.back()->mDocName = ktstd_AsciiString("part");
    }
    scriptBind(document, objects);
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::ReconnectDocument(document.Ptr(), name), 0);
    for (std::size_t i = 0; i < topos.size(); ++i) {
        EXPECT_EQ(topos[i]->mDispTopo.GetInterfacePtr(), objects[i].second) << i;
        EXPECT_EQ(topos[i]->mDispDoc.GetInterfacePtr(), &document) << i;
        EXPECT_EQ(scene.world.CountOf("doc.BindKeyToObject(UI1[]& {" + std::to_string(i) + "}*"),
                  1);
    }
    EXPECT_EQ(document.Held(), 30);
    scene.ExpectLog({});
}

TEST(ktmdl_Topo, ReconnectDocumentLeavesOtherReferencesAlone)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("object");
    scriptBind(document, {{{1}, &object}, {{2}, &object}, {{3}, &object}});
    const Hnd_ktmdl_Topo otherName = newTopo(Bytes{1});
    otherName->tplType = 2;
    otherName->mDocName = ktstd_AsciiString("other");
    const Hnd_ktmdl_Topo nameless = newTopo(Bytes{2});
    nameless->tplType = 2;
    const Hnd_ktmdl_Topo unknown = newTopo(Bytes{3});
    unknown->mDocName = ktstd_AsciiString("part");
    const Hnd_ktmdl_Topo unregistered(new ktmdl_Topo);
    unregistered->tplType = 2;
    unregistered->mDocName = ktstd_AsciiString("part");
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::ReconnectDocument(document.Ptr(), name), 0);
    for (const Hnd_ktmdl_Topo& topo : {otherName, nameless, unknown, unregistered}) {
        EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), nullptr);
        EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), nullptr);
    }
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, ReconnectDocumentBindsNamelessReferencesOfThisVeryDocument)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("object");
    scriptBind(document, {{{1}, &object}});
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    topo->tplType = 2;
    topo->mDispDoc = document.Ptr();
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::ReconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    EXPECT_EQ(nameOf(topo), "part");
}

TEST(ktmdl_Topo, ReconnectDocumentGoesOnAfterAFailure)
{
    Scene scene;
    fake::Object& document = scene.world.Make("doc");
    fake::Object& object = scene.world.Make("object");
    scriptBind(document, {{{1}, &object}, {{3}, &object}}); // 2 is gone
    std::vector<Hnd_ktmdl_Topo> topos;
    for (unsigned char i = 1; i <= 3; ++i) {
        topos.push_back(newTopo(Bytes{i}));
        topos.back()->tplType = 6;
        topos.back()->mDocName = ktstd_AsciiString("part");
    }
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::ReconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(topos[0]->mDispTopo.GetInterfacePtr(), &object);
    EXPECT_EQ(topos[1]->mDispTopo.GetInterfacePtr(), nullptr);
    EXPECT_EQ(topos[1]->mDispDoc.GetInterfacePtr(), &document);
    EXPECT_EQ(topos[2]->mDispTopo.GetInterfacePtr(), &object);
    scene.ExpectLog(
        {nullPointerForm(kSource, "mDispTopo"), caughtForm(kSource, kUpdate, E_POINTER)});
}

TEST(ktmdl_Topo, ReconnectDocumentAsksForTheFullNameWithSession)
{
    Scene scene;
    const BracketSession& session = beginSession();
    fake::Object& document = scene.Document("doc", L"full", L"short");
    fake::Object& object = scene.world.Make("object");
    scriptBind(document, {{{1}, &object}});
    const Hnd_ktmdl_Topo topo = newTopo(Bytes{1});
    topo->tplType = 2;
    topo->mDocName = ktstd_AsciiString("[full]");
    ktstd_AsciiString name;
    EXPECT_EQ(ktmdl_Topo::ReconnectDocument(document.Ptr(), name), 0);
    EXPECT_STREQ(name.ToCString(), "[full]");
    EXPECT_EQ(session.mAsked, std::vector<std::string>{"full"});
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &object);
    scene.ExpectCalls(joined({nameCalls("doc", "FullName"), bindCalls("doc", "{1}")}));
}

TEST(ktmdl_Topo, ReconnectDocumentKeepsTheNameGivenAndTheEmptyOneWithoutSession)
{
    Scene scene;
    fake::Object& document = scene.Document("doc", L"full", L"short");
    ktstd_AsciiString name;
    EXPECT_EQ(ktmdl_Topo::ReconnectDocument(document.Ptr(), name), 0);
    EXPECT_EQ(name.IsEmpty(), 1);
    const BracketSession& session = beginSession();
    name = ktstd_AsciiString("given");
    EXPECT_EQ(ktmdl_Topo::ReconnectDocument(document.Ptr(), name), 0);
    EXPECT_STREQ(name.ToCString(), "given");
    EXPECT_TRUE(session.mAsked.empty());
    scene.ExpectNoCalls();
}

TEST(ktmdl_Topo, ReconnectDocumentRaisesAFailedNameRead)
{
    Scene scene;
    (void)beginSession();
    fake::Object& document = scene.world.Make("doc");
    document.Property(L"FullName", fake::fails(E_FAIL));
    ktstd_AsciiString name;
    EXPECT_EQ(codeOf([&] { ktmdl_Topo::ReconnectDocument(document.Ptr(), name); }), E_FAIL);
    scene.ExpectLog({failedCallForm(kSource, E_FAIL)});
}

TEST(ktmdl_Topo, DisconnectedReferenceIsBoundAgain)
{
    Scene scene;
    fake::Object& before = scene.world.Make("before");
    fake::Object& after = scene.world.Make("after");
    fake::Object& old = scene.Keyed("old", {1});
    fake::Object& fresh = scene.Keyed("fresh", {1});
    scriptBind(after, {{{1}, &fresh}});
    const Hnd_ktmdl_Topo topo = newTopo(old, 5);
    topo->mDispDoc = before.Ptr();
    ktstd_AsciiString name("part");
    EXPECT_EQ(ktmdl_Topo::DisconnectDocument(before.Ptr(), name), 0);
    EXPECT_EQ(old.Held(), 0);
    EXPECT_EQ(ktmdl_Topo::ReconnectDocument(after.Ptr(), name), 0);
    EXPECT_EQ(topo->mDispTopo.GetInterfacePtr(), &fresh);
    EXPECT_EQ(topo->mDispDoc.GetInterfacePtr(), &after);
}

TEST(ktmdl_Topo, ConvertVersionDoesNothing)
{
    Scene scene;
    const Hnd_ktmdl_Topo topo = edgeTopo();
    for (const long version : {0L, 1L, -1L, 2147483647L}) {
        EXPECT_EQ(topo->ConvertVersion(version), 0);
    }
    EXPECT_EQ(keyOf(topo), (Bytes{1, 2, 3}));
    EXPECT_EQ(topo->tplType, 2);
}
