//! @file
//! What a file holds but the reader leaves out.

#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace standin::step {

//! Collects warnings; things of one kind make one line with their count and the first of them.
class Report
{
public:
    //! Adds a line of its own; beyond the first thousand they are only counted.
    void add(std::string line);
    //! Counts one thing of a kind.
    //! @param kind    the line's text, such as "GEOMETRIC_SET: left out"
    //! @param entity  its number
    //! @param line    where it stands
    void count(const std::string& kind, long entity, std::size_t line);
    //! Gives the lines: first those of their own, then the counted ones, in order of first mention.
    [[nodiscard]] std::vector<std::string> lines() const;

private:
    struct Kind
    {
        std::string text;
        std::size_t count{};
        long entity{};
        std::size_t line{};
    };
    std::vector<std::string> mLines;
    std::size_t mMore{0};
    std::vector<Kind> mKinds;
    std::map<std::string, std::size_t> mIndex;
};

} // namespace standin::step
