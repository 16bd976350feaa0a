#include "ktmdl/ktmdl_Pnt3d.h"

#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_Vec3d.h"

#include <cmath>

const ktmdl_Pnt3d& ktmdl_Pnt3d::Origin() noexcept
{
    static const ktmdl_Pnt3d sOrigin(0.0, 0.0, 0.0);
    return sOrigin;
}

namespace {

// Makes the constant when the library is loaded.
[[maybe_unused]] const ktmdl_Pnt3d& originAtLoad = ktmdl_Pnt3d::Origin();

} // namespace

double ktmdl_Pnt3d::Distance(const ktmdl_Pnt3d& aOther) const noexcept
{
    const double dx = mX - aOther.mX;
    const double dy = mY - aOther.mY;
    const double dz = mZ - aOther.mZ;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

void ktmdl_Pnt3d::Rotate(const ktmdl_Axis3d& aAxis, double aAngle)
{
    RotateAsPoint(aAxis, aAngle);
}

void ktmdl_Pnt3d::Transform(const ktmdl_Trsf3d& aTrsf)
{
    const auto& m = aTrsf.mMatrix;
    Set(m[0][0] * mX + m[0][1] * mY + m[0][2] * mZ + m[0][3],
        m[1][0] * mX + m[1][1] * mY + m[1][2] * mZ + m[1][3],
        m[2][0] * mX + m[2][1] * mY + m[2][2] * mZ + m[2][3]);
}

void ktmdl_Pnt3d::Translate(const ktmdl_Vec3d& aVector)
{
    Set(mX + aVector.mX, mY + aVector.mY, mZ + aVector.mZ);
}
