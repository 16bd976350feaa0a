//! @file
//! What tests of topology references share: small hand-made host objects, and a scene that checks
//! at its end that nothing is left alive.
#pragma once

#include "com/Com.h"
#include "ktmdl/Hnd_ktmdl_Topo.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Session.h"
#include "support/FakeDispatch.h"
#include "support/LogCapture.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;
using Triple = std::array<double, 3>;

//! Start and end of a test. It stands first in the test, so that all else is gone when it ends:
//! then it empties the registry and looks for objects, arrays and strings that are still there.
class Scene
{
public:
    Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
    ~Scene();

    //! Makes an object that gives a key, and a box when there is one.
    fake::Object& Keyed(const std::string& aName, const Bytes& aKey);
    fake::Object& Keyed(const std::string& aName, const Bytes& aKey, const Triple& aMin,
                        const Triple& aMax);
    //! Makes a collection: Count as a property, by default 23, and Item 0, as a method. Items may
    //! be null.
    fake::Object& Collection(const std::string& aName, const std::vector<fake::Object*>& aItems,
                             DISPID aCount = ktmdl_host::Collection::Count);
    //! Makes a document with both names, and the objects that it binds keys to.
    fake::Object& Document(const std::string& aName, const wchar_t* aFullName,
                           const wchar_t* aShortName);

    void ExpectCalls(const std::vector<std::string>& aPatterns) const;
    void ExpectNoCalls() const { ExpectCalls({}); }
    void ExpectLog(const std::vector<std::string>& aForms) const { expectLines(log, aForms); }

    fake::World world;
    LogCapture log;

private:
    long mStrings;
    long mArrays;
};

//! Compares what was asked with patterns, in which * stands for anything.
void expectCalls(const std::vector<std::string>& aCalls, const std::vector<std::string>& aPatterns);

//! Scripts an object to give a key with the size in the second argument.
fake::Object& scriptKey(fake::Object& aObject, const Bytes& aKey);
//! Scripts an object's exact range.
fake::Object& scriptBox(fake::Object& aObject, const Triple& aMin, const Triple& aMax);
//! Scripts an edge: its interface and whether it is closed.
fake::Object& scriptEdge(fake::Object& aObject, bool aIsClosed);
//! Scripts a document to bind keys to objects; a key that is not there gives no object.
fake::Object& scriptBind(fake::Object& aDocument,
                         const std::vector<std::pair<Bytes, fake::Object*>>& aObjects);

//! The calls that New makes on an object, and those of its box.
std::vector<std::string> keyCalls(const std::string& aName);
std::vector<std::string> boxCalls(const std::string& aName);
std::vector<std::string> joined(const std::vector<std::vector<std::string>>& aParts);

//! Owns an array of the test.
class OwnArray
{
public:
    explicit OwnArray(SAFEARRAY* aArray) : mArray(aArray) {}
    explicit OwnArray(const Bytes& aValues) : mArray(fake::arrayOf(aValues)) {}
    OwnArray(const OwnArray&) = delete;
    OwnArray& operator=(const OwnArray&) = delete;
    ~OwnArray() { SafeArrayDestroy(mArray); }
    operator SAFEARRAY*() const { return mArray; }

private:
    SAFEARRAY* mArray;
};

//! Gives the reference with a key, made by New.
Hnd_ktmdl_Topo newTopo(const Bytes& aKey);
//! Gives the reference to an object with a type.
Hnd_ktmdl_Topo newTopo(fake::Object& aObject, unsigned char aType);
//! Tells whether a key is registered, without changing the registry.
bool isRegistered(const Bytes& aKey);
//! Gives a reference's key.
Bytes keyOf(const Hnd_ktmdl_Topo& aTopo);

//! The six numbers of a box.
std::array<double, 6> cornersOf(const ktmdl_BBox3d& aBox);
std::array<double, 6> corners(const Triple& aMin, const Triple& aMax);

//! The elements of a list, which may be null.
std::vector<Hnd_ktmdl_Topo> elementsOf(const Hnd_ktmdl_TopoHSeq& aList);
Hnd_ktmdl_TopoHSeq listOf(const std::vector<Hnd_ktmdl_Topo>& aElements);

//! Runs something and gives the code of the automation error that it raises; S_OK when none.
HRESULT codeOf(const std::function<void()>& aAction);

//! A session that writes what it was given into brackets.
class BracketSession : public ktstd_Session
{
public:
    void AdjustDocumentName(ktstd_AsciiString& aName) override;

    std::vector<std::string> mAsked;
};

//! Makes a BracketSession the current one and gives it; the scene ends it.
BracketSession& beginSession();
