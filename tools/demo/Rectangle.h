//! @file
//! The verb "rectangle": a rectangle drawn on a reference plane of a part or of an assembly.

#pragma once

#include "demo/Stage.h"

#include <string>
#include <vector>

namespace demo {

struct RectangleOptions
{
    std::string part;  //!< STEP file of a part or an assembly, UTF-8
    double width{};    //!< metres
    double height{};   //!< metres
    long plane{};      //!< number among the document's reference planes, from 1
    bool profileSet{}; //!< in a part, draw in a profile set instead of a sketch
    bool constrain{};  //!< add relations and dimensions
    bool validate{};   //!< let the host close and check the profile
    std::string svg;   //!< file that receives a picture, UTF-8; empty: none
};

struct RectangleReport
{
    RectangleOptions asked;
    std::string document; //!< name of the product
    bool assembly{};
    standin::ProfileView profile; //!< as the host has it afterwards
    std::vector<std::string> warnings;
    Effort effort;
};

//! Opens a file in the host and draws the rectangle with the builder. When the file holds several
//! parts or assemblies that nothing connects, it is drawn in the first one, with a warning.
//! @throws DemoError  the file can't be used, there is no such plane, the builder failed, or the
//!                    picture can't be written
[[nodiscard]] RectangleReport makeRectangle(const RectangleOptions& options);

//! Draws the rectangle in an open document.
//! @return  the profile as the host has it afterwards
//! @throws DemoError   there is no such plane, or the builder failed
//! @throws _com_error  the host refused to tell its planes
[[nodiscard]] standin::ProfileView drawRectangle(standin::Session& host,
                                                 const IDispatchPtr& document,
                                                 const RectangleOptions& options);

//! Writes the report for a reader, lengths in millimetres.
[[nodiscard]] std::string rectangleText(const RectangleReport& report);
//! Writes the report as one JSON object, lengths in metres.
[[nodiscard]] std::string rectangleJson(const RectangleReport& report);

} // namespace demo
