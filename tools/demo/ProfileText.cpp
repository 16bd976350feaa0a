#include "demo/ProfileText.h"

#include "demo/Report.h"

namespace demo {
namespace {

using standin::ContainerKind;
using standin::RelationKind;

std::string pointText(const standin::SketchPoint& point)
{
    return "(" + millimetres(point.x) + ", " + millimetres(point.y) + ")";
}

} // namespace

const char* containerName(ContainerKind kind)
{
    switch (kind) {
    case ContainerKind::sketch:
        return "sketch";
    case ContainerKind::profileSet:
        return "profile set";
    case ContainerKind::layout:
        return "layout";
    }
    return "drawing";
}

const char* relationName(RelationKind kind)
{
    switch (kind) {
    case RelationKind::keypoint:
        return "connected";
    case RelationKind::horizontal:
        return "horizontal";
    case RelationKind::vertical:
        return "vertical";
    case RelationKind::horizontalAlign:
        return "equal y";
    case RelationKind::verticalAlign:
        return "equal x";
    }
    return "related";
}

const char* keypointName(long keypoint)
{
    return keypoint == 0 ? "start" : keypoint == 1 ? "end" : "middle";
}

std::string lineName(const standin::ProfileView& profile, std::size_t line)
{
    const std::size_t plane = profile.lines.at(line).plane;
    return plane == standin::geom::kNone ? "line " + std::to_string(line + 1)
                                         : "plane " + std::to_string(plane + 1);
}

std::string courseOf(const standin::SketchLine& line)
{
    return pointText(line.start) + " to " + pointText(line.end);
}

std::string partnersOf(const standin::ProfileView& profile, const standin::SketchRelation& relation)
{
    if (relation.otherLine == standin::geom::kNone) {
        return lineName(profile, relation.line);
    }
    return std::string(keypointName(relation.keypoint)) + " of " +
           lineName(profile, relation.line) + ", " + keypointName(relation.otherKeypoint) + " of " +
           lineName(profile, relation.otherLine);
}

std::string planeName(const standin::ProfileView& profile)
{
    const std::string number = "plane " + std::to_string(profile.planeNumber);
    return profile.plane.name.empty() ? number : number + ", " + profile.plane.name;
}

} // namespace demo
