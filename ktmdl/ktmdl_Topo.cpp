// One source for the whole class: log lines name the source file of the class that reports.

#include "ktmdl/ktmdl_Topo.h"

#include "ktmdl/ktmdl_Diag_detail.h"
#include "ktmdl/ktmdl_Host.h"
#include "ktmdl/ktmdl_HostCall_detail.h"
#include "ktmdl/ktmdl_Record_detail.h"
#include "ktmdl/ktmdl_TopoMap.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_ComTools.h"
#include "ktstd/ktstd_Debug.h"
#include "ktstd/ktstd_FailureText_detail.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_Session.h"
#include "ktstd/ktstd_fail.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

using ktmdl_detail::ByRef;
using ktmdl_detail::Call;
using ktmdl_detail::FetchObject;
using ktmdl_detail::GetBool;
using ktmdl_detail::GetLong;
using ktmdl_detail::HostArray;
using ktmdl_detail::In;
using ktmdl_detail::IsNull;
using ktmdl_detail::IsSameComObject;
using ktmdl_detail::ItemOf;
using ktmdl_detail::MemberId;
using ktmdl_detail::Missing;

//! What differs between the lists of edges and of faces.
struct ktmdl_Topo::ChildGroup
{
    const wchar_t* property;  //!< the host's collection
    const char* pointerName;  //!< its name in log lines
    int list;                 //!< element of mSubTopos
    unsigned char type;       //!< tplType of the children
    unsigned char countBit;   //!< change bit: number differs, or a child is new
    unsigned char alteredBit; //!< change bit: a child's box differs

    static const ChildGroup edges;
    static const ChildGroup faces;
};

//! The lists that HasChanged fills for one group.
struct ktmdl_Topo::ChangeLists
{
    Hnd_ktmdl_TopoHSeq& current;
    Hnd_ktmdl_TopoHSeq& gone;
    Hnd_ktmdl_TopoHSeq& fresh;
    Hnd_ktmdl_TopoHSeq& altered;
};

namespace {

constexpr char kClassName[] = "ktmdl_Topo";

// Values of ktmdl_Topo::tplType.
constexpr unsigned char kEdge = 2;
constexpr unsigned char kFirstFaceLike = 3;
constexpr unsigned char kFace = 5;
constexpr unsigned char kFirstBodyLike = 6;
constexpr unsigned char kLastType = 7;

// Elements of ktmdl_Topo::mSubTopos.
constexpr int kEdgeList = 0;
constexpr int kFaceList = 1;

bool isKnownType(unsigned char aType)
{
    return aType >= 1 && aType <= kLastType;
}
bool isFaceLike(unsigned char aType)
{
    return aType >= kFirstFaceLike && aType <= kFace;
}
//! @param aType  a known type
bool isBodyLike(unsigned char aType)
{
    return aType >= kFirstBodyLike;
}

//! The registry of the process.
ktmdl_TopoMap& registry() noexcept
{
    static ktmdl_TopoMap topos(1);
    return topos;
}

// Makes the registry when the library is loaded, and so clears it when the library is unloaded.
[[maybe_unused]] const ktmdl_TopoMap& registryAtLoad = registry();

//! Lists the registered references, so that the registry may change while they are worked on.
void listRegistered(ktmdl_TopoSeq& aTopos)
{
    for (ktmdl_MapIteratorOfTopoMap it(registry()); it.More(); it.Next()) {
        aTopos.Append(it.Key());
    }
}

//! A key copied out of an array.
class KeyBytes
{
public:
    //! @throws _com_error  the array does not hold that many bytes
    KeyBytes(long aSize, SAFEARRAY* aKey)
    {
        // Memory only for what the array can hold; the copy refuses the rest before it writes.
        if (aSize > static_cast<long>(sizeof(mShort)) && aSize <= ktmdl_detail::ArrayLength(aKey)) {
            mLong.reset(new unsigned char[static_cast<std::size_t>(aSize)]);
            mData = mLong.get();
        }
        const long code = GetValuesFromSafeArray(aKey, aSize, mData);
        if (code < 0) {
            _com_issue_error(static_cast<HRESULT>(code));
        }
    }
    KeyBytes(const KeyBytes&) = delete;
    KeyBytes& operator=(const KeyBytes&) = delete;
    ~KeyBytes() = default;

