#include "com/ComSafeArray.h"

#include "com/ComCodes.h"
#include "com/ComCount.h"
#include "com/ComInterfaces.h"
#include "com/ComString.h"
#include "com/ComVariant.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

// The type of the elements stands before the descriptor, which callers see.
struct Block
{
    VARTYPE vt;
    SAFEARRAY array;
};

constexpr ULONG kMostLocks = 0xFFFF;
constexpr UINT kMostDims = 0xFFFF;

Block* blockOf(SAFEARRAY* array)
{
    void* const memory = array;
    void* const block = static_cast<char*>(memory) - offsetof(Block, array);
    return static_cast<Block*>(block);
}

ULONG elementSize(VARTYPE vt)
{
    switch (vt) {
    case VT_I1:
    case VT_UI1:
        return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return 2;
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_R4:
    case VT_ERROR:
        return 4;
    case VT_I8:
    case VT_UI8:
    case VT_R8:
    case VT_DATE:
    case VT_CY:
        return 8;
    case VT_BSTR:
    case VT_DISPATCH:
    case VT_UNKNOWN:
        return static_cast<ULONG>(sizeof(void*));
    case VT_VARIANT:
        return static_cast<ULONG>(sizeof(VARIANT));
    default:
        return 0;
    }
}

USHORT featuresOf(VARTYPE vt)
{
    switch (vt) {
    case VT_BSTR:
        return FADF_HAVEVARTYPE | FADF_BSTR;
    case VT_DISPATCH:
        return FADF_HAVEIID | FADF_DISPATCH;
    case VT_UNKNOWN:
        return FADF_HAVEIID | FADF_UNKNOWN;
    case VT_VARIANT:
        return FADF_HAVEVARTYPE | FADF_VARIANT;
    default:
        return FADF_HAVEVARTYPE;
    }
}

// Gives false when the elements take more than 32 bits can count.
bool dataSize(const SAFEARRAYBOUND* bounds, UINT dims, ULONG size, ULONG& bytes)
{
    std::uint64_t total = size;
    for (UINT i = 0; i < dims; ++i) {
        total *= bounds[i].cElements;
        if (total > std::numeric_limits<ULONG>::max()) {
            return false;
        }
    }
    bytes = static_cast<ULONG>(total);
    return true;
}

ULONG dataSize(const SAFEARRAY& array)
{
    ULONG bytes = 0;
    dataSize(array.rgsabound, array.cDims, array.cbElements, bytes);
    return bytes;
}

void* allocateData(ULONG bytes)
{
    return com_detail::mayAllocate() ? std::calloc(bytes == 0 ? 1 : bytes, 1) : nullptr;
}

SAFEARRAY* allocateDescriptor(VARTYPE vt, UINT dims)
{
    void* const memory = com_detail::mayAllocate()
                             ? std::calloc(1, sizeof(Block) + (dims - 1) * sizeof(SAFEARRAYBOUND))
                             : nullptr;
    if (memory == nullptr) {
        return nullptr;
    }
    Block* const block = static_cast<Block*>(memory);
    block->vt = vt;
    block->array.cDims = static_cast<USHORT>(dims);
    block->array.fFeatures = featuresOf(vt);
    block->array.cbElements = elementSize(vt);
    ++com_detail::liveArrayCount;
    return &block->array;
}

void freeDescriptor(SAFEARRAY* array)
{
    --com_detail::liveArrayCount;
    std::free(blockOf(array));
}

// Elements are read and written as bytes: one place holds pointers of several types.
template <typename Pointer>
Pointer loadPointer(const void* element)
{
    Pointer pointer = nullptr;
    std::memcpy(&pointer, element, sizeof(void*));
    return pointer;
}

void storePointer(void* element, const void* pointer)
{
    std::memcpy(element, &pointer, sizeof pointer);
}

bool isObject(VARTYPE vt)
{
    return vt == VT_DISPATCH || vt == VT_UNKNOWN;
}

void clearElement(VARTYPE vt, void* element)
{
    if (vt == VT_BSTR) {
        SysFreeString(loadPointer<BSTR>(element));
        storePointer(element, nullptr);
    } else if (vt == VT_VARIANT) {
        VariantClear(static_cast<VARIANT*>(element));
    } else if (isObject(vt) && loadPointer<IUnknown*>(element) != nullptr) {
        loadPointer<IUnknown*>(element)->Release();
        storePointer(element, nullptr);
    }
}

bool ownsSomething(VARTYPE vt)
{
    return vt == VT_BSTR || vt == VT_VARIANT || isObject(vt);
}

void clearElements(SAFEARRAY& array, ULONG from, ULONG to)
{
    if (!ownsSomething(blockOf(&array)->vt)) {
        return;
    }
    char* const data = static_cast<char*>(array.pvData);
    for (ULONG at = from; at < to; at += array.cbElements) {
        clearElement(blockOf(&array)->vt, data + at);
    }
}

