#include "com/Com.h"
#include "com/ComErrorText.h"
#include "support/CountingObject.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>

static_assert(std::is_nothrow_copy_constructible<_com_error>::value);
static_assert(std::has_virtual_destructor<_com_error>::value);

namespace {

HRESULT code(std::uint32_t bits)
{
    return static_cast<HRESULT>(bits);
}

//! Error information that counts its references and says one thing.
class Info final : public IErrorInfo
{
public:
    Info() = default;
    Info(const Info&) = delete;
    Info& operator=(const Info&) = delete;
    virtual ~Info() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
    HRESULT STDMETHODCALLTYPE GetGUID(GUID* guid) override
    {
        *guid = IID_IProbe;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR* text) override
    {
        *text = SysAllocString(L"source");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* text) override
    {
        *text = SysAllocString(L"description");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* text) override
    {
        *text = SysAllocString(L"help");
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* context) override
    {
        *context = 31;
        return S_OK;
    }

    int references = 1;
};

} // namespace

TEST(ComError, HoldsItsCode)
{
    const _com_error error(E_POINTER);
    EXPECT_EQ(error.Error(), E_POINTER);
    EXPECT_EQ(error.ErrorInfo(), nullptr);
}

TEST(ComError, WithoutInformationAllIsEmpty)
{
    const _com_error error(E_FAIL);
    EXPECT_TRUE(!error.Description());
    EXPECT_TRUE(!error.Source());
    EXPECT_TRUE(!error.HelpFile());
    EXPECT_EQ(error.HelpContext(), 0u);
    EXPECT_TRUE(IsEqualGUID(error.GUID_(), IID_NULL));
}

TEST(ComError, TellsWhatTheInformationSays)
{
    Info info;
    const _com_error error(E_FAIL, &info, true);
    EXPECT_TRUE(error.Description() == _bstr_t(L"description"));
    EXPECT_TRUE(error.Source() == _bstr_t(L"source"));
    EXPECT_TRUE(error.HelpFile() == _bstr_t(L"help"));
    EXPECT_EQ(error.HelpContext(), 31u);
    EXPECT_TRUE(IsEqualGUID(error.GUID_(), IID_IProbe));
}

TEST(ComError, TakesTheReferenceOverUnlessToldToAddOne)
{
    Info info;
    {
        const _com_error added(E_FAIL, &info, true);
        EXPECT_EQ(info.references, 2);
    }
    EXPECT_EQ(info.references, 1);
    {
        const _com_error taken(E_FAIL, &info);
        EXPECT_EQ(info.references, 1);
    }
    EXPECT_EQ(info.references, 0);
}

TEST(ComError, CopiesShareTheInformation)
{
    Info info;
    {
        const _com_error first(E_FAIL, &info, true);
        const _com_error second(first);
        EXPECT_EQ(info.references, 3);
        EXPECT_EQ(second.Error(), E_FAIL);
        _com_error third(E_ABORT);
        third = second;
        EXPECT_EQ(info.references, 4);
        EXPECT_EQ(third.Error(), E_FAIL);
        const _com_error& alias = third;
        third = alias;
        EXPECT_EQ(info.references, 4);
        third = _com_error(E_ABORT);
        EXPECT_EQ(info.references, 3);
        EXPECT_EQ(third.Error(), E_ABORT);
    }
    EXPECT_EQ(info.references, 1);
}

TEST(ComError, InformationComesWithAReference)
{
    Info info;
    const _com_error error(E_FAIL, &info, true);
    IErrorInfo* const given = error.ErrorInfo();
    EXPECT_EQ(given, &info);
    EXPECT_EQ(info.references, 3);
    given->Release();
}

TEST(ComError, MessageIsKeptWithTheError)
{
    const _com_error known(E_ACCESSDENIED);
    const auto* const first = known.ErrorMessage();
    EXPECT_EQ(known.ErrorMessage(), first);
    const _com_error composed(code(0x80047FFF));
    const auto* const second = composed.ErrorMessage();
    EXPECT_EQ(composed.ErrorMessage(), second);
}

TEST(ComError, CopyAndAssignedErrorHaveTheirOwnMessage)
{
    _com_error error(code(0x80047FFF));
    const std::string before = error.ErrorMessage();
    const _com_error copy(error);
    EXPECT_EQ(std::string(copy.ErrorMessage()), before);
    EXPECT_NE(copy.ErrorMessage(), error.ErrorMessage());
    error = _com_error(code(0x80047FFE));
    EXPECT_NE(std::string(error.ErrorMessage()), before);
    EXPECT_EQ(std::string(copy.ErrorMessage()), before);
}

TEST(ComError, MessageIsTheErrorText)
{
    // Codes whose text has no placeholder: there the toolchain's _com_error on Windows and
    // errorText must agree word for word, with and without a system text.
    for (const HRESULT hr :
         {S_OK, E_FAIL, E_POINTER, E_ACCESSDENIED, DISP_E_MEMBERNOTFOUND,
          RPC_E_SERVERCALL_RETRYLATER, code(5), code(0x80047FFF), code(0x80040200),
          code(0x8004FFFF), code(0x80050000), code(0x7FFFFFFF), code(0xA0000001)}) {
        EXPECT_EQ(std::string(_com_error(hr).ErrorMessage()), com::errorText(hr));
    }
}

TEST(ComError, WordCodesLieInTheirRange)
{
    EXPECT_EQ(_com_error::HRESULTToWCode(code(0x800401FF)), 0);
    EXPECT_EQ(_com_error::HRESULTToWCode(code(0x80040200)), 0);
    EXPECT_EQ(_com_error::HRESULTToWCode(code(0x80040201)), 1);
    EXPECT_EQ(_com_error::HRESULTToWCode(code(0x8004FFFF)), 0xFDFF);
    EXPECT_EQ(_com_error::HRESULTToWCode(code(0x80050000)), 0);
    EXPECT_EQ(_com_error::HRESULTToWCode(code(0x00040201)), 0);
    EXPECT_EQ(_com_error(code(0x80040300)).WCode(), 0x100);
    EXPECT_EQ(_com_error::WCodeToHRESULT(0), code(0x80040200));
    EXPECT_EQ(_com_error::WCodeToHRESULT(1), code(0x80040201));
    EXPECT_EQ(_com_error::WCodeToHRESULT(0xFDFF), code(0x8004FFFF));
    EXPECT_EQ(_com_error::WCodeToHRESULT(0xFFFF), code(0x8004FFFF));
}

TEST(ComError, IssueErrorRaises)
{
    EXPECT_EQ(raisedCode([] { _com_issue_error(RPC_E_DISCONNECTED); }), RPC_E_DISCONNECTED);
}

TEST(ComError, RaiseErrorTakesTheInformationOver)
{
    Info info;
    EXPECT_EQ(raisedCode([&] { _com_raise_error(E_ABORT, &info); }), E_ABORT);
    EXPECT_EQ(info.references, 0);
}

TEST(ComError, CheckErrorRaisesFailuresOnly)
{
    EXPECT_EQ(raisedCode([] { _com_util::CheckError(E_ABORT); }), E_ABORT);
    _com_util::CheckError(S_FALSE);
}
