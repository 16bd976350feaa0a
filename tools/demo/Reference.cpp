#include "demo/Reference.h"

#include "demo/Automation.h"
#include "demo/Report.h"
#include "ktmdl/ktmdl_BldReference.h"
#include "standin/step/StepFile.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <stdexcept>

namespace demo {
namespace {

using Objects = std::vector<IDispatchPtr>;

//! Finds the assembly that the verb works on.
std::size_t assemblyIn(const standin::geom::Model& model, ReferenceReport& report)
{
    std::vector<std::size_t> assemblies;
    for (const std::size_t each : outermost(model)) {
        if (!model.products[each].occurrences.empty()) {
            assemblies.push_back(each);
        }
    }
    if (assemblies.empty()) {
        throw DemoError(report.assembly + ": there is no assembly in it");
    }
    if (assemblies.size() > 1) {
        report.warnings.push_back(
            "there are " + std::to_string(assemblies.size()) +
            " assemblies that nothing connects in the file, this is about the first one, \"" +
            model.products[assemblies.front()].name + "\"");
    }
    return assemblies.front();
}

IDispatchPtr open(standin::Session& host, ReferenceReport& report)
{
    const standin::geom::Model model = standin::step::readFile(report.assembly);
    report.warnings = model.warnings;
    standin::OpenOptions options;
    options.product = assemblyIn(model, report);
    return host.openAssembly(model, report.assembly, options);
}

//! Gives the names of an assembly's occurrences.
std::vector<std::string> namesOf(const Objects& occurrences)
{
    std::vector<std::string> names;
    for (const IDispatchPtr& each : occurrences) {
        names.push_back(textProperty(each, L"Name"));
    }
    return names;
}

//! Lists the first names with their numbers.
std::string listed(const std::vector<std::string>& names)
{
    constexpr std::size_t kMost = 8;
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kMost); ++i) {
        text += (i == 0 ? "" : ", ") + std::to_string(i + 1) + " \"" + names[i] + "\"";
    }
    if (names.size() > kMost) {
        text += " and " + std::to_string(names.size() - kMost) + " more";
    }
    return names.empty() ? "nothing" : text;
}

//! Reads a component as a number from 1.
//! @return  0 when it is none of an occurrence
std::size_t numberIn(const std::string& component, std::size_t count)
{
    std::size_t number = 0;
    for (const char digit : component) {
        if (digit < '0' || digit > '9' || number > count) {
            return 0;
        }
        number = number * 10 + static_cast<std::size_t>(digit - '0');
    }
    return number <= count ? number : 0;
}

//! Finds the occurrence that a component of the path names.
//! @return  its index
std::size_t indexOf(const std::string& component, const std::vector<std::string>& names,
                    const std::string& where)
{
    const auto first = std::find(names.begin(), names.end(), component);
    if (first != names.end()) {
        const auto second = std::find(first + 1, names.end(), component);
        if (second != names.end()) {
            throw DemoError("\"" + component + "\" is not the only one of its name in " + where +
                            ", give its number: " + listed(names));
        }
        return static_cast<std::size_t>(first - names.begin());
    }
    const std::size_t number = numberIn(component, names.size());
    if (number == 0) {
        throw DemoError("there is no occurrence \"" + component + "\" in " + where + "; there is " +
                        listed(names));
    }
    return number - 1;
}

bool isSubassembly(const IDispatchPtr& occurrence)
{
    return longProperty(occurrence, L"Type") == ktmdl_host::igSubAssembly;
}

//! Gives the occurrences of an assembly document.
Objects occurrencesOf(const IDispatchPtr& document)
{
    return items(objectProperty(document, L"Occurrences"));
}

//! Goes down the path that was asked for.
Objects goDown(IDispatchPtr document, const std::vector<std::string>& components,
               const std::string& file)
{
    Objects way;
    std::string where = fileName(file);
    for (const std::string& component : components) {
        if (!way.empty()) {
            if (!isSubassembly(way.back())) {
                where.append(" is a part, there is no \"").append(component).append("\" in it");
                throw DemoError(where);
            }
            document = objectProperty(way.back(), L"OccurrenceDocument");
        }
        const Objects occurrences = occurrencesOf(document);
        const std::vector<std::string> names = namesOf(occurrences);
        const std::size_t index = indexOf(component, names, where);
        way.push_back(occurrences[index]);
        where = "\"" + names[index] + "\"";
    }
    return way;
}

//! Describes a way down from the top.
std::vector<Link> linksOf(IDispatchPtr document, const Objects& way)
{
    std::vector<Link> links;
    for (const IDispatchPtr& occurrence : way) {
        const Objects siblings = occurrencesOf(document);
        const auto self =
            std::find_if(siblings.begin(), siblings.end(),
                         [&](const IDispatchPtr& each) { return isSame(each, occurrence); });
        if (self == siblings.end()) {
            throw DemoError("the reference does not go down from the assembly");
        }
        document = objectProperty(occurrence, L"OccurrenceDocument");
        Link& link = links.emplace_back();
        link.name = textProperty(occurrence, L"Name");
        link.number = static_cast<long>(self - siblings.begin()) + 1;
        link.type = isSubassembly(occurrence) ? "sub-assembly" : "part";
        link.document = textProperty(document, L"FullName");
    }
    return links;
}

