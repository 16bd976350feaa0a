#include "demo/ProfilePicture.h"

#include "demo/PictureParts.h"
#include "demo/ProfileText.h"
#include "demo/Report.h"
#include "demo/Svg.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace demo {
namespace {

using standin::LengthView;
using standin::ProfileView;
using standin::RelationKind;
using standin::SketchLine;
using standin::SketchPoint;
using standin::SketchRelation;

// All of these are pixels.
constexpr double kWidth = 1100.0;
constexpr double kHeight = 640.0;
constexpr Pixel kCentre{350.0, 345.0};
constexpr double kWidest = 440.0;  // the profile
constexpr double kHighest = 330.0; // the profile
constexpr double kShortest = 64.0; // the profile's short side: room for two marks and an axis
constexpr double kMarkOffset = 17.0;
constexpr double kSizeOffset = 54.0;
constexpr double kLegend = 715.0;

constexpr const char* kSide = "stroke=\"#1f4e9c\" stroke-width=\"2.5\" stroke-linecap=\"round\"";
constexpr const char* kAxis = "stroke=\"#555555\" stroke-width=\"1.2\"";
constexpr const char* kPlaneColour = "#a35f00";

double dot(const Pixel& a, const Pixel& b)
{
    return a.x * b.x + a.y * b.y;
}
//! Gives the direction of a vector; that of x for one without length.
Pixel unit(const Pixel& a)
{
    const double length = std::hypot(a.x, a.y);
    return length > 0.0 ? a * (1.0 / length) : Pixel{1.0, 0.0};
}

//! The place of the profile in the picture.
class Scale
{
public:
    explicit Scale(const ProfileView& profile);

    [[nodiscard]] Pixel operator()(const SketchPoint& point) const
    {
        return {kCentre.x + (point.x - mMiddle.x) * mX, kCentre.y - (point.y - mMiddle.y) * mY};
    }
    [[nodiscard]] bool isTrue() const { return mX == mY; }
    //! Gives half the size of the drawn profile.
    [[nodiscard]] Pixel half() const { return mHalf; }

private:
    SketchPoint mMiddle;
    double mX = 1.0; //!< pixels per metre
    double mY = 1.0;
    Pixel mHalf;
};

Scale::Scale(const ProfileView& profile)
{
    constexpr double kFar = std::numeric_limits<double>::max();
    constexpr double kLeast = 1e-12; // metres
    SketchPoint low{kFar, kFar};
    SketchPoint high{-kFar, -kFar};
    for (const SketchLine& line : profile.lines) {
        if (line.plane == standin::geom::kNone) {
            low = {std::min({low.x, line.start.x, line.end.x}),
                   std::min({low.y, line.start.y, line.end.y})};
            high = {std::max({high.x, line.start.x, line.end.x}),
                    std::max({high.y, line.start.y, line.end.y})};
        }
    }
    mMiddle = {low.x / 2.0 + high.x / 2.0, low.y / 2.0 + high.y / 2.0};
    const double width = std::max(high.x - low.x, kLeast);
    const double height = std::max(high.y - low.y, kLeast);
    mX = mY = std::min(kWidest / width, kHighest / height);
    if (width * mX < kShortest) {
        mX = kShortest / width;
    }
    if (height * mY < kShortest) {
        mY = kShortest / height;
    }
    mHalf = {width * mX / 2.0, height * mY / 2.0};
}

//! Draws a profile.
class Picture
{
public:
    Picture(const ProfileView& profile, const std::string& document);

    std::string draw();

private:
    void heading();
    void planes();
    void axes();
    void sides();
    void alignments();
    void marks();
    void keypoints();
    void sizes();
    void size(const SketchLine& line, const std::string& text, const char* colour);

    [[nodiscard]] bool isDrawn(std::size_t line) const
    {
        return mProfile.lines.at(line).plane == standin::geom::kNone;
    }
    [[nodiscard]] Pixel at(std::size_t line, long keypoint) const;
    [[nodiscard]] Pixel outward(const SketchLine& line) const;

