#include "support/TopoScene.h"

#include "com/ComCensus.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_Topo.h"

#include <gtest/gtest.h>

Scene::Scene() : mStrings(com::liveStrings()), mArrays(com::liveArrays())
{
    ktmdl_Topo::ClearAllTopos();
}

Scene::~Scene()
{
    ktstd_Session::SetCurSession(Hnd_ktstd_Session());
    ktmdl_Topo::ClearAllTopos();
    for (const std::string& held : world.HeldObjects()) {
        ADD_FAILURE() << "still held at the end: " << held;
    }
    for (const std::string& violation : world.Violations()) {
        ADD_FAILURE() << violation;
    }
    EXPECT_EQ(com::liveStrings(), mStrings) << "strings left behind";
    EXPECT_EQ(com::liveArrays(), mArrays) << "arrays left behind";
}

fake::Object& Scene::Keyed(const std::string& aName, const Bytes& aKey)
{
    return scriptKey(world.Make(aName), aKey);
}

fake::Object& Scene::Keyed(const std::string& aName, const Bytes& aKey, const Triple& aMin,
                           const Triple& aMax)
{
    return scriptBox(Keyed(aName, aKey), aMin, aMax);
}

fake::Object& Scene::Collection(const std::string& aName, const std::vector<fake::Object*>& aItems,
                                DISPID aCount)
{
    fake::Object& collection = world.Make(aName);
    collection.Property(aCount, fake::givesNumber(static_cast<LONG>(aItems.size())));
    collection.Method(DISPID{0}, [aItems](const fake::Args& aArgs, VARIANT* aResult) -> HRESULT {
        const LONG index = aArgs.Number(0);
        if (index < 1 || index > static_cast<LONG>(aItems.size())) {
            return DISP_E_BADINDEX;
        }
        fake::Object* const item = aItems[static_cast<std::size_t>(index - 1)];
        return fake::givesObject(item)(aArgs, aResult);
    });
    return collection;
}

fake::Object& Scene::Document(const std::string& aName, const wchar_t* aFullName,
                              const wchar_t* aShortName)
{
    fake::Object& document = world.Make(aName);
    document.Property(L"FullName", fake::givesText(aFullName));
    document.Property(L"Name", fake::givesText(aShortName));
    return document;
}

void Scene::ExpectCalls(const std::vector<std::string>& aPatterns) const
{
    expectCalls(world.Calls(), aPatterns);
}

void expectCalls(const std::vector<std::string>& aCalls, const std::vector<std::string>& aPatterns)
{
    for (std::size_t i = 0; i < aCalls.size() && i < aPatterns.size(); ++i) {
        if (!fake::matches(aPatterns[i], aCalls[i])) {
            ADD_FAILURE() << "call " << i + 1 << " is " << aCalls[i] << ", wanted " << aPatterns[i];
            return; // what follows is out of step
        }
    }
    for (std::size_t i = aPatterns.size(); i < aCalls.size(); ++i) {
        ADD_FAILURE() << "one call too many: " << aCalls[i];
    }
    for (std::size_t i = aCalls.size(); i < aPatterns.size(); ++i) {
        ADD_FAILURE() << "call missing: " << aPatterns[i];
    }
}

fake::Object& scriptKey(fake::Object& aObject, const Bytes& aKey)
{
    return aObject.Method(L"GetReferenceKey", [aKey](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetBytes(0, aKey);
        aArgs.SetVariant(1, static_cast<LONG>(aKey.size()));
        return S_OK;
    });
}

fake::Object& scriptBox(fake::Object& aObject, const Triple& aMin, const Triple& aMax)
{
    return aObject.Method(L"GetExactRange", [aMin, aMax](const fake::Args& aArgs, VARIANT*) {
        aArgs.SetReals(0, {aMin[0], aMin[1], aMin[2]});
        aArgs.SetReals(1, {aMax[0], aMax[1], aMax[2]});
        return S_OK;
    });
}

fake::Object& scriptEdge(fake::Object& aObject, bool aIsClosed)
{
    aObject.Answer(ktmdl_host::IID_Edge);
    return aObject.Property(85, fake::givesBool(aIsClosed ? VARIANT_TRUE : VARIANT_FALSE));
}

