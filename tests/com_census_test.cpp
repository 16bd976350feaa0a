#include "com/Com.h"
#include "com/ComCensus.h"

#include <gtest/gtest.h>

namespace {

class ComCensus : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(com::startCounting());
        ASSERT_TRUE(com::countsStrings());
        strings = com::liveStrings();
        arrays = com::liveArrays();
    }
    void TearDown() override
    {
        EXPECT_EQ(com::liveStrings(), strings);
        EXPECT_EQ(com::liveArrays(), arrays);
    }

    //! Arrays alive since the test began; where they are not counted by themselves, whether any.
    [[nodiscard]] long moreArrays() const
    {
        return com::countsArrays() ? com::liveArrays() - arrays
                                   : (com::liveStrings() > strings ? 1 : 0);
    }

    long strings = 0;
    long arrays = 0;
};

} // namespace

TEST_F(ComCensus, CountsStrings)
{
    const BSTR first = SysAllocString(L"first");
    const BSTR second = SysAllocStringByteLen(nullptr, 3);
    EXPECT_EQ(com::liveStrings(), strings + 2);
    SysFreeString(first);
    EXPECT_EQ(com::liveStrings(), strings + 1);
    SysFreeString(second);
    SysFreeString(nullptr);
    EXPECT_EQ(com::liveStrings(), strings);
}

TEST_F(ComCensus, ReplacingAStringKeepsTheCount)
{
    BSTR string = SysAllocString(L"old");
    SysReAllocString(&string, L"new and longer");
    EXPECT_EQ(com::liveStrings(), strings + 1);
    SysReAllocString(&string, nullptr);
    EXPECT_EQ(com::liveStrings(), strings);
}

TEST_F(ComCensus, CountsArrays)
{
    SAFEARRAY* const array = SafeArrayCreateVector(VT_R8, 0, 2);
    EXPECT_EQ(moreArrays(), 1);
    SafeArrayDestroy(array);
    EXPECT_EQ(moreArrays(), 0);
}

TEST_F(ComCensus, CountsStringsInArrays)
{
    SAFEARRAY* const array = SafeArrayCreateVector(VT_BSTR, 0, 2);
    const BSTR element = SysAllocString(L"element");
    LONG index = 1;
    const long before = com::liveStrings();
    SafeArrayPutElement(array, &index, element);
    EXPECT_EQ(com::liveStrings(), before + 1) << "the element is a copy";
    SafeArrayDestroy(array);
    SysFreeString(element);
}

TEST_F(ComCensus, CountsCopies)
{
    SAFEARRAY* const array = SafeArrayCreateVector(VT_R8, 0, 2);
    SAFEARRAY* copy = nullptr;
    ASSERT_EQ(SafeArrayCopy(array, &copy), S_OK);
    SafeArrayDestroy(array);
    EXPECT_EQ(moreArrays(), 1);
    SafeArrayDestroy(copy);
    EXPECT_EQ(moreArrays(), 0);
}

TEST_F(ComCensus, RefusedArraysDoNotCount)
{
    EXPECT_EQ(SafeArrayCreateVector(VT_EMPTY, 0, 2), nullptr);
    EXPECT_EQ(moreArrays(), 0);
}

TEST_F(ComCensus, VariantsGiveBackWhatTheyOwn)
{
    _variant_t text(L"text");
    {
        _variant_t copy(text);
        copy = _variant_t(text);
        _bstr_t string(text);
        string += string;
        EXPECT_GE(com::liveStrings(), strings + 3);
    }
    EXPECT_EQ(com::liveStrings(), strings + 1);
    text = LONG{3};
    EXPECT_EQ(com::liveStrings(), strings);
}
