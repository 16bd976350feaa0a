#include "ktstd/ktstd_Session.h"

namespace {

Hnd_ktstd_Session& current() noexcept
{
    static Hnd_ktstd_Session sSession;
    return sSession;
}

} // namespace

KTSTD_DEFINE_TYPE(ktstd_Session, ktstd_TShared)

ktstd_Session::~ktstd_Session() = default;

void ktstd_Session::AdjustDocumentName(ktstd_AsciiString&) {}

const Hnd_ktstd_Session& ktstd_Session::CurSession() noexcept
{
    return current();
}

void ktstd_Session::SetCurSession(const Hnd_ktstd_Session& aSession) noexcept
{
    current() = aSession;
}
