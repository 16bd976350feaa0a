//! Constructions and features.

#include "support/CensusGuard.h"
#include "support/HostObjects.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace support;
using standin::FeatureKind;

standin::ConstructionSpec constructionOf(const standin::geom::Body& body,
                                         std::vector<standin::FeatureSpec> features = {},
                                         bool visible = true)
{
    standin::ConstructionSpec construction;
    construction.body = body;
    construction.visible = visible;
    construction.features = std::move(features);
    return construction;
}

class standin_Constructions : public HostTest
{
protected:
    [[nodiscard]] IDispatchPtr constructions() const { return need(get(document, 24686)); }
    [[nodiscard]] IDispatchPtr constructionBody(LONG index) const
    {
        return need(get(item(constructions(), index), 49));
    }

    standin::Session session;
    IDispatchPtr document = openBody(session, plainBox());
    standin::geom::Body other = standin::makeBox({1.0, 1.0, 1.0}, {2.0, 3.0, 4.0});
};

TEST_F(standin_Constructions, AFreshPartHasNone)
{
    EXPECT_EQ(get(constructions(), 5).number(), 0);
    EXPECT_EQ(method(constructions(), 0, {value(LONG{1})}).code, DISP_E_BADINDEX);
}

TEST_F(standin_Constructions, AreNumberedAsTheyWereAdded)
{
    const IDispatchPtr early = constructions();
    EXPECT_EQ(session.addConstruction(document, constructionOf(other)), 1);
    EXPECT_EQ(session.addConstruction(document, constructionOf(plainBox())), 2);
    EXPECT_EQ(get(early, 5).number(), 2) << "the collection is not a snapshot";
    Array min;
    Array max;
    ASSERT_TRUE(method(constructionBody(1), 129, {reference(min), reference(max)}).ok());
    EXPECT_EQ(min.doubles(), (std::vector<double>{1.0, 1.0, 1.0}));
    EXPECT_EQ(max.doubles(), (std::vector<double>{2.0, 3.0, 4.0}));
    EXPECT_EQ(get(need(get(document, 24681)), 5).number(), 1) << "no model came with them";
}

TEST_F(standin_Constructions, TheSameOneIsTheSameObject)
{
    session.addConstruction(document, constructionOf(other));
    const IDispatchPtr model = item(constructions(), 1);
    EXPECT_EQ(item(constructions(), 1).GetInterfacePtr(), model.GetInterfacePtr());
    EXPECT_NE(modelOf(document).GetInterfacePtr(), model.GetInterfacePtr());
}

TEST_F(standin_Constructions, BodiesTellWhetherTheyAreSolidAndVisible)
{
    standin::geom::Body sheet = other;
    sheet.solid = false;
    session.addConstruction(document, constructionOf(sheet, {}, true));
    session.addConstruction(document, constructionOf(other, {}, false));
    EXPECT_FALSE(get(constructionBody(1), 65).flag());
    EXPECT_TRUE(get(constructionBody(1), 518).flag());
    EXPECT_TRUE(get(constructionBody(2), 65).flag());
    EXPECT_FALSE(get(constructionBody(2), 518).flag());
}

TEST_F(standin_Constructions, KeysOfTheirFacesBindAndDifferFromAllOthers)
{
    session.addConstruction(document, constructionOf(plainBox()));
    session.addConstruction(document, constructionOf(plainBox()));
    std::vector<std::vector<unsigned char>> keys;
    for (const IDispatchPtr& body : {bodyOf(document), constructionBody(1), constructionBody(2)}) {
        std::vector<IDispatchPtr> all = itemsOf(facesOf(body));
        all.push_back(body);
        for (const IDispatchPtr& object : all) {
            keys.push_back(keyOf(object));
            EXPECT_EQ(bindKey(document, keys.back()).GetInterfacePtr(), object.GetInterfacePtr());
        }
    }
    ASSERT_EQ(keys.size(), 3u * 7u);
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(std::unique(keys.begin(), keys.end()), keys.end());
}

