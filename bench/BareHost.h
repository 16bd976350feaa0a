//! @file
//! Host objects that do no more than a call needs, and a recorder of calls that makes them again.
#pragma once

#include "com/Com.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace bench {

//! An automation object that answers at once. It lives until its owner ends it, however it is held.
class BareObject : public IDispatch
{
public:
    BareObject() = default;
    BareObject(const BareObject&) = delete;
    BareObject& operator=(const BareObject&) = delete;
    virtual ~BareObject() = default;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID aIid, void** aObject) override;
    ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* aCount) override;
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT aIndex, LCID aLcid, ITypeInfo** aInfo) override;
    //! Numbers the members Faces, Edges, GetReferenceKey and GetExactRange.
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID aIid, LPOLESTR* aNames, UINT aCount, LCID aLcid,
                                            DISPID* aIds) override;
};

inline constexpr DISPID kFaces = 1001;
inline constexpr DISPID kEdges = 1002;
inline constexpr DISPID kGetReferenceKey = 1003;
inline constexpr DISPID kGetExactRange = 1004;

//! An edge between two points.
class BareEdge : public BareObject
{
public:
    BareEdge(const double (&aStart)[3], const double (&aEnd)[3]);

    HRESULT STDMETHODCALLTYPE Invoke(DISPID aId, REFIID aIid, LCID aLcid, WORD aFlags,
                                     DISPPARAMS* aParams, VARIANT* aResult, EXCEPINFO* aException,
                                     UINT* aArgumentError) override;

private:
    double mStart[3];
    double mEnd[3];
};

//! A face with a key and a range.
class BareFace : public BareObject
{
public:
    explicit BareFace(std::uint32_t aNumber) noexcept : mNumber(aNumber) {}

    HRESULT STDMETHODCALLTYPE Invoke(DISPID aId, REFIID aIid, LCID aLcid, WORD aFlags,
                                     DISPPARAMS* aParams, VARIANT* aResult, EXCEPINFO* aException,
                                     UINT* aArgumentError) override;

private:
    std::uint32_t mNumber;
};

//! A body with faces, at least one, and no edges; it is its own collection of faces.
class BareBody : public BareObject
{
public:
    explicit BareBody(long aFaces);

    HRESULT STDMETHODCALLTYPE Invoke(DISPID aId, REFIID aIid, LCID aLcid, WORD aFlags,
                                     DISPPARAMS* aParams, VARIANT* aResult, EXCEPINFO* aException,
                                     UINT* aArgumentError) override;

private:
    std::vector<std::unique_ptr<BareFace>> mFaces;
    std::unique_ptr<BareBody> mNoEdges; //!< an empty collection
};

//! Notes every call made to host objects that are reached through it, and makes the same calls
//! again without anything around them.
class Recorder
{
public:
    Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;
    ~Recorder();

    //! Gives an object that passes all calls on. Objects that it hands out do the same.
    IDispatchPtr Watch(IDispatch* aObject);
    //! Makes all calls again.
    void Replay() const;
    //! Lets go of all calls and objects.
    void Forget();

private:
    class Watched;
    friend class Watched;

    std::map<IUnknown*, std::unique_ptr<Watched>> mObjects;
    std::vector<std::function<void()>> mCalls;
};

} // namespace bench