//! Lets the builder make the reference.
IDispatchPtr built(const IDispatchPtr& document, const IDispatchPtr& target,
                   ReferenceReport& report)
{
    ktmdl_BldReference builder(document, target, IDispatchPtr(), report.level);
    // Each walk that does not find the occurrence has met it, and so has counted the level down.
    while (builder.Status() == -2 && report.walks < report.level) {
        builder.Compute();
        ++report.walks;
    }
    if (builder.Status() != 0 || builder.Reference() == nullptr) {
        throw DemoError("the reference to " + report.path + " was not made, status " +
                        std::to_string(builder.Status()) + lastLogLine());
    }
    return builder.Reference();
}

//! Reads from the host which way a result goes.
Objects wayOf(const IDispatchPtr& result, ReferenceReport& report)
{
    const bool isReference = longProperty(result, L"Type") == ktmdl_host::igReference;
    const IDispatchPtr target = isReference ? objectProperty(result, L"Object") : result;
    Objects way = isReference ? occurrencesInPath(result) : Objects{result};
    if (!isSame(way.back(), target)) {
        throw DemoError("the way of the reference does not lead to what it refers to");
    }
    report.result = isReference ? "reference" : "occurrence";
    report.refersTo = textProperty(target, L"Name");
    return way;
}

bool areSame(const Objects& first, const Objects& second)
{
    return std::equal(first.begin(), first.end(), second.begin(), second.end(), isSame);
}

} // namespace

ReferenceReport makeReference(standin::Session& host, const ReferenceOptions& options)
{
    ReferenceReport report;
    report.assembly = options.assembly;
    report.path = options.path;
    const std::vector<std::string> components = pathComponents(options.path);
    report.level = static_cast<long>(components.size());
    IDispatchPtr document;
    IDispatchPtr result;
    Objects asked;
    runStep(host, report.effort, "open", [&] { document = open(host, report); });
    runStep(host, report.effort, "find", [&] {
        asked = goDown(document, components, options.assembly);
        report.asked = linksOf(document, asked);
    });
    runStep(host, report.effort, "refer", [&] { result = built(document, asked.back(), report); });
    runStep(host, report.effort, "read", [&] {
        const Objects way = wayOf(result, report);
        report.chain = linksOf(document, way);
        report.asAsked = areSame(way, asked);
    });
    return report;
}

ReferenceReport makeReference(const ReferenceOptions& options)
{
    ReferenceReport report;
    onStage("", [&](const std::filesystem::path&) {
        standin::Session host;
        report = makeReference(host, options);
    });
    return report;
}

namespace {

std::string chainText(const std::vector<Link>& chain)
{
    std::string text;
    for (std::size_t i = 0; i < chain.size(); ++i) {
        const Link& link = chain[i];
        text += "  level " + std::to_string(i + 1) + "  " + std::to_string(link.number) + " \"" +
                printable(link.name) + "\", " + link.type + ", shows " +
                printable(fileName(link.document)) + "\n";
    }
    return text;
}

std::string joined(const std::vector<Link>& chain)
{
    std::string text;
    for (const Link& link : chain) {
        text += (text.empty() ? "" : "/") + link.name;
    }
    return text;
}

nlohmann::ordered_json jsonOf(const std::vector<Link>& chain)
{
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (std::size_t i = 0; i < chain.size(); ++i) {
        json.push_back({{"level", i + 1},
                        {"occurrence", chain[i].name},
                        {"number", chain[i].number},
                        {"type", chain[i].type},
                        {"document", chain[i].document}});
    }
    return json;
}

} // namespace

std::vector<std::string> pathComponents(const std::string& path)
{
    std::vector<std::string> components;
    std::size_t from = 0;
    while (from <= path.size()) {
        const std::size_t to = std::min(path.find('/', from), path.size());
        if (to == from) {
            throw std::invalid_argument("the path \"" + path + "\" has an empty component");
        }
        components.push_back(path.substr(from, to - from));
        from = to + 1;
    }
    return components;
}

std::string referenceText(const ReferenceReport& report)
{
    const auto& seconds = report.effort.seconds;
    std::string text = stepLine("open", fileName(report.assembly), seconds.at(0).second);
    text += stepLine("find", joined(report.asked) + ", level " + std::to_string(report.level),
                     seconds.at(1).second);
    text += stepLine("refer",
                     report.result + " to \"" + report.refersTo + "\", " +
                         count(report.walks, "walk", "walks") + " of the builder",
                     seconds.at(2).second);
    text += stepLine("read", count(static_cast<long>(report.chain.size()), "level", "levels"),
                     seconds.at(3).second);
    text += chainText(report.chain);
    text += report.asAsked
                ? "  this is the way asked for\n"
                : "  this is not the way asked for, but leads to the same occurrence: the assembly "
                  "that it stands in is used at several places\n";
    return text + endingText(report.warnings, report.effort);
}

std::string referenceJson(const ReferenceReport& report)
{
    nlohmann::ordered_json json;
    json["assembly"] = report.assembly;
    json["path"] = report.path;
    json["level"] = report.level;
    json["walks"] = report.walks;
    json["result"] = report.result;
    json["refers_to"] = report.refersTo;
    json["asked"] = jsonOf(report.asked);
    json["chain"] = jsonOf(report.chain);
    json["as_asked"] = report.asAsked;
    addEnding(json, report.warnings, report.effort);
    return jsonText(json);
}

} // namespace demo
