#include "demo/Svg.h"

#include "com/ComText.h"

#include <cmath>
#include <iomanip>
#include <locale>

namespace demo {
namespace {

//! Writes a number of pixels.
std::string pixels(double value)
{
    std::ostringstream out;
    out.imbue(std::locale::classic());
    out << std::fixed << std::setprecision(2) << (std::fabs(value) < 0.005 ? 0.0 : value);
    return out.str();
}

std::string attribute(const char* name, double value)
{
    return std::string(" ") + name + "=\"" + pixels(value) + "\"";
}

} // namespace

std::string xmlText(const std::string& text)
{
    std::string escaped;
    for (const char each : com::toUtf8(com::fromUtf8(text))) {
        switch (each) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += each >= '\0' && each < ' ' ? ' ' : each;
        }
    }
    return escaped;
}

Svg::Svg(double width, double height, const std::string& title, const std::string& description)
{
    mOut << "<svg xmlns=\"http://www.w3.org/2000/svg\"" << attribute("width", width)
         << attribute("height", height) << " viewBox=\"0 0 " << pixels(width) << " "
         << pixels(height)
         << "\" role=\"img\" aria-labelledby=\"title desc\" font-family=\"DejaVu Sans, Arial, "
            "Helvetica, sans-serif\">\n<title id=\"title\">"
         << xmlText(title) << "</title>\n<desc id=\"desc\">" << xmlText(description) << "</desc>\n";
    rectangle({0.0, 0.0}, width, height, "fill=\"#ffffff\"");
}

void Svg::begin(const char* name)
{
    mOut << "<g class=\"" << name << "\">\n";
}

void Svg::end()
{
    mOut << "</g>\n";
}

void Svg::line(const Pixel& from, const Pixel& to, const std::string& look)
{
    mOut << "<line" << attribute("x1", from.x) << attribute("y1", from.y) << attribute("x2", to.x)
         << attribute("y2", to.y) << " " << look << "/>\n";
}

void Svg::circle(const Pixel& centre, double radius, const std::string& look)
{
    mOut << "<circle" << attribute("cx", centre.x) << attribute("cy", centre.y)
         << attribute("r", radius) << " " << look << "/>\n";
}

void Svg::rectangle(const Pixel& corner, double width, double height, const std::string& look)
{
    mOut << "<rect" << attribute("x", corner.x) << attribute("y", corner.y)
         << attribute("width", width) << attribute("height", height) << " " << look << "/>\n";
}

void Svg::polygon(const std::vector<Pixel>& corners, const std::string& look)
{
    mOut << "<polygon points=\"";
    const char* separator = "";
    for (const Pixel& corner : corners) {
        mOut << separator << pixels(corner.x) << "," << pixels(corner.y);
        separator = " ";
    }
    mOut << "\" " << look << "/>\n";
}

void Svg::text(const Pixel& at, const std::string& text, const TextStyle& style)
{
    mOut << "<text" << attribute("x", at.x) << attribute("y", at.y)
         << attribute("font-size", style.size) << " text-anchor=\"" << style.anchor << "\" fill=\""
         << style.colour << "\"";
    if (style.bold) {
        mOut << " font-weight=\"bold\"";
    }
    if (style.turned != 0.0) {
        mOut << " transform=\"rotate(" << pixels(style.turned) << " " << pixels(at.x) << " "
             << pixels(at.y) << ")\"";
    }
    mOut << ">" << xmlText(text) << "</text>\n";
}

std::string Svg::finished() const
{
    return mOut.str() + "</svg>\n";
}

} // namespace demo
