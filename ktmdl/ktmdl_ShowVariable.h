//! @file
//! Dumps of values to the diagnostic log, for reading by people. The dump of a topology reference
//! stands in ktmdl_Topo.h.
#pragma once

#include "ktmdl/ktmdl_Export.h"

class ktmdl_Axis3d;
class ktmdl_BBox2d;
class ktmdl_BBox3d;
class ktmdl_CrdSys3d;
class ktmdl_ErosionPos;
class ktmdl_Pnt2d;
class ktmdl_Pnt3d;
class ktmdl_Trsf2d;
class ktmdl_Trsf3d;
class ktmdl_Vec2d;
class ktmdl_Vec3d;

// All of these write to ktstd_Debug::LogPrint() and flush it; none fails, a log that can't be
// written loses the text. The name is a label, written as it is; null prints as empty. One-line
// dumps write numbers in the format that the log stream has at the time and leave it so:
//
//     [Pnt3d]: P = (1,2,3)

KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_Pnt2d& aPoint);
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_Vec2d& aVector);
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_Pnt3d& aPoint);
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_Vec3d& aVector);
//! Shows location and direction.
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_Axis3d& aAxis);
//! Shows origin, Z direction and X direction.
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_CrdSys3d& aCrdSys);
//! Shows both corners.
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_BBox2d& aBox);
//! Shows both corners.
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_BBox3d& aBox);
//! Shows point and angle, the angle as ktstd_Dim prints.
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_ErosionPos& aPosition);
//! Shows a heading and then one column of the matrix per line, the translation last, each number
//! with three decimals. The log's fill character is a space afterwards; its flags and precision are
//! as before.
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_Trsf2d& aTrsf);
//! Shows a heading and then one column of the matrix per line, each number rounded to three
//! decimals. The log's flags, precision and fill character are as before.
KTMDL_EXPORT void ShowVariable(const char* aName, const ktmdl_Trsf3d& aTrsf);
