#include "com/Com.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

// The same widths on every platform: what an interface calls LONG has 32 bits.
static_assert(sizeof(HRESULT) == 4 && std::is_signed<HRESULT>::value);
static_assert(sizeof(LONG) == 4 && std::is_signed<LONG>::value);
static_assert(sizeof(ULONG) == 4 && std::is_unsigned<ULONG>::value);
static_assert(sizeof(DWORD) == 4 && std::is_unsigned<DWORD>::value);
static_assert(sizeof(DISPID) == 4 && std::is_signed<DISPID>::value);
static_assert(sizeof(LCID) == 4 && std::is_unsigned<LCID>::value);
static_assert(sizeof(WORD) == 2 && sizeof(SHORT) == 2 && sizeof(USHORT) == 2);
static_assert(sizeof(BYTE) == 1 && std::is_unsigned<BYTE>::value);
static_assert(sizeof(VARIANT_BOOL) == 2 && sizeof(VARTYPE) == 2);
static_assert(sizeof(LONGLONG) == 8 && sizeof(DATE) == 8 && sizeof(CY) == 8);
static_assert(sizeof(GUID) == 16);

namespace {

std::uint32_t bits(HRESULT hr)
{
    return static_cast<std::uint32_t>(hr);
}

} // namespace

TEST(ComTypes, ResultCodesHaveTheirPublishedNumbers)
{
    const struct
    {
        HRESULT code;
        std::uint32_t number;
    } cases[] = {
        {S_OK, 0},
        {S_FALSE, 1},
        {E_UNEXPECTED, 0x8000FFFF},
        {E_NOTIMPL, 0x80004001},
        {E_NOINTERFACE, 0x80004002},
        {E_POINTER, 0x80004003},
        {E_ABORT, 0x80004004},
        {E_FAIL, 0x80004005},
        {E_ACCESSDENIED, 0x80070005},
        {E_HANDLE, 0x80070006},
        {E_OUTOFMEMORY, 0x8007000E},
        {E_INVALIDARG, 0x80070057},
        {E_PENDING, 0x8000000A},
        {DISP_E_UNKNOWNINTERFACE, 0x80020001},
        {DISP_E_MEMBERNOTFOUND, 0x80020003},
        {DISP_E_PARAMNOTFOUND, 0x80020004},
        {DISP_E_TYPEMISMATCH, 0x80020005},
        {DISP_E_UNKNOWNNAME, 0x80020006},
        {DISP_E_NONAMEDARGS, 0x80020007},
        {DISP_E_BADVARTYPE, 0x80020008},
        {DISP_E_EXCEPTION, 0x80020009},
        {DISP_E_OVERFLOW, 0x8002000A},
        {DISP_E_BADINDEX, 0x8002000B},
        {DISP_E_UNKNOWNLCID, 0x8002000C},
        {DISP_E_ARRAYISLOCKED, 0x8002000D},
        {DISP_E_BADPARAMCOUNT, 0x8002000E},
        {DISP_E_PARAMNOTOPTIONAL, 0x8002000F},
        {DISP_E_NOTACOLLECTION, 0x80020011},
        {TYPE_E_LIBNOTREGISTERED, 0x8002801D},
        {TYPE_E_ELEMENTNOTFOUND, 0x8002802B},
        {TYPE_E_CANTLOADLIBRARY, 0x80029C4A},
        {CO_E_NOTINITIALIZED, 0x800401F0},
        {CO_E_CLASSSTRING, 0x800401F3},
        {CO_E_IIDSTRING, 0x800401F4},
        {CO_E_OBJNOTCONNECTED, 0x800401FD},
        {CO_E_RELEASED, 0x800401FF},
        {CO_E_SERVER_EXEC_FAILURE, 0x80080005},
        {RPC_E_CALL_REJECTED, 0x80010001},
        {RPC_E_SERVERFAULT, 0x80010105},
        {RPC_E_DISCONNECTED, 0x80010108},
        {RPC_E_SERVERCALL_RETRYLATER, 0x8001010A},
        {RPC_E_SERVERCALL_REJECTED, 0x8001010B},
        {RPC_E_WRONG_THREAD, 0x8001010E},
        {CLASS_E_CLASSNOTAVAILABLE, 0x80040111},
        {REGDB_E_CLASSNOTREG, 0x80040154},
        {STG_E_FILENOTFOUND, 0x80030002},
        {MK_E_UNAVAILABLE, 0x800401E3},
        {OLE_E_NOTRUNNING, 0x80040005},
        {HRESULT_FROM_WIN32(RPC_S_SERVER_UNAVAILABLE), 0x800706BA},
        {HRESULT_FROM_WIN32(RPC_S_CALL_FAILED), 0x800706BE},
    };
    for (const auto& one : cases) {
        EXPECT_EQ(bits(one.code), one.number);
    }
}

