//! @file
//! The verb "box": how large a part or an assembly is.

#pragma once

#include "demo/Stage.h"

#include <array>
#include <string>
#include <vector>

namespace demo {

struct BoxOptions
{
    std::string file;     //!< STEP file, UTF-8
    bool constructions{}; //!< construction bodies of parts count, too
};

//! A box, in metres.
struct Box
{
    std::array<double, 3> min{};
    std::array<double, 3> max{};
};

//! A part or an assembly of the file that no other one uses.
struct MeasuredDocument
{
    std::string name; //!< of its product
    bool assembly{};
    long occurrences{};    //!< its own
    long allOccurrences{}; //!< on all levels
    Box box;
};

struct BoxReport
{
    std::string file;
    bool constructions{};
    std::vector<MeasuredDocument> documents; //!< at least one
    Box box;                                 //!< of all documents
    std::vector<std::string> warnings;       //!< what does not count, and why
    Effort effort;
};

//! Opens a file in the host and measures it. When it holds several parts or assemblies that nothing
//! connects, each is opened and measured, and their boxes are united.
//! @throws DemoError  the file can't be used or measured
[[nodiscard]] BoxReport measureBox(const BoxOptions& options);
//! Does the same in a host that is there, with the diagnostic log as it is.
//! @throws DemoError        the file holds nothing, or the builder failed
//! @throws step::StepError  the file can't be used
//! @throws _com_error       the host refused to tell a document's kind
[[nodiscard]] BoxReport measureBox(standin::Session& host, const BoxOptions& options);

//! Writes the report for a reader, lengths in millimetres.
[[nodiscard]] std::string boxText(const BoxReport& report);
//! Writes the report as one JSON object, lengths in metres.
[[nodiscard]] std::string boxJson(const BoxReport& report);

} // namespace demo
