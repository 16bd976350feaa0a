//! @file
//! Reads XML as the demo writes it: elements with attributes and texts, checked for being
//! well-formed.

#pragma once

#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace support {

struct XmlElement
{
    std::string name;
    std::map<std::string, std::string> attributes;
    std::string text;  //!< up to the first child
    std::string group; //!< class of the element around it, empty when it has none

    [[nodiscard]] double number(const std::string& attribute) const
    {
        std::istringstream in(attributes.at(attribute));
        in.imbue(std::locale::classic());
        double value = 0.0;
        in >> value;
        EXPECT_TRUE(in && in.eof()) << attribute << "=" << attributes.at(attribute);
        return value;
    }
};

//! Reads a document; what is not well-formed fails the test and ends the reading.
class XmlReader
{
public:
    explicit XmlReader(const std::string& document) : text(document) {}

    //! Gives all elements in the order of their beginnings.
    std::vector<XmlElement> read()
    {
        while (ok && at < text.size()) {
            if (text[at] == '<') {
                tag();
            } else {
                characters();
            }
        }
        expect(open.empty(), "an element is not closed");
        return std::move(elements);
    }

private:
    void expect(bool condition, const char* what)
    {
        if (!condition && ok) {
            ok = false;
            ADD_FAILURE() << what << " at " << at << ": " << text.substr(at, 60);
        }
    }
    void skipBlanks()
    {
        while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at])) != 0) {
            ++at;
        }
    }
    std::string word()
    {
        const std::size_t from = at;
        while (at < text.size() && (std::isalnum(static_cast<unsigned char>(text[at])) != 0 ||
                                    text[at] == '-' || text[at] == ':')) {
            ++at;
        }
        expect(at > from, "a name is missing");
        return text.substr(from, at - from);
    }
    //! Reads text up to a mark, entities replaced.
    std::string plain(char mark)
    {
        static const std::map<std::string, char> entities = {
            {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}};
        std::string result;
        while (at < text.size() && text[at] != mark) {
            const char each = text[at];
            expect(each != '<', "a bare <");
            expect(each == '\n' || static_cast<unsigned char>(each) >= ' ', "a control character");
            if (each == '&') {
                const std::size_t end = text.find(';', at);
                const std::string name =
                    end == std::string::npos ? "" : text.substr(at + 1, end - at - 1);
                expect(entities.count(name) == 1, "an unknown entity");
                if (!ok) {
                    return result;
                }
                result += entities.at(name);
                at = end + 1;
            } else {
                result += each;
                ++at;
            }
        }
        return result;
    }
    void characters()
    {
        const std::string content = plain('<');
        if (!open.empty()) {
            elements[open.back()].text += content;
        } else {
            expect(content.find_first_not_of(" \n") == std::string::npos, "text outside");
        }
    }
    void tag()
    {
        ++at;
        if (at < text.size() && text[at] == '/') {
            ++at;
            const std::string name = word();
            expect(!open.empty() && elements[open.back()].name == name, "another end is expected");
            expect(at < text.size() && text[at] == '>', "an end tag is not closed");
            ++at;
            if (ok) {
                open.pop_back();
            }
            return;
        }
        expect(!open.empty() || elements.empty(), "a second root");
        XmlElement element;
        element.name = word();
        if (!open.empty()) {
            const auto& around = elements[open.back()].attributes;
            element.group = around.count("class") != 0 ? around.at("class") : "";
        }
        for (skipBlanks(); ok && at < text.size() && text[at] != '>' && text[at] != '/';
             skipBlanks()) {
            const std::string name = word();
            expect(text.compare(at, 2, "=\"") == 0, "an attribute has no value");
            at += 2;
            expect(element.attributes.emplace(name, plain('"')).second, "an attribute comes twice");
            ++at;
        }
        elements.push_back(element);
        if (at < text.size() && text[at] == '/') {
            ++at;
        } else {
            open.push_back(elements.size() - 1);
        }
        expect(at < text.size() && text[at] == '>', "a tag is not closed");
        ++at;
    }

    const std::string& text;
    std::size_t at = 0;
    bool ok = true;
    std::vector<std::size_t> open;
    std::vector<XmlElement> elements;
};

} // namespace support
