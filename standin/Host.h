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

} // namespace standin