    const ProfileView& mProfile;
    std::string mDocument;
    Scale mScale;
    Svg mSvg;
};

std::string titleOf(const ProfileView& profile)
{
    return "Profile on " + planeName(profile);
}

std::string descriptionOf(const ProfileView& profile, const std::string& document)
{
    std::string text = "A profile in a " + std::string(containerName(profile.container)) + " of " +
                       document + ", in millimetres.";
    for (std::size_t i = 0; i < profile.lines.size(); ++i) {
        text += " " + lineName(profile, i) + " from " + courseOf(profile.lines[i]) + ".";
    }
    for (const LengthView& dimension : profile.dimensions) {
        text += " " + lineName(profile, dimension.line) + " is dimensioned " +
                millimetres(dimension.value) + ".";
    }
    return text;
}

//! Cuts a text in the middle of its characters when it is too long.
std::string shortened(const std::string& text, std::size_t most)
{
    if (text.size() <= most) {
        return text;
    }
    std::size_t end = most;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end; // not within a character
    }
    return text.substr(0, end) + "...";
}

Picture::Picture(const ProfileView& profile, const std::string& document)
    : mProfile(profile),
      mDocument(document),
      mScale(profile),
      mSvg(kWidth, kHeight, titleOf(profile), descriptionOf(profile, document))
{}

std::string Picture::draw()
{
    heading();
    planes();
    axes();
    alignments();
    sides();
    marks();
    keypoints();
    sizes();
    drawLegend(mSvg, {kLegend, 92.0}, kWidth - 10.0, mProfile, mScale.isTrue());
    return mSvg.finished();
}

void Picture::heading()
{
    constexpr std::size_t kMost = 70;
    TextStyle style;
    style.size = 19.0;
    style.bold = true;
    mSvg.begin("heading");
    mSvg.text({30.0, 36.0}, shortened(titleOf(mProfile), kMost), style);
    mSvg.text({30.0, 58.0},
              std::string(containerName(mProfile.container)) + " in " + shortened(mDocument, kMost),
              TextStyle());
    mSvg.end();
}

//! Gives the place of a key point: 0 start, 1 end, 2 middle.
Pixel Picture::at(std::size_t line, long keypoint) const
{
    const SketchLine& data = mProfile.lines.at(line);
    const Pixel start = mScale(data.start);
    const Pixel end = mScale(data.end);
    return keypoint == 0 ? start : keypoint == 1 ? end : (start + end) * 0.5;
}

//! Gives the direction from a line away from the profile's middle.
Pixel Picture::outward(const SketchLine& line) const
{
    const Pixel start = mScale(line.start);
    const Pixel end = mScale(line.end);
    const Pixel along = unit(end - start);
    const Pixel across{along.y, -along.x};
    return dot(across, (start + end) * 0.5 - kCentre) < 0.0 ? across * -1.0 : across;
}

//! Gives how far from a point within a frame about the picture's centre a direction leaves it.
double reach(const Pixel& from, const Pixel& direction, const Pixel& half)
{
    double most = half.x + half.y;
    const auto limit = [&most](double place, double step, double bound) {
        if (std::fabs(step) > 1e-9) {
            most = std::min(most, ((step > 0.0 ? bound : -bound) - place) / step);
        }
    };
    limit(from.x - kCentre.x, direction.x, half.x);
    limit(from.y - kCentre.y, direction.y, half.y);
    return std::max(most, 0.0);
}

//! Draws each projected plane through the whole drawing; the host's line for it has a length of
//! its own, which means nothing.
void Picture::planes()
{
    const Pixel frame = mScale.half() + Pixel{62.0, 72.0};
    mSvg.begin("planes");
    for (std::size_t i = 0; i < mProfile.lines.size(); ++i) {
        if (isDrawn(i)) {
            continue;
        }
        const Pixel middle = at(i, 2);
        const Pixel along = unit(at(i, 1) - at(i, 0));
        // The label stands at the upper end, or at the right one of a line that lies.
        const bool lies = std::fabs(along.x) > std::fabs(along.y);
        const Pixel towards = (lies ? along.x < 0.0 : along.y > 0.0) ? along * -1.0 : along;
        const Pixel label = middle + towards * reach(middle, towards, frame);
        const Pixel foot =
            middle - towards * std::max(reach(middle, towards * -1.0, frame) - 30.0, 0.0);
        mSvg.line(foot, label, kPlaneLook);
        TextStyle style;
        style.colour = kPlaneColour;
        mSvg.text(label + (lies ? Pixel{4.0, 4.0} : Pixel{8.0, 10.0}), lineName(mProfile, i),
                  style);
    }
    mSvg.end();
}