    [[nodiscard]] const unsigned char* Data() const noexcept { return mData; }

private:
    unsigned char mShort[64]{}; //!< most keys are short
    std::unique_ptr<unsigned char[]> mLong;
    unsigned char* mData{mShort};
};

//! Copies the bytes of a key; gives null when there are none.
std::unique_ptr<unsigned char[]> copyOf(long aSize, const unsigned char* aKey)
{
    std::unique_ptr<unsigned char[]> copy;
    if (aSize > 0) {
        copy.reset(new unsigned char[static_cast<std::size_t>(aSize)]);
        std::copy_n(aKey, aSize, copy.get());
    }
    return copy;
}

//! Asks a host object for its reference key.
//! @param aKey  receives the key
//! @return      the key's size in bytes, as the host says
//! @throws _com_error  the object has no key or fails
long referenceKey(IDispatch* aObject, HostArray& aKey)
{
    const DISPID member = MemberId(aObject, L"GetReferenceKey");
    _variant_t size;
    size.vt = VT_I4;
    size.lVal = 0;
    aKey.Destroy();
    Call(aObject, member, {aKey.ByRef(), ByRef(size)});
    if (size.vt != VT_I4) {
        const HRESULT hr = VariantChangeType(&size, &size, 0, VT_I4);
        if (FAILED(hr)) {
            _com_issue_error(hr);
        }
    }
    return size.lVal;
}

//! Reads a name of a document.
//! @throws _com_error  the property can't be read (logged)
void readName(const IDispatchPtr& aDocument, const wchar_t* aProperty, ktstd_AsciiString& aName)
{
    KTMDL_CHECK_RESULT(ComGetProperty(aDocument.GetInterfacePtr(), aProperty, aName));
}

//! Reads the full name of a document and lets the session adjust it.
void readFullName(const IDispatchPtr& aDocument, const Hnd_ktstd_Session& aSession,
                  ktstd_AsciiString& aName)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): adjusting may end the session
    const Hnd_ktstd_Session session = aSession;
    ktstd_AsciiString name; // so that no name is kept that the session could not adjust
    readName(aDocument, L"FullName", name);
    session->AdjustDocumentName(name);
    aName = std::move(name);
}

#if defined(__SSE2__)

//! Gives the hashes of two runs of 8 bytes, in the low 32 bits of each half. Neighbours are put
//! together twice: bytes to 16 bits, those to 32; no sum outgrows its bits.
__m128i hashOfEights(__m128i aBytes) noexcept
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i fiveOne = _mm_set1_epi32(0x00010005);
    const __m128i fiveTo2One = _mm_set1_epi32(0x00010019);
    const __m128i fiveTo4 = _mm_set1_epi64x(625);
    const __m128i pairs = _mm_packs_epi32(_mm_madd_epi16(_mm_unpacklo_epi8(aBytes, zero), fiveOne),
                                          _mm_madd_epi16(_mm_unpackhi_epi8(aBytes, zero), fiveOne));
    const __m128i fours = _mm_madd_epi16(pairs, fiveTo2One);
    return _mm_add_epi32(_mm_mul_epu32(fours, fiveTo4), _mm_srli_epi64(fours, 32));
}

//! Hashes the key's whole runs of 8 bytes, two at a time: two halves of the hash are kept side by
//! side.
//! @param aSize  receives the number of bytes that are left behind them
std::uint32_t hashOfRuns(long& aSize, const unsigned char*& aKey) noexcept
{
    constexpr std::uint32_t kFiveTo8 = 390625;
    constexpr std::uint32_t kFiveTo16 = kFiveTo8 * kFiveTo8; // modulo 2^32, as the hash
    const __m128i fiveTo16 = _mm_set1_epi64x(kFiveTo16);
    __m128i halves = _mm_setzero_si128();
    if (aSize >= 8 && (aSize & 8) != 0) {
        // An odd run goes first, behind zeros: they leave a hash at 0.
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(aKey));
        halves = hashOfEights(_mm_slli_si128(bytes, 8));
        aSize -= 8;
        aKey += 8;
    }
    for (; aSize >= 16; aSize -= 16, aKey += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(aKey));
        const __m128i before = _mm_mul_epu32(halves, fiveTo16);
        halves = _mm_add_epi32(before, hashOfEights(bytes));
    }
    const auto first = static_cast<std::uint32_t>(_mm_cvtsi128_si32(halves));
    const auto second =
        static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_unpackhi_epi64(halves, halves)));
    return first * kFiveTo8 + second;
}

#else

std::uint32_t hashOfRuns(long&, const unsigned char*&) noexcept
{
    return 0;
}

#endif

//! Fills an empty name for DisconnectDocument and ReconnectDocument.
void fillGivenName(const IDispatchPtr& aDocument, ktstd_AsciiString& aName)
{
    const Hnd_ktstd_Session& session = ktstd_Session::CurSession();
    // On purpose: without a session the name stays empty, "Name" is not read here.
    // Pinned by DisconnectDocumentWithoutNameAndSessionKeepsTheNameEmpty.
    if (aName.IsEmpty() != 0 && session.IsNull() == 0) {
        readFullName(aDocument, session, aName);
    }
}

