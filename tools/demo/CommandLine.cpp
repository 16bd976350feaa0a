#include "demo/CommandLine.h"

#include "demo/Life.h"
#include "demo/Report.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <ostream>

namespace demo {

int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& error)
{
    constexpr int kDone = 0;
    constexpr int kUnusable = 1;
    constexpr int kWrongArguments = 2;

    LifeOptions options;
    bool json = false;
    CLI::App app(
        "Plays one life of a part's references: remember its bodies, faces and edges, save "
        "them, drop everything, read them back, find them again in the part or in the part "
        "after a change, and tell what changed.",
        "ktmdl-demo");
    app.allow_windows_style_options(false); // "/" begins a path, on every platform
    app.add_option("PART", options.part,
                   "STEP file of the part; a sample of its own when left out");
    app.add_option("CHANGED", options.changed, "STEP file of the part after a change");
    app.add_option("--out", options.out, "keep the archive and the log in this folder");
    app.add_flag("--json", json, "print one JSON object instead of lines");

    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    try {
        app.parse(reversed);
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return kDone;
    } catch (const CLI::ParseError& problem) {
        error << "ktmdl-demo: " << problem.what() << " (see ktmdl-demo --help)\n";
        return kWrongArguments;
    }

    try {
        const LifeReport report = playLife(
            options, [&](const std::string& name, const std::string& text, double seconds) {
                if (!json) {
                    out << stepLine(name, text, seconds) << std::flush;
                }
            });
        out << (json ? jsonText(report) + "\n" : closingText(report));
        return kDone;
    } catch (const LifeError& problem) {
        std::string line = problem.what();
        std::replace(line.begin(), line.end(), '\n', ' ');
        error << "ktmdl-demo: " << line << "\n";
        return kUnusable;
    }
}

} // namespace demo