void Picture::axes()
{
    constexpr double kBehind = 22.0;
    constexpr double kRight = 32.0;
    constexpr double kUp = 42.0; // clear of the lines' numbers
    const Pixel origin = mScale({0.0, 0.0});
    const double right = kCentre.x + mScale.half().x + kRight;
    const double top = kCentre.y - mScale.half().y - kUp;
    TextStyle style;
    style.size = 15.0;
    style.anchor = "middle";
    mSvg.begin("axes");
    mSvg.line({kCentre.x - mScale.half().x - kBehind, origin.y}, {right, origin.y}, kAxis);
    drawArrowHead(mSvg, {right + 4.0, origin.y}, {1.0, 0.0}, "#555555");
    mSvg.text({right + 12.0, origin.y + 4.0}, "x", style);
    mSvg.line({origin.x, kCentre.y + mScale.half().y + kBehind}, {origin.x, top}, kAxis);
    drawArrowHead(mSvg, {origin.x, top - 4.0}, {0.0, -1.0}, "#555555");
    mSvg.text({origin.x - 13.0, top + 2.0}, "y", style);
    mSvg.end();
}

//! Draws the lines, each with its number.
void Picture::sides()
{
    mSvg.begin("sides");
    for (std::size_t i = 0; i < mProfile.lines.size(); ++i) {
        if (isDrawn(i)) {
            mSvg.line(at(i, 0), at(i, 1), kSide);
        }
    }
    mSvg.end();
    mSvg.begin("numbers");
    for (std::size_t i = 0; i < mProfile.lines.size(); ++i) {
        if (isDrawn(i)) {
            const Pixel place = at(i, 0) * 0.25 + at(i, 1) * 0.75;
            drawTag(mSvg, place + outward(mProfile.lines[i]) * kMarkOffset, std::to_string(i + 1));
        }
    }
    mSvg.end();
}

void Picture::alignments()
{
    mSvg.begin("alignments");
    for (const SketchRelation& relation : mProfile.relations) {
        if (relation.kind == RelationKind::horizontalAlign ||
            relation.kind == RelationKind::verticalAlign) {
            mSvg.line(at(relation.line, relation.keypoint),
                      at(relation.otherLine, relation.otherKeypoint), kAlignLook);
        }
    }
    mSvg.end();
}

//! Draws the mark of each relation next to what it holds: those of a line outside it, those of
//! corners outside the corner, those of aligned key points inside.
void Picture::marks()
{
    mSvg.begin("relations");
    for (const SketchRelation& relation : mProfile.relations) {
        const SketchLine& line = mProfile.lines.at(relation.line);
        const Pixel out = outward(line) * kMarkOffset;
        const Pixel point = at(relation.line, relation.keypoint);
        switch (relation.kind) {
        case RelationKind::horizontal:
        case RelationKind::vertical:
            drawMark(mSvg, at(relation.line, 0) * 0.75 + at(relation.line, 1) * 0.25 + out,
                     relation.kind);
            break;
        case RelationKind::keypoint:
            drawMark(mSvg,
                     point + out + outward(mProfile.lines.at(relation.otherLine)) * kMarkOffset,
                     relation.kind);
            break;
        case RelationKind::horizontalAlign:
        case RelationKind::verticalAlign:
            // Aside, to the right or upwards: an axis or a plane may go through the point.
            drawMark(mSvg, point - out + Pixel{std::fabs(out.y), -std::fabs(out.x)} * 0.8,
                     relation.kind);
            break;
        }
    }
    mSvg.end();
}

