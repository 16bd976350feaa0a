//! @file
//! Reads single curves and surfaces from data lines.

#pragma once

#include "standin/step/Curves.h"
#include "standin/step/Surfaces.h"
#include "support/StepText.h"

#include <gtest/gtest.h>

namespace test {

//! Reads the instance #1 of data lines; lengths in units of 0.001 m, angles in degrees of 0.0175
//! rad (rounded on purpose, so that the file's own factor is seen to be used).
template <typename Read>
auto readFirst(const std::string& data, Read read)
{
    const std::string text = stepFile("#9999=HOLDER(#1);\n" + data);
    const standin::step::Exchange exchange(text);
    const standin::step::Entity holder(exchange, 9999);
    standin::step::Units units;
    units.length = 1e-3;
    units.angle = 0.0175;
    return read(exchange, holder.attributes()[0], units);
}

inline standin::step::OrientedCurve curveOf(const std::string& data)
{
    return readFirst(data, standin::step::readCurve);
}

inline standin::step::OrientedSurface surfaceOf(const std::string& data)
{
    return readFirst(data, standin::step::readSurface);
}

//! A frame #20 at (10, 20, 30) with z along +x and x along +y, so y along +z.
inline std::string frame()
{
    return "#20=AXIS2_PLACEMENT_3D('',#21,#22,#23);\n#21=CARTESIAN_POINT('',(10.,20.,30.));\n"
           "#22=DIRECTION('',(2.,0.,0.));\n#23=DIRECTION('',(5.,3.,0.));\n";
}

inline void expectPoint(const standin::geom::Vec& found, double x, double y, double z,
                        double tolerance = 1e-12)
{
    EXPECT_NEAR(found.x, x, tolerance);
    EXPECT_NEAR(found.y, y, tolerance);
    EXPECT_NEAR(found.z, z, tolerance);
}

} // namespace test
