#include "ktmdl/ktmdl_ErosionPos.h"

#include "ktmdl/ktmdl_Record_detail.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

namespace {

constexpr char kClassName[] = "ktmdl_ErosionPos";
const ktstd_SchemaEntry schemaEntry(kClassName);
ktmdl_detail::RecordClass recordClass{kClassName};

} // namespace

ktmdl_ErosionPos::ktmdl_ErosionPos(const ktmdl_Pnt3d& aPosition, const ktstd_Dim& aAngle)
    : ktmdl_ErosionPos(aPosition.mX, aPosition.mY, aPosition.mZ, aAngle)
{}

ktmdl_ErosionPos::ktmdl_ErosionPos(double aX, double aY, double aZ, const ktstd_Dim& aAngle)
{
    SetPos(aX, aY, aZ);
    mAngle.Copy(aAngle);
}

ktmdl_ErosionPos::~ktmdl_ErosionPos() = default;

void ktmdl_ErosionPos::Copy(const ktmdl_ErosionPos& aOther)
{
    Set(aOther);
}

// NOLINTNEXTLINE(misc-unconventional-assign-operator): as declared
void ktmdl_ErosionPos::operator=(const ktmdl_ErosionPos& aOther)
{
    Set(aOther);
}

void ktmdl_ErosionPos::Serialize(ktstd_Archive& aArchive)
{
    if (ktmdl_detail::BeginRecord(aArchive, recordClass)) {
        mPosition.Serialize(aArchive);
        aArchive << mAngle;
    } else {
        mPosition.Serialize(aArchive);
        aArchive >> mAngle;
    }
    ktmdl_detail::EndRecord(aArchive, recordClass);
}

void ktmdl_ErosionPos::Set(const ktmdl_ErosionPos& aOther)
{
    SetPos(aOther.mPosition);
    mAngle.Copy(aOther.mAngle);
}

void ktmdl_ErosionPos::SetPos(const ktmdl_Pnt3d& aPosition) noexcept
{
    mPosition.Set(aPosition);
}

void ktmdl_ErosionPos::SetPos(double aX, double aY, double aZ) noexcept
{
    mPosition.Set(aX, aY, aZ);
}