ktmdl_BBox3d defaultBox()
{
    // On purpose: what is compared with a cached box is the box of no object, the default box, so
    // that every real cached box counts as changed. Pinned by
    // HasChangedGivesTheDefaultBoxWhateverTheObjectsRange.
    return ktmdl_Topo::BuildBBox(IDispatchPtr());
}

Hnd_ktstd_Transient makeTopo()
{
    return Hnd_ktmdl_Topo(new ktmdl_Topo());
}
const ktstd_SchemaEntry schemaEntry(kClassName, 0, makeTopo);
ktmdl_detail::RecordClass recordClass{kClassName};

} // namespace

KTSTD_DEFINE_TYPE(ktmdl_Topo, ktstd_TShared)

const ktmdl_Topo::ChildGroup ktmdl_Topo::ChildGroup::edges{L"Edges", "pEdges", kEdgeList,
                                                           kEdge,    2,        4};
const ktmdl_Topo::ChildGroup ktmdl_Topo::ChildGroup::faces{L"Faces", "pFaces", kFaceList,
                                                           kFace,    8,        16};

// ---------------------------------------------------------------------------------------------
// Keys and registry

ktmdl_Topo::ktmdl_Topo() = default;

ktmdl_Topo::ktmdl_Topo(long aSize, const unsigned char* aKey)
{
    if (aKey != nullptr) {
        setKey(aSize, aKey);
    }
}

ktmdl_Topo::ktmdl_Topo(long aSize, SAFEARRAY* aKey)
{
    if (aSize >= 1) {
        setKey(aSize, KeyBytes(aSize, aKey).Data());
    }
}

ktmdl_Topo::~ktmdl_Topo()
{
    delete[] mKey;
}

//! Replaces the key by a copy of the given bytes.
void ktmdl_Topo::setKey(long aSize, const unsigned char* aKey)
{
    takeKey(aSize, copyOf(aSize, aKey));
}

//! Replaces the key.
void ktmdl_Topo::takeKey(long aSize, std::unique_ptr<unsigned char[]> aKey) noexcept
{
    ktmdl_TopoMap::Rekey(*this);
    delete[] mKey;
    mKey = aKey.release();
    // On purpose: only the low 16 bits of the length are kept; the host's keys are far shorter.
    // Pinned by ConstructorFromBytesKeepsTheLowSixteenBitsOfTheSize.
    mKeySize = static_cast<std::int16_t>(static_cast<std::uint16_t>(aSize));
}

Hnd_ktmdl_Topo ktmdl_Topo::New(long aSize, SAFEARRAY* aKey)
{
    unsigned char isNew = 0;
    return New(aSize, aKey, isNew);
}

Hnd_ktmdl_Topo ktmdl_Topo::New(long aSize, SAFEARRAY* aKey, unsigned char& aIsNew)
{
    aIsNew = 0;
    const KeyBytes key(aSize, aKey);
    Hnd_ktmdl_Topo topo = registry().FindByKey(aSize, key.Data());
    if (topo.IsNull() != 0) {
        topo = Hnd_ktmdl_Topo(new ktmdl_Topo(aSize, key.Data()));
        registry().Add(topo);
        aIsNew = 1;
    }
    return topo;
}

Hnd_ktmdl_Topo ktmdl_Topo::New(const IDispatchPtr& aObject)
{
    unsigned char isNew = 0;
    return New(aObject, isNew);
}

Hnd_ktmdl_Topo ktmdl_Topo::New(const IDispatchPtr& aObject, unsigned char& aIsNew)
{
    aIsNew = 0;
    HostArray key(VT_UI1);
    const long size = referenceKey(aObject.GetInterfacePtr(), key);
    Hnd_ktmdl_Topo topo = New(size, key.Get(), aIsNew);
    key.Destroy();
    topo->mDispTopo = aObject;
    return topo;
}

unsigned int ktmdl_Topo::HashKey(long aSize, const unsigned char* aKey) noexcept
{
    std::uint32_t hash = hashOfRuns(aSize, aKey);
    for (; aSize > 0; --aSize, ++aKey) {
        hash = hash * 5U + *aKey;
    }
    return hash;
}

unsigned char ktmdl_Topo::RemoveFromMap(const Hnd_ktmdl_Topo& aTopo)
{
    return registry().Remove(aTopo);
}

void ktmdl_Topo::ClearAllTopos()
{
    registry().Clear();
}

void ktmdl_Topo::ClearUnusedToposOnly()
{
    registry().RemoveUnused();
}

void ktmdl_Topo::BindAllToposInMap()
{
    try {
        ktmdl_TopoSeq topos;
        listRegistered(topos);
        for (long i = 1; i <= topos.Length(); ++i) {
            topos.ChangeValue(i)->UpdateReferenceKey();
        }
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl_Topo::BindAllToposInMap");
    } catch (const Hnd_ktstd_fail_Failure& failure) {
        KTMDL_REPORT_FAILURE(failure, "ktmdl_Topo::BindAllToposInMap");
    }
}

