#include "demo/Box.h"

#include "demo/Report.h"
#include "ktmdl/ktmdl_BldBBox.h"
#include "standin/step/StepFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace demo {
namespace {

using standin::OccurrenceView;
using standin::geom::Model;

long countAll(const std::vector<OccurrenceView>& occurrences)
{
    auto all = static_cast<long>(occurrences.size());
    for (const OccurrenceView& each : occurrences) {
        all += countAll(each.occurrences);
    }
    return all;
}

//! Measures a document with the builder.
Box measured(const IDispatchPtr& document, const BoxOptions& options)
{
    ktmdl_BldBBox builder(document, options.constructions ? 1 : 0);
    if (const long status = builder.Compute(); status != 0) {
        throw DemoError("the box of " + options.file + " was not built, status " +
                        std::to_string(status) + lastLogLine());
    }
    const ktmdl_BBox3d& box = builder.BBox();
    return {{box.mMin.mX, box.mMin.mY, box.mMin.mZ}, {box.mMax.mX, box.mMax.mY, box.mMax.mZ}};
}

void unite(Box& box, const Box& other)
{
    for (std::size_t i = 0; i < 3; ++i) {
        box.min[i] = std::min(box.min[i], other.min[i]);
        box.max[i] = std::max(box.max[i], other.max[i]);
    }
}

//! Tells of parts with several bodies: only their first one is measured.
void warnOfBodies(const Model& model, std::vector<std::string>& warnings)
{
    for (const standin::geom::Product& product : model.products) {
        if (product.bodies.size() > 1) {
            warnings.push_back("part \"" + product.name + "\" has " +
                               std::to_string(product.bodies.size()) +
                               " bodies, its box is that of the first one");
        }
    }
}

//! Opens the documents of a file, in its order.
std::vector<IDispatchPtr> open(standin::Session& host, const BoxOptions& options, BoxReport& report)
{
    const Model model = standin::step::readFile(options.file);
    report.warnings = model.warnings;
    warnOfBodies(model, report.warnings);
    const std::vector<std::size_t> products = outermost(model);
    std::vector<IDispatchPtr> documents;
    for (std::size_t i = 0; i < products.size(); ++i) {
        standin::OpenOptions which;
        which.product = products[i];
        documents.push_back(
            host.open(model, documentName(options.file, i, products.size()), which));
        MeasuredDocument& document = report.documents.emplace_back();
        document.name = model.products[products[i]].name;
        const std::vector<OccurrenceView> occurrences = host.occurrences(documents.back());
        document.assembly = isAssembly(documents.back());
        document.occurrences = static_cast<long>(occurrences.size());
        document.allOccurrences = countAll(occurrences);
    }
    if (documents.empty()) {
        throw DemoError(options.file + ": there is no part and no assembly in it");
    }
    return documents;
}

} // namespace

BoxReport measureBox(standin::Session& host, const BoxOptions& options)
{
    BoxReport report;
    report.file = options.file;
    report.constructions = options.constructions;
    std::vector<IDispatchPtr> documents;
    runStep(host, report.effort, "open", [&] { documents = open(host, options, report); });
    runStep(host, report.effort, "measure", [&] {
        for (std::size_t i = 0; i < documents.size(); ++i) {
            report.documents[i].box = measured(documents[i], options);
            if (i == 0) {
                report.box = report.documents[i].box;
            } else {
                unite(report.box, report.documents[i].box);
            }
        }
    });
    // A builder that succeeds logs what it left out.
    for (const std::string& line : logLines()) {
        report.warnings.push_back("left out: " + line);
    }
    return report;
}

BoxReport measureBox(const BoxOptions& options)
{
    BoxReport report;
    onStage("", [&](const std::filesystem::path&) {
        standin::Session host;
        report = measureBox(host, options);
    });
    return report;
}

namespace {

const char* kindOf(const MeasuredDocument& document)
{
    return document.assembly ? "assembly" : "part";
}

std::string described(const MeasuredDocument& document)
{
    std::string text = kindOf(document);
    if (document.assembly) {
        text += ", " + count(document.occurrences, "occurrence", "occurrences");
        if (document.allOccurrences != document.occurrences) {
            text += ", " + std::to_string(document.allOccurrences) + " in all";
        }
    }
    return text;
}

std::string corner(const std::array<double, 3>& point)
{
    return "(" + fixedMillimetres(point[0]) + ", " + fixedMillimetres(point[1]) + ", " +
           fixedMillimetres(point[2]) + ")";
}

nlohmann::ordered_json jsonOf(const Box& box)
{
    return {{"min", box.min}, {"max", box.max}};
}

} // namespace

std::string boxText(const BoxReport& report)
{
    const std::vector<MeasuredDocument>& documents = report.documents;
    const bool several = documents.size() > 1;
    std::string opened = fileName(report.file) + ": ";
    opened += several ? count(static_cast<long>(documents.size()), "document", "documents") +
                            " that nothing connects"
                      : described(documents.front());
    std::string text = stepLine("open", opened, report.effort.seconds.at(0).second);
    text += stepLine("measure", boxSizes(report.box.min, report.box.max),
                     report.effort.seconds.at(1).second);
    text += "  from " + corner(report.box.min) + " to " + corner(report.box.max) + " mm\n";
    for (std::size_t i = 0; several && i < documents.size(); ++i) {
        text += "  " + printable(documents[i].name) + ": " + described(documents[i]) + ", " +
                boxSizes(documents[i].box.min, documents[i].box.max) + "\n";
    }
    if (several || documents.front().assembly) {
        text += "  boxes are united in each document's own coordinates; placements don't count\n";
    }
    return text + endingText(report.warnings, report.effort);
}

std::string boxJson(const BoxReport& report)
{
    nlohmann::ordered_json json;
    json["file"] = report.file;
    json["kind"] = report.documents.size() > 1 ? "several" : kindOf(report.documents.front());
    json["constructions"] = report.constructions;
    json["documents"] = nlohmann::ordered_json::array();
    for (const MeasuredDocument& document : report.documents) {
        json["documents"].push_back({{"name", document.name},
                                     {"kind", kindOf(document)},
                                     {"occurrences", document.occurrences},
                                     {"occurrences_on_all_levels", document.allOccurrences},
                                     {"box", jsonOf(document.box)}});
    }
    json["box"] = jsonOf(report.box);
    addEnding(json, report.warnings, report.effort);
    return jsonText(json);
}

} // namespace demo
