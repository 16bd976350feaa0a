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

} // namespace demo
