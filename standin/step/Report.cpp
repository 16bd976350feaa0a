#include "standin/step/Report.h"

namespace standin::step {

void Report::add(std::string line)
{
    mLines.push_back(std::move(line));
}

void Report::count(const std::string& kind, long entity, std::size_t line)
{
    const auto added = mIndex.emplace(kind, mKinds.size());
    if (added.second) {
        mKinds.push_back({kind, 0, entity, line});
    }
    ++mKinds[added.first->second].count;
}

std::vector<std::string> Report::lines() const
{
    std::vector<std::string> lines = mLines;
    if (mMore > 0) {
        lines.push_back("and " + std::to_string(mMore) + " more of these");
    }
    for (const Kind& kind : mKinds) {
        lines.push_back(kind.text + ", " + std::to_string(kind.count) + " in all, the first is #" +
                        std::to_string(kind.entity) + " on line " + std::to_string(kind.line));
    }
    return lines;
}

} // namespace standin::step