TEST_F(standin_Constructions, FeaturesHaveTheTypesAndInterfacesOfTheirKind)
{
    session.addConstruction(document, constructionOf(other, {{FeatureKind::plain, 42},
                                                             {FeatureKind::interpart, 0},
                                                             {FeatureKind::stitched, 0},
                                                             {FeatureKind::derivedCurve, 0}}));
    const IDispatchPtr features = need(get(item(constructions(), 1), 30));
    ASSERT_EQ(get(features, 5).number(), 4);
    const LONG types[] = {42, -326994721, -396962225, 97588292};
    const wchar_t* const interfaces[] = {nullptr, L"{1B73DCA4-BD5D-11D3-A422-0004AC968F18}",
                                         L"{9143A250-939A-4123-9222-1F917D5375A9}",
                                         L"{77B0E1E8-3580-4947-8CB1-5EDB386A07D0}"};
    for (LONG i = 1; i <= 4; ++i) {
        SCOPED_TRACE(i);
        const IDispatchPtr feature = item(features, i);
        EXPECT_EQ(get(feature, 8218).number(), types[i - 1]);
        EXPECT_EQ(named(feature, L"Type", DISPATCH_PROPERTYGET).number(), types[i - 1]);
        for (LONG asked = 2; asked <= 4; ++asked) {
            IID iid{};
            ASSERT_EQ(IIDFromString(std::wstring(interfaces[asked - 1]).data(), &iid), S_OK);
            IUnknown* found = nullptr;
            EXPECT_EQ(feature->QueryInterface(iid, reinterpret_cast<void**>(&found)),
                      asked == i ? S_OK : E_NOINTERFACE);
            if (found != nullptr) {
                found->Release();
            }
        }
    }
}

TEST_F(standin_Constructions, TheParentOfAFeatureIsItsModel)
{
    session.addConstruction(document, constructionOf(other, {{FeatureKind::stitched, 0}}));
    EXPECT_EQ(session.addFeature(document, 0, {FeatureKind::plain, 5}), 1);
    EXPECT_EQ(session.addFeature(document, 0, {FeatureKind::interpart, 0}), 2);
    const IDispatchPtr construction = item(constructions(), 1);
    EXPECT_EQ(need(get(item(need(get(construction, 30)), 1), 4)).GetInterfacePtr(),
              construction.GetInterfacePtr());
    const IDispatchPtr model = modelOf(document);
    const IDispatchPtr features = need(get(model, 30));
    ASSERT_EQ(get(features, 5).number(), 2);
    EXPECT_EQ(get(item(features, 1), 8218).number(), 5);
    EXPECT_EQ(need(get(item(features, 2), 4)).GetInterfacePtr(), model.GetInterfacePtr());
    EXPECT_THROW(session.addFeature(document, 1, {}), standin::HostError);
}

TEST_F(standin_Constructions, StayWhenTheModelsChangeAndGoWithTheDocument)
{
    session.addConstruction(document, constructionOf(other, {{FeatureKind::plain, 1}}));
    session.addFeature(document, 0, {FeatureKind::plain, 1});
    const IDispatchPtr collection = constructions();
    const IDispatchPtr body = constructionBody(1);
    const IDispatchPtr feature = item(need(get(item(collection, 1), 30)), 1);
    session.change(document, standin::makeModel({other}));
    EXPECT_TRUE(get(body, 65).ok());
    EXPECT_EQ(get(need(get(modelOf(document), 30)), 5).number(), 0);
    session.close(document);
    EXPECT_EQ(get(collection, 5).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(get(body, 65).code, RPC_E_DISCONNECTED);
    EXPECT_EQ(get(feature, 4).code, RPC_E_DISCONNECTED);
}

TEST_F(standin_Constructions, AreOfOpenDocumentsOnly)
{
    session.close(document);
    EXPECT_THROW(session.addConstruction(document, constructionOf(other)), standin::HostError);
    EXPECT_THROW(session.addFeature(document, 0, {}), standin::HostError);
}

TEST_F(standin_Constructions, AFaultCanGiveATwin)
{
    session.addConstruction(document, constructionOf(other, {{FeatureKind::plain, 9}}));
    const IDispatchPtr feature = item(need(get(item(constructions(), 1), 30)), 1);
    standin::Fault fault;
    fault.kind = standin::FaultKind::differentAnswer;
    fault.member = "Constructions";
    session.faults().add(fault);
    const IDispatchPtr twin = constructions();
    EXPECT_TRUE(session.faults().fired());
    EXPECT_EQ(item(need(get(item(twin, 1), 30)), 1).GetInterfacePtr(), feature.GetInterfacePtr());
}

} // namespace
