//! @file
//! What every verb of the demo stands on: its failure, the kernel with its log in a folder, STEP
//! files and the documents in them, and the cost of steps.

#pragma once

#include "com/Com.h"
#include "standin/Session.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace demo {

//! Why a verb can't do its work: a file or a folder can't be used, or a builder failed.
class DemoError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

//! Does a verb's work with a session of the kernel and with the diagnostic log in a folder, and
//! leaves the process as it was: no references, no session, no log of the demo.
//! @param out   folder that keeps the log and what the work puts there, UTF-8, made when missing;
//!              empty: a temporary one, gone afterwards
//! @param work  is given the folder
//! @throws DemoError  the folder can't be used, or the work raised an error of a STEP file, of the
//!                    host, of the kernel or of the file system
void onStage(const std::string& out, const std::function<void(const std::filesystem::path&)>& work);

//! Gives the lines that the diagnostic log holds by now, but empty ones.
[[nodiscard]] std::vector<std::string> logLines();
//! Gives the last of them in the form ": line", and nothing when there is none.
[[nodiscard]] std::string lastLogLine();

//! Gives the products of a file that stand for themselves: with bodies or occurrences, and used by
//! no occurrence.
[[nodiscard]] std::vector<std::size_t> outermost(const standin::geom::Model& model);
//! Names the document of one of a file's parts or assemblies: as the file when it is the only one,
//! else with its number, from 1, behind it.
[[nodiscard]] std::string documentName(const std::string& file, std::size_t index,
                                       std::size_t count);
//! Gives the name of a file without its folder.
[[nodiscard]] std::string fileName(const std::string& path);

//! Tells whether a document is of an assembly.
//! @throws _com_error  the host's code
[[nodiscard]] bool isAssembly(const IDispatchPtr& document);

//! What the steps of a verb cost, in their order.
struct Effort
{
    std::vector<std::pair<std::string, long>> calls;     //!< of the host
    std::vector<std::pair<std::string, double>> seconds; //!< wall clock

    [[nodiscard]] long totalCalls() const;
    [[nodiscard]] double totalSeconds() const;
};

//! Does a step and adds what it cost.
//! @return  the step's seconds
double runStep(standin::Session& host, Effort& effort, const std::string& name,
               const std::function<void()>& work);

} // namespace demo
