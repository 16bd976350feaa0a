//! @file
//! The demo's command line: arguments in, exit code out.

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace demo {

//! Runs the demo.
//! @param arguments  without the program's name, UTF-8
//! @return           0 done, 1 the part could not be used (one line on the error stream), 2 wrong
//!                   arguments
int run(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& error);

} // namespace demo
