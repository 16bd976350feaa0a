#include "standin/step/StepFile.h"
#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

using namespace support;
using standin::HostError;
using standin::OpenOptions;

standin::geom::Model boxModel(double height = 0.3)
{
    return standin::makeModel({standin::makeBox({0.0, 0.0, 0.0}, {0.1, 0.2, height})});
}

standin::geom::Model boxWithHoleModel()
{
    return standin::makeModel(
        {standin::makeBoxWithHole({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3}, 0.05, 0.1, 0.02)});
}

class standin_Session : public HostTest
{
protected:
    standin::Session session;
};

TEST_F(standin_Session, OpensSeveralDocuments)
{
    const IDispatchPtr a = session.openPart(boxModel(), "a");
    const IDispatchPtr b = session.openPart(boxModel(0.4), "b");
    EXPECT_NE(a.GetInterfacePtr(), b.GetInterfacePtr());
    const std::vector<IDispatchPtr> all = session.documents();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].GetInterfacePtr(), a.GetInterfacePtr());
    EXPECT_EQ(all[1].GetInterfacePtr(), b.GetInterfacePtr());
    EXPECT_EQ(session.document("b").GetInterfacePtr(), b.GetInterfacePtr());
    EXPECT_EQ(session.document("c").GetInterfacePtr(), nullptr);
}

TEST_F(standin_Session, ANameIsOpenOnce)
{
    const IDispatchPtr a = session.openPart(boxModel(), "a");
    EXPECT_THROW(session.openPart(boxModel(), "a"), HostError);
    session.close(a);
    EXPECT_NO_THROW(session.openPart(boxModel(), "a"));
}

TEST_F(standin_Session, ADocumentNeedsAName)
{
    EXPECT_THROW(session.openPart(boxModel(), ""), HostError);
    const IDispatchPtr a = session.openPart(boxModel(), "a");
    EXPECT_THROW(session.rename(a, ""), HostError);
}

TEST_F(standin_Session, AModelWithoutBodiesIsRefused)
{
    EXPECT_THROW(session.openPart(standin::geom::Model(), "a"), HostError);
    EXPECT_THROW(session.openPart(standin::makeModel({}), "a"), HostError);
    EXPECT_TRUE(session.documents().empty());
}

TEST_F(standin_Session, AModelOfSeveralPartsWantsAChoice)
{
    standin::geom::Model model = boxModel();
    model.products[0].name = "bolt";
    model.products.push_back(boxModel(0.5).products[0]);
    model.products[1].name = "nut";
    model.products.push_back(standin::geom::Product());
    try {
        session.openPart(model, "a");
        FAIL() << "no choice was asked for";
    } catch (const HostError& error) {
        EXPECT_NE(std::string(error.what()).find("1 \"nut\""), std::string::npos) << error.what();
    }
    OpenOptions options;
    options.product = 1;
    const IDispatchPtr nut = session.openPart(model, "a", options);
    EXPECT_EQ(session.bodies(nut)[0].vertices.back().point.z, 0.5);
    options.product = 2;
    EXPECT_THROW(session.openPart(model, "b", options), HostError);
    options.product = 9;
    EXPECT_THROW(session.openPart(model, "b", options), HostError);
}

TEST_F(standin_Session, OptionsNameTheDocument)
{
    OpenOptions options;
    options.as = "C:\\other.par";
    const IDispatchPtr document = session.openPart(boxModel(), "a", options);
    EXPECT_EQ(get(document, 9).text(), "C:\\other.par");
}

TEST_F(standin_Session, ClosingDisconnectsEveryObject)
{
    const IDispatchPtr document = session.openPart(boxModel(), "a");
    const IDispatchPtr body = bodyOf(document);
    const IDispatchPtr edge = edgeOf(document, 1);
    const std::vector<IDispatchPtr> objects = {document,
                                               need(get(document, 24681)),
                                               modelOf(document),
                                               body,
                                               facesOf(body),
                                               faceOf(document, 1),
                                               edge,
                                               need(get(edge, 76))};
    session.close(document);
    for (const IDispatchPtr& object : objects) {
        EXPECT_EQ(get(object, 4711).code, RPC_E_DISCONNECTED);
        DISPID id = 0;
        EXPECT_EQ(identify(object, L"Type", id), RPC_E_DISCONNECTED);
        void* found = nullptr;
        EXPECT_EQ(object->QueryInterface(IID_IDispatch, &found), S_OK) << "identity stays";
        object->Release();
    }
}

TEST_F(standin_Session, ClosingOneDocumentLeavesTheOthers)
{
    const IDispatchPtr a = session.openPart(boxModel(), "a");
    const IDispatchPtr b = session.openPart(boxModel(), "b");
    const IDispatchPtr face = faceOf(b, 1);
    session.close(a);
    EXPECT_EQ(get(face, 48).code, S_OK);
    EXPECT_EQ(get(session.application(), 4711).code, DISP_E_MEMBERNOTFOUND) << "the host runs on";
}

TEST_F(standin_Session, OnlyOpenDocumentsAreClosedOrRenamed)
{
    const IDispatchPtr a = session.openPart(boxModel(), "a");
    EXPECT_THROW(session.close(faceOf(a, 1)), HostError);
    EXPECT_THROW(session.close(nullptr), HostError);
    session.close(a);
    EXPECT_THROW(session.close(a), HostError);
    EXPECT_THROW(session.rename(a, "b"), HostError);
    EXPECT_THROW(session.change(a, boxModel()), HostError);
    EXPECT_THROW(static_cast<void>(session.bodies(a)), HostError);
    EXPECT_THROW(static_cast<void>(session.warnings(a)), HostError);
}

