#include "standin/step/StepFile.h"

#include "standin/step/Exchange.h"
#include "standin/step/Products.h"
#include "standin/step/Report.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <vector>

namespace standin::step {

namespace {

// As much of a file as is read to recognise it.
constexpr std::size_t kFirstBytes = 4096;
constexpr std::string_view kByteOrderMark("\xEF\xBB\xBF");

std::string withPlace(const std::string& message, std::size_t line, long entity)
{
    std::string text;
    if (line != 0) {
        text += "line " + std::to_string(line) + ": ";
    }
    if (entity != 0) {
        text += "#" + std::to_string(entity) + ": ";
    }
    return text + message;
}

[[noreturn]] void refuse(const std::string& why)
{
    throw StepError(why, 0, 0);
}

std::string_view withoutMark(std::string_view text)
{
    return text.substr(0, kByteOrderMark.size()) == kByteOrderMark
               ? text.substr(kByteOrderMark.size())
               : text;
}

// Tells what the first bytes of a file are, for the message.
std::string guess(std::string_view first)
{
    struct Known
    {
        std::string_view start;
        const char* name;
    };
    static constexpr std::array<Known, 9> kKnown{{{"\xFF\xD8\xFF", "a JPEG image"},
                                                  {"\x89PNG", "a PNG image"},
                                                  {"PK\x03\x04", "a ZIP archive"},
                                                  {"\x1F\x8B", "a gzip archive"},
                                                  {"%PDF", "a PDF document"},
                                                  {"<?xml", "an XML document"},
                                                  {"solid ", "an STL mesh"},
                                                  {"\xFF\xFE", "UTF-16 text"},
                                                  {"\xFE\xFF", "UTF-16 text"}}};
    const auto found = std::find_if(kKnown.begin(), kKnown.end(), [first](const Known& known) {
        return first.substr(0, known.start.size()) == known.start;
    });
    if (found != kKnown.end()) {
        return std::string("it looks like ") + found->name;
    }
    const bool zeros = first.find_first_not_of('\0') == std::string_view::npos;
    return zeros ? "it begins with zero bytes" : "it does not begin with ISO-10303-21";
}

// Refuses what can't be a STEP file. Blanks and comments may stand before its first word.
void recognise(std::string_view first)
{
    first = withoutMark(first.substr(0, kFirstBytes));
    if (first.empty()) {
        refuse("not a STEP file: it is empty");
    }
    constexpr std::string_view kStart = "ISO-10303-21";
    std::string_view rest = first;
    for (;;) {
        const std::size_t word = rest.find_first_not_of(" \t\r\n\f\v");
        rest.remove_prefix(std::min(word, rest.size()));
        if (rest.substr(0, 2) != "/*") {
            break;
        }
        const std::size_t close = rest.find("*/", 2);
        if (close == std::string_view::npos) {
            return; // a long comment: the parser goes on with it
        }
        rest.remove_prefix(close + 2);
    }
    if (rest.substr(0, kStart.size()) != kStart) {
        refuse("not a STEP file: " + guess(first));
    }
}

std::string load(const std::string& path)
{
    namespace fs = std::filesystem;
    const fs::path file = fs::u8path(path);
    std::error_code error;
    const fs::file_status status = fs::status(file, error);
    if (!fs::exists(status)) {
        refuse("there is no such file");
    }
    if (fs::is_directory(status)) {
        refuse("this is a folder, not a file");
    }
    if (!fs::is_regular_file(status)) {
        refuse("this is not a regular file");
    }
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        refuse("the file can't be opened");
    }
    std::string text(kFirstBytes, '\0');
    stream.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(stream.gcount()));
    if (stream.bad()) {
        refuse("the file can't be read");
    }
    recognise(text);
    const std::uintmax_t size = fs::file_size(file, error);
    if (error || size > kMaxFileSize) {
        refuse("the file is larger than " + std::to_string(kMaxFileSize) + " bytes");
    }
    const std::size_t begun = text.size();
    if (size > begun) {
        text.resize(static_cast<std::size_t>(size));
        stream.read(&text[begun], static_cast<std::streamsize>(text.size() - begun));
        text.resize(begun + static_cast<std::size_t>(stream.gcount()));
        if (stream.bad() || text.size() != size) {
            refuse("the file can't be read to its end");
        }
    }
    return text;
}

