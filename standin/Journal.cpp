#include "standin/Journal.h"

#include "standin/Text.h"

#include <utility>

namespace standin {

std::string JournalEntry::text() const
{
    std::string line = std::to_string(number) + " " + className + " " + std::to_string(object);
    line += " ." + member;
    if (kind == CallKind::queryInterface || kind == CallKind::getIdsOfNames) {
        line += "(" + arguments + ")";
    } else {
        static const char* const kinds[] = {"method", "get", "put"};
        line += " " + std::string(kinds[static_cast<int>(kind)]);
        line += "(" + std::to_string(id) + (arguments.empty() ? "" : "; ") + arguments + ")";
    }
    line += FAILED(result) ? " failed " + codeText(result)
                           : (answer.empty() ? std::string() : " = " + answer);
    return faulty ? line + " [fault]" : line;
}

std::string Journal::text() const
{
    std::string lines;
    for (const JournalEntry& entry : list) {
        lines += entry.text() + "\n";
    }
    return lines;
}

long Journal::count(const std::string& member) const
{
    if (member.find('.') != std::string::npos) {
        const auto found = counts.find(member);
        return found == counts.end() ? 0 : found->second;
    }
    long sum = 0;
    for (const auto& [key, count] : counts) {
        if (key.compare(key.find('.') + 1, std::string::npos, member) == 0) {
            sum += count;
        }
    }
    return sum;
}

void Journal::clear()
{
    list.clear();
    counts.clear();
    invokeCount = 0;
    totalCount = 0;
    lastNumber = 0;
}

void Journal::tally(const std::string& key, CallKind kind)
{
    ++counts[key];
    ++totalCount;
    if (kind != CallKind::queryInterface && kind != CallKind::getIdsOfNames) {
        ++invokeCount;
    }
}

void Journal::add(JournalEntry entry)
{
    entry.number = ++lastNumber;
    list.push_back(std::move(entry));
}

} // namespace standin