HRESULT copyString(const void* from, void* to)
{
    const BSTR source = loadPointer<BSTR>(from);
    const void* const bytes = source;
    const BSTR copy = source == nullptr ? nullptr
                                        : SysAllocStringByteLen(static_cast<const char*>(bytes),
                                                                SysStringByteLen(source));
    storePointer(to, copy);
    return source != nullptr && copy == nullptr ? E_OUTOFMEMORY : S_OK;
}

// Makes `to`, raw memory, a copy of its own of `from`.
HRESULT copyElement(VARTYPE vt, ULONG size, const void* from, void* to)
{
    if (vt == VT_BSTR) {
        return copyString(from, to);
    }
    if (vt == VT_VARIANT) {
        VariantInit(static_cast<VARIANT*>(to));
        return VariantCopy(static_cast<VARIANT*>(to), static_cast<const VARIANT*>(from));
    }
    std::memcpy(to, from, size);
    if (isObject(vt) && loadPointer<IUnknown*>(to) != nullptr) {
        loadPointer<IUnknown*>(to)->AddRef();
    }
    return S_OK;
}

HRESULT locate(SAFEARRAY* array, const LONG* indices, void*& element)
{
    if (array == nullptr || indices == nullptr || array->pvData == nullptr) {
        return E_INVALIDARG;
    }
    std::uint64_t cell = 0;
    std::uint64_t stride = 1;
    for (UINT i = 0; i < array->cDims; ++i) {
        const SAFEARRAYBOUND& bound = array->rgsabound[array->cDims - 1 - i];
        const std::int64_t offset = std::int64_t{indices[i]} - bound.lLbound;
        if (offset < 0 || offset >= std::int64_t{bound.cElements}) {
            return DISP_E_BADINDEX;
        }
        cell += static_cast<std::uint64_t>(offset) * stride;
        stride *= bound.cElements;
    }
    element = static_cast<char*>(array->pvData) + cell * array->cbElements;
    return S_OK;
}

HRESULT findBound(SAFEARRAY* array, UINT dim, const LONG* result, SAFEARRAYBOUND& bound)
{
    if (array == nullptr || result == nullptr) {
        return E_INVALIDARG;
    }
    if (dim == 0 || dim > array->cDims) {
        return DISP_E_BADINDEX;
    }
    bound = array->rgsabound[array->cDims - dim];
    return S_OK;
}

} // namespace

SAFEARRAY* SafeArrayCreate(VARTYPE vt, UINT dims, SAFEARRAYBOUND* bounds) noexcept
{
    ULONG bytes = 0;
    if (bounds == nullptr || dims == 0 || dims > kMostDims || elementSize(vt) == 0 ||
        !dataSize(bounds, dims, elementSize(vt), bytes)) {
        return nullptr;
    }
    SAFEARRAY* const array = allocateDescriptor(vt, dims);
    if (array == nullptr) {
        return nullptr;
    }
    for (UINT i = 0; i < dims; ++i) {
        array->rgsabound[i] = bounds[dims - 1 - i];
    }
    array->pvData = allocateData(bytes);
    if (array->pvData == nullptr) {
        freeDescriptor(array);
        return nullptr;
    }
    return array;
}

SAFEARRAY* SafeArrayCreateVector(VARTYPE vt, LONG lowerBound, ULONG count) noexcept
{
    SAFEARRAYBOUND bound = {count, lowerBound};
    return SafeArrayCreate(vt, 1, &bound);
}

HRESULT SafeArrayDestroyData(SAFEARRAY* array) noexcept
{
    if (array == nullptr) {
        return E_INVALIDARG;
    }
    if (array->cLocks != 0) {
        return DISP_E_ARRAYISLOCKED;
    }
    if (array->pvData != nullptr) {
        clearElements(*array, 0, dataSize(*array));
        if ((array->fFeatures & FADF_STATIC) != 0) {
            std::memset(array->pvData, 0, dataSize(*array));
        } else {
            std::free(array->pvData);
            array->pvData = nullptr;
        }
    }
    return S_OK;
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept
{
    if (array == nullptr) {
        return S_OK;
    }
    const HRESULT hr = SafeArrayDestroyData(array);
    if (SUCCEEDED(hr)) {
        freeDescriptor(array);
    }
    return hr;
}

HRESULT SafeArrayLock(SAFEARRAY* array) noexcept
{
    if (array == nullptr) {
        return E_INVALIDARG;
    }
    if (array->cLocks >= kMostLocks) {
        return E_UNEXPECTED;
    }
    ++array->cLocks;
    return S_OK;
}

HRESULT SafeArrayUnlock(SAFEARRAY* array) noexcept
{
    if (array == nullptr) {
        return E_INVALIDARG;
    }
    if (array->cLocks == 0) {
        return E_UNEXPECTED;
    }
    --array->cLocks;
    return S_OK;
}

HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept
{
    if (array == nullptr || data == nullptr) {
        return E_INVALIDARG;
    }
    const HRESULT hr = SafeArrayLock(array);
    *data = SUCCEEDED(hr) ? array->pvData : nullptr;
    return hr;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept
{
    return SafeArrayUnlock(array);
}

UINT SafeArrayGetDim(SAFEARRAY* array) noexcept
{
    return array == nullptr ? 0 : array->cDims;
}

UINT SafeArrayGetElemsize(SAFEARRAY* array) noexcept
{
    return array == nullptr ? 0 : array->cbElements;
}

HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dim, LONG* bound) noexcept
{
    SAFEARRAYBOUND found = {};
    const HRESULT hr = findBound(array, dim, bound, found);
    if (SUCCEEDED(hr)) {
        *bound = found.lLbound;
    }
    return hr;
}

HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dim, LONG* bound) noexcept
{
    SAFEARRAYBOUND found = {};
    const HRESULT hr = findBound(array, dim, bound, found);
    if (SUCCEEDED(hr)) {
        // In unsigned numbers: a bound beyond LONG wraps instead of being undefined.
        *bound = static_cast<LONG>(static_cast<ULONG>(found.lLbound) + found.cElements - 1);
    }
    return hr;
}

