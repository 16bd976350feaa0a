#include "ktmdl/ktmdl_ShowVariable.h"

#include "ktmdl/ktmdl_BBox2d.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_CrdSys3d.h"
#include "ktmdl/ktmdl_ErosionPos.h"
#include "ktmdl/ktmdl_Trsf2d.h"
#include "ktmdl/ktmdl_Trsf3d.h"
#include "ktmdl/ktmdl_Vec2d.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_Debug.h"

#include <cmath>
#include <fstream>
#include <iomanip>

namespace {

//! Coordinates as dumps write them: x,y or x,y,z.
struct Coordinates2d
{
    const ktmdl_Data2d& pair;
};
struct Coordinates
{
    const ktmdl_Data3d& triple;
};

std::ostream& operator<<(std::ostream& aStream, const Coordinates2d& aValue)
{
    return aStream << aValue.pair.mX << "," << aValue.pair.mY;
}

std::ostream& operator<<(std::ostream& aStream, const Coordinates& aValue)
{
    return aStream << aValue.triple.mX << "," << aValue.triple.mY << "," << aValue.triple.mZ;
}

//! Begins a dump.
std::ostream& label(const char* aClass, const char* aName)
{
    return ktstd_Debug::LogPrint()
           << "[" << aClass << "]: " << (aName != nullptr ? aName : "") << " = ";
}

//! Formats the log for a matrix and puts its flags and precision back at the end.
class MatrixFormat
{
public:
    explicit MatrixFormat(std::ostream& aLog)
        : mLog(aLog),
          mFlags(aLog.flags()),
          mPrecision(aLog.precision(3))
    {
        // On purpose: the other flags stay, scientific included.
        // Pinned by MatrixDumpsKeepTheOtherFlags.
        aLog.setf(std::ios_base::fixed | std::ios_base::showpoint);
    }
    MatrixFormat(const MatrixFormat&) = delete;
    MatrixFormat& operator=(const MatrixFormat&) = delete;
    ~MatrixFormat()
    {
        mLog.flags(mFlags);
        mLog.precision(mPrecision);
    }

private:
    std::ostream& mLog;
    std::ios_base::fmtflags mFlags;
    std::streamsize mPrecision;
};

//! Rounds to three decimals, half away from zero.
double rounded(double aValue)
{
    if (aValue == 0.0) {
        return 0.0;
    }
    // On purpose: what is below zero and rounds to zero keeps its sign.
    // Pinned by ASmallNegativeEntryKeepsItsSign.
    const double thousandths = aValue * 1000.0;
    return (thousandths > 0.0 ? std::floor(thousandths + 0.5) : std::ceil(thousandths - 0.5)) /
           1000.0;
}

} // namespace

void ShowVariable(const char* aName, const ktmdl_Pnt2d& aPoint)
{
    label("Pnt2d", aName) << "(" << Coordinates2d{aPoint} << ")" << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_Vec2d& aVector)
{
    label("Vec2d", aName) << "(" << Coordinates2d{aVector} << ")" << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_Pnt3d& aPoint)
{
    label("Pnt3d", aName) << "(" << Coordinates{aPoint} << ")" << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_Vec3d& aVector)
{
    label("Vec3d", aName) << "(" << Coordinates{aVector} << ")" << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_Axis3d& aAxis)
{
    label("Axis3d", aName) << "(pos: " << Coordinates{aAxis}
                           << ") (dir: " << Coordinates{aAxis.mDir} << ")" << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_CrdSys3d& aCrdSys)
{
    label("CrdSys3d", aName) << "[Pos=(" << Coordinates{aCrdSys} << "), DirZ=("
                             << Coordinates{aCrdSys.mDir} << "), DirX=("
                             << Coordinates{aCrdSys.mDirX} << ")]" << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_BBox2d& aBox)
{
    label("BBox2d", aName) << "[min=(" << Coordinates2d{aBox.mMin} << "), max=("
                           << Coordinates2d{aBox.mMax} << ")]" << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_BBox3d& aBox)
{
    label("BBox3d", aName) << "[min=(" << Coordinates{aBox.mMin} << "), max=("
                           << Coordinates{aBox.mMax} << ")]" << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_ErosionPos& aPosition)
{
    label("ErosionPos", aName) << "(" << Coordinates{aPosition.Position()}
                               << ") - Rotation Angle:" << aPosition.RotationAngle() << std::endl;
}

void ShowVariable(const char* aName, const ktmdl_Trsf2d& aTrsf)
{
    std::ostream& log = label("Trsf2d", aName) << std::endl;
    const MatrixFormat format(log);
    for (long column = 1; column <= 3; ++column) {
        // On purpose: the fill character stays a space afterwards.
        // Pinned by PlanarMatrixDumpLeavesASpaceAsFill.
        log << "             " << std::setfill(' ') << std::setw(8) << aTrsf.Value(1, column)
            << std::setw(8) << aTrsf.Value(2, column) << std::endl;
    }
}

void ShowVariable(const char* aName, const ktmdl_Trsf3d& aTrsf)
{
    std::ostream& log = label("Trsf3d", aName) << std::endl;
    const MatrixFormat format(log);
    const char fill = log.fill(' ');
    for (int column = 0; column < 4; ++column) {
        for (const auto& row : aTrsf.mMatrix) {
            log << std::setw(9) << rounded(row[column]);
        }
        log << std::endl;
    }
    log.fill(fill);
}
