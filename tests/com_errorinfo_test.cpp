#include "com/Com.h"
#include "support/CountingObject.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

namespace {

_com_ptr_t<_com_IIID<ICreateErrorInfo, &IID_ICreateErrorInfo>> create()
{
    ICreateErrorInfo* info = nullptr;
    EXPECT_EQ(CreateErrorInfo(&info), S_OK);
    return {info, false};
}

IErrorInfoPtr describe(const wchar_t* description)
{
    const auto info = create();
    std::wstring text = description;
    EXPECT_EQ(info->SetDescription(text.data()), S_OK);
    return IErrorInfoPtr(info);
}

std::wstring descriptionOf(IErrorInfo* info)
{
    _bstr_t text;
    EXPECT_EQ(info->GetDescription(text.GetAddress()), S_OK);
    return std::wstring(static_cast<const wchar_t*>(text), text.length());
}

//! Nothing is left with the thread before and after each test.
class ComErrorInfo : public testing::Test
{
protected:
    void SetUp() override { SetErrorInfo(0, nullptr); }
    void TearDown() override { SetErrorInfo(0, nullptr); }
};

//! An object whose one interface does or does not leave error information.
class Supporting final : public ISupportErrorInfo
{
public:
    explicit Supporting(HRESULT answer) : support(answer) {}
    Supporting(const Supporting&) = delete;
    Supporting& operator=(const Supporting&) = delete;
    virtual ~Supporting() = default;
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        *object = nullptr;
        if (!IsEqualIID(riid, IID_IUnknown) && !IsEqualIID(riid, IID_ISupportErrorInfo)) {
            return E_NOINTERFACE;
        }
        *object = static_cast<ISupportErrorInfo*>(this);
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return static_cast<ULONG>(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return static_cast<ULONG>(--references); }
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID riid) override
    {
        asked = riid;
        return support;
    }

    HRESULT support;
    IID asked = IID_NULL;
    int references = 0;
};

} // namespace

TEST_F(ComErrorInfo, NoneAtFirst)
{
    IErrorInfo* info = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &info), S_FALSE);
    EXPECT_EQ(info, nullptr);
}

TEST_F(ComErrorInfo, WhatIsSetIsTakenOnce)
{
    const IErrorInfoPtr left = describe(L"no such face");
    EXPECT_EQ(SetErrorInfo(0, left), S_OK);
    IErrorInfo* info = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &info), S_OK);
    EXPECT_EQ(info, left.GetInterfacePtr());
    EXPECT_EQ(descriptionOf(info), L"no such face");
    info->Release();
    EXPECT_EQ(GetErrorInfo(0, &info), S_FALSE);
}

TEST_F(ComErrorInfo, TheLastOneCounts)
{
    SetErrorInfo(0, describe(L"first"));
    SetErrorInfo(0, describe(L"second"));
    IErrorInfoPtr info;
    EXPECT_EQ(GetErrorInfo(0, &info), S_OK);
    EXPECT_EQ(descriptionOf(info), L"second");
}

TEST_F(ComErrorInfo, EachThreadHasItsOwn)
{
    SetErrorInfo(0, describe(L"main thread"));
    HRESULT before = E_FAIL;
    std::thread other([&before] {
        IErrorInfo* info = nullptr;
        before = GetErrorInfo(0, &info);
        SetErrorInfo(0, describe(L"other thread"));
    });
    other.join();
    EXPECT_EQ(before, S_FALSE);
    IErrorInfoPtr info;
    EXPECT_EQ(GetErrorInfo(0, &info), S_OK);
    EXPECT_EQ(descriptionOf(info), L"main thread");
}

TEST_F(ComErrorInfo, KeepsAllFields)
{
    const auto info = create();
    std::wstring source = L"Part";
    std::wstring file = L"part.chm";
    EXPECT_EQ(info->SetGUID(IID_IProbe), S_OK);
    EXPECT_EQ(info->SetSource(source.data()), S_OK);
    EXPECT_EQ(info->SetHelpFile(file.data()), S_OK);
    EXPECT_EQ(info->SetHelpContext(12), S_OK);
    const IErrorInfoPtr read(info);
    ASSERT_TRUE(read);
    GUID guid = {};
    _bstr_t text;
    DWORD context = 0;
    EXPECT_EQ(read->GetGUID(&guid), S_OK);
    EXPECT_TRUE(IsEqualGUID(guid, IID_IProbe));
    EXPECT_EQ(read->GetSource(text.GetAddress()), S_OK);
    EXPECT_TRUE(text == _bstr_t(L"Part"));
    EXPECT_EQ(read->GetHelpFile(text.GetAddress()), S_OK);
    EXPECT_TRUE(text == _bstr_t(L"part.chm"));
    EXPECT_EQ(read->GetHelpContext(&context), S_OK);
    EXPECT_EQ(context, 12u);
}

TEST_F(ComErrorInfo, TextsNotSetAreNull)
{
    const IErrorInfoPtr read(create());
    _bstr_t text;
    EXPECT_EQ(read->GetDescription(text.GetAddress()), S_OK);
    EXPECT_TRUE(!text);
}

TEST_F(ComErrorInfo, ObjectHasOneIdentity)
{
    const auto info = create();
    const IErrorInfoPtr read(info);
    IUnknownPtr first(info);
    IUnknownPtr second(read);
    EXPECT_EQ(first.GetInterfacePtr(), second.GetInterfacePtr());
    const IDispatchPtr none(info);
    EXPECT_FALSE(none);
}

TEST_F(ComErrorInfo, IssueErrorExTakesWhatTheObjectLeft)
{
    Supporting object(S_OK);
    SetErrorInfo(0, describe(L"left behind"));
    try {
        _com_issue_errorex(E_FAIL, &object, IID_IProbe);
        FAIL() << "nothing was raised";
    } catch (const _com_error& error) {
        EXPECT_EQ(error.Error(), E_FAIL);
        EXPECT_TRUE(error.Description() == _bstr_t(L"left behind"));
    }
    EXPECT_TRUE(IsEqualIID(object.asked, IID_IProbe));
    EXPECT_EQ(object.references, 0);
    IErrorInfo* info = nullptr;
    EXPECT_EQ(GetErrorInfo(0, &info), S_FALSE);
}

TEST_F(ComErrorInfo, IssueErrorExLeavesWhatIsNotTheObjects)
{
    Supporting silent(S_FALSE);
    CountingObject without;
    IUnknown* const objects[] = {&silent, static_cast<IDispatch*>(&without), nullptr};
    for (IUnknown* const object : objects) {
        SetErrorInfo(0, describe(L"somebody else's"));
        try {
            _com_issue_errorex(E_FAIL, object, IID_IProbe);
            FAIL() << "nothing was raised";
        } catch (const _com_error& error) {
            EXPECT_EQ(error.Error(), E_FAIL);
            EXPECT_EQ(error.ErrorInfo(), nullptr);
        }
        IErrorInfoPtr info;
        EXPECT_EQ(GetErrorInfo(0, &info), S_OK);
    }
    EXPECT_EQ(silent.references, 0);
    EXPECT_EQ(without.liveReferences(), 0);
}
