//! @file
//! Small scripted automation objects: each knows only the members that a test gives it, notes
//! everything that it is asked, and tells who still holds it.
#pragma once

#include "com/Com.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace fake {

class World;

//! Tells whether one of the objects is being asked something; what it does then is the host's, not
//! the caller's.
bool isAnswering() noexcept;

//! Writes a number so that reading it gives the same number, as short as that can be.
std::string text(double aValue);

//! The arguments of a call in declared order. An argument that is not of the type asked for is
//! noted in the world, and the call is answered with DISP_E_TYPEMISMATCH.
class Args
{
public:
    Args(World& aWorld, const DISPPARAMS& aParams, EXCEPINFO* aException);

    [[nodiscard]] std::size_t Count() const { return mArgs.size(); }
    [[nodiscard]] VARIANT& At(std::size_t aIdx) const;
    [[nodiscard]] double Real(std::size_t aIdx) const;
    [[nodiscard]] LONG Number(std::size_t aIdx) const;
    //! Gives a text in UTF-8.
    [[nodiscard]] std::string Text(std::size_t aIdx) const;
    //! Gives an object, which may be null; borrowed.
    [[nodiscard]] IDispatch* Dispatch(std::size_t aIdx) const;
    [[nodiscard]] std::vector<double> Reals(std::size_t aIdx) const;
    [[nodiscard]] std::vector<unsigned char> Bytes(std::size_t aIdx) const;

    //! The next five answer through a by-reference argument.
    void SetNumber(std::size_t aIdx, LONG aValue) const;
    void SetReal(std::size_t aIdx, double aValue) const;
    void SetVariant(std::size_t aIdx, LONG aValue) const;
    void SetObject(std::size_t aIdx, IDispatch* aObject) const;
    //! Puts an array in the place of the one that stands there, which is destroyed.
    void SetArray(std::size_t aIdx, SAFEARRAY* aArray) const;
    void SetBytes(std::size_t aIdx, const std::vector<unsigned char>& aValues) const;
    void SetReals(std::size_t aIdx, const std::vector<double>& aValues) const;

    //! Describes an exception to the caller; gives what the call then returns.
    [[nodiscard]] HRESULT Exception(SCODE aCode, const wchar_t* aDescription) const;

private:
    World* mWorld;
    std::vector<VARIANT*> mArgs;
    EXCEPINFO* mException;
};

//! What a member does. The result may be null; it is empty otherwise.
using Handler = std::function<HRESULT(const Args& aArgs, VARIANT* aResult)>;

SAFEARRAY* arrayOf(const std::vector<unsigned char>& aValues);
SAFEARRAY* arrayOf(const std::vector<double>& aValues);

//! Handlers of members with a result.
Handler givesNumber(LONG aValue);
Handler givesReal(double aValue);
Handler givesBool(VARIANT_BOOL aValue);
Handler givesText(const wchar_t* aText);
Handler givesObject(IDispatch* aObject);
//! Handler of a member that fails.
Handler fails(HRESULT aCode);

//! One object. It belongs to its world and stays in memory as long as that; what counts is how many
//! references others hold. Its named members have numbers that no other object uses for them.
class Object final : public IDispatch
{
public:
    Object(World& aWorld, std::string aName, DISPID aFirstId);
    ~Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    //! Script: members by number or name; the last script of a member counts.
    Object& Method(DISPID aId, Handler aHandler);
    Object& Method(const wchar_t* aName, Handler aHandler);
    Object& Property(DISPID aId, Handler aHandler);
    Object& Property(const wchar_t* aName, Handler aHandler);
    //! Scripts a property that can be set: its one argument is the new value.
    Object& Setter(DISPID aId, Handler aHandler);
    //! Makes the look-up of a name fail.
    Object& FailName(const wchar_t* aName, HRESULT aCode);
    //! Makes QueryInterface answer an identifier, or fail with a code.
    Object& Answer(const IID& aIid);
    Object& Refuse(const IID& aIid, HRESULT aCode);
    //! Makes the object another face of the same COM object.
    Object& BeSameAs(Object& aOther);

