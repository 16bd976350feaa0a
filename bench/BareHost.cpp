#include "BareHost.h"

#include "ktmdl/ktmdl_Host.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace bench {

namespace {

SAFEARRAY* arrayOf(VARTYPE aType, const void* aData, std::size_t aCount, std::size_t aSize)
{
    SAFEARRAY* const array = SafeArrayCreateVector(aType, 0, static_cast<ULONG>(aCount));
    void* data = nullptr;
    SafeArrayAccessData(array, &data);
    std::memcpy(data, aData, aCount * aSize);
    SafeArrayUnaccessData(array);
    return array;
}

//! Argument by its declared place.
VARIANT& argument(const DISPPARAMS* aParams, UINT aIdx)
{
    return aParams->rgvarg[aParams->cArgs - 1 - aIdx];
}

void giveReals(VARIANT& aTo, const double (&aValues)[3])
{
    *aTo.pparray = arrayOf(VT_R8, aValues, 3, sizeof(double));
}

void giveObject(VARIANT* aResult, IDispatch* aObject)
{
    aResult->vt = VT_DISPATCH;
    aResult->pdispVal = aObject;
    aObject->AddRef();
}

} // namespace

HRESULT STDMETHODCALLTYPE BareObject::QueryInterface(REFIID, void** aObject)
{
    *aObject = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
}

