//! @file
//! The verb "reference": an occurrence at any depth, as the assembly at the top sees it.

#pragma once

#include "demo/Stage.h"

#include <string>
#include <vector>

namespace demo {

struct ReferenceOptions
{
    std::string assembly; //!< STEP file, UTF-8
    //! The way down, "clamp/left bolt" or "2/2": for each level the occurrence's name or its
    //! number, from 1, in its assembly. A name goes before a number.
    std::string path;
};

//! Splits a path at its slashes.
//! @throws std::invalid_argument  it has an empty component
[[nodiscard]] std::vector<std::string> pathComponents(const std::string& path);

//! An occurrence on the way down.
struct Link
{
    std::string name;
    long number{};        //!< in its assembly, from 1
    std::string type;     //!< "sub-assembly" or "part", as the occurrence tells
    std::string document; //!< full name of the document that it shows
};

struct ReferenceReport
{
    std::string assembly;
    std::string path;
    long level{};            //!< that the builder was asked for: the number of components
    long walks{};            //!< of the builder through the assembly, until it had the occurrence
    std::string result;      //!< "reference", or "occurrence" for one of the assembly's own
    std::vector<Link> asked; //!< the way that was asked for
    std::vector<Link> chain; //!< the way that the result goes
    bool asAsked{};          //!< they are the same
    std::string refersTo;    //!< name of the occurrence that the result refers to
    std::vector<std::string> warnings;
    Effort effort;
};

//! Opens an assembly in the host and makes a reference to one of its occurrences. When the file
//! holds several assemblies that nothing connects, the first one is opened, with a warning.
//!
//! The builder counts its level down at each place where it meets the occurrence, and takes the
//! place where the level is 1. So it is asked again as long as it has not found the occurrence, and
//! an occurrence of an assembly that is used several times may come out by another way than asked.
//! @throws DemoError  the file can't be used, there is no such path, or the builder failed
[[nodiscard]] ReferenceReport makeReference(const ReferenceOptions& options);
//! Does the same in a host that is there, with the diagnostic log as it is.
//! @throws DemoError        there is no such path, or the builder failed
//! @throws step::StepError  the file can't be used
//! @throws _com_error       the host refused an answer
[[nodiscard]] ReferenceReport makeReference(standin::Session& host,
                                            const ReferenceOptions& options);

//! Writes the report for a reader.
[[nodiscard]] std::string referenceText(const ReferenceReport& report);
//! Writes the report as one JSON object.
[[nodiscard]] std::string referenceJson(const ReferenceReport& report);

} // namespace demo
