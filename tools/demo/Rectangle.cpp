#include "demo/Rectangle.h"

#include "demo/Automation.h"
#include "demo/ProfilePicture.h"
#include "demo/ProfileText.h"
#include "demo/Report.h"
#include "ktmdl/ktmdl_BldRectangularProfile.h"
#include "standin/step/StepFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>

namespace demo {
namespace {

using nlohmann::ordered_json;
using standin::ProfileView;

IDispatchPtr open(standin::Session& host, RectangleReport& report)
{
    const standin::geom::Model model = standin::step::readFile(report.asked.part);
    report.warnings = model.warnings;
    const std::vector<std::size_t> products = outermost(model);
    if (products.empty()) {
        throw DemoError(report.asked.part + ": there is no part and no assembly in it");
    }
    report.document = model.products[products.front()].name;
    if (products.size() > 1) {
        report.warnings.push_back("there are " + std::to_string(products.size()) +
                                  " parts and assemblies that nothing connects in the file, the "
                                  "rectangle is in the first one, \"" +
                                  report.document + "\"");
    }
    standin::OpenOptions options;
    options.product = products.front();
    const IDispatchPtr document = host.open(model, report.asked.part, options);
    report.assembly = isAssembly(document);
    return document;
}

IDispatchPtr planeOf(const IDispatchPtr& document, long number)
{
    const std::vector<IDispatchPtr> planes =
        items(objectProperty(document, isAssembly(document) ? L"AsmRefPlanes" : L"RefPlanes"));
    if (number < 1 || number > static_cast<long>(planes.size())) {
        throw DemoError("there is no plane " + std::to_string(number) + ", the document has " +
                        count(static_cast<long>(planes.size()), "plane", "planes"));
    }
    return planes[static_cast<std::size_t>(number) - 1];
}

//! Tells why the builder gave a status other than 0.
std::string reasonOf(long status, const std::vector<ProfileView>& profiles,
                     const RectangleOptions& options)
{
    if (status != -1 || profiles.empty()) {
        return lastLogLine();
    }
    // The plane to tie to is looked for behind the lines and before the dimensions.
    return options.constrain && profiles.back().dimensions.empty()
               ? ": no default plane of the document has the direction of plane " +
                     std::to_string(options.plane)
               : ": the host finds that the profile is not valid";
}

//! Writes the picture beside its target and moves it there when it is whole, so that what stands
//! there is lost to nothing but a picture.
void writePicture(const RectangleReport& report)
{
    namespace fs = std::filesystem;
    const fs::path target = fs::u8path(report.asked.svg);
    std::error_code error;
    if (fs::equivalent(target, fs::u8path(report.asked.part), error)) {
        throw DemoError("the picture would overwrite " + report.asked.part);
    }
    const std::string picture = profilePicture(report.profile, fileName(report.asked.part));
    fs::path beside = target;
    beside += ".part";
    std::ofstream file(beside, std::ios::binary | std::ios::trunc);
    const bool isOpen = file.is_open();
    file << picture;
    file.close();
    const bool isWritten = !file.fail();
    if (isWritten) {
        fs::rename(beside, target, error);
    }
    if (!isWritten || error) {
        if (isOpen) {
            fs::remove(beside, error);
        }
        throw DemoError("can't write the picture " + report.asked.svg);
    }
}

RectangleReport make(const RectangleOptions& options)
{
    RectangleReport report;
    report.asked = options;
    standin::Session host;
    IDispatchPtr document;
    runStep(host, report.effort, "open", [&] { document = open(host, report); });
    runStep(host, report.effort, "draw",
            [&] { report.profile = drawRectangle(host, document, options); });
    if (!options.svg.empty()) {
        runStep(host, report.effort, "picture", [&] { writePicture(report); });
    }
    return report;
}

std::string row(const std::string& what, const std::string& text)
{
    std::string line = "  " + what;
    line.resize(std::max<std::size_t>(line.size() + 1, 14), ' ');
    return line + text + "\n";
}

std::string profileText(const ProfileView& profile)
{
    std::string text;
    for (std::size_t i = 0; i < profile.lines.size(); ++i) {
        const standin::SketchLine& line = profile.lines[i];
        text += row(lineName(profile, i),
                    courseOf(line) +
                        (line.plane == standin::geom::kNone ? " mm" : " mm, seen from its edge"));
    }
    for (const standin::SketchRelation& relation : profile.relations) {
        text += row(relationName(relation.kind), partnersOf(profile, relation));
    }
    for (const standin::LengthView& dimension : profile.dimensions) {
        text += row("size " + dimension.name, lineName(profile, dimension.line) + ", " +
                                                  millimetres(dimension.value) + " mm, " +
                                                  (dimension.driving ? "driving" : "driven"));
    }
    return text + row("profile", profile.finished ? "closed and valid" : "not validated");
}

const char* jsonName(standin::RelationKind kind)
{
    switch (kind) {
    case standin::RelationKind::keypoint:
        return "keypoint";
    case standin::RelationKind::horizontal:
        return "horizontal";
    case standin::RelationKind::vertical:
        return "vertical";
    case standin::RelationKind::horizontalAlign:
        return "horizontal_align";
    case standin::RelationKind::verticalAlign:
        return "vertical_align";
    }
    return "";
}

ordered_json jsonOf(const standin::geom::Vec& vec)
{
    return ordered_json::array({vec.x, vec.y, vec.z});
}

ordered_json linesJson(const ProfileView& profile)
{
    ordered_json json = ordered_json::array();
    for (std::size_t i = 0; i < profile.lines.size(); ++i) {
        const standin::SketchLine& line = profile.lines[i];
        ordered_json entry;
        entry["line"] = i + 1;
        entry["start"] = {line.start.x, line.start.y};
        entry["end"] = {line.end.x, line.end.y};
        if (line.plane != standin::geom::kNone) {
            entry["plane"] = line.plane + 1;
        }
        json.push_back(entry);
    }
    return json;
}

ordered_json relationsJson(const ProfileView& profile)
{
    ordered_json json = ordered_json::array();
    for (const standin::SketchRelation& relation : profile.relations) {
        ordered_json entry;
        entry["kind"] = jsonName(relation.kind);
        entry["line"] = relation.line + 1;
        if (relation.otherLine != standin::geom::kNone) {
            entry["keypoint"] = keypointName(relation.keypoint);
            entry["other_line"] = relation.otherLine + 1;
            entry["other_keypoint"] = keypointName(relation.otherKeypoint);
        }
        json.push_back(entry);
    }
    return json;
}

ordered_json dimensionsJson(const ProfileView& profile)
{
    ordered_json json = ordered_json::array();
    for (const standin::LengthView& dimension : profile.dimensions) {
        json.push_back({{"name", dimension.name},
                        {"system_name", dimension.systemName},
                        {"line", dimension.line + 1},
                        {"value", dimension.value},
                        {"driving", dimension.driving}});
    }
    return json;
}

} // namespace

standin::ProfileView drawRectangle(standin::Session& host, const IDispatchPtr& document,
                                   const RectangleOptions& options)
{
    ktmdl_BldRectangularProfile builder(
        options.width, options.height, planeOf(document, options.plane), document,
        options.constrain ? 1 : 0, options.profileSet ? 1 : 0, options.validate ? 1 : 0);
    const long status = builder.Compute();
    const std::vector<ProfileView> profiles = host.profiles(document);
    if (status != 0 || profiles.empty()) {
        throw DemoError("the rectangle was not drawn, status " + std::to_string(status) +
                        reasonOf(status, profiles, options));
    }
    return profiles.back();
}

RectangleReport makeRectangle(const RectangleOptions& options)
{
    RectangleReport report;
    onStage("", [&](const std::filesystem::path&) { report = make(options); });
    return report;
}

std::string rectangleText(const RectangleReport& report)
{
    const auto& seconds = report.effort.seconds;
    std::string text = stepLine(
        "open", fileName(report.asked.part) + ": " + (report.assembly ? "assembly" : "part"),
        seconds.at(0).second);
    text += stepLine("draw",
                     "rectangle in a " + std::string(containerName(report.profile.container)) +
                         " on " + planeName(report.profile),
                     seconds.at(1).second);
    if (!report.asked.svg.empty()) {
        text += stepLine("picture", report.asked.svg, seconds.at(2).second);
    }
    return text + profileText(report.profile) + endingText(report.warnings, report.effort);
}

std::string rectangleJson(const RectangleReport& report)
{
    const ProfileView& profile = report.profile;
    ordered_json json;
    json["part"] = report.asked.part;
    json["document"] = report.document;
    json["kind"] = report.assembly ? "assembly" : "part";
    json["asked"] = {{"width", report.asked.width}, {"height", report.asked.height}};
    json["container"] = containerName(profile.container);
    json["plane"] = {{"number", profile.planeNumber},
                     {"name", profile.plane.name},
                     {"root", jsonOf(profile.plane.root)},
                     {"normal", jsonOf(profile.plane.normal)},
                     {"direction", jsonOf(profile.plane.direction)}};
    json["lines"] = linesJson(profile);
    json["relations"] = relationsJson(profile);
    json["dimensions"] = dimensionsJson(profile);
    json["valid"] = profile.finished;
    if (!report.asked.svg.empty()) {
        json["svg"] = report.asked.svg;
    }
    addEnding(json, report.warnings, report.effort);
    return jsonText(json);
}

} // namespace demo
