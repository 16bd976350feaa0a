#include "ktmdl/ktmdl_Trsf3d.h"

#include "ktmdl/ktmdl.h"
#include "ktmdl/ktmdl_Axis3d.h"
#include "ktmdl/ktmdl_CrdSys3d.h"
#include "ktmdl/ktmdl_Numbers_detail.h"
#include "ktmdl/ktmdl_Record_detail.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_Schema.h"
#include "ktstd/ktstd_fail.h"

#include <cmath>
#include <cstring>

using ktmdl_detail::kTolerance;

namespace {

constexpr char kClassName[] = "ktmdl_Trsf3d";
const ktstd_SchemaEntry schemaEntry(kClassName);
ktmdl_detail::RecordClass recordClass{kClassName};

using Matrix = double[4][4];

//! Gives how far an entry is from the identity's.
double fromIdentity(const Matrix& aMatrix, int aRow, int aColumn)
{
    return std::fabs(aMatrix[aRow][aColumn] - (aRow == aColumn ? 1.0 : 0.0));
}

//! Gives the product of two matrices, which may be either of them.
void multiply(const Matrix& aLeft, const Matrix& aRight, Matrix& aProduct)
{
    Matrix right;
    std::memcpy(right, aRight, sizeof(right));
    for (int r = 0; r < 4; ++r) {
        const double left[4] = {aLeft[r][0], aLeft[r][1], aLeft[r][2], aLeft[r][3]};
        for (int c = 0; c < 4; ++c) {
            aProduct[r][c] = left[0] * right[0][c] + left[1] * right[1][c] + left[2] * right[2][c] +
                             left[3] * right[3][c];
        }
    }
}

//! Signs of the determinants in an adjugate; a factor turns the sign of zero too.
constexpr double kSigns[2][4] = {{1.0, -1.0, 1.0, -1.0}, {-1.0, 1.0, -1.0, 1.0}};

//! Gives the transposed matrix of the signed determinants of what is left without a row and a
//! column. Those without rows 0 to 3 are worked out side by side.
void adjugate(const Matrix& m, Matrix& aAdjugate)
{
    // Per column: the upper, middle and lower one of the three rows that are left.
    double upper[4][4];
    double middle[4][4];
    double lower[4][4];
    for (int c = 0; c < 4; ++c) {
        upper[c][0] = m[1][c];
        middle[c][0] = middle[c][1] = m[2][c];
        lower[c][0] = lower[c][1] = lower[c][2] = m[3][c];
        upper[c][1] = upper[c][2] = upper[c][3] = m[0][c];
        middle[c][2] = middle[c][3] = m[1][c];
        lower[c][3] = m[2][c];
    }
    const auto minor = [&](int c, int d, double(&aMinor)[4]) {
        for (int i = 0; i < 4; ++i) {
            aMinor[i] = middle[c][i] * lower[d][i] - middle[d][i] * lower[c][i];
        }
    };
    double m01[4];
    double m02[4];
    double m03[4];
    double m12[4];
    double m13[4];
    double m23[4];
    minor(0, 1, m01);
    minor(0, 2, m02);
    minor(0, 3, m03);
    minor(1, 2, m12);
    minor(1, 3, m13);
    minor(2, 3, m23);
    for (int i = 0; i < 4; ++i) {
        const double d0 = upper[1][i] * m23[i] - upper[2][i] * m13[i] + upper[3][i] * m12[i];
        const double d1 = upper[0][i] * m23[i] - upper[2][i] * m03[i] + upper[3][i] * m02[i];
        const double d2 = upper[0][i] * m13[i] - upper[1][i] * m03[i] + upper[3][i] * m01[i];
        const double d3 = upper[0][i] * m12[i] - upper[1][i] * m02[i] + upper[2][i] * m01[i];
        aAdjugate[0][i] = d0 * kSigns[0][i];
        aAdjugate[1][i] = d1 * kSigns[1][i];
        aAdjugate[2][i] = d2 * kSigns[0][i];
        aAdjugate[3][i] = d3 * kSigns[1][i];
    }
}

} // namespace

ktmdl_Trsf3d::ktmdl_Trsf3d(double aX, double aY, double aZ) noexcept
{
    mMatrix[0][3] = aX;
    mMatrix[1][3] = aY;
    mMatrix[2][3] = aZ;
}

ktmdl_Trsf3d::ktmdl_Trsf3d(const ktmdl_Data3d& aTriple) noexcept
    : ktmdl_Trsf3d(aTriple.mX, aTriple.mY, aTriple.mZ)
{}

ktmdl_Trsf3d::ktmdl_Trsf3d(const ktmdl_CrdSys3d& aCrdSys)
    : ktmdl_Trsf3d(aCrdSys.mX, aCrdSys.mY, aCrdSys.mZ)
{
    const ktmdl_Vec3d& z = aCrdSys.mDir;
    const ktmdl_Vec3d& x = aCrdSys.mDirX;
    ktmdl_Vec3d y(z);
    y.Cross(x);
    const double rows[9] = {x.mX, x.mY, x.mZ, y.mX, y.mY, y.mZ, z.mX, z.mY, z.mZ};
    // On purpose: the test is the opposite of what the message says, so proper systems raise.
    // Pinned by FromAProperSystemRaises.
    if (std::fabs(ktmdl::Determinant33Matrix(rows)) >= kTolerance) {
        ktstd_fail_ProgramError::Raise("ktmdl_Trsf3d(CrdSys) : Determinant = 0");
    }
    constexpr double kSameDirection = 1e-8;
    if (x.IsEqual(ktmdl_Vec3d::VX(), kSameDirection) != 0 &&
        y.IsEqual(ktmdl_Vec3d::VY(), kSameDirection) != 0 &&
        z.IsEqual(ktmdl_Vec3d::VZ(), kSameDirection) != 0) {
        // On purpose: the linear part is the exact identity then, though such a system has raised
        // above; no result shows it.
        return;
    }
    const ktmdl_Vec3d* const columns[3] = {&x, &y, &z};
    for (int c = 0; c < 3; ++c) {
        mMatrix[0][c] = columns[c]->mX;
        mMatrix[1][c] = columns[c]->mY;
        mMatrix[2][c] = columns[c]->mZ;
    }
}