fake::Object& scriptBind(fake::Object& aDocument,
                         const std::vector<std::pair<Bytes, fake::Object*>>& aObjects)
{
    return aDocument.Method(L"BindKeyToObject", [aObjects](const fake::Args& aArgs, VARIANT*) {
        fake::Object* found = nullptr;
        for (const auto& entry : aObjects) {
            if (entry.first == aArgs.Bytes(0)) {
                found = entry.second;
            }
        }
        aArgs.SetObject(1, found);
        return S_OK;
    });
}

std::vector<std::string> keyCalls(const std::string& aName)
{
    return {aName + ".GetReferenceKey?", aName + ".GetReferenceKey(UI1[]& null, VARIANT& I4 0)"};
}

std::vector<std::string> boxCalls(const std::string& aName)
{
    return {aName + ".GetExactRange?", aName + ".GetExactRange(R8[]& *, R8[]& *)"};
}

std::vector<std::string> joined(const std::vector<std::vector<std::string>>& aParts)
{
    std::vector<std::string> result;
    for (const std::vector<std::string>& part : aParts) {
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

Hnd_ktmdl_Topo newTopo(const Bytes& aKey)
{
    const OwnArray array(aKey);
    return ktmdl_Topo::New(static_cast<long>(aKey.size()), array);
}

Hnd_ktmdl_Topo newTopo(fake::Object& aObject, unsigned char aType)
{
    Hnd_ktmdl_Topo topo = ktmdl_Topo::New(aObject.Ptr());
    topo->tplType = aType;
    return topo;
}

bool isRegistered(const Bytes& aKey)
{
    const OwnArray array(aKey);
    unsigned char isNew = 0;
    const Hnd_ktmdl_Topo topo = ktmdl_Topo::New(static_cast<long>(aKey.size()), array, isNew);
    if (isNew != 0) {
        ktmdl_Topo::RemoveFromMap(topo);
    }
    return isNew == 0;
}

Bytes keyOf(const Hnd_ktmdl_Topo& aTopo)
{
    return aTopo->mKeySize <= 0 ? Bytes() : Bytes(aTopo->mKey, aTopo->mKey + aTopo->mKeySize);
}

std::array<double, 6> cornersOf(const ktmdl_BBox3d& aBox)
{
    std::array<double, 6> c{};
    aBox.Get(c[0], c[1], c[2], c[3], c[4], c[5]);
    return c;
}

std::array<double, 6> corners(const Triple& aMin, const Triple& aMax)
{
    return {aMin[0], aMin[1], aMin[2], aMax[0], aMax[1], aMax[2]};
}

std::vector<Hnd_ktmdl_Topo> elementsOf(const Hnd_ktmdl_TopoHSeq& aList)
{
    std::vector<Hnd_ktmdl_Topo> elements;
    for (long i = 1; aList.IsNull() == 0 && i <= aList->Length(); ++i) {
        elements.push_back(aList->Value(i));
    }
    return elements;
}

Hnd_ktmdl_TopoHSeq listOf(const std::vector<Hnd_ktmdl_Topo>& aElements)
{
    Hnd_ktmdl_TopoHSeq list(new ktmdl_TopoHSeq);
    for (const Hnd_ktmdl_Topo& element : aElements) {
        list->Append(element);
    }
    return list;
}

HRESULT codeOf(const std::function<void()>& aAction)
{
    try {
        aAction();
    } catch (const _com_error& error) {
        return error.Error();
    }
    return S_OK;
}

void BracketSession::AdjustDocumentName(ktstd_AsciiString& aName)
{
    mAsked.emplace_back(aName.ToCString());
    ktstd_AsciiString adjusted("[");
    adjusted.AssignCat(aName);
    adjusted.AssignCat("]");
    aName.Copy(adjusted);
}

BracketSession& beginSession()
{
    BracketSession* const session = new BracketSession;
    ktstd_Session::SetCurSession(Hnd_ktstd_Session(session));
    return *session;
}