bool startsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

void reportSchemas(const Exchange& exchange, Report& report)
{
    constexpr std::array<std::string_view, 6> kKnown{"CONFIG_CONTROL_DESIGN",
                                                     "AP203_CONFIGURATION_CONTROLLED_3D_DESIGN",
                                                     "AUTOMOTIVE_DESIGN",
                                                     "AP214",
                                                     "AP242_MANAGED_MODEL_BASED_3D_ENGINEERING",
                                                     "CONFIGURATION_CONTROL_3D_DESIGN"};
    for (const std::string& schema : exchange.schemas()) {
        const bool known =
            std::any_of(kKnown.begin(), kKnown.end(),
                        [&schema](std::string_view start) { return startsWith(schema, start); });
        if (!known) {
            report.add("the schema " + schema.substr(0, 100) +
                       " is none of AP203, AP214 and AP242, read all the same");
        }
    }
    if (exchange.schemas().empty()) {
        report.add("the header names no schema, read all the same");
    }
}

// Names what files hold beside shapes: looks, annotations, tolerances, tessellations.
void reportKinds(const Exchange& exchange, Report& report)
{
    const auto leaveOut = [&](const std::string& kind, const std::vector<long>& numbers) {
        for (const long number : numbers) {
            report.count(kind + ": no shape, left out", number, exchange.lineOf(number));
        }
    };
    for (const char* keyword :
         {"STYLED_ITEM", "OVER_RIDING_STYLED_ITEM", "PRESENTATION_LAYER_ASSIGNMENT",
          "ANNOTATION_OCCURRENCE", "ANNOTATION_CURVE_OCCURRENCE", "ANNOTATION_TEXT_OCCURRENCE",
          "ANNOTATION_SYMBOL_OCCURRENCE", "ANNOTATION_FILL_AREA_OCCURRENCE",
          "TESSELLATED_ANNOTATION_OCCURRENCE", "DRAUGHTING_CALLOUT", "DATUM", "DIMENSIONAL_SIZE",
          "DIMENSIONAL_LOCATION", "TESSELLATED_SOLID", "TESSELLATED_SHELL"}) {
        leaveOut(keyword, exchange.withKeyword(keyword));
    }
    constexpr std::string_view kTolerance = "_TOLERANCE";
    leaveOut("tolerances", exchange.where([=](std::string_view keyword) {
        return keyword.size() > kTolerance.size() &&
               keyword.substr(keyword.size() - kTolerance.size()) == kTolerance;
    }));
}

geom::Model readChecked(const std::string& text, const std::string& stem)
{
    const Exchange exchange(withoutMark(text));
    Report report;
    for (const std::string& remark : exchange.remarks()) {
        report.add(remark);
    }
    reportSchemas(exchange, report);
    geom::Model model = readProducts(exchange, stem, report);
    reportKinds(exchange, report);
    model.warnings = report.lines();
    return model;
}

// Runs a reading step and puts the file's name before what goes wrong.
template <typename Step>
geom::Model named(const std::string& name, Step step)
{
    try {
        return step();
    } catch (const StepError& error) {
        throw StepError(name, error);
    } catch (const Overload& error) {
        throw StepError(name + ": " + error.what(), 0, 0);
    }
}

std::string stemOf(const std::string& path)
{
    const std::size_t slash = path.find_last_of("/\\");
    const std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = file.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? file : file.substr(0, dot);
}

} // namespace

StepError::StepError(const std::string& message, std::size_t line, long entity)
    : std::runtime_error(withPlace(message, line, entity)),
      mLine(line),
      mEntity(entity)
{}

StepError::StepError(const std::string& prefix, const StepError& other)
    : std::runtime_error(prefix + ": " + other.what()),
      mLine(other.line()),
      mEntity(other.entity())
{}

geom::Model readFile(const std::string& path)
{
    return named(path, [&] {
        const std::string text = load(path);
        return readChecked(text, stemOf(path));
    });
}

geom::Model readText(const std::string& text, const std::string& name)
{
    return named(name, [&] {
        if (text.size() > kMaxFileSize) {
            refuse("the text is larger than " + std::to_string(kMaxFileSize) + " bytes");
        }
        recognise(text);
        return readChecked(text, stemOf(name));
    });
}

} // namespace standin::step
