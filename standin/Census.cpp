#include "standin/Census.h"

namespace standin {

long Census::live(const std::string& className) const
{
    const auto found = counts.find(className);
    return found == counts.end() ? 0 : found->second;
}

std::string Census::text() const
{
    std::string list;
    for (const auto& [name, count] : counts) {
        if (count != 0) {
            list += (list.empty() ? "" : ", ") + std::to_string(count) + " " + name;
        }
    }
    return list;
}

void Census::enter(const char* className)
{
    ++counts[className];
    ++total;
    ++everCreated;
}

void Census::leave(const char* className) noexcept
{
    const auto found = counts.find(className);
    if (found != counts.end()) {
        --found->second;
        --total;
    }
}

namespace {

//! Never destroyed: objects held by static variables leave the census at the process's very end.
union Forever {
    Census census;
    Forever() : census() {}
    Forever(const Forever&) = delete;
    Forever& operator=(const Forever&) = delete;
    ~Forever() {} // NOLINT(modernize-use-equals-default): a default one would be deleted
};

} // namespace

Census& processCensus() noexcept
{
    static Forever forever;
    return forever.census;
}

} // namespace standin
