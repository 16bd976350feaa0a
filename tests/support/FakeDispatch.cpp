#include "support/FakeDispatch.h"

#include "com/ComText.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace fake {
namespace {

long sAnswers = 0;

//! An object is being asked something.
struct Answering
{
    Answering() noexcept { ++sAnswers; }
    Answering(const Answering&) = delete;
    Answering& operator=(const Answering&) = delete;
    ~Answering() { --sAnswers; }
};

//! Thrown to leave a handler when an argument is of the wrong type.
struct WrongArgument
{
};

std::string narrow(const wchar_t* aText)
{
    std::string result;
    for (; *aText != 0; ++aText) {
        result += *aText < 0x80 ? static_cast<char>(*aText) : '?';
    }
    return result;
}

template <class T>
std::vector<T> contentOf(SAFEARRAY* aArray)
{
    std::vector<T> result;
    if (aArray == nullptr || SafeArrayGetDim(aArray) != 1 ||
        SafeArrayGetElemsize(aArray) != sizeof(T)) {
        return result;
    }
    LONG first = 0;
    LONG last = -1;
    SafeArrayGetLBound(aArray, 1, &first);
    SafeArrayGetUBound(aArray, 1, &last);
    void* data = nullptr;
    if (SafeArrayAccessData(aArray, &data) == S_OK) {
        const T* const values = static_cast<const T*>(data);
        result.assign(values, values + (last - first + 1));
        SafeArrayUnaccessData(aArray);
    }
    return result;
}

template <class T>
SAFEARRAY* makeArray(VARTYPE aType, const std::vector<T>& aValues)
{
    SAFEARRAY* const array = SafeArrayCreateVector(aType, 0, static_cast<ULONG>(aValues.size()));
    void* data = nullptr;
    if (array != nullptr && SafeArrayAccessData(array, &data) == S_OK) {
        if (!aValues.empty()) {
            std::memcpy(data, aValues.data(), aValues.size() * sizeof(T));
        }
        SafeArrayUnaccessData(array);
    }
    return array;
}

std::string shown(unsigned char aValue)
{
    return std::to_string(int{aValue});
}
std::string shown(LONG aValue)
{
    return std::to_string(aValue);
}
std::string shown(double aValue)
{
    return text(aValue);
}

template <class T>
std::string listed(SAFEARRAY* aArray)
{
    std::string result = "{";
    for (const T value : contentOf<T>(aArray)) {
        result += (result.size() > 1 ? "," : "") + shown(value);
    }
    return result + "}";
}

std::string typeName(VARTYPE aType)
{
    switch (aType) {
    case VT_EMPTY:
        return "EMPTY";
    case VT_I2:
        return "I2";
    case VT_I4:
        return "I4";
    case VT_R8:
        return "R8";
    case VT_BSTR:
        return "BSTR";
    case VT_DISPATCH:
        return "DISP";
    case VT_BOOL:
        return "BOOL";
    case VT_UI1:
        return "UI1";
    case VT_VARIANT:
        return "VARIANT";
    case VT_ERROR:
        return "ERROR";
    default:
        return "VT" + std::to_string(aType);
    }
}

std::string describeArray(VARTYPE aElement, SAFEARRAY* aArray)
{
    const std::string name = typeName(aElement) + "[]& ";
    if (aArray == nullptr) {
        return name + "null";
    }
    switch (aElement) {
    case VT_UI1:
        return name + listed<unsigned char>(aArray);
    case VT_R8:
        return name + listed<double>(aArray);
    case VT_I4:
        return name + listed<LONG>(aArray);
    default:
        return name + "?";
    }
}

std::string textOf(BSTR aText)
{
    return com::toUtf8(aText, SysStringLen(aText));
}

std::string describe(const World& aWorld, const VARIANT& aArg)
{
    const VARTYPE type = V_VT(&aArg);
    switch (type) {
    case VT_I2:
        return "I2 " + std::to_string(V_I2(&aArg));
    case VT_I4:
        return "I4 " + shown(V_I4(&aArg));
    case VT_R8:
        return "R8 " + shown(V_R8(&aArg));
    case VT_BSTR:
        return "BSTR \"" + textOf(V_BSTR(&aArg)) + '"';
    case VT_BOOL:
        return "BOOL " + std::to_string(V_BOOL(&aArg));
    case VT_DISPATCH:
        return "DISP " + aWorld.NameOf(V_DISPATCH(&aArg));
    case VT_ERROR:
        return V_ERROR(&aArg) == DISP_E_PARAMNOTFOUND ? "missing" : "ERROR";
    case VT_BYREF | VT_I4:
        return "I4& " + shown(*V_I4REF(&aArg));
    case VT_BYREF | VT_R8:
        return "R8& " + shown(*V_R8REF(&aArg));
    case VT_BYREF | VT_DISPATCH:
        return *V_DISPATCHREF(&aArg) == nullptr ? "DISP& null" : "DISP& object";
    case VT_BYREF | VT_VARIANT:
        return "VARIANT& " + describe(aWorld, *V_VARIANTREF(&aArg));
    default:
        break;
    }
    const int arrayRef = VT_BYREF | VT_ARRAY;
    if ((type & arrayRef) == arrayRef) {
        return describeArray(static_cast<VARTYPE>(type & VT_TYPEMASK), *V_ARRAYREF(&aArg));
    }
    return typeName(type);
}

//! Tells whether the arguments carry the names that a call of this kind must give them: the new
//! value of a property its one, all others none.
bool areNamesRight(WORD aFlags, const DISPPARAMS& aParams)
{
    if (aFlags != DISPATCH_PROPERTYPUT) {
        return aParams.cNamedArgs == 0;
    }
    return aParams.cNamedArgs == 1 && aParams.rgdispidNamedArgs != nullptr &&
           aParams.rgdispidNamedArgs[0] == DISPID_PROPERTYPUT;
}

} // namespace