void ktmdl_Topo::UpdateReferenceKey()
{
    if (IsNull(mDispTopo)) {
        return;
    }
    const Hnd_ktmdl_Topo self(this);
    try {
        HostArray array(VT_UI1);
        const IDispatchPtr pTopo = mDispTopo; // lives through the call, whatever the host does
        const long size = referenceKey(pTopo.GetInterfacePtr(), array);
        std::unique_ptr<unsigned char[]> key;
        try {
            key = copyOf(size, KeyBytes(size, array.Get()).Data());
        } catch (const _com_error&) {
            // On purpose: not registered any more. Pinned by
            // UpdateReferenceKeyThatCantCopyTheKeyLeavesTheReferenceUnregistered.
            registry().Remove(self);
            throw;
        }
        // From here on a registered reference needs no memory, so that it can't get lost.
        ktstd_MapNode* const node = registry().Take(self);
        takeKey(size, std::move(key));
        // On purpose: whoever has this key already stays beside this reference; nothing is merged.
        // Pinned by UpdateReferenceKeyRegistersBesideAnotherOfTheSameKey.
        if (node != nullptr) {
            registry().PutBack(node);
        } else {
            registry().Add(self);
        }
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl_Topo::UpdateReferenceKey");
    }
}

// ---------------------------------------------------------------------------------------------
// Documents

//! Fills the document name from the document.
//! @throws _com_error  the property can't be read (logged)
void ktmdl_Topo::fillDocName()
{
    const Hnd_ktstd_Session& session = ktstd_Session::CurSession();
    if (session.IsNull() != 0) {
        readName(mDispDoc, L"Name", mDocName);
    } else {
        readFullName(mDispDoc, session, mDocName);
    }
}

long ktmdl_Topo::UpdateDispatch()
{
    if (IsNull(mDispDoc)) {
        return -1;
    }
    if (mDocName.IsEmpty() != 0) {
        fillDocName();
    }
    return mDocName.IsEmpty() != 0 ? -1 : UpdateDocDispatches(mDispDoc, mDocName);
}

long ktmdl_Topo::UpdateDocDispatches(const IDispatchPtr& aDocument, ktstd_AsciiString& aName)
{
    try {
        if (mDocName.IsEmpty() == 0) {
            if (mDocName.IsDifferent(aName) != 0) {
                return 0;
            }
        } else if (IsNull(mDispDoc)) {
            return 1;
        } else if (!IsSameComObject(mDispDoc, aDocument)) {
            return 0;
        }
        if (!isKnownType(tplType)) {
            return -1;
        }
        // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): may be this reference's own
        const IDispatchPtr document = aDocument;
        mDispDoc = document;
        mDocName.Copy(aName);
        bindIn(document);
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl_Topo::UpdateDocDispatches");
    }
    return 0;
}

//! Asks a document for the live object behind the key.
//! @throws _com_error  there is none; the reference is unbound then
void ktmdl_Topo::bindIn(const IDispatchPtr& aDocument)
{
    HostArray key(VT_UI1);
    const long packed = PutValuesInSafeArray(mKeySize, mKey, key.Receive());
    if (packed < 0) {
        mDispTopo = nullptr;
    }
    KTMDL_CHECK_RESULT(packed);
    long member = 0;
    const long found = ComGetIdFromName(aDocument.GetInterfacePtr(), L"BindKeyToObject", member);
    mDispTopo = nullptr;
    if (found < 0) {
        _com_issue_error(static_cast<HRESULT>(found));
    }
    IDispatch* pObject = nullptr;
    IErrorInfo* pInfo = nullptr;
    const HRESULT hr =
        ktmdl_detail::TryInvoke(aDocument.GetInterfacePtr(), static_cast<DISPID>(member),
                                DISPATCH_METHOD, {key.ByRef(), ByRef(pObject)}, nullptr, &pInfo);
    IDispatchPtr pBound;
    pBound.Attach(pObject);
    key.Destroy();
    ktmdl_detail::ComCheckResult(hr, pInfo, __FILE__, __LINE__);
    mDispTopo = pBound;
    KTMDL_CHECK_POINTER(mDispTopo, "mDispTopo");
}

long ktmdl_Topo::DisconnectDocument(const IDispatchPtr& aDocument, ktstd_AsciiString& aName)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): may be a reference's own
    const IDispatchPtr document = aDocument;
    fillGivenName(document, aName);
    ktmdl_TopoSeq topos;
    listRegistered(topos);
    for (long i = 1; i <= topos.Length(); ++i) {
        topos.ChangeValue(i)->disconnectFrom(document, aName);
    }
    return 0;
}

