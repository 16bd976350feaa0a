#include "standin/geom/Vec.h"

namespace standin::geom {

Frame makeFrame(const Vec& origin, const Vec& z, const Vec& approximateX) noexcept
{
    Frame frame;
    frame.origin = origin;
    if (length(z) > 0.0) {
        frame.z = unit(z);
    }
    const Vec given = unit(approximateX);
    Vec x = given - frame.z * dot(given, frame.z);
    if (!(length(x) > 1e-9)) {
        // The axis least along Z is furthest from being parallel to it.
        const Vec a{std::fabs(frame.z.x), std::fabs(frame.z.y), std::fabs(frame.z.z)};
        const Vec axis = a.x <= a.y && a.x <= a.z ? Vec{1.0, 0.0, 0.0}
                         : a.y <= a.z             ? Vec{0.0, 1.0, 0.0}
                                                  : Vec{0.0, 0.0, 1.0};
        x = axis - frame.z * dot(axis, frame.z);
    }
    frame.x = unit(x);
    frame.y = cross(frame.z, frame.x);
    return frame;
}

} // namespace standin::geom