bool isAnswering() noexcept
{
    return sAnswers != 0;
}

std::string text(double aValue)
{
    char buffer[40];
    if (std::fabs(aValue) < 1e15 && aValue == std::floor(aValue)) {
        std::snprintf(buffer, sizeof buffer, "%.0f", aValue);
        return buffer;
    }
    for (int digits = 1; digits <= 17; ++digits) {
        std::snprintf(buffer, sizeof buffer, "%.*g", digits, aValue);
        if (std::strtod(buffer, nullptr) == aValue) {
            break;
        }
    }
    return buffer;
}

bool matches(const std::string& aPattern, const std::string& aText)
{
    std::size_t pattern = 0;
    std::size_t place = 0;
    std::size_t star = std::string::npos;
    std::size_t resume = 0;
    while (place < aText.size()) {
        if (pattern < aPattern.size() && aPattern[pattern] == '*') {
            star = pattern++;
            resume = place;
        } else if (pattern < aPattern.size() && aPattern[pattern] == aText[place]) {
            ++pattern;
            ++place;
        } else if (star != std::string::npos) {
            pattern = star + 1;
            place = ++resume;
        } else {
            return false;
        }
    }
    while (pattern < aPattern.size() && aPattern[pattern] == '*') {
        ++pattern;
    }
    return pattern == aPattern.size();
}

Args::Args(World& aWorld, const DISPPARAMS& aParams, EXCEPINFO* aException)
    : mWorld(&aWorld),
      mException(aException)
{
    for (UINT i = aParams.cArgs; i > 0; --i) {
        mArgs.push_back(&aParams.rgvarg[i - 1]);
    }
}

VARIANT& Args::At(std::size_t aIdx) const
{
    if (aIdx >= mArgs.size()) {
        mWorld->Accuse("argument " + std::to_string(aIdx + 1) + " is not there");
        throw WrongArgument();
    }
    return *mArgs[aIdx];
}

namespace {

VARIANT& required(World& aWorld, VARIANT& aArg, int aType)
{
    if (V_VT(&aArg) != aType) {
        aWorld.Accuse("wanted an argument of type " + std::to_string(aType) + ", found " +
                      std::to_string(V_VT(&aArg)));
        throw WrongArgument();
    }
    return aArg;
}

} // namespace

double Args::Real(std::size_t aIdx) const
{
    return V_R8(&required(*mWorld, At(aIdx), VT_R8));
}

LONG Args::Number(std::size_t aIdx) const
{
    return V_I4(&required(*mWorld, At(aIdx), VT_I4));
}

std::string Args::Text(std::size_t aIdx) const
{
    return textOf(V_BSTR(&required(*mWorld, At(aIdx), VT_BSTR)));
}

IDispatch* Args::Dispatch(std::size_t aIdx) const
{
    return V_DISPATCH(&required(*mWorld, At(aIdx), VT_DISPATCH));
}

std::vector<double> Args::Reals(std::size_t aIdx) const
{
    return contentOf<double>(
        *V_ARRAYREF(&required(*mWorld, At(aIdx), VT_BYREF | VT_ARRAY | VT_R8)));
}

