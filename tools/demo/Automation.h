//! @file
//! The few late-bound calls that the demo makes itself; everything else goes through the library.

#pragma once

#include "com/Com.h"

#include <string>
#include <vector>

namespace demo {

//! Reads a property by name that gives an object.
//! @throws _com_error  the host's code; E_POINTER when the host gives none
[[nodiscard]] IDispatchPtr objectProperty(const IDispatchPtr& object, const wchar_t* name);

//! Reads a property by name that gives an integer.
//! @throws _com_error  the host's code
[[nodiscard]] long longProperty(const IDispatchPtr& object, const wchar_t* name);

//! Reads a property by name that gives a text, as UTF-8.
//! @throws _com_error  the host's code
[[nodiscard]] std::string textProperty(const IDispatchPtr& object, const wchar_t* name);

//! Gives the items of a collection in its order.
//! @throws _com_error  the host's code
[[nodiscard]] std::vector<IDispatchPtr> items(const IDispatchPtr& collection);

//! Names the kind of surface that a face lies on.
//! @return  "plane", "cylinder", ...; "surface" for a kind without a name of its own
//! @throws _com_error  the host's code
[[nodiscard]] std::string surfaceName(const IDispatchPtr& face);

//! Tells whether two pointers are of one object.
[[nodiscard]] bool isSame(const IDispatchPtr& first, const IDispatchPtr& second);

//! Gives the occurrences on the way down to what a reference refers to, the topmost first.
//! @throws _com_error  the host's code; E_POINTER when it names no occurrence
[[nodiscard]] std::vector<IDispatchPtr> occurrencesInPath(const IDispatchPtr& reference);

} // namespace demo