HRESULT STDMETHODCALLTYPE BareObject::GetTypeInfoCount(UINT* aCount)
{
    *aCount = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE BareObject::GetTypeInfo(UINT, LCID, ITypeInfo**)
{
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE BareObject::GetIDsOfNames(REFIID, LPOLESTR* aNames, UINT, LCID,
                                                    DISPID* aIds)
{
    const std::wstring name = aNames[0];
    *aIds = name == L"Faces"             ? kFaces
            : name == L"Edges"           ? kEdges
            : name == L"GetReferenceKey" ? kGetReferenceKey
            : name == L"GetExactRange"   ? kGetExactRange
                                         : DISPID_UNKNOWN;
    return *aIds != DISPID_UNKNOWN ? S_OK : DISP_E_UNKNOWNNAME;
}

BareEdge::BareEdge(const double (&aStart)[3], const double (&aEnd)[3])
{
    std::copy_n(aStart, 3, mStart);
    std::copy_n(aEnd, 3, mEnd);
}

HRESULT STDMETHODCALLTYPE BareEdge::Invoke(DISPID aId, REFIID, LCID, WORD, DISPPARAMS* aParams,
                                           VARIANT* aResult, EXCEPINFO*, UINT*)
{
    switch (aId) {
    case ktmdl_host::Edge::IsClosed:
        aResult->vt = VT_BOOL;
        aResult->boolVal = VARIANT_FALSE;
        return S_OK;
    case ktmdl_host::Edge::GetParamExtents:
        *argument(aParams, 0).pdblVal = 0.0;
        *argument(aParams, 1).pdblVal = 1.0;
        return S_OK;
    case ktmdl_host::Edge::GetLengthAtParam:
        *argument(aParams, 2).pdblVal =
            std::hypot(mEnd[0] - mStart[0], mEnd[1] - mStart[1], mEnd[2] - mStart[2]);
        return S_OK;
    case ktmdl_host::Edge::GetEndPoints:
        giveReals(argument(aParams, 0), mStart);
        giveReals(argument(aParams, 1), mEnd);
        return S_OK;
    default:
        return DISP_E_MEMBERNOTFOUND;
    }
}

HRESULT STDMETHODCALLTYPE BareFace::Invoke(DISPID aId, REFIID, LCID, WORD, DISPPARAMS* aParams,
                                           VARIANT*, EXCEPINFO*, UINT*)
{
    switch (aId) {
    case kGetReferenceKey: {
        unsigned char key[40] = {1, 2, 3, 4};
        std::memcpy(key + 8, &mNumber, sizeof(mNumber));
        const std::uint32_t spread = mNumber * 2654435761U;
        std::memcpy(key + 20, &spread, sizeof(spread));
        *argument(aParams, 0).pparray = arrayOf(VT_UI1, key, sizeof(key), 1);
        VARIANT& size = argument(aParams, 1);
        if (size.vt == (VT_BYREF | VT_VARIANT)) {
            size.pvarVal->vt = VT_I4;
            size.pvarVal->lVal = sizeof(key);
        } else {
            *size.plVal = sizeof(key);
        }
        return S_OK;
    }
    case kGetExactRange: {
        const double low[3] = {0.0, 0.0, static_cast<double>(mNumber)};
        const double high[3] = {1.0, 1.0, static_cast<double>(mNumber) + 1.0};
        giveReals(argument(aParams, 0), low);
        giveReals(argument(aParams, 1), high);
        return S_OK;
    }
    default:
        return DISP_E_MEMBERNOTFOUND;
    }
}

BareBody::BareBody(long aFaces)
{
    for (long i = 0; i < aFaces; ++i) {
        mFaces.push_back(std::make_unique<BareFace>(static_cast<std::uint32_t>(i)));
    }
    if (aFaces > 0) {
        mNoEdges = std::make_unique<BareBody>(0);
    }
}

HRESULT STDMETHODCALLTYPE BareBody::Invoke(DISPID aId, REFIID aIid, LCID aLcid, WORD aFlags,
                                           DISPPARAMS* aParams, VARIANT* aResult,
                                           EXCEPINFO* aException, UINT* aArgumentError)
{
    switch (aId) {
    case kFaces:
        giveObject(aResult, this);
        return S_OK;
    case kEdges:
        giveObject(aResult, mNoEdges.get());
        return S_OK;
    case ktmdl_host::Collection::Count:
        aResult->vt = VT_I4;
        aResult->lVal = static_cast<LONG>(mFaces.size());
        return S_OK;
    case 0: {
        const auto item = static_cast<std::size_t>(argument(aParams, 0).lVal);
        if (item < 1 || item > mFaces.size()) {
            return DISP_E_BADINDEX;
        }
        giveObject(aResult, mFaces[item - 1].get());
        return S_OK;
    }
    default:
        return BareFace(0).Invoke(aId, aIid, aLcid, aFlags, aParams, aResult, aException,
                                  aArgumentError);
    }
}

// ---------------------------------------------------------------------------------------------

//! Stands for a host object and notes what it is asked.
class Recorder::Watched : public BareObject
{
public:
    Watched(Recorder& aRecorder, IDispatch* aInner) : mRecorder(aRecorder), mInner(aInner) {}

    [[nodiscard]] const IDispatchPtr& Inner() const noexcept { return mInner; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID aIid, void** aObject) override
    {
        const IID iid = aIid;
        const IDispatchPtr inner = mInner;
        void* found = nullptr;
        const HRESULT hr = inner->QueryInterface(iid, &found);
        if (SUCCEEDED(hr)) {
            static_cast<IUnknown*>(found)->Release();
        }
        mRecorder.mCalls.emplace_back([inner, iid] {
            void* again = nullptr;
            if (SUCCEEDED(inner->QueryInterface(iid, &again))) {
                static_cast<IUnknown*>(again)->Release();
            }
        });
        *aObject = SUCCEEDED(hr) ? static_cast<IDispatch*>(this) : nullptr;
        return hr;
    }

    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID aIid, LPOLESTR* aNames, UINT aCount, LCID aLcid,
                                            DISPID* aIds) override
    {
        const IDispatchPtr inner = mInner;
        const std::wstring name = aNames[0];
        mRecorder.mCalls.emplace_back([inner, name, aLcid] {
            LPOLESTR text = const_cast<LPOLESTR>(name.c_str());
            DISPID id = 0;
            inner->GetIDsOfNames(IID_NULL, &text, 1, aLcid, &id);
        });
        return inner->GetIDsOfNames(aIid, aNames, aCount, aLcid, aIds);
    }

    HRESULT STDMETHODCALLTYPE Invoke(DISPID aId, REFIID aIid, LCID aLcid, WORD aFlags,
                                     DISPPARAMS* aParams, VARIANT* aResult, EXCEPINFO* aException,
                                     UINT* aArgumentError) override;

private:
    Recorder& mRecorder;
    IDispatchPtr mInner;
};

namespace {

//! Arguments of a call that can be made any number of times.
struct Arguments
{
    explicit Arguments(const DISPPARAMS& aParams)
        : values(aParams.rgvarg, aParams.rgvarg + aParams.cArgs)
    {
        for (const VARIANT& value : values) {
            if (value.vt == (VT_BYREF | VT_ARRAY | VT_UI1) ||
                value.vt == (VT_BYREF | VT_ARRAY | VT_R8)) {
                SAFEARRAY* copy = nullptr;
                if (*value.pparray != nullptr) {
                    SafeArrayCopy(*value.pparray, &copy);
                }
                given.push_back(copy);
            }
        }
    }

    //! Makes a call with places of its own for what comes back, and frees that.
    void Call(IDispatch* aObject, DISPID aId, LCID aLcid, WORD aFlags, bool aWithResult) const
    {
        VARIANT arguments[8];
        const std::size_t count = values.size();
        std::copy_n(values.data(), count, arguments);
        SAFEARRAY* arrays[8] = {};
        double reals[8] = {};
        LONG numbers[8] = {};
        VARIANT variants[8] = {};
        IDispatch* objects[8] = {};
        std::size_t array = 0;
        for (std::size_t i = 0; i < count; ++i) {
            VARIANT& argument = arguments[i];
            switch (argument.vt) {
            case VT_BYREF | VT_ARRAY | VT_UI1:
            case VT_BYREF | VT_ARRAY | VT_R8:
                arrays[i] = given[array++];
                argument.pparray = &arrays[i];
                break;
            case VT_BYREF | VT_R8:
                argument.pdblVal = &reals[i];
                break;
            case VT_BYREF | VT_I4:
                argument.plVal = &numbers[i];
                break;
            case VT_BYREF | VT_VARIANT:
                variants[i].vt = VT_I4;
                argument.pvarVal = &variants[i];
                break;
            case VT_BYREF | VT_DISPATCH:
                argument.ppdispVal = &objects[i];
                break;
            default:
                break;
            }
        }
        DISPPARAMS params{arguments, nullptr, static_cast<UINT>(count), 0};
        VARIANT result{};
        EXCEPINFO exception{};
        UINT bad = 0;
        aObject->Invoke(aId, IID_NULL, aLcid, aFlags, &params, aWithResult ? &result : nullptr,
                        &exception, &bad);
        VariantClear(&result);
        for (std::size_t i = 0; i < count; ++i) {
            if (arrays[i] != nullptr &&
                std::find(given.begin(), given.end(), arrays[i]) == given.end()) {
                SafeArrayDestroy(arrays[i]);
            }
            if (objects[i] != nullptr) {
                objects[i]->Release();
            }
        }
    }

    std::vector<VARIANT> values;
    std::vector<SAFEARRAY*> given; //!< arrays that went in; not freed before the program ends
};

} // namespace

HRESULT STDMETHODCALLTYPE Recorder::Watched::Invoke(DISPID aId, REFIID aIid, LCID aLcid,
                                                    WORD aFlags, DISPPARAMS* aParams,
                                                    VARIANT* aResult, EXCEPINFO* aException,
                                                    UINT* aArgumentError)
{
    const IDispatchPtr inner = mInner;
    const Arguments arguments(*aParams);
    const bool withResult = aResult != nullptr;
    mRecorder.mCalls.emplace_back([inner, arguments, aId, aLcid, aFlags, withResult] {
        arguments.Call(inner.GetInterfacePtr(), aId, aLcid, aFlags, withResult);
    });
    const HRESULT hr = inner->Invoke(aId, aIid, aLcid, aFlags, aParams, aResult, aException,
                                     aArgumentError);
    const auto watch = [this](IDispatch*& object) {
        if (object != nullptr) {
            IDispatch* const old = object;
            object = mRecorder.Watch(old).Detach();
            old->Release();
        }
    };
    if (SUCCEEDED(hr) && withResult && aResult->vt == VT_DISPATCH) {
        watch(aResult->pdispVal);
    }
    for (UINT i = 0; SUCCEEDED(hr) && i < aParams->cArgs; ++i) {
        if (aParams->rgvarg[i].vt == (VT_BYREF | VT_DISPATCH)) {
            watch(*aParams->rgvarg[i].ppdispVal);
        }
    }
    return hr;
}

Recorder::Recorder() = default;
Recorder::~Recorder() = default;

IDispatchPtr Recorder::Watch(IDispatch* aObject)
{
    IUnknown* identity = nullptr;
    aObject->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&identity));
    std::unique_ptr<Watched>& watched = mObjects[identity];
    if (!watched) {
        watched = std::make_unique<Watched>(*this, aObject);
    }
    identity->Release(); // held by the object that watches it
    return IDispatchPtr(static_cast<IDispatch*>(watched.get()));
}

void Recorder::Replay() const
{
    for (const std::function<void()>& call : mCalls) {
        call();
    }
}

void Recorder::Forget()
{
    mCalls.clear();
    mObjects.clear();
}

} // namespace bench