std::vector<unsigned char> Args::Bytes(std::size_t aIdx) const
{
    return contentOf<unsigned char>(
        *V_ARRAYREF(&required(*mWorld, At(aIdx), VT_BYREF | VT_ARRAY | VT_UI1)));
}

void Args::SetNumber(std::size_t aIdx, LONG aValue) const
{
    *V_I4REF(&required(*mWorld, At(aIdx), VT_BYREF | VT_I4)) = aValue;
}

void Args::SetReal(std::size_t aIdx, double aValue) const
{
    *V_R8REF(&required(*mWorld, At(aIdx), VT_BYREF | VT_R8)) = aValue;
}

void Args::SetVariant(std::size_t aIdx, LONG aValue) const
{
    VARIANT* const variant = V_VARIANTREF(&required(*mWorld, At(aIdx), VT_BYREF | VT_VARIANT));
    VariantClear(variant);
    V_VT(variant) = VT_I4;
    V_I4(variant) = aValue;
}

void Args::SetObject(std::size_t aIdx, IDispatch* aObject) const
{
    IDispatch** const place = V_DISPATCHREF(&required(*mWorld, At(aIdx), VT_BYREF | VT_DISPATCH));
    if (aObject != nullptr) {
        aObject->AddRef();
    }
    *place = aObject;
}

void Args::SetArray(std::size_t aIdx, SAFEARRAY* aArray) const
{
    VARIANT& arg = At(aIdx);
    const int arrayRef = VT_BYREF | VT_ARRAY;
    if ((V_VT(&arg) & arrayRef) != arrayRef) {
        SafeArrayDestroy(aArray);
        mWorld->Accuse("argument " + std::to_string(aIdx + 1) + " is no array by reference");
        throw WrongArgument();
    }
    SafeArrayDestroy(*V_ARRAYREF(&arg));
    *V_ARRAYREF(&arg) = aArray;
}

void Args::SetBytes(std::size_t aIdx, const std::vector<unsigned char>& aValues) const
{
    required(*mWorld, At(aIdx), VT_BYREF | VT_ARRAY | VT_UI1);
    SetArray(aIdx, arrayOf(aValues));
}

void Args::SetReals(std::size_t aIdx, const std::vector<double>& aValues) const
{
    required(*mWorld, At(aIdx), VT_BYREF | VT_ARRAY | VT_R8);
    SetArray(aIdx, arrayOf(aValues));
}

HRESULT Args::Exception(SCODE aCode, const wchar_t* aDescription) const
{
    if (mException != nullptr) {
        mException->scode = aCode;
        mException->bstrDescription = SysAllocString(aDescription);
        mException->bstrSource = SysAllocString(L"host");
    }
    return DISP_E_EXCEPTION;
}

SAFEARRAY* arrayOf(const std::vector<unsigned char>& aValues)
{
    return makeArray(VT_UI1, aValues);
}

SAFEARRAY* arrayOf(const std::vector<double>& aValues)
{
    return makeArray(VT_R8, aValues);
}

Handler givesNumber(LONG aValue)
{
    return [aValue](const Args&, VARIANT* aResult) {
        if (aResult != nullptr) {
            V_VT(aResult) = VT_I4;
            V_I4(aResult) = aValue;
        }
        return S_OK;
    };
}

Handler givesReal(double aValue)
{
    return [aValue](const Args&, VARIANT* aResult) {
        if (aResult != nullptr) {
            V_VT(aResult) = VT_R8;
            V_R8(aResult) = aValue;
        }
        return S_OK;
    };
}

Handler givesBool(VARIANT_BOOL aValue)
{
    return [aValue](const Args&, VARIANT* aResult) {
        if (aResult != nullptr) {
            V_VT(aResult) = VT_BOOL;
            V_BOOL(aResult) = aValue;
        }
        return S_OK;
    };
}

Handler givesText(const wchar_t* aText)
{
    return [value = std::wstring(aText)](const Args&, VARIANT* aResult) {
        if (aResult != nullptr) {
            V_VT(aResult) = VT_BSTR;
            V_BSTR(aResult) = SysAllocString(value.c_str());
        }
        return S_OK;
    };
}

Handler givesObject(IDispatch* aObject)
{
    return [aObject](const Args&, VARIANT* aResult) {
        if (aResult != nullptr) {
            V_VT(aResult) = VT_DISPATCH;
            V_DISPATCH(aResult) = aObject;
            if (aObject != nullptr) {
                aObject->AddRef();
            }
        }
        return S_OK;
    };
}

