//! @file
//! Drawing in the stand-in host, as a caller draws.

#pragma once

#include "support/HostObjects.h"

#include <array>
#include <string>
#include <vector>

namespace support {

constexpr DISPID kRefPlanes = 24677;
constexpr DISPID kSketches = 24684;
constexpr DISPID kProfileSets = 24676;
constexpr DISPID kAddHorizontalAlign = 708;
constexpr DISPID kAddVerticalAlign = 709;
constexpr DISPID kAddHorizontal = 712;
constexpr DISPID kAddVertical = 713;
constexpr DISPID kAddKeypoint = 719;

inline IDispatchPtr planeOf(const IDispatchPtr& document, LONG index)
{
    return item(need(get(document, kRefPlanes)), index);
}
//! Makes a sketch, or a profile set, with one profile on a default plane.
inline IDispatchPtr newProfile(const IDispatchPtr& document, LONG plane = 1,
                               DISPID containers = kSketches)
{
    const IDispatchPtr container = need(method(need(get(document, containers)), 100));
    return need(method(need(get(container, 5)), 102, {objectValue(planeOf(document, plane))}));
}
inline IDispatchPtr linesOf(const IDispatchPtr& profile)
{
    return need(get(profile, 10));
}
inline IDispatchPtr dimensionsOf(const IDispatchPtr& profile)
{
    return need(get(profile, 16));
}
inline IDispatchPtr relationsOf(const IDispatchPtr& profile)
{
    return need(get(profile, 17));
}
inline IDispatchPtr addLine(const IDispatchPtr& profile, double x1, double y1, double x2, double y2)
{
    return need(method(linesOf(profile), 100, {value(x1), value(y1), value(x2), value(y2)}));
}
inline Outcome addRelation(const IDispatchPtr& profile, DISPID kind, const IDispatchPtr& line)
{
    return method(relationsOf(profile), kind, {objectValue(line), value(true)});
}
inline Outcome addRelation(const IDispatchPtr& profile, DISPID kind, const IDispatchPtr& line,
                           LONG keypoint, const IDispatchPtr& other, LONG otherKeypoint)
{
    return method(
        relationsOf(profile), kind,
        {objectValue(line), value(keypoint), objectValue(other), value(otherKeypoint), missing()});
}
inline IDispatchPtr addLength(const IDispatchPtr& profile, const IDispatchPtr& line)
{
    return need(method(dimensionsOf(profile), 100, {objectValue(line)}));
}

//! Gives x and y of a line's start and end.
inline std::array<double, 4> endsOf(const IDispatchPtr& line)
{
    std::array<double, 4> ends{};
    const bool ok =
        named(line, L"GetStartPoint", DISPATCH_METHOD, {reference(ends[0]), reference(ends[1])})
            .ok() &&
        named(line, L"GetEndPoint", DISPATCH_METHOD, {reference(ends[2]), reference(ends[3])}).ok();
    if (!ok) {
        throw std::runtime_error("a line has no ends");
    }
    return ends;
}

//! Draws lines from point to point and back to the first one, each end joined to the next start.
inline std::vector<IDispatchPtr> addPolygon(const IDispatchPtr& profile,
                                            const std::vector<std::array<double, 2>>& points)
{
    std::vector<IDispatchPtr> lines;
    const std::size_t count = points.size();
    for (std::size_t i = 0; i < count; ++i) {
        const auto& from = points[i];
        const auto& to = points[(i + 1) % count];
        lines.push_back(addLine(profile, from[0], from[1], to[0], to[1]));
    }
    for (std::size_t i = 0; i < count; ++i) {
        need(addRelation(profile, kAddKeypoint, lines[i], 1, lines[(i + 1) % count], 0));
    }
    return lines;
}

} // namespace support
