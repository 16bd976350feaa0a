#include "ktstd/ktstd_AsciiString.h"

#include "com/Com.h"
#include "com/ComText.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_fail.h"

#include <cstdint>
#include <limits>
#include <ostream>
#include <string_view>
#include <utility>

namespace {

constexpr std::size_t kLongest = std::numeric_limits<std::int32_t>::max();

} // namespace

ktstd_AsciiString::ktstd_AsciiString(const char* aText) : mText(aText != nullptr ? aText : "") {}

ktstd_AsciiString::ktstd_AsciiString(long aNumber) : mText(std::to_string(aNumber)) {}

ktstd_AsciiString::ktstd_AsciiString(const _bstr_t& aText)
    : mText(com::toUtf8(static_cast<const wchar_t*>(aText), aText.length()))
{}

void ktstd_AsciiString::Copy(const ktstd_AsciiString& aOther)
{
    mText = aOther.mText;
}

void ktstd_AsciiString::Destroy() noexcept
{
    std::string().swap(mText);
}

void ktstd_AsciiString::AssignCat(const ktstd_AsciiString& aOther)
{
    mText += aOther.mText;
}

void ktstd_AsciiString::AssignCat(const char* aText)
{
    if (aText != nullptr) {
        mText += aText;
    }
}

unsigned char ktstd_AsciiString::IsEqual(const ktstd_AsciiString& aOther) const noexcept
{
    return mText == aOther.mText ? 1 : 0;
}

unsigned char ktstd_AsciiString::IsDifferent(const ktstd_AsciiString& aOther) const noexcept
{
    return mText == aOther.mText ? 0 : 1;
}

std::ostream& operator<<(std::ostream& aStream, const ktstd_AsciiString& aString)
{
    return aStream << std::string_view(aString.ToCString(),
                                       static_cast<std::size_t>(aString.Length()));
}

ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktstd_AsciiString& aString)
{
    const auto length = static_cast<std::size_t>(aString.Length());
    if (length > kLongest) {
        ktstd_fail_FileIO::Raise("store archive: string of more than 2147483647 bytes",
                                 ktstd_fail_FileIO::kValueOutOfRange);
    }
    aArchive.WriteCount(static_cast<unsigned long>(length));
    aArchive.Write(aString.ToCString(), static_cast<long>(length));
    return aArchive;
}

ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktstd_AsciiString& aString)
{
    // The count is held against what is left before memory is taken for it.
    std::string text(aArchive.ReadCount(), '\0');
    aArchive.Read(text.data(), static_cast<long>(text.size()));
    aString.mText = std::move(text);
    return aArchive;
}
