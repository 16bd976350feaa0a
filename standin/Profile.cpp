#include "standin/Call.h"
#include "standin/DrawingObject.h"
#include "standin/Ids.h"
#include "standin/ProfileCheck.h"
#include "standin/Solver.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

namespace standin {
namespace {

//! Cosines below it are right angles.
constexpr double kRightAngle = 1e-6;
//! Half the length of the line that stands for a projected plane, in metres.
constexpr double kProjectedHalf = 0.1;

//! Gives what is seen of a plane in a profile on another one: a line whose middle is next to the
//! profile's origin; nothing when the planes are not at right angles.
std::optional<SketchLine> projected(const RefPlaneSpec& profilePlane, const RefPlaneSpec& plane)
{
    if (std::fabs(geom::dot(profilePlane.normal, plane.normal)) > kRightAngle) {
        return std::nullopt;
    }
    const geom::Vec up = geom::cross(profilePlane.normal, profilePlane.direction);
    const double x = geom::dot(profilePlane.direction, plane.normal);
    const double y = geom::dot(up, plane.normal);
    const double offset = geom::dot(plane.root - profilePlane.root, plane.normal);
    const double middleX = x * offset;
    const double middleY = y * offset;
    SketchLine line;
    line.start = {middleX + kProjectedHalf * y, middleY - kProjectedHalf * x};
    line.end = {middleX - kProjectedHalf * y, middleY + kProjectedHalf * x};
    return line;
}

class Profile : public DrawingObject
{
public:
    using DrawingObject::DrawingObject;

    template <DrawnKind kind>
    void list(Call& call)
    {
        call.answer(asObject(objectOf({kind, drawn().index})));
    }
    void end(Call& call);
    void projectRefPlane(Call& call);
    void type(Call& call) { call.answer(asLong(igProfile)); }

    static const ClassInfo& table();

private:
    [[nodiscard]] DrawnProfile& data() const { return drawing()->profiles[drawn().index]; }
};

void Profile::end(Call& call)
{
    const LONG criteria = call.integer(0);
    if ((criteria & ~kAllCriteria) != 0) {
        failCall(E_INVALIDARG, "ValidationCriteria holds an unknown bit");
    }
    data().finished = meets(data(), criteria);
    call.answer(asLong(data().finished ? 0 : -1));
}

void Profile::projectRefPlane(Call& call)
{
    const std::size_t plane =
        argument(call, 0, {DrawnKind::refPlane, DrawnKind::asmRefPlane}).index;
    std::vector<SketchLine>& lines = data().lines;
    const auto known = std::find_if(lines.begin(), lines.end(), [plane](const SketchLine& line) {
        return line.plane == plane;
    });
    auto index = static_cast<std::size_t>(known - lines.begin());
    if (known == lines.end()) {
        std::optional<SketchLine> line =
            projected(drawing()->planes[data().plane], drawing()->planes[plane]);
        if (!line) {
            failCall(E_INVALIDARG, "the plane is not at a right angle to the profile's plane");
        }
        line->plane = plane;
        lines.push_back(*line);
    }
    call.answer(asObject(objectOf({DrawnKind::line, index, drawn().index})));
}

const ClassInfo& Profile::table()
{
    static const ClassInfo info{
        "Profile",
        &kIidProfile,
        {
            {10, "Lines2d", kGet, {}, handle<Profile, &Profile::list<DrawnKind::lines>>},
            {16, "Dimensions", kGet, {}, handle<Profile, &Profile::list<DrawnKind::dimensions>>},
            {17, "Relations2d", kGet, {}, handle<Profile, &Profile::list<DrawnKind::relations>>},
            {100,
             "End",
             kMethod,
             {{L"ValidationCriteria", Shape::longIn}},
             handle<Profile, &Profile::end>},
            {113,
             "ProjectRefPlane",
             kMethod,
             {{L"ReferencePlane", Shape::objectIn}},
             handle<Profile, &Profile::projectRefPlane>},
            {kOwnNumbers + 1, "Type", kGet, {}, handle<Profile, &Profile::type>},
        }};
    return info;
}

class Line : public DrawingObject
{
public:
    using DrawingObject::DrawingObject;

    template <SketchPoint SketchLine::*end>
    void point(Call& call)
    {
        const SketchPoint& point = data().*end;
        call.put(0, asDouble(point.x));
        call.put(1, asDouble(point.y));
    }
    void length(Call& call) { call.answer(asDouble(lengthOf(data()))); }

    static const ClassInfo& table();

private:
    [[nodiscard]] const SketchLine& data() const
    {
        return drawing()->profiles[drawn().owner].lines[drawn().index];
    }
};

const ClassInfo& Line::table()
{
    static const std::vector<Parameter> point{{L"x", Shape::doubleOut}, {L"y", Shape::doubleOut}};
    static const ClassInfo info{
        "Line2d",
        &kIidLine2d,
        {
            {kOwnNumbers + 3, "GetStartPoint", kMethod, point,
             handle<Line, &Line::point<&SketchLine::start>>},
            {kOwnNumbers + 4, "GetEndPoint", kMethod, point,
             handle<Line, &Line::point<&SketchLine::end>>},
            {kOwnNumbers + 5, "Length", kGet, {}, handle<Line, &Line::length>},
        }};
    return info;
}

//! The lines drawn in a profile. Those of projected planes are not among them.
class Lines : public DrawingList
{
public:
    using DrawingList::DrawingList;

    void addBy2Points(Call& call);

    static const ClassInfo& table();

protected:
    [[nodiscard]] std::vector<Drawn> items() const override
    {
        const std::vector<SketchLine>& lines = drawing()->profiles[drawn().index].lines;
        std::vector<Drawn> all;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            if (lines[i].plane == geom::kNone) {
                all.push_back({DrawnKind::line, i, drawn().index});
            }
        }
        return all;
    }
};

void Lines::addBy2Points(Call& call)
{
    SketchLine line;
    line.start = {call.real(0), call.real(1)};
    line.end = {call.real(2), call.real(3)};
    const double length = lengthOf(line);
    if (length <= kShortestLine || !std::isfinite(length)) {
        failCall(E_INVALIDARG, "the line has no length, or none that can be told");
    }
    DrawnProfile& profile = drawing()->profiles[drawn().index];
    profile.lines.push_back(line);
    profile.finished = false;
    call.answer(asObject(objectOf({DrawnKind::line, profile.lines.size() - 1, drawn().index})));
}

const ClassInfo& Lines::table()
{
    static const ClassInfo info{"Lines2d", &kIidLines2d,
                                withItems(3, {{100,
                                               "AddBy2Points",
                                               kMethod,
                                               {{L"x1", Shape::doubleIn},
                                                {L"y1", Shape::doubleIn},
                                                {L"x2", Shape::doubleIn},
                                                {L"y2", Shape::doubleIn}},
                                               handle<Lines, &Lines::addBy2Points>}})};
    return info;
}

} // namespace

IDispatchPtr newProfileObject(const std::shared_ptr<HostState>& host, const DrawingPtr& drawing,
                              const Drawn& drawn, bool known)
{
    switch (drawn.kind) {
    case DrawnKind::lines:
        return owned(new Lines(host, Lines::table(), drawing, drawn, known));
    case DrawnKind::line:
        return owned(new Line(host, Line::table(), drawing, drawn, known));
    default:
        return owned(new Profile(host, Profile::table(), drawing, drawn, known));
    }
}

} // namespace standin
