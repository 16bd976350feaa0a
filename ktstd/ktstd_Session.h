//! @file
//! The add-in's session, which decides how document names are written.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_TShared.h"

class ktstd_AsciiString;
class ktstd_Session;
KTSTD_HANDLE(ktstd_Session, Hnd_ktstd_TShared)

//! Gives the descriptor of ktstd_Session.
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_Session_Type_();

//! A session. There is none until the add-in sets one; while there is, documents are known by their
//! full names, adjusted by the session.
class KTSTD_EXPORT ktstd_Session : public ktstd_TShared
{
public:
    ktstd_Session() noexcept = default;
    ~ktstd_Session() override;
    KTSTD_DECLARE_TYPE(ktstd_Session)

    //! Rewrites the full name of a document to the form in which it is kept, for instance relative
    //! to a project's folder. Leaves it unchanged unless a derived class does more.
    virtual void AdjustDocumentName(ktstd_AsciiString& aName);

    //! Gives the current session; null when there is none.
    [[nodiscard]] static const Hnd_ktstd_Session& CurSession() noexcept;
    //! Makes a session the current one; null ends the current session.
    static void SetCurSession(const Hnd_ktstd_Session& aSession) noexcept;
};