TEST(ComTypes, SucceededAndFailedFollowTheSign)
{
    EXPECT_TRUE(SUCCEEDED(S_OK));
    EXPECT_TRUE(SUCCEEDED(S_FALSE));
    EXPECT_FALSE(SUCCEEDED(E_FAIL));
    EXPECT_TRUE(FAILED(E_FAIL));
    EXPECT_FALSE(FAILED(S_FALSE));
}

TEST(ComTypes, CodesComeApart)
{
    // 0x8002000E: failing, family 2, code 14.
    EXPECT_EQ(HRESULT_SEVERITY(DISP_E_BADPARAMCOUNT), 1);
    EXPECT_EQ(HRESULT_FACILITY(DISP_E_BADPARAMCOUNT), 2);
    EXPECT_EQ(HRESULT_CODE(DISP_E_BADPARAMCOUNT), 14);
    EXPECT_EQ(HRESULT_SEVERITY(S_FALSE), 0);
    EXPECT_EQ(bits(MAKE_HRESULT(1u, 2u, 14u)), 0x8002000Eu);
}

TEST(ComTypes, Win32ErrorsAreWrapped)
{
    EXPECT_EQ(bits(HRESULT_FROM_WIN32(5)), 0x80070005u);
    EXPECT_EQ(HRESULT_FROM_WIN32(0), S_OK);
    EXPECT_EQ(HRESULT_FROM_WIN32(E_FAIL), E_FAIL) << "a failing code is kept";
}

TEST(ComTypes, CallKindsAndIdentifiersHaveTheirPublishedNumbers)
{
    EXPECT_EQ(DISPATCH_METHOD, 1);
    EXPECT_EQ(DISPATCH_PROPERTYGET, 2);
    EXPECT_EQ(DISPATCH_PROPERTYPUT, 4);
    EXPECT_EQ(DISPATCH_PROPERTYPUTREF, 8);
    EXPECT_EQ(DISPID_VALUE, 0);
    EXPECT_EQ(DISPID_UNKNOWN, -1);
    EXPECT_EQ(DISPID_PROPERTYPUT, -3);
    EXPECT_EQ(DISPID_NEWENUM, -4);
    EXPECT_EQ(VARIANT_TRUE, -1);
    EXPECT_EQ(VARIANT_FALSE, 0);
    EXPECT_EQ(static_cast<unsigned>(LOCALE_USER_DEFAULT), 0x400u);
    EXPECT_EQ(static_cast<unsigned>(LOCALE_SYSTEM_DEFAULT), 0x800u);
}

TEST(ComTypes, VariantTypesHaveTheirPublishedNumbers)
{
    EXPECT_EQ(VT_EMPTY, 0);
    EXPECT_EQ(VT_NULL, 1);
    EXPECT_EQ(VT_I2, 2);
    EXPECT_EQ(VT_I4, 3);
    EXPECT_EQ(VT_R4, 4);
    EXPECT_EQ(VT_R8, 5);
    EXPECT_EQ(VT_CY, 6);
    EXPECT_EQ(VT_DATE, 7);
    EXPECT_EQ(VT_BSTR, 8);
    EXPECT_EQ(VT_DISPATCH, 9);
    EXPECT_EQ(VT_ERROR, 10);
    EXPECT_EQ(VT_BOOL, 11);
    EXPECT_EQ(VT_VARIANT, 12);
    EXPECT_EQ(VT_UNKNOWN, 13);
    EXPECT_EQ(VT_I1, 16);
    EXPECT_EQ(VT_UI1, 17);
    EXPECT_EQ(VT_UI2, 18);
    EXPECT_EQ(VT_UI4, 19);
    EXPECT_EQ(VT_I8, 20);
    EXPECT_EQ(VT_UI8, 21);
    EXPECT_EQ(VT_INT, 22);
    EXPECT_EQ(VT_UINT, 23);
    EXPECT_EQ(VT_ARRAY, 0x2000);
    EXPECT_EQ(VT_BYREF, 0x4000);
}

TEST(ComTypes, TaskMemoryCanBeWrittenAndFreed)
{
    char* const memory = static_cast<char*>(CoTaskMemAlloc(16));
    ASSERT_NE(memory, nullptr);
    for (int i = 0; i < 16; ++i) {
        memory[i] = static_cast<char>(i);
    }
    EXPECT_EQ(memory[15], 15);
    CoTaskMemFree(memory);
    CoTaskMemFree(nullptr);
}
