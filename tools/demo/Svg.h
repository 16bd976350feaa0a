//! @file
//! Writes the few SVG elements that the demo draws with.

#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace demo {

//! A point of a picture, in pixels from its upper left corner.
struct Pixel
{
    double x{};
    double y{};
};

[[nodiscard]] inline Pixel operator+(const Pixel& a, const Pixel& b)
{
    return {a.x + b.x, a.y + b.y};
}
[[nodiscard]] inline Pixel operator-(const Pixel& a, const Pixel& b)
{
    return {a.x - b.x, a.y - b.y};
}
[[nodiscard]] inline Pixel operator*(const Pixel& a, double factor)
{
    return {a.x * factor, a.y * factor};
}

//! Makes a text fit for XML: markup is escaped, control characters and what is not UTF-8 replaced.
[[nodiscard]] std::string xmlText(const std::string& text);

//! A text's looks.
struct TextStyle
{
    double size = 13.0;
    const char* anchor = "start"; //!< or "middle", "end"
    const char* colour = "#222222";
    bool bold = false;
    double turned = 0.0; //!< degrees, clockwise about the text's point
};

//! A picture in the making. Colours and classes are written as they are given.
class Svg
{
public:
    //! @param title        one line, for those who can't see the picture, as the description
    Svg(double width, double height, const std::string& title, const std::string& description);

    //! Begins a group of elements; the class says what it stands for.
    void begin(const char* name);
    void end();
    //! @param look  further attributes, as stroke="#000000"
    void line(const Pixel& from, const Pixel& to, const std::string& look);
    void circle(const Pixel& centre, double radius, const std::string& look);
    void rectangle(const Pixel& corner, double width, double height, const std::string& look);
    void polygon(const std::vector<Pixel>& corners, const std::string& look);
    void text(const Pixel& at, const std::string& text, const TextStyle& style);

    //! Gives the whole picture.
    [[nodiscard]] std::string finished() const;

private:
    std::ostringstream mOut;
};

} // namespace demo
