#include "ktstd/ktstd_Session.h"

#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Type.h"

#include <gtest/gtest.h>

#include <type_traits>

static_assert(std::is_same_v<decltype(ktstd_Session::CurSession()), const Hnd_ktstd_Session&>);
static_assert(std::is_base_of_v<ktstd_TShared, ktstd_Session>);

TEST(ktstd_Session, ThereIsNoneUntilOneIsSet)
{
    ASSERT_EQ(ktstd_Session::CurSession().IsNull(), 1);
    const Hnd_ktstd_Session session(new ktstd_Session());
    ktstd_Session::SetCurSession(session);
    EXPECT_EQ(ktstd_Session::CurSession(), session);
    EXPECT_EQ(session->RefCount(), 2);
    EXPECT_EQ(&ktstd_Session::CurSession(), &ktstd_Session::CurSession());
    ktstd_Session::SetCurSession(Hnd_ktstd_Session());
    EXPECT_EQ(ktstd_Session::CurSession().IsNull(), 1);
    EXPECT_EQ(session->RefCount(), 1);
}

TEST(ktstd_Session, LeavesDocumentNamesUnlessToldOtherwise)
{
    const Hnd_ktstd_Session plain(new ktstd_Session());
    ktstd_AsciiString name("C:\\jobs\\part.par");
    plain->AdjustDocumentName(name);
    EXPECT_STREQ(name.ToCString(), "C:\\jobs\\part.par");

    class Shortening : public ktstd_Session
    {
    public:
        void AdjustDocumentName(ktstd_AsciiString& aName) override { aName.Copy("part.par"); }
    };
    const Hnd_ktstd_Session shortening(new Shortening());
    shortening->AdjustDocumentName(name);
    EXPECT_STREQ(name.ToCString(), "part.par");
}

TEST(ktstd_Session, HasItsType)
{
    const Hnd_ktstd_Transient session(new ktstd_Session());
    EXPECT_EQ(&session->DynamicType(), &ktstd_Session_Type_());
    EXPECT_EQ(session->IsKind(ktstd_TShared_Type_()), 1);
    EXPECT_EQ(Hnd_ktstd_Session::DownCast(session), session);
}