    [[nodiscard]] IDispatchPtr Ptr() { return IDispatchPtr(static_cast<IDispatch*>(this)); }
    //! Gives the number of references that others hold.
    [[nodiscard]] long Held() const { return mHeld; }
    //! Gives how often an interface other than IUnknown and IDispatch was asked for.
    [[nodiscard]] long Queries() const { return mQueries; }
    [[nodiscard]] const std::string& Name() const { return mName; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID aIid, void** aObject) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* aCount) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT aIndex, LCID aLcid, ITypeInfo** aInfo) override;
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID aIid, LPOLESTR* aNames, UINT aCount, LCID aLcid,
                                            DISPID* aIds) override;
    HRESULT STDMETHODCALLTYPE Invoke(DISPID aId, REFIID aIid, LCID aLcid, WORD aFlags,
                                     DISPPARAMS* aParams, VARIANT* aResult, EXCEPINFO* aException,
                                     UINT* aArgumentError) override;

private:
    struct Member
    {
        std::string name;
        WORD kind;
        Handler handler;
    };
    struct Identifier
    {
        IID iid;
        HRESULT code;
    };

    Object& SetMember(DISPID aId, std::string aName, WORD aKind, Handler aHandler);
    Object& SetMember(const wchar_t* aName, WORD aKind, Handler aHandler);
    Object& SetIdentifier(const IID& aIid, HRESULT aCode);
    void RequireAlive(const char* aWhat);

    World* mWorld;
    std::string mName;
    DISPID mNextId;
    std::map<DISPID, Member> mMembers;
    std::map<std::wstring, DISPID> mNames;
    std::map<std::wstring, HRESULT> mFailingNames;
    std::vector<Identifier> mIdentifiers;
    Object* mIdentity;
    long mHeld{0};
    long mQueries{0};
};

//! The objects of a test and what was asked of them.
class World
{
public:
    //! Makes an object that answers IUnknown and IDispatch only.
    Object& Make(std::string aName);

    //! Gives what was asked, in order. A look-up reads "edge.Type?", a method
    //! "edge.267(R8[]& null, R8[]& null)", a property read "edge.get 85()", a property set
    //! "dim.put 4(BOOL -1)". Named members stand with their names, arrays by reference with their
    //! content, objects with their names: "DISP edge", "DISP null".
    [[nodiscard]] const std::vector<std::string>& Calls() const { return mCalls; }
    //! Gives what was asked last; empty when nothing was.
    [[nodiscard]] std::string LastCall() const { return mCalls.empty() ? "" : mCalls.back(); }
    //! Gives how many entries are a call of a member of an object.
    [[nodiscard]] long CountOf(const std::string& aPattern) const;
    //! Gives how often objects were asked for an interface or for their identity.
    [[nodiscard]] long Queries() const { return mQueries; }
    void Forget()
    {
        mCalls.clear();
        mQueries = 0;
    }

    //! Makes the Nth look-up or call from now on fail with a code.
    //! @param aIsLate  the member does its work all the same: by-reference arguments are answered
    void FailCall(long aNth, HRESULT aCode, bool aIsLate);
    //! Gives the call that FailCall made fail; empty while it has not come.
    [[nodiscard]] const std::string& FailedCall() const { return mFailedCall; }

    //! Gives what broke the laws: use of an object that was let go, wrong argument types.
    [[nodiscard]] const std::vector<std::string>& Violations() const { return mViolations; }
    //! Gives the objects that others still hold.
    [[nodiscard]] std::vector<std::string> HeldObjects() const;

    //! Gives the name of one of the objects, "null" for null.
    [[nodiscard]] std::string NameOf(const IDispatch* aObject) const;

    void Note(std::string aCall) { mCalls.push_back(std::move(aCall)); }
    void NoteQuery() { ++mQueries; }
    void Accuse(std::string aViolation) { mViolations.push_back(std::move(aViolation)); }
    //! Tells whether the call noted last is the one to fail.
    [[nodiscard]] bool IsFaultDue();
    [[nodiscard]] HRESULT FaultCode() const { return mFaultCode; }
    [[nodiscard]] bool IsFaultLate() const { return mIsFaultLate; }

private:
    std::vector<std::unique_ptr<Object>> mObjects;
    std::vector<std::string> mCalls;
    std::vector<std::string> mViolations;
    long mQueries{0};
    long mCallsToFault{0};
    HRESULT mFaultCode{S_OK};
    bool mIsFaultLate{false};
    std::string mFailedCall;
};

//! Tells whether a text has a form in which each * stands for anything.
bool matches(const std::string& aPattern, const std::string& aText);

} // namespace fake