Handler fails(HRESULT aCode)
{
    return [aCode](const Args&, VARIANT*) { return aCode; };
}

Object::Object(World& aWorld, std::string aName, DISPID aFirstId)
    : mWorld(&aWorld),
      mName(std::move(aName)),
      mNextId(aFirstId),
      mIdentity(this)
{}

Object& Object::SetMember(DISPID aId, std::string aName, WORD aKind, Handler aHandler)
{
    mMembers[aId] = Member{std::move(aName), aKind, std::move(aHandler)};
    return *this;
}

Object& Object::SetMember(const wchar_t* aName, WORD aKind, Handler aHandler)
{
    mFailingNames.erase(aName);
    const auto known = mNames.find(aName);
    const DISPID id = known != mNames.end() ? known->second : mNextId++;
    mNames[aName] = id;
    return SetMember(id, narrow(aName), aKind, std::move(aHandler));
}

Object& Object::Method(DISPID aId, Handler aHandler)
{
    return SetMember(aId, std::to_string(aId), DISPATCH_METHOD, std::move(aHandler));
}

Object& Object::Method(const wchar_t* aName, Handler aHandler)
{
    return SetMember(aName, DISPATCH_METHOD, std::move(aHandler));
}

Object& Object::Property(DISPID aId, Handler aHandler)
{
    return SetMember(aId, std::to_string(aId), DISPATCH_PROPERTYGET, std::move(aHandler));
}

Object& Object::Property(const wchar_t* aName, Handler aHandler)
{
    return SetMember(aName, DISPATCH_PROPERTYGET, std::move(aHandler));
}

Object& Object::Setter(DISPID aId, Handler aHandler)
{
    return SetMember(aId, std::to_string(aId), DISPATCH_PROPERTYPUT, std::move(aHandler));
}

Object& Object::FailName(const wchar_t* aName, HRESULT aCode)
{
    mFailingNames[aName] = aCode;
    return *this;
}

Object& Object::SetIdentifier(const IID& aIid, HRESULT aCode)
{
    for (Identifier& known : mIdentifiers) {
        if (IsEqualIID(known.iid, aIid)) {
            known.code = aCode;
            return *this;
        }
    }
    mIdentifiers.push_back(Identifier{aIid, aCode});
    return *this;
}

Object& Object::Answer(const IID& aIid)
{
    return SetIdentifier(aIid, S_OK);
}

Object& Object::Refuse(const IID& aIid, HRESULT aCode)
{
    return SetIdentifier(aIid, aCode);
}

Object& Object::BeSameAs(Object& aOther)
{
    mIdentity = &aOther;
    return *this;
}

void Object::RequireAlive(const char* aWhat)
{
    if (mHeld <= 0) {
        mWorld->Accuse(mName + ": " + aWhat + " on an object that nobody holds");
    }
}

HRESULT Object::QueryInterface(REFIID aIid, void** aObject)
{
    const Answering answering;
    RequireAlive("QueryInterface");
    mWorld->NoteQuery();
    *aObject = nullptr;
    HRESULT code = E_NOINTERFACE;
    const bool isBasic = IsEqualIID(aIid, IID_IUnknown) || IsEqualIID(aIid, IID_IDispatch);
    if (isBasic) {
        code = S_OK;
    } else {
        ++mQueries;
    }
    for (const Identifier& known : mIdentifiers) {
        if (IsEqualIID(known.iid, aIid)) {
            code = known.code;
        }
    }
    if (FAILED(code)) {
        return code;
    }
    Object* const answer = IsEqualIID(aIid, IID_IUnknown) ? mIdentity : this;
    answer->AddRef();
    *aObject = static_cast<IDispatch*>(answer);
    return S_OK;
}

ULONG Object::AddRef()
{
    return static_cast<ULONG>(++mHeld);
}

ULONG Object::Release()
{
    const Answering answering;
    RequireAlive("Release");
    return static_cast<ULONG>(--mHeld);
}

HRESULT Object::GetTypeInfoCount(UINT* aCount)
{
    *aCount = 0;
    return S_OK;
}

HRESULT Object::GetTypeInfo(UINT, LCID, ITypeInfo** aInfo)
{
    *aInfo = nullptr;
    return DISP_E_BADINDEX;
}

