#include "ktmdl/ktmdl.h"

#include "ktmdl/ktmdl_FailureText_detail.h"
#include "ktstd/ktstd_fail.h"

#include <cmath>
#include <ostream>

namespace {

constexpr double kPi = 3.14159265358979323846;

//! Degrees within which ChooseAngle takes an angle for a multiple of 90.
constexpr double kSnap = 1e-5;

double clampToUnit(double aValue)
{
    if (aValue > 1.0) {
        return 1.0;
    }
    return aValue < -1.0 ? -1.0 : aValue;
}

[[noreturn]] void raiseNoAngle(double aSinA, double aCosA)
{
    ktmdl_detail::FailureText text;
    text << "ChooseAngle: cannot find angle (aSinA=" << aSinA << ",aCosA=" << aCosA << ")"
         << std::ends;
    ktstd_fail_ProgramError::Raise(text);
}

//! Makes an angle and its sine exact when the angle is nearly 0, 90 or -90 degrees.
void snapSine(double& aAngle, double& aSine)
{
    if (std::fabs(aAngle) < kSnap) {
        aAngle = 0.0;
        aSine = 0.0;
    } else if (std::fabs(aAngle - 90.0) < kSnap) {
        aAngle = 90.0;
        aSine = 1.0;
    } else if (std::fabs(aAngle + 90.0) < kSnap) {
        aAngle = -90.0;
        aSine = -1.0;
    }
}

//! Makes an angle and its cosine exact when the angle is nearly 0, 90 or 180 degrees.
void snapCosine(double& aAngle, double& aCosine)
{
    if (std::fabs(aAngle) < kSnap) {
        aAngle = 0.0;
        aCosine = 1.0;
    } else if (std::fabs(aAngle - 90.0) < kSnap) {
        aAngle = 90.0;
        aCosine = 0.0;
    } else if (std::fabs(aAngle - 180.0) < kSnap) {
        aAngle = 180.0;
        aCosine = -1.0;
    }
}

} // namespace

double ktmdl::Angle2D(double aX1, double aY1, double aX2, double aY2)
{
    const double length1 = std::sqrt(aX1 * aX1 + aY1 * aY1);
    const double length2 = std::sqrt(aX2 * aX2 + aY2 * aY2);
    if (length1 < 1e-6 || length2 < 1e-6) {
        // On purpose: the texts begin with a blank.
        // Pinned by Angle2DOfAVectorShorterThanAMillionthRaises.
        ktstd_fail_ProgramError::Raise(
            " in ktmdl::Angle2D: one of the input vectors has ZERO length");
    }
    const double x1 = aX1 / length1;
    const double y1 = aY1 / length1;
    const double x2 = aX2 / length2;
    const double y2 = aY2 / length2;
    double cosine = x1 * x2 + y1 * y2;
    if (std::fabs(cosine - 1.0) < 1e-6) {
        cosine = 1.0;
    } else if (std::fabs(cosine + 1.0) < 1e-6) {
        cosine = -1.0;
    }
    if (std::fabs(cosine) > 1.0) {
        ktstd_fail_ProgramError::Raise(
            " in ktmdl::Angle2D: dot product of the two input vectors is outside of cosine range");
    }
    const double angle = std::acos(cosine);
    return x1 * y2 - y1 * x2 >= 0.0 ? angle : -angle;
}

double ktmdl::ChooseAngle(double aSinA, double aCosA)
{
    constexpr double kDegree = kPi / 180.0;
    const double apart = std::sqrt(1e-5); // how far the readings of sine and cosine may differ
    double sine = clampToUnit(aSinA);
    double cosine = clampToUnit(aCosA);
    double fromSine = std::asin(sine) / kDegree;
    double fromCosine = std::acos(cosine) / kDegree;
    snapSine(fromSine, sine);
    snapCosine(fromCosine, cosine);

    if (sine < 0.0) {
        fromCosine = 360.0 - fromCosine;
        fromSine = cosine < 0.0 ? 180.0 - fromSine : fromSine + 360.0;
    } else if (cosine < 0.0) {
        fromSine = 180.0 - fromSine;
    }

    if (std::fabs(fromCosine - fromSine) > apart) {
        if (std::fabs(sine) > apart) {
            raiseNoAngle(aSinA, aCosA);
        }
        if (std::fabs(cosine - 1.0) <= apart) {
            return 0.0;
        }
        if (std::fabs(cosine + 1.0) <= apart) {
            return 180.0;
        }
        raiseNoAngle(aSinA, aCosA);
    }
    return fromSine > 180.0 ? fromSine - 360.0 : fromSine;
}

double ktmdl::Determinant33Matrix(const double* aMatrix) noexcept
{
    const double* m = aMatrix;
    return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) +
           m[2] * (m[3] * m[7] - m[4] * m[6]);
}

void ktmdl::RotAxis2Matrix(double aX, double aY, double aZ, double aAngle,
                           double aMatrix[4][4]) noexcept
{
    const double c = std::cos(aAngle);
    const double s = std::sin(aAngle);
    const double k = 1.0 - c;
    const double rotation[4][4] = {
        {aX * aX * k + c, aX * aY * k - s * aZ, aX * aZ * k + s * aY, 0.0},
        {aX * aY * k + s * aZ, aY * aY * k + c, aY * aZ * k - s * aX, 0.0},
        {aX * aZ * k - s * aY, aY * aZ * k + s * aX, aZ * aZ * k + c, 0.0},
        {0.0, 0.0, 0.0, 1.0}};
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 4; ++column) {
            aMatrix[row][column] = rotation[row][column];
        }
    }
}