void ktmdl_Trsf3d::Serialize(ktstd_Archive& aArchive)
{
    ktmdl_detail::SerializeRecord(aArchive, recordClass, mMatrix);
}

void ktmdl_Trsf3d::GetMatrix(double aMatrix[4][4]) const noexcept
{
    std::memmove(aMatrix, mMatrix, sizeof(mMatrix));
}

unsigned char ktmdl_Trsf3d::IsIdentity() const noexcept
{
    return IsEqual(ktmdl_Trsf3d());
}

unsigned char ktmdl_Trsf3d::IsEqual(const ktmdl_Trsf3d& aOther) const noexcept
{
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            if (!(std::fabs(mMatrix[r][c] - aOther.mMatrix[r][c]) <= kTolerance)) {
                return 0;
            }
        }
    }
    return 1;
}

unsigned char ktmdl_Trsf3d::HasRotation() const noexcept
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            // On purpose: exactly the tolerance differs here, but is equal for IsEqual.
            // Pinned by RotationStartsAtAMillionth.
            if (fromIdentity(mMatrix, r, c) >= kTolerance) {
                return 1;
            }
        }
    }
    return 0;
}

unsigned char ktmdl_Trsf3d::HasTranslation() const noexcept
{
    // On purpose: exactly the tolerance differs here, but is equal for IsEqual.
    // Pinned by TranslationStartsAtAMillionth.
    return std::fabs(mMatrix[0][3]) >= kTolerance || std::fabs(mMatrix[1][3]) >= kTolerance ||
                   std::fabs(mMatrix[2][3]) >= kTolerance
               ? 1
               : 0;
}

ktmdl_Trsf3d ktmdl_Trsf3d::operator*(const ktmdl_Trsf3d& aOther) const noexcept
{
    ktmdl_Trsf3d result;
    multiply(aOther.mMatrix, mMatrix, result.mMatrix);
    return result;
}

ktmdl_Trsf3d& ktmdl_Trsf3d::operator*=(const ktmdl_Trsf3d& aOther) noexcept
{
    multiply(aOther.mMatrix, mMatrix, mMatrix);
    return *this;
}

void ktmdl_Trsf3d::SetMatrix(const double aMatrix[4][4]) noexcept
{
    std::memmove(mMatrix, aMatrix, sizeof(mMatrix));
}

void ktmdl_Trsf3d::SetTranslation(const ktmdl_Vec3d& aVector, unsigned char aKeepRest) noexcept
{
    if (aKeepRest == 0) {
        *this = ktmdl_Trsf3d();
    }
    mMatrix[0][3] = aVector.mX;
    mMatrix[1][3] = aVector.mY;
    mMatrix[2][3] = aVector.mZ;
}

void ktmdl_Trsf3d::SetRotation(const ktmdl_Axis3d& aAxis, double aAngle,
                               unsigned char aKeepTranslation) noexcept
{
    const ktmdl_Vec3d former(mMatrix[0][3], mMatrix[1][3], mMatrix[2][3]);
    const ktmdl_Trsf3d toOrigin(-aAxis.mX, -aAxis.mY, -aAxis.mZ);
    ktmdl_Trsf3d turn;
    ktmdl::RotAxis2Matrix(aAxis.mDir.mX, aAxis.mDir.mY, aAxis.mDir.mZ, aAngle, turn.mMatrix);
    const ktmdl_Trsf3d back(aAxis.mX, aAxis.mY, aAxis.mZ);
    *this = (toOrigin * turn) * back;
    if (aKeepTranslation != 0) {
        SetTranslation(former, 1);
    }
}

void ktmdl_Trsf3d::SetScale(double aX, double aY, double aZ) noexcept
{
    *this = ktmdl_Trsf3d();
    mMatrix[0][0] = aX;
    mMatrix[1][1] = aY;
    mMatrix[2][2] = aZ;
}

void ktmdl_Trsf3d::Reverse()
{
    const double column[4] = {mMatrix[0][0], mMatrix[1][0], mMatrix[2][0], mMatrix[3][0]};
    adjugate(mMatrix, mMatrix);
    const double determinant = column[0] * mMatrix[0][0] + column[1] * mMatrix[0][1] +
                               column[2] * mMatrix[0][2] + column[3] * mMatrix[0][3];
    if (std::fabs(determinant) < 1e-10) {
        // On purpose: the adjugate stays behind.
        // Pinned by ReverseOfASingularMatrixRaisesAndLeavesTheAdjugate.
        ktstd_fail_ProgramError::Raise("ktmdl_Trsf3d::Reverse MATRIX NOT REGULAR");
    }
    for (auto& row : mMatrix) {
        for (double& entry : row) {
            entry /= determinant;
        }
    }
}
