#include "demo/CommandLine.h"

#include "demo/Box.h"
#include "demo/Life.h"
#include "demo/Rectangle.h"
#include "demo/Reference.h"
#include "demo/Report.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <functional>
#include <locale>
#include <map>
#include <optional>
#include <ostream>
#include <sstream>

namespace demo {
namespace {

constexpr int kDone = 0;
constexpr int kUnusable = 1;
constexpr int kWrongArguments = 2;

using Arguments = std::vector<std::string>;

struct Streams
{
    std::ostream& out;
    std::ostream& error;
};

//! Writes the line of an error.
//! @return  the exit code given
int refuse(const Streams& streams, const std::string& line, int code)
{
    streams.error << "ktmdl-demo: " << printable(line) << "\n";
    return code;
}

//! Reads arguments into the options that an app names.
//! @return  an exit code when nothing is left to do
std::optional<int> parse(CLI::App& app, const Arguments& arguments, const Streams& streams)
{
    app.allow_windows_style_options(false); // "/" begins a path, on every platform
    Arguments reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        streams.out << app.help();
        return kDone;
    } catch (const CLI::ParseError& problem) {
        return refuse(streams, std::string(problem.what()) + " (see " + app.get_name() + " --help)",
                      kWrongArguments);
    }
    return std::nullopt;
}

//! Does a verb's work.
//! @param work  gives what is left to print when all is done
int perform(const Streams& streams, const std::function<std::string()>& work)
{
    try {
        streams.out << work() << std::flush;
    } catch (const DemoError& problem) {
        return refuse(streams, problem.what(), kUnusable);
    }
    return streams.out ? kDone : refuse(streams, "the output can't be written", kUnusable);
}

void addJson(CLI::App& app, bool& json)
{
    app.add_flag("--json", json, "print one JSON object instead of lines");
}

int runLife(const Arguments& arguments, const Streams& streams)
{
    LifeOptions options;
    bool json = false;
    CLI::App app(
        "Plays one life of a part's references: remember its bodies, faces and edges, save "
        "them, drop everything, read them back, find them again in the part or in the part "
        "after a change, and tell what changed.",
        "ktmdl-demo");
    app.add_option("PART", options.part,
                   "STEP file of the part; a sample of its own when left out");
    app.add_option("CHANGED", options.changed, "STEP file of the part after a change");
    app.add_option("--out", options.out, "keep the archive and the log in this folder");
    addJson(app, json);
    app.footer("Verbs, as the first argument (a file of such a name is given as ./box):\n"
               "  box         measure a part or an assembly\n"
               "  rectangle   draw a rectangle on a plane of a part or an assembly\n"
               "  reference   make an assembly's reference to an occurrence at any depth\n"
               "See ktmdl-demo VERB --help.");
    if (const auto code = parse(app, arguments, streams)) {
        return *code;
    }
    return perform(streams, [&] {
        const LifeReport report = playLife(
            options, [&](const std::string& name, const std::string& text, double seconds) {
                if (!json) {
                    streams.out << stepLine(name, text, seconds) << std::flush;
                }
            });
        return json ? jsonText(report) + "\n" : closingText(report);
    });
}

int runBox(const Arguments& arguments, const Streams& streams)
{
    BoxOptions options;
    bool json = false;
    CLI::App app("Measures the box of a part, or of an assembly: there the boxes of the "
                 "occurrences' documents are united, each in its own coordinates, wherever the "
                 "occurrences are placed. Parts and assemblies of the file that nothing connects "
                 "are measured one by one and united likewise.",
                 "ktmdl-demo box");
    app.add_option("FILE", options.file, "STEP file of a part or an assembly")->required();
    app.add_flag("--constructions", options.constructions,
                 "count the construction bodies of parts, too (those of a STEP file are all "
                 "design bodies)");
    addJson(app, json);
    if (const auto code = parse(app, arguments, streams)) {
        return *code;
    }
    return perform(streams, [&] {
        const BoxReport report = measureBox(options);
        return json ? boxJson(report) + "\n" : boxText(report);
    });
}

//! Accepts a path of the verb "reference".
std::string checkPath(const std::string& path)
{
    try {
        static_cast<void>(pathComponents(path));
    } catch (const std::invalid_argument& problem) {
        return problem.what();
    }
    return std::string();
}

int runReference(const Arguments& arguments, const Streams& streams)
{
    ReferenceOptions options;
    bool json = false;
    CLI::App app("Makes the reference through which an assembly sees one of its occurrences, at "
                 "any depth, and prints the way down that it goes, level by level.",
                 "ktmdl-demo reference");
    app.add_option("ASSEMBLY", options.assembly, "STEP file of the assembly")->required();
    app.add_option("PATH", options.path,
                   "the way down, as \"clamp/left bolt\" or 2/2: for each level the occurrence's "
                   "name, or its number in its assembly, from 1")
        ->required()
        ->check(checkPath, "");
    addJson(app, json);
    if (const auto code = parse(app, arguments, streams)) {
        return *code;
    }
    return perform(streams, [&] {
        const ReferenceReport report = makeReference(options);
        return json ? referenceJson(report) + "\n" : referenceText(report);
    });
}

//! Reads a number above 0, whatever the locale; 0 when the text is none.
double positiveNumber(const std::string& text)
{
    std::istringstream in(text);
    in.imbue(std::locale::classic());
    double number = 0.0;
    in >> number;
    return in && in.eof() && std::isfinite(number) && number > 0.0 ? number : 0.0;
}

std::string checkSize(const std::string& text)
{
    return positiveNumber(text) > 0.0 ? std::string()
                                      : "\"" + text + "\" is not a size above 0 in millimetres";
}

//! Reads a number from 1; 0 when the text is none.
long numberFromOne(const std::string& text)
{
    const bool isNumber = !text.empty() && text.size() < 7 &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? std::stol(text) : 0;
}

std::string checkPlane(const std::string& text)
{
    return numberFromOne(text) > 0 ? std::string()
                                   : "\"" + text + "\" is not the number of a plane, from 1";
}

int runRectangle(const Arguments& arguments, const Streams& streams)
{
    RectangleOptions options;
    std::string width;
    std::string height;
    std::string plane;
    bool json = false;
    CLI::App app("Draws a rectangle round the origin of a reference plane and prints the profile's "
                 "lines, relations and dimensions as the host has them afterwards.",
                 "ktmdl-demo rectangle");
    app.add_option("PART", options.part, "STEP file of a part, or of an assembly")->required();
    app.add_option("WIDTH", width, "along the profile's x axis, in millimetres")
        ->required()
        ->check(checkSize, "");
    app.add_option("HEIGHT", height, "along the profile's y axis, in millimetres")
        ->required()
        ->check(checkSize, "");
    app.add_option("--plane", plane,
                   "number of the reference plane to draw on: 1, 2 and 3 are the default planes "
                   "of the document, others follow")
        ->required()
        ->check(checkPlane, "");
    app.add_flag("--profile-set", options.profileSet,
                 "draw in a profile set instead of a sketch; an assembly always has a layout");
    app.add_flag("--constrain", options.constrain,
                 "tie the rectangle to a default plane and give it two driving dimensions");
    app.add_flag("--validate", options.validate, "let the host close and check the profile");
    app.add_option("--svg", options.svg, "draw a picture of the profile into this file");
    addJson(app, json);
    if (const auto code = parse(app, arguments, streams)) {
        return *code;
    }
    constexpr double kMillimetre = 0.001;
    options.width = positiveNumber(width) * kMillimetre;
    options.height = positiveNumber(height) * kMillimetre;
    options.plane = numberFromOne(plane);
    return perform(streams, [&] {
        const RectangleReport report = makeRectangle(options);
        return json ? rectangleJson(report) + "\n" : rectangleText(report);
    });
}

} // namespace

int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& error)
{
    static const std::map<std::string, int (*)(const Arguments&, const Streams&)> verbs = {
        {"box", runBox}, {"rectangle", runRectangle}, {"reference", runReference}};
    const auto verb = arguments.empty() ? verbs.end() : verbs.find(arguments.front());
    const Streams streams{out, error};
    return verb == verbs.end()
               ? runLife(arguments, streams)
               : verb->second(Arguments(arguments.begin() + 1, arguments.end()), streams);
}

} // namespace demo
