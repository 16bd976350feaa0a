#include "demo/PictureParts.h"

#include "demo/ProfileText.h"
#include "demo/Report.h"

namespace demo {

using standin::LengthView;
using standin::ProfileView;
using standin::RelationKind;
using standin::SketchRelation;

void drawArrowHead(Svg& svg, const Pixel& tip, const Pixel& direction, const char* colour)
{
    const Pixel back = tip - direction * 10.0;
    const Pixel across{direction.y * 3.5, -direction.x * 3.5};
    svg.polygon({tip, back + across, back - across}, std::string("fill=\"") + colour + "\"");
}

void drawTag(Svg& svg, const Pixel& centre, const std::string& text)
{
    TextStyle style;
    style.size = 11.0;
    style.anchor = "middle";
    style.colour = "#1f4e9c";
    style.bold = true;
    svg.circle(centre, 8.5, "fill=\"#eaf0fa\" stroke=\"#1f4e9c\"");
    svg.text(centre + Pixel{0.0, 4.0}, text, style);
}

void drawMark(Svg& svg, const Pixel& centre, RelationKind kind)
{
    constexpr double kWidth = 16.0;
    constexpr double kHalf = kWidth / 2.0;
    svg.rectangle(centre - Pixel{kHalf, kHalf}, kWidth, kWidth,
                  "rx=\"3\" fill=\"#f6ecf6\" stroke=\"#8a2d8a\" stroke-width=\"1\"");
    const Pixel x{4.5, 0.0};
    const Pixel y{0.0, 4.5};
    const char* const glyph = "stroke=\"#8a2d8a\" stroke-width=\"2\"";
    const char* const dot = "fill=\"#8a2d8a\"";
    switch (kind) {
    case RelationKind::horizontal:
        svg.line(centre - x, centre + x, glyph);
        break;
    case RelationKind::vertical:
        svg.line(centre - y, centre + y, glyph);
        break;
    case RelationKind::keypoint:
        svg.circle(centre, 3.5, dot);
        break;
    case RelationKind::horizontalAlign:
        svg.line(centre - x, centre + x, kAlignLook);
        svg.circle(centre - x, 2.0, dot);
        svg.circle(centre + x, 2.0, dot);
        break;
    case RelationKind::verticalAlign:
        svg.line(centre - y, centre + y, kAlignLook);
        svg.circle(centre - y, 2.0, dot);
        svg.circle(centre + y, 2.0, dot);
        break;
    }
}

namespace {

//! Writes the legend row by row.
class Legend
{
public:
    Legend(Svg& svg, const Pixel& corner, double right, const ProfileView& profile, bool toScale)
        : mSvg(svg),
          mProfile(profile),
          mLeft(corner.x),
          mRight(right),
          mRow(corner.y),
          mToScale(toScale)
    {}

    void draw();

private:
    void heading(const std::string& text);
    void row(const std::string& text, double indent = 30.0);
    void lines();
    void relations();
    void sizes();

    Svg& mSvg;
    const ProfileView& mProfile;
    double mLeft;
    double mRight;
    double mRow; //!< the next line of text
    bool mToScale;
};

void Legend::heading(const std::string& text)
{
    TextStyle style;
    style.size = 14.0;
    style.bold = true;
    mRow += 8.0;
    mSvg.text({mLeft, mRow}, text, style);
    mRow += 22.0;
}

//! Writes a row; what stands before it has been drawn by then.
void Legend::row(const std::string& text, double indent)
{
    const double room = mRight - mLeft - indent;
    constexpr double kLetter = 0.62; // width of a letter, in sizes of the font
    TextStyle style;
    const double wanted = static_cast<double>(text.size()) * kLetter * style.size;
    if (wanted > room) {
        style.size *= room / wanted;
    }
    mSvg.text({mLeft + indent, mRow}, text, style);
    mRow += 22.0;
}

void Legend::draw()
{
    mSvg.begin("legend");
    lines();
    relations();
    sizes();
    heading("Profile");
    row(mProfile.finished ? "closed and valid" : "not validated", 0.0);
    row(mToScale ? "drawn to scale" : "not to scale: the short side is drawn longer", 0.0);
    mSvg.end();
}

void Legend::lines()
{
    heading("Lines (mm)");
    for (std::size_t i = 0; i < mProfile.lines.size(); ++i) {
        if (mProfile.lines[i].plane == standin::geom::kNone) {
            drawTag(mSvg, {mLeft + 10.0, mRow - 4.0}, std::to_string(i + 1));
            row(courseOf(mProfile.lines[i]));
        } else {
            mSvg.line({mLeft, mRow - 4.0}, {mLeft + 22.0, mRow - 4.0}, kPlaneLook);
            row(lineName(mProfile, i) + ", seen from its edge");
        }
    }
}

//! Names the partners of a relation as short as they can be.
std::string shortPartners(const ProfileView& profile, const SketchRelation& relation)
{
    const auto name = [&profile](std::size_t line) {
        return profile.lines.at(line).plane == standin::geom::kNone ? std::to_string(line + 1)
                                                                    : lineName(profile, line);
    };
    if (relation.otherLine == standin::geom::kNone) {
        return name(relation.line);
    }
    if (relation.kind == RelationKind::keypoint) {
        return name(relation.line) + "-" + name(relation.otherLine);
    }
    return std::string(keypointName(relation.keypoint)) + " of " + name(relation.line) + ", " +
           keypointName(relation.otherKeypoint) + " of " + name(relation.otherLine);
}

void Legend::relations()
{
    if (mProfile.relations.empty()) {
        return;
    }
    heading("Relations");
    for (const RelationKind kind :
         {RelationKind::horizontal, RelationKind::vertical, RelationKind::keypoint,
          RelationKind::verticalAlign, RelationKind::horizontalAlign}) {
        std::string partners;
        for (const SketchRelation& relation : mProfile.relations) {
            if (relation.kind == kind) {
                partners += (partners.empty() ? ": " : ", ") + shortPartners(mProfile, relation);
            }
        }
        if (!partners.empty()) {
            drawMark(mSvg, {mLeft + 10.0, mRow - 4.0}, kind);
            row(relationName(kind) + partners);
        }
    }
}

void Legend::sizes()
{
    heading("Sizes");
    const auto arrow = [this](const char* colour) {
        const double y = mRow - 4.0;
        mSvg.line({mLeft, y}, {mLeft + 22.0, y},
                  std::string("stroke=\"") + colour + "\" stroke-width=\"1.2\"");
        drawArrowHead(mSvg, {mLeft, y}, {-1.0, 0.0}, colour);
        drawArrowHead(mSvg, {mLeft + 22.0, y}, {1.0, 0.0}, colour);
    };
    for (const LengthView& dimension : mProfile.dimensions) {
        arrow(dimension.driving ? kDrivingColour : kMeasuredColour);
        row(dimension.name + ": " + lineName(mProfile, dimension.line) + ", " +
            millimetres(dimension.value) + " mm, " + (dimension.driving ? "driving" : "driven"));
    }
    if (mProfile.dimensions.empty()) {
        arrow(kMeasuredColour);
        row("measured, no dimension");
    }
}

} // namespace

void drawLegend(Svg& svg, const Pixel& corner, double right, const ProfileView& profile,
                bool toScale)
{
    Legend(svg, corner, right, profile, toScale).draw();
}

} // namespace demo
