#include "ktmdl/ktmdl_Data3d.h"

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_Axis3d.h"
#include "ktmdl/ktmdl_Record_detail.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"

#include <cmath>

namespace {

constexpr char kClassName[] = "ktmdl_Data3d";
const ktstd_SchemaEntry schemaEntry(kClassName);
ktmdl_detail::RecordClass recordClass{kClassName};

} // namespace

ktmdl_Trsf3d ktmdl_Data3d::Trsf() const
{
    return ktmdl_Trsf3d(mX, mY, mZ);
}

void ktmdl_Data3d::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::SerializeRecord(aArchive, recordClass, mX, mY, mZ);
}

unsigned char ktmdl_Data3d::IsSameTriple(const ktmdl_Data3d& aOther,
                                         double aTolerance) const noexcept
{
    return std::fabs(mX - aOther.mX) <= aTolerance && std::fabs(mY - aOther.mY) <= aTolerance &&
                   std::fabs(mZ - aOther.mZ) <= aTolerance
               ? 1
               : 0;
}

void ktmdl_Data3d::RotateAsPoint(const ktmdl_Axis3d& aAxis, double aAngle) noexcept
{
    ktmdl_Trsf3d rotation;
    rotation.SetRotation(aAxis, aAngle, 0);
    ktmdl_Trsf3d place(mX, mY, mZ);
    place *= rotation;
    Set(place.mMatrix[0][3], place.mMatrix[1][3], place.mMatrix[2][3]);
}