TEST_F(standin_Session, RenamingChangesTheNamesAlone)
{
    const IDispatchPtr a = session.openPart(boxModel(), "/x/a.par");
    const IDispatchPtr b = session.openPart(boxModel(), "b");
    const IDispatchPtr face = faceOf(a, 1);
    session.rename(a, "/y/c.par");
    EXPECT_EQ(get(a, 9).text(), "/y/c.par");
    EXPECT_EQ(get(a, 18).text(), "c.par");
    EXPECT_EQ(get(face, 48).code, S_OK);
    EXPECT_EQ(session.document("/x/a.par").GetInterfacePtr(), nullptr);
    EXPECT_EQ(session.document("/y/c.par").GetInterfacePtr(), a.GetInterfacePtr());
    EXPECT_THROW(session.rename(a, "b"), HostError);
    EXPECT_NO_THROW(session.rename(a, "/y/c.par"));
}

TEST_F(standin_Session, AChangedPartKeepsTheKeysOfWhatIsRecognisable)
{
    const IDispatchPtr before = session.openPart(boxWithHoleModel(), "a");
    std::vector<std::vector<unsigned char>> faces;
    for (const IDispatchPtr& face : itemsOf(facesOf(bodyOf(before)))) {
        faces.push_back(keyOf(face));
    }
    const std::vector<unsigned char> body = keyOf(bodyOf(before));
    session.close(before);
    const IDispatchPtr after = session.openPart(boxModel(0.4), "a");
    EXPECT_EQ(keyOf(bodyOf(after)), body);
    for (LONG i = 1; i <= 6; ++i) {
        EXPECT_EQ(keyOf(faceOf(after, i)), faces[static_cast<std::size_t>(i) - 1]);
    }
    EXPECT_EQ(bindKey(after, faces[6]).GetInterfacePtr(), nullptr) << "the hole is gone";
}

TEST_F(standin_Session, AnotherNameIsAnotherPart)
{
    const std::vector<unsigned char> key = keyOf(faceOf(session.openPart(boxModel(), "a"), 1));
    EXPECT_NE(keyOf(faceOf(session.openPart(boxModel(0.4), "b"), 1)), key);
}

TEST_F(standin_Session, AnOldStateComesBackWithItsOldKeys)
{
    const IDispatchPtr first = session.openPart(boxWithHoleModel(), "a");
    const std::vector<unsigned char> hole = keyOf(faceOf(first, 7));
    session.close(first);
    session.close(session.openPart(boxModel(), "a"));
    const IDispatchPtr again = session.openPart(boxWithHoleModel(), "a");
    EXPECT_EQ(keyOf(faceOf(again, 7)), hole);
}

TEST_F(standin_Session, ChangingInPlaceDisconnectsWhatWasInTheDocument)
{
    const IDispatchPtr document = session.openPart(boxModel(), "a");
    const IDispatchPtr face = faceOf(document, 6);
    const std::vector<unsigned char> key = keyOf(face);
    session.change(document, boxModel(0.4));
    EXPECT_EQ(get(document, 70).code, S_OK);
    EXPECT_EQ(get(face, 48).code, RPC_E_DISCONNECTED);
    const IDispatchPtr now = bindKey(document, key);
    ASSERT_NE(now.GetInterfacePtr(), nullptr);
    EXPECT_NE(now.GetInterfacePtr(), face.GetInterfacePtr());
    Array min;
    Array max;
    ASSERT_TRUE(method(now, 132, {reference(min), reference(max)}).ok());
    EXPECT_EQ(max.doubles()[2], 0.4);
}

TEST_F(standin_Session, GivesTheBodiesAndWarningsBehindADocument)
{
    standin::geom::Model model = boxModel();
    model.warnings.push_back("left out: a picture");
    const IDispatchPtr document = session.openPart(model, "a");
    ASSERT_EQ(session.bodies(document).size(), 1u);
    EXPECT_EQ(session.bodies(document)[0].faces.size(), 6u);
    EXPECT_EQ(session.warnings(document), model.warnings);
}

TEST_F(standin_Session, TheApplicationIsOneObject)
{
    const IDispatchPtr application = session.application();
    EXPECT_EQ(session.application().GetInterfacePtr(), application.GetInterfacePtr());
}

class standin_SessionFiles : public standin_Session
{
protected:
    void SetUp() override
    {
        folder = std::filesystem::temp_directory_path() /
                 ("standin_session_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)));
        std::filesystem::create_directories(folder);
    }
    void TearDown() override { std::filesystem::remove_all(folder); }

    std::filesystem::path folder;
};

TEST_F(standin_SessionFiles, AMissingFileIsTheReadersError)
{
    EXPECT_THROW(session.openPart((folder / "none.step").u8string()), standin::step::StepError);
    EXPECT_THROW(session.openParts((folder / "none.step").u8string()), standin::step::StepError);
    EXPECT_THROW(
        session.openChanged((folder / "none.step").u8string(), (folder / "none.step").u8string()),
        standin::step::StepError);
    EXPECT_TRUE(session.documents().empty());
}

TEST_F(standin_SessionFiles, AFileThatIsNoPartIsTheReadersError)
{
    const std::filesystem::path path = folder / "text.step";
    std::ofstream(path) << "this is no exchange file";
    EXPECT_THROW(session.openPart(path.u8string()), standin::step::StepError);
    EXPECT_TRUE(session.documents().empty());
}

} // namespace
