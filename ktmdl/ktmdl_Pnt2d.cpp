#include "ktmdl/ktmdl_Pnt2d.h"

#include "ktmdl/ktmdl_Vec2d.h"

#include <cmath>

const ktmdl_Pnt2d& ktmdl_Pnt2d::Origin() noexcept
{
    static const ktmdl_Pnt2d sOrigin(0.0, 0.0);
    return sOrigin;
}

namespace {

// Makes the constant when the library is loaded.
[[maybe_unused]] const ktmdl_Pnt2d& originAtLoad = ktmdl_Pnt2d::Origin();

} // namespace

double ktmdl_Pnt2d::Distance(const ktmdl_Pnt2d& aOther) const noexcept
{
    const double dx = mX - aOther.mX;
    const double dy = mY - aOther.mY;
    return std::sqrt(dx * dx + dy * dy);
}

void ktmdl_Pnt2d::Rotate(const ktmdl_Pnt2d& /*aCenter*/, double /*aAngle*/)
{
    // On purpose: planar rotation leaves everything as it is. Pinned by RotateDoesNothing.
}

void ktmdl_Pnt2d::Transform(const ktmdl_Trsf2d& aTrsf)
{
    const auto& m = aTrsf.mMatrix;
    Set(m[0][0] * mX + m[0][1] * mY + m[0][2], m[1][0] * mX + m[1][1] * mY + m[1][2]);
}

void ktmdl_Pnt2d::Translate(const ktmdl_Vec2d& aVector)
{
    Set(mX + aVector.mX, mY + aVector.mY);
}
