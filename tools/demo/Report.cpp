#include "demo/Report.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <locale>
#include <sstream>

namespace demo {
namespace {

//! Above this many changes the text names the first ones only; --json has them all.
constexpr std::size_t kMaxChangesShown = 12;

std::string changeLine(const Change& change)
{
    std::ostringstream out = classicStream();
    out << "  " << std::left << std::setw(18) << change.object << std::right;
    const std::string kind = change.isBody ? "face" : "edge";
    const char* separator = "";
    const auto tell = [&](const std::string& text) {
        out << separator << text;
        separator = ", ";
    };
    const auto tellNumber = [&](long number, const char* what) {
        if (number != 0) {
            tell(std::to_string(number) + " " + kind + (number == 1 ? " " : "s ") + what);
        }
    };
    if ((change.bits & 1U) != 0U) {
        tell("its box");
    }
    tellNumber(change.gone, "gone");
    tellNumber(change.fresh, "new");
    tellNumber(change.altered, "altered");
    out << "\n";
    return out.str();
}

} // namespace

std::ostringstream classicStream()
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    return out;
}

std::string count(long number, const char* one, const char* many)
{
    return std::to_string(number) + " " + (number == 1 ? one : many);
}

std::string printable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(),
        [](char each) { return (each >= '\0' && each < ' ') || each == '\x7F'; }, ' ');
    return text;
}

std::string millimetres(double metres)
{
    constexpr double kVisible = 5e-10; // millimetres
    const double value = metres * 1000.0;
    std::ostringstream out = classicStream();
    out << std::setprecision(9) << (std::fabs(value) < kVisible ? 0.0 : value);
    return out.str();
}

std::string fixedMillimetres(double metres)
{
    constexpr double kVisible = 0.005; // millimetres
    const double value = metres * 1000.0;
    std::ostringstream out = classicStream();
    out << std::fixed << std::setprecision(2) << (std::fabs(value) < kVisible ? 0.0 : value);
    return out.str();
}

std::string boxSizes(const std::array<double, 3>& min, const std::array<double, 3>& max)
{
    std::string text = "box";
    for (std::size_t i = 0; i < 3; ++i) {
        text += (i == 0 ? " " : " x ") + fixedMillimetres(max[i] - min[i]);
    }
    return text + " mm";
}

std::string stepLine(const std::string& name, const std::string& text, double seconds)
{
    std::ostringstream out = classicStream();
    out << std::left << std::setw(10) << name << std::setw(56) << printable(text) << std::right
        << std::fixed << std::setprecision(3) << std::setw(8) << seconds << " s\n";
    return out.str();
}

std::string endingText(const std::vector<std::string>& warnings, const Effort& effort)
{
    std::ostringstream out = classicStream();
    for (const std::string& warning : warnings) {
        out << "warning: " << printable(warning) << "\n";
    }
    out << std::fixed << std::setprecision(3) << "done in " << effort.totalSeconds() << " s with "
        << effort.totalCalls() << " host calls\n";
    return out.str();
}

void addEnding(nlohmann::ordered_json& json, const std::vector<std::string>& warnings,
               const Effort& effort)
{
    json["host_calls"] = effort.totalCalls();
    json["host_calls_per_step"] = nlohmann::ordered_json::object();
    for (const auto& step : effort.calls) {
        json["host_calls_per_step"][step.first] = step.second;
    }
    json["seconds"] = nlohmann::ordered_json::object();
    for (const auto& step : effort.seconds) {
        json["seconds"][step.first] = step.second;
    }
    json["warnings"] = warnings;
}

std::string jsonText(const nlohmann::ordered_json& json)
{
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string closingText(const LifeReport& report)
{
    std::ostringstream out = classicStream();
    std::size_t shown = 0;
    for (const Change& change : report.changes) {
        if (shown++ == kMaxChangesShown) {
            out << "  ... and " << report.changes.size() - kMaxChangesShown
                << " more (--json names them all)\n";
            break;
        }
        out << changeLine(change);
    }
    out << endingText(report.warnings, report.effort);
    return out.str();
}

std::string jsonText(const LifeReport& report)
{
    nlohmann::ordered_json json;
    json["part"] = report.part;
    if (!report.changed.empty()) {
        json["changed"] = report.changed;
    }
    json["bodies"] = report.bodies;
    json["faces"] = report.faces;
    json["edges"] = report.edges;
    json["references"] = report.references;
    json["box"] = {{"min", report.boxMin}, {"max", report.boxMax}};
    json["loops"] = nlohmann::ordered_json::array();
    for (const FaceLoops& loops : report.loops) {
        json["loops"].push_back({{"face", loops.face},
                                 {"surface", loops.surface},
                                 {"closed", loops.closed},
                                 {"leftover", loops.leftover}});
    }
    json["saved_bytes"] = report.savedBytes;
    json["read_back"] = report.readBack;
    json["bound"] = report.bound;
    json["unbound"] = report.unbound;
    json["changes"] = nlohmann::ordered_json::array();
    for (const Change& change : report.changes) {
        json["changes"].push_back({{"object", change.object},
                                   {"bits", change.bits},
                                   {"gone", change.gone},
                                   {"new", change.fresh},
                                   {"altered", change.altered}});
    }
    addEnding(json, report.warnings, report.effort);
    return jsonText(json);
}

} // namespace demo