//! Draws the key points: ends as full dots, middles that a relation names as rings.
void Picture::keypoints()
{
    mSvg.begin("keypoints");
    for (std::size_t i = 0; i < mProfile.lines.size(); ++i) {
        for (const long keypoint : {0L, 1L}) {
            if (isDrawn(i)) {
                mSvg.circle(at(i, keypoint), 3.5, "fill=\"#1f4e9c\"");
            }
        }
    }
    const char* const ring = "fill=\"#ffffff\" stroke=\"#1f4e9c\" stroke-width=\"1.5\"";
    for (const SketchRelation& relation : mProfile.relations) {
        if (relation.otherLine != standin::geom::kNone) {
            if (relation.keypoint == 2) {
                mSvg.circle(at(relation.line, 2), 4.0, ring);
            }
            if (relation.otherKeypoint == 2) {
                mSvg.circle(at(relation.otherLine, 2), 4.0, ring);
            }
        }
    }
    mSvg.end();
}

//! Gives the lines whose length is shown when no dimension is there: the first, and the first one
//! that is not parallel to it.
std::vector<std::size_t> measuredLines(const ProfileView& profile)
{
    std::vector<std::size_t> found;
    const auto vector = [&profile](std::size_t i) {
        const SketchLine& line = profile.lines[i];
        return unit({line.end.x - line.start.x, line.end.y - line.start.y});
    };
    for (std::size_t i = 0; i < profile.lines.size() && found.size() < 2; ++i) {
        if (profile.lines[i].plane != standin::geom::kNone) {
            continue;
        }
        constexpr double kParallel = 0.999;
        if (found.empty() || std::fabs(dot(vector(found[0]), vector(i))) < kParallel) {
            found.push_back(i);
        }
    }
    return found;
}

std::string lengthText(const SketchLine& line)
{
    return millimetres(std::hypot(line.end.x - line.start.x, line.end.y - line.start.y)) + " mm";
}

void Picture::sizes()
{
    mSvg.begin("sizes");
    for (const LengthView& dimension : mProfile.dimensions) {
        size(mProfile.lines.at(dimension.line), millimetres(dimension.value) + " mm",
             dimension.driving ? kDrivingColour : kMeasuredColour);
    }
    if (mProfile.dimensions.empty()) {
        for (const std::size_t line : measuredLines(mProfile)) {
            size(mProfile.lines[line], lengthText(mProfile.lines[line]), kMeasuredColour);
        }
    }
    mSvg.end();
}

//! Draws the size of a line outside it.
void Picture::size(const SketchLine& line, const std::string& text, const char* colour)
{
    constexpr double kTextSize = 16.0;
    const std::string look = std::string("stroke=\"") + colour + "\" stroke-width=\"1.2\"";
    const Pixel out = outward(line);
    const Pixel start = mScale(line.start);
    const Pixel end = mScale(line.end);
    const Pixel along = unit(end - start);
    for (const Pixel& each : {start, end}) {
        mSvg.line(each + out * 30.0, each + out * (kSizeOffset + 6.0), look);
    }
    const Pixel offset = out * kSizeOffset;
    mSvg.line(start + offset, end + offset, look);
    drawArrowHead(mSvg, start + offset, along * -1.0, colour);
    drawArrowHead(mSvg, end + offset, along, colour);

    // Read from below or from the right, outside the arrow.
    TextStyle style;
    style.size = kTextSize;
    style.anchor = "middle";
    style.colour = colour;
    style.bold = true;
    style.turned = std::atan2(along.y, along.x) * 180.0 / std::acos(-1.0);
    if (style.turned > 90.0 - 1e-6 || style.turned < -90.0 - 1e-6) {
        style.turned += style.turned > 0.0 ? -180.0 : 180.0;
    }
    const double turn = style.turned * std::acos(-1.0) / 180.0;
    const bool isBelow = dot(out, {-std::sin(turn), std::cos(turn)}) > 0.0;
    mSvg.text((start + end) * 0.5 + out * (kSizeOffset + (isBelow ? 8.0 + kTextSize * 0.75 : 8.0)),
              text, style);
}

} // namespace

std::string profilePicture(const ProfileView& profile, const std::string& document)
{
    return Picture(profile, document).draw();
}

} // namespace demo
