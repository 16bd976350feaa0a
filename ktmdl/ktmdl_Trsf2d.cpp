#include "ktmdl/ktmdl_Trsf2d.h"

#include "ktmdl/ktmdl_Data2d.h"

#include <cmath>

namespace {

constexpr double kTolerance = 1e-6;

// Makes the constant when the library is loaded.
[[maybe_unused]] const ktmdl_Trsf2d& identityAtLoad = ktmdl_Trsf2d::Identity();

} // namespace

ktmdl_Trsf2d::ktmdl_Trsf2d(const ktmdl_Data2d& aPair) noexcept
    : ktmdl_Trsf2d(1.0, 0.0, 0.0, 1.0, aPair.mX, aPair.mY)
{}

ktmdl_Trsf2d::ktmdl_Trsf2d(double aM00, double aM10, double aM01, double aM11, double aM02,
                           double aM12) noexcept
    : mMatrix{{aM00, aM01, aM02}, {aM10, aM11, aM12}}
{}

ktmdl_Trsf2d::~ktmdl_Trsf2d() = default;

const ktmdl_Trsf2d& ktmdl_Trsf2d::Identity() noexcept
{
    static const ktmdl_Trsf2d sIdentity;
    return sIdentity;
}

unsigned char ktmdl_Trsf2d::IsIdentity() const noexcept
{
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 3; ++column) {
            const double wanted = row == column ? 1.0 : 0.0;
            if (!(std::fabs(mMatrix[row][column] - wanted) <= kTolerance)) {
                return 0;
            }
        }
    }
    return 1;
}

double ktmdl_Trsf2d::Value(long aRow, long aColumn) const noexcept
{
    if (aRow < 1 || aRow > 2 || aColumn < 1 || aColumn > 3) {
        return 0.0;
    }
    return mMatrix[aRow - 1][aColumn - 1];
}