void ktmdl_Topo::disconnectFrom(const IDispatchPtr& aDocument, const ktstd_AsciiString& aName)
{
    if (!IsNull(mDispTopo)) {
        if (IsNull(mDispDoc) || !isKnownType(tplType) || !IsSameComObject(mDispDoc, aDocument)) {
            return;
        }
        mDispTopo = nullptr;
    }
    if (mDocName.IsEmpty() != 0) {
        mDocName.Copy(aName);
    }
    // On purpose: an unbound reference loses its document whichever it was.
    // Pinned by DisconnectDocumentTakesEveryUnboundReferencesDocument.
    mDispDoc = nullptr;
}

long ktmdl_Topo::ReconnectDocument(const IDispatchPtr& aDocument, ktstd_AsciiString& aName)
{
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): may be a reference's own
    const IDispatchPtr document = aDocument;
    fillGivenName(document, aName);
    ktmdl_TopoSeq topos;
    listRegistered(topos);
    for (long i = 1; i <= topos.Length(); ++i) {
        topos.ChangeValue(i)->UpdateDocDispatches(document, aName);
    }
    return 0;
}

long ktmdl_Topo::ConvertVersion(long /*aVersion*/) noexcept
{
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Children

namespace {

LONG countOf(const IDispatchPtr& aCollection)
{
    return GetLong(aCollection.GetInterfacePtr(), ktmdl_host::Collection::Count);
}

} // namespace

//! Reads a collection of the live object.
//! @throws _com_error  it can't be read; E_POINTER (logged) when the host gives none
IDispatchPtr ktmdl_Topo::childCollection(const ChildGroup& aGroup) const
{
    const IDispatchPtr pTopo = mDispTopo; // lives through the calls, whatever the host does
    IDispatchPtr pItems = FetchObject(pTopo, MemberId(pTopo, aGroup.property), DISPATCH_PROPERTYGET,
                                      {In(ktmdl_host::igQueryAll)});
    KTMDL_CHECK_POINTER(pItems, aGroup.pointerName);
    return pItems;
}

//! Gives the reference of a child, bound to it and marked as a child of this reference.
Hnd_ktmdl_Topo ktmdl_Topo::adoptChild(const ChildGroup& aGroup, const IDispatchPtr& aItem) const
{
    Hnd_ktmdl_Topo child = New(aItem);
    child->tplType = aGroup.type;
    child->mIsSubTopo = 1;
    child->mDispDoc = mDispDoc;
    return child;
}

Hnd_ktmdl_TopoHSeq ktmdl_Topo::buildChildren(const ChildGroup& aGroup) const
{
    const IDispatchPtr pItems = childCollection(aGroup);
    const LONG count = countOf(pItems);
    Hnd_ktmdl_TopoHSeq children(new ktmdl_TopoHSeq());
    for (LONG i = 1; i <= count; ++i) {
        const IDispatchPtr pItem = ItemOf(pItems, i);
        const Hnd_ktmdl_Topo child = adoptChild(aGroup, pItem);
        child->mBBox = BuildBBox(pItem);
        children->Append(child);
    }
    return children;
}

long ktmdl_Topo::BuildPersistentData()
{
    mBBox = BuildBBox(mDispTopo);
    mSubTopos[kEdgeList].Nullify();
    mSubTopos[kFaceList].Nullify();
    if (!isKnownType(tplType)) {
        return -1;
    }
    if (isBodyLike(tplType)) {
        mSubTopos[kFaceList] = buildChildren(ChildGroup::faces);
    }
    if (isBodyLike(tplType) || isFaceLike(tplType)) {
        mSubTopos[kEdgeList] = buildChildren(ChildGroup::edges);
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Geometry

ktmdl_BBox3d ktmdl_Topo::BuildBBox(const IDispatchPtr& aObject)
{
    ktmdl_BBox3d box;
    long member = 0;
    if (IsNull(aObject) ||
        ComGetIdFromName(aObject.GetInterfacePtr(), L"GetExactRange", member) < 0) {
        return box;
    }
    try {
        HostArray low(VT_R8);
        HostArray high(VT_R8);
        Call(aObject.GetInterfacePtr(), static_cast<DISPID>(member), {low.ByRef(), high.ByRef()});
        double min[3];
        double max[3];
        if (GetValuesFromSafeArray(low.Get(), 3, min) >= 0 &&
            GetValuesFromSafeArray(high.Get(), 3, max) >= 0) {
            box = ktmdl_BBox3d(ktmdl_Pnt3d(min), ktmdl_Pnt3d(max));
        }
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl_Topo::BuildBBox");
    }
    return box;
}

namespace {

//! Splits a face more and more finely until it has facets.
//! @param aPoints  receives the facets' corners
//! @return         number of facets; 0 or less when the face has none at any tolerance
LONG facetsOf(const ktmdl_host::FacePtr& aFace, HostArray& aPoints)
{
    LONG count = 0;
    double tolerance = 0.05;
    do {
        aPoints.Destroy();
        Call(aFace.GetInterfacePtr(), ktmdl_host::Face::GetFacetData,
             {In(tolerance), ByRef(count), aPoints.ByRef(), Missing(), Missing()});
        tolerance /= 10.0;
    } while (count == 0 && tolerance > 1e-06);
    return count;
}

//! Gives the outward normal of a face at a point of it, as the host has it.
void normalAt(const ktmdl_host::FacePtr& aFace, const double (&aPoint)[3], double (&aNormal)[3])
{
    HostArray points(VT_R8);
    KTMDL_CHECK_RESULT(PutValuesInSafeArray(3, aPoint, points.Receive()));
    HostArray guesses(VT_R8);
    HostArray deviations(VT_R8);
    HostArray params(VT_R8);
    HostArray flags(VT_I4);
    Call(aFace.GetInterfacePtr(), ktmdl_host::Face::GetParamAtPoint,
         {In(LONG{1}), points.ByRef(), guesses.ByRef(), deviations.ByRef(), params.ByRef(),
          flags.ByRef()});
    HostArray normals(VT_R8);
    Call(aFace.GetInterfacePtr(), ktmdl_host::Face::GetNormal,
         {In(LONG{1}), params.ByRef(), normals.ByRef()});
    KTMDL_CHECK_RESULT(GetValuesFromSafeArray(normals.Get(), 3, aNormal));
}

} // namespace

ktmdl_Vec3d ktmdl_Topo::BuildNormal() const
{
    ktmdl_Vec3d normal;
    try {
        const ktmdl_host::FacePtr pFace(mDispTopo);
        KTMDL_CHECK_POINTER(pFace, "pFace");
        HostArray points(VT_R8);
        const LONG count = facetsOf(pFace, points);
        if (count < 1) {
            return normal;
        }
        // On purpose: a corner a little past the middle, away from the face's first facets.
        // Pinned by BuildNormalTakesAPointALittlePastTheMiddle.
        const long long skip = count > 1 ? 3 * static_cast<long long>(0.55 * count) : 0;
        double point[3];
        KTMDL_CHECK_RESULT(points.GetTriple(skip, point));
        double direction[3];
        normalAt(pFace, point, direction);
        normal.Set(direction[0], direction[1], direction[2]);
        normal.Normalize();
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl_Topo::BuildNormal");
    } catch (const Hnd_ktstd_fail_DivideByZero& failure) {
        KTMDL_REPORT_FAILURE(failure, "ktmdl_Topo::BuildNormal");
    }
    return normal;
}

unsigned char ktmdl_Topo::IsClosed() const
{
    if (tplType != kEdge) {
        return 0;
    }
    try {
        const ktmdl_host::EdgePtr pE(mDispTopo);
        KTMDL_CHECK_POINTER(pE, "pE");
        // On purpose: closed is VARIANT_TRUE only, any other value counts as open.
        // Pinned by IsClosedCountsNoOtherTruthThanVariantTrue.
        return GetBool(pE.GetInterfacePtr(), ktmdl_host::Edge::IsClosed) == VARIANT_TRUE ? 1 : 0;
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ktmdl_Topo::IsClosed");
    }
    return 0;
}

// ---------------------------------------------------------------------------------------------
// Changes

unsigned char ktmdl_Topo::HasChanged(unsigned char aQuick, ktmdl_BBox3d& aBox,
                                     Hnd_ktmdl_TopoHSeq& aEdges, Hnd_ktmdl_TopoHSeq& aGoneEdges,
                                     Hnd_ktmdl_TopoHSeq& aNewEdges,
                                     Hnd_ktmdl_TopoHSeq& aAlteredEdges, Hnd_ktmdl_TopoHSeq& aFaces,
                                     Hnd_ktmdl_TopoHSeq& aGoneFaces, Hnd_ktmdl_TopoHSeq& aNewFaces,
                                     Hnd_ktmdl_TopoHSeq& aAlteredFaces)
{
    constexpr unsigned char kBoxBit = 1;
    unsigned char bits = 0;
    const ktmdl_BBox3d fresh = defaultBox();
    if (fresh.IsEqual(mBBox) == 0) {
        bits = kBoxBit;
    }
    aBox = fresh;
    if (bits != 0 && aQuick != 0) {
        return bits;
    }
    if (!isKnownType(tplType)) {
        ktstd_detail::FailureText text;
        // On purpose: nothing separates the function's name from the text behind it.
        // Pinned by HasChangedOfAnUnknownTypeIsAFailure.
        text << "ktmdl_Topo::HasChanged"
             << "BAD tplType: " << static_cast<int>(tplType) << std::ends;
        ktstd_fail_ProgramError::Raise(text);
    }
    // On purpose: a face is compared by its edges, a body by its faces only.
    // Pinned by HasChangedOfABodyAsksForFacesOnly.
    if (isFaceLike(tplType)) {
        bits |= compareChildren(ChildGroup::edges, aQuick != 0,
                                {aEdges, aGoneEdges, aNewEdges, aAlteredEdges});
    } else if (isBodyLike(tplType)) {
        bits |= compareChildren(ChildGroup::faces, aQuick != 0,
                                {aFaces, aGoneFaces, aNewFaces, aAlteredFaces});
    }
    return bits;
}

namespace {

//! The references of a cached list, to find those that the host still has. It mostly has them in
//! the same order, so that none is searched for.
class CachedChildren
{
public:
    //! @param aList  may be null, and hold null references, as one from an archive may
    explicit CachedChildren(const Hnd_ktmdl_TopoHSeq& aList)
    {
        const long count = aList.IsNull() != 0 ? 0 : aList->Length();
        mChildren.reserve(static_cast<std::size_t>(count));
        mSeen.reserve(static_cast<std::size_t>(count));
        for (long i = 1; i <= count; ++i) {
            mChildren.push_back(aList->Value(i));
        }
    }

    //! Tells whether a child of the host is one of them, and notes that it is there.
    bool See(const Hnd_ktmdl_Topo& aChild)
    {
        if (mNext >= mChildren.size() || mChildren[mNext] != aChild) {
            const std::size_t place = Find(aChild);
            if (place == mChildren.size()) {
                return false;
            }
            mNext = place;
        }
        ++mNext;
        mSeen.push_back(&*aChild);
        return true;
    }
    //! Tells whether one of them was seen. Call it when all were.
    bool WasSeen(const Hnd_ktmdl_Topo& aChild)
    {
        if (!mIsSeenSorted) {
            std::sort(mSeen.begin(), mSeen.end(), std::less<>());
            mIsSeenSorted = true;
        }
        return std::binary_search(mSeen.begin(), mSeen.end(), &*aChild, std::less<>());
    }

private:
    //! Gives the first place of a child; the number of all when it has none.
    std::size_t Find(const Hnd_ktmdl_Topo& aChild)
    {
        if (mPlaces.empty()) {
            for (std::size_t i = 0; i < mChildren.size(); ++i) {
                if (mChildren[i].IsNull() == 0) {
                    mPlaces.emplace_back(&*mChildren[i], i);
                }
            }
            std::sort(mPlaces.begin(), mPlaces.end());
        }
        const auto found =
            std::lower_bound(mPlaces.begin(), mPlaces.end(), Place(&*aChild, std::size_t{0}));
        return found != mPlaces.end() && found->first == &*aChild ? found->second
                                                                  : mChildren.size();
    }

    using Place = std::pair<const ktmdl_Topo*, std::size_t>;

    std::vector<Hnd_ktmdl_Topo> mChildren;
    std::vector<const ktmdl_Topo*> mSeen;
    std::vector<Place> mPlaces; //!< by address, made when a search is needed
    std::size_t mNext{0};       //!< where the next child is expected
    bool mIsSeenSorted{false};
};

} // namespace

//! Compares one cached list with the host's collection; gives the group's change bits.
unsigned char ktmdl_Topo::compareChildren(const ChildGroup& aGroup, bool aQuick,
                                          const ChangeLists& aLists) const
{
    const IDispatchPtr pItems = childCollection(aGroup);
    const LONG count = countOf(pItems);
    const Hnd_ktmdl_TopoHSeq cached = mSubTopos[aGroup.list];
    const long cachedCount = cached.IsNull() != 0 ? 0 : cached->Length();
    unsigned char bits = 0;
    if (count != cachedCount) {
        bits |= aGroup.countBit;
        if (aQuick) {
            return bits;
        }
    }

    CachedChildren old(cached);
    aLists.current = new ktmdl_TopoHSeq();
    aLists.gone = new ktmdl_TopoHSeq();
    aLists.fresh = new ktmdl_TopoHSeq();
    aLists.altered = new ktmdl_TopoHSeq();

    const ktmdl_BBox3d fresh = defaultBox();
    for (LONG i = 1; i <= count; ++i) {
        const Hnd_ktmdl_Topo child = adoptChild(aGroup, ItemOf(pItems, i));
        unsigned char difference = 0;
        if (old.See(child)) {
            if (child->mBBox.mMin.IsEqual(child->mBBox.mMax, 0.0) != 0) {
                child->mBBox = BuildBBox(child->mDispTopo);
            }
            if (fresh.IsEqual(child->mBBox) == 0) {
                aLists.altered->Append(child);
                difference = aGroup.alteredBit;
            }
        } else {
            child->mBBox = BuildBBox(child->mDispTopo);
            aLists.fresh->Append(child);
            difference = aGroup.countBit;
        }
        bits |= difference;
        if (difference != 0 && aQuick) {
            return bits;
        }
        aLists.current->Append(child);
    }

    // Only when the numbers say that some child must be missing.
    const long long gone = static_cast<long long>(aLists.fresh->Length()) - count + cachedCount;
    if (gone >= 1) {
        for (long i = 1; i <= cachedCount; ++i) {
            const Hnd_ktmdl_Topo& child = cached->Value(i);
            if (child.IsNull() == 0 && !old.WasSeen(child)) {
                aLists.gone->Append(child);
            }
        }
    }
    return bits;
}

// ---------------------------------------------------------------------------------------------
// Archive and dump

void ktmdl_Topo::Serialize(ktstd_Archive& aArchive)
{
    ktstd_TShared::Serialize(aArchive);
    if (ktmdl_detail::BeginRecord(aArchive, recordClass)) {
        storeFields(aArchive);
    } else {
        loadFields(aArchive);
    }
    ktmdl_detail::EndRecord(aArchive, recordClass);
}

void ktmdl_Topo::storeFields(ktstd_Archive& aArchive)
{
    if (mKeySize < 0) {
        ktstd_fail_FileIO::Raise("ktmdl_Topo: the key is longer than 32767 bytes",
                                 ktstd_fail_FileIO::kValueOutOfRange);
    }
    aArchive << static_cast<unsigned short>(mKeySize);
    aArchive.Write(mKey, mKeySize);
    if (mDocName.IsEmpty() != 0 && !IsNull(mDispDoc)) {
        fillDocName();
    }
    aArchive << tplType;
    mBBox.Serialize(aArchive);
    aArchive << mIsSubTopo;
    aArchive << static_cast<const Hnd_ktstd_Transient&>(mSubTopos[kEdgeList]);
    aArchive << static_cast<const Hnd_ktstd_Transient&>(mSubTopos[kFaceList]);
    aArchive << mDocName;
}

void ktmdl_Topo::loadFields(ktstd_Archive& aArchive)
{
    unsigned short size = 0;
    aArchive >> size;
    if (size > std::numeric_limits<std::int16_t>::max()) {
        aArchive.RaiseDamaged("ktmdl_Topo: key longer than 32767 bytes");
    }
    std::unique_ptr<unsigned char[]> key;
    if (size != 0) {
        key.reset(new unsigned char[size]);
    }
    aArchive.Read(key.get(), size);
    takeKey(size, std::move(key));
    // On purpose: registered as soon as the key is known, without looking for another reference of
    // that key. Pinned by LoadingNeverMergesWithARegisteredReference.
    registry().Add(Hnd_ktmdl_Topo(this));
    mDispTopo = nullptr;
    aArchive >> tplType;
    mBBox.Serialize(aArchive);
    aArchive >> mIsSubTopo;
    aArchive >> mSubTopos[kEdgeList];
    aArchive >> mSubTopos[kFaceList];
    aArchive >> mDocName;
    mDispDoc = nullptr;
}

namespace {

//! Asks a live edge for what a dump once showed.
void askEdge(const IDispatchPtr& aObject)
{
    const ktmdl_host::EdgePtr pE(aObject);
    KTMDL_CHECK_POINTER(pE, "pE");
    IDispatch* pEdge = pE.GetInterfacePtr();
    static_cast<void>(GetBool(pEdge, ktmdl_host::Edge::IsParamReversed));
    double min = 0.0;
    double max = 0.0;
    Call(pEdge, ktmdl_host::Edge::GetParamExtents, {ByRef(min), ByRef(max)});
    const IDispatchPtr pGeom =
        FetchObject(pEdge, ktmdl_host::Edge::Geometry, DISPATCH_PROPERTYGET, {});
    KTMDL_CHECK_POINTER(pGeom, "pGeom");
    LONG type = 0;
    KTMDL_CHECK_RESULT(ComGetProperty(pGeom.GetInterfacePtr(), L"Type", VT_I4, &type));
}

} // namespace

void ShowVariable(const char* aName, const Hnd_ktmdl_Topo& aTopo)
{
    std::fstream& log = ktstd_Debug::LogPrint();
    const char* name = aName != nullptr ? aName : "";
    if (aTopo.IsNull() != 0) {
        log << "[Topo]: " << name << ": is NULL" << std::endl;
        return;
    }
    log << "[Topo]: " << name << ":" << std::endl;
    if (IsNull(aTopo->mDispTopo) || aTopo->tplType != kEdge) {
        return;
    }
    try {
        // On purpose: none of the answers is written. Pinned by
        // ShowVariableOfALiveEdgeAsksForItsParametersAndPrintsNone.
        askEdge(aTopo->mDispTopo);
    } catch (const _com_error& error) {
        KTMDL_REPORT_CAUGHT(error, "ShowVariable");
    }
}
