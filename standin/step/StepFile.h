//! @file
//! Reader of STEP files (ISO 10303-21: AP203, AP214, AP242) as bodies and occurrences.

#pragma once

#include "standin/geom/Brep.h"

#include <cstddef>
#include <stdexcept>
#include <string>

namespace standin::step {

//! Why a file can't be used: what is wrong, on which line, at which entity. The text names all
//! three: "part.stp: line 12: #34: wanted a number, found a list".
class StepError : public std::runtime_error
{
public:
    //! @param message  what is wrong, without the place
    //! @param line     1-based, 0 when no line applies
    //! @param entity   number behind '#', 0 when no entity applies
    StepError(const std::string& message, std::size_t line, long entity);

    //! Puts a prefix, such as a file's name, before the text of another error and keeps its place.
    StepError(const std::string& prefix, const StepError& other);

    [[nodiscard]] std::size_t line() const noexcept { return mLine; }
    [[nodiscard]] long entity() const noexcept { return mEntity; }

private:
    std::size_t mLine;
    long mEntity;
};

//! Files above this size (1 GiB) are refused.
constexpr std::size_t kMaxFileSize = std::size_t{1} << 30;

//! Reads a file. Lengths come out in metres, angles in radians, whatever the file's units. What is
//! not supported is named in Model::warnings and left out; the rest opens. A body with a face that
//! can't be read is left out as a whole, and a warning names the face and the reason.
//! A product stands for a PRODUCT_DEFINITION and carries its number; those that have no shape and
//! are used by no occurrence (materials, for one) are not in the model. Bodies that belong to no
//! product come in one more product, named as the file without its folder and extension.
//! @param path  UTF-8
//! @throws StepError  the file can't be opened, is larger than kMaxFileSize, is not a STEP file
//!                    (told by its first bytes, without reading further), breaks the exchange
//!                    structure's grammar, holds an assembly that contains itself, or holds no
//!                    usable body
[[nodiscard]] geom::Model readFile(const std::string& path);

//! Reads the text of a file, as readFile does.
//! @param name  stands for the path in messages and for the file's name in the model
[[nodiscard]] geom::Model readText(const std::string& text, const std::string& name);

} // namespace standin::step