HRESULT SafeArrayPtrOfIndex(SAFEARRAY* array, LONG* indices, void** element) noexcept
{
    return element == nullptr ? E_INVALIDARG : locate(array, indices, *element);
}

HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* indices, void* element) noexcept
{
    void* found = nullptr;
    const HRESULT hr = element == nullptr ? E_INVALIDARG : locate(array, indices, found);
    return FAILED(hr) ? hr : copyElement(blockOf(array)->vt, array->cbElements, found, element);
}

HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* indices, void* element) noexcept
{
    void* place = nullptr;
    HRESULT hr = locate(array, indices, place);
    if (FAILED(hr)) {
        return hr;
    }
    const VARTYPE vt = blockOf(array)->vt;
    const bool isPointer = vt == VT_BSTR || isObject(vt);
    if (element == nullptr && !isPointer) {
        return E_INVALIDARG;
    }
    // Copied first, so that an element put in its own place survives.
    alignas(VARIANT) unsigned char copy[sizeof(VARIANT)];
    hr = copyElement(vt, array->cbElements, isPointer ? &element : element, copy);
    if (SUCCEEDED(hr)) {
        clearElement(vt, place);
        std::memcpy(place, copy, array->cbElements);
    }
    return hr;
}

HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) noexcept
{
    if (copy == nullptr) {
        return E_INVALIDARG;
    }
    *copy = nullptr;
    if (array == nullptr) {
        return S_OK;
    }
    const VARTYPE vt = blockOf(array)->vt;
    SAFEARRAY* const fresh = allocateDescriptor(vt, array->cDims);
    if (fresh == nullptr) {
        return E_OUTOFMEMORY;
    }
    std::memcpy(fresh->rgsabound, array->rgsabound, array->cDims * sizeof(SAFEARRAYBOUND));
    HRESULT hr = S_OK;
    if (array->pvData != nullptr) {
        const ULONG bytes = dataSize(*array);
        fresh->pvData = allocateData(bytes);
        hr = fresh->pvData == nullptr ? E_OUTOFMEMORY : S_OK;
        for (ULONG at = 0; SUCCEEDED(hr) && at < bytes; at += array->cbElements) {
            hr = copyElement(vt, array->cbElements, static_cast<char*>(array->pvData) + at,
                             static_cast<char*>(fresh->pvData) + at);
        }
    }
    if (FAILED(hr)) {
        SafeArrayDestroy(fresh);
        return hr;
    }
    *copy = fresh;
    return S_OK;
}

HRESULT SafeArrayRedim(SAFEARRAY* array, SAFEARRAYBOUND* bound) noexcept
{
    if (array == nullptr || bound == nullptr || (array->fFeatures & FADF_FIXEDSIZE) != 0) {
        return E_INVALIDARG;
    }
    if (array->cLocks != 0) {
        return DISP_E_ARRAYISLOCKED;
    }
    // The rightmost dimension varies slowest, so the elements kept stay where they are.
    const SAFEARRAYBOUND before = array->rgsabound[0];
    const ULONG oldSize = array->pvData == nullptr ? 0 : dataSize(*array);
    ULONG newSize = 0;
    array->rgsabound[0] = *bound;
    if (!dataSize(array->rgsabound, array->cDims, array->cbElements, newSize)) {
        array->rgsabound[0] = before;
        return E_OUTOFMEMORY;
    }
    void* const fresh = allocateData(newSize);
    if (fresh == nullptr) {
        array->rgsabound[0] = before;
        return E_OUTOFMEMORY;
    }
    if (array->pvData != nullptr) {
        clearElements(*array, newSize, oldSize);
        std::memcpy(fresh, array->pvData, newSize < oldSize ? newSize : oldSize);
        std::free(array->pvData);
    }
    array->pvData = fresh;
    return S_OK;
}

HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* vt) noexcept
{
    if (array == nullptr || vt == nullptr) {
        return E_INVALIDARG;
    }
    *vt = blockOf(array)->vt;
    return S_OK;
}
