//! @file
//! What a session and its objects share. Lives until the last of them is gone.

#pragma once

#include "standin/Session.h"

#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace standin {

class Object;
class OpenDocument;
class PartContent;

struct HostState
{
    SessionOptions options;
    FaultPlan faults;
    Journal journal;
    Census census;
    long lastObject = 0;
    //! The living objects by the pointer that callers hold, so that arguments can be recognised.
    std::unordered_map<const IDispatch*, Object*> alive;
    Object* application = nullptr; //!< while it lives
    std::vector<std::shared_ptr<OpenDocument>> documents;
    //! What has been opened under a full name, oldest first.
    std::map<std::string, std::vector<std::shared_ptr<const PartContent>>> remembered;
};

//! Gives the session's object behind a pointer that a caller passed; null for anybody else's.
[[nodiscard]] inline Object* objectBehind(const HostState& host, const IDispatch* passed)
{
    const auto found = host.alive.find(passed);
    return found == host.alive.end() ? nullptr : found->second;
}

} // namespace standin
