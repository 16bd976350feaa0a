#include "ktstd/ktstd_Dim.h"

#include "ktstd/ktstd_Archive.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <locale>
#include <ostream>
#include <sstream>
#include <string>

namespace {

constexpr int kDigits = 15;
constexpr const char* kUnits[] = {"", " m", " rad"};

std::string textOf(double aValue)
{
    if (std::isnan(aValue)) {
        return "not a number";
    }
    if (std::isinf(aValue)) {
        return aValue < 0 ? "-infinity" : "infinity";
    }
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(kDigits);
    text << aValue;
    return text.str();
}

} // namespace

unsigned char ktstd_Dim::IsEqual(const ktstd_Dim& aOther) const noexcept
{
    return mKind == aOther.mKind && mValue == aOther.mValue ? 1 : 0;
}

std::ostream& operator<<(std::ostream& aStream, const ktstd_Dim& aDim)
{
    return aStream << textOf(aDim.Value()) + kUnits[aDim.Measures()];
}

ktstd_Archive& operator<<(ktstd_Archive& aArchive, const ktstd_Dim& aDim)
{
    std::uint64_t bits = 0;
    const double value = aDim.Value();
    std::memcpy(&bits, &value, sizeof bits);
    unsigned char record[1 + sizeof bits] = {aDim.Measures()};
    for (std::size_t i = 0; i < sizeof bits; ++i) {
        record[1 + i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    aArchive.Write(record, sizeof record);
    return aArchive;
}

ktstd_Archive& operator>>(ktstd_Archive& aArchive, ktstd_Dim& aDim)
{
    unsigned char record[1 + sizeof(std::uint64_t)] = {};
    aArchive.Read(record, sizeof record);
    if (record[0] > ktstd_Dim::kAngle) {
        aArchive.RaiseDamaged("ktstd_Dim: a dimension of a kind that there isn't");
    }
    std::uint64_t bits = 0;
    for (std::size_t i = 0; i < sizeof bits; ++i) {
        bits |= static_cast<std::uint64_t>(record[1 + i]) << (8 * i);
    }
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof value);
    aDim = ktstd_Dim(value, static_cast<ktstd_Dim::Kind>(record[0]));
    return aArchive;
}