HRESULT Object::GetIDsOfNames(REFIID aIid, LPOLESTR* aNames, UINT aCount, LCID, DISPID* aIds)
{
    const Answering answering;
    RequireAlive("GetIDsOfNames");
    if (!IsEqualIID(aIid, IID_NULL) || aCount != 1) {
        mWorld->Accuse(mName + ": a look-up asks for one name and passes IID_NULL");
        return E_INVALIDARG;
    }
    mWorld->Note(mName + "." + narrow(aNames[0]) + "?");
    aIds[0] = DISPID_UNKNOWN;
    if (mWorld->IsFaultDue()) {
        return mWorld->FaultCode();
    }
    const auto failing = mFailingNames.find(aNames[0]);
    if (failing != mFailingNames.end()) {
        return failing->second;
    }
    const auto found = mNames.find(aNames[0]);
    if (found == mNames.end()) {
        return DISP_E_UNKNOWNNAME;
    }
    aIds[0] = found->second;
    return S_OK;
}

HRESULT Object::Invoke(DISPID aId, REFIID aIid, LCID, WORD aFlags, DISPPARAMS* aParams,
                       VARIANT* aResult, EXCEPINFO* aException, UINT*)
{
    const Answering answering;
    RequireAlive("Invoke");
    if (!IsEqualIID(aIid, IID_NULL) || aParams == nullptr || !areNamesRight(aFlags, *aParams)) {
        mWorld->Accuse(mName + ": a call passes IID_NULL and arguments without names, a property's "
                               "new value apart");
        return E_INVALIDARG;
    }
    const auto found = mMembers.find(aId);
    const Args args(*mWorld, *aParams, aException);
    std::string call = mName + ".";
    if (aFlags == DISPATCH_PROPERTYGET) {
        call += "get ";
    } else if (aFlags == DISPATCH_PROPERTYPUT) {
        call += "put ";
    } else if (aFlags != DISPATCH_METHOD) {
        call += "flags " + std::to_string(aFlags) + " ";
    }
    call += found == mMembers.end() ? std::to_string(aId) : found->second.name;
    call += "(";
    for (std::size_t i = 0; i < args.Count(); ++i) {
        call += (i > 0 ? ", " : "") + describe(*mWorld, args.At(i));
    }
    mWorld->Note(call + ")");
    if (aResult != nullptr) {
        VariantInit(aResult);
    }
    const bool isFaultDue = mWorld->IsFaultDue();
    if (isFaultDue && !mWorld->IsFaultLate()) {
        return mWorld->FaultCode();
    }
    if (found == mMembers.end() || found->second.kind != aFlags) {
        return DISP_E_MEMBERNOTFOUND;
    }
    const Handler handler = found->second.handler; // a copy: it may script itself anew
    try {
        const HRESULT code = handler(args, aResult);
        if (isFaultDue && aResult != nullptr) {
            VariantClear(aResult);
        }
        return isFaultDue ? mWorld->FaultCode() : code;
    } catch (const WrongArgument&) {
        return DISP_E_TYPEMISMATCH;
    }
}

Object& World::Make(std::string aName)
{
    const DISPID firstId = static_cast<DISPID>(100000 + 1000 * mObjects.size());
    mObjects.push_back(std::make_unique<Object>(*this, std::move(aName), firstId));
    return *mObjects.back();
}

void World::FailCall(long aNth, HRESULT aCode, bool aIsLate)
{
    mCallsToFault = aNth;
    mFaultCode = aCode;
    mIsFaultLate = aIsLate;
    mFailedCall.clear();
}

bool World::IsFaultDue()
{
    if (mCallsToFault == 0 || --mCallsToFault > 0) {
        return false;
    }
    mFailedCall = mCalls.back();
    return true;
}

long World::CountOf(const std::string& aPattern) const
{
    long count = 0;
    for (const std::string& call : mCalls) {
        count += matches(aPattern, call) ? 1 : 0;
    }
    return count;
}

std::string World::NameOf(const IDispatch* aObject) const
{
    if (aObject == nullptr) {
        return "null";
    }
    for (const std::unique_ptr<Object>& object : mObjects) {
        if (object.get() == aObject) {
            return object->Name();
        }
    }
    return "stranger";
}

std::vector<std::string> World::HeldObjects() const
{
    std::vector<std::string> result;
    for (const std::unique_ptr<Object>& object : mObjects) {
        if (object->Held() != 0) {
            result.push_back(object->Name() + " " + std::to_string(object->Held()));
        }
    }
    return result;
}

} // namespace fake
