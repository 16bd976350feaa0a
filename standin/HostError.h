//! @file
//! What the stand-in host's own C++ interface raises. Calls through IDispatch answer with result
//! codes instead.

#pragma once

#include <stdexcept>

namespace standin {

//! A request to the session that can't be met; the text says what was asked and why not.
class HostError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
    HostError(const HostError&) = default;
    HostError& operator=(const HostError&) = default;
    ~HostError() override;
};

} // namespace standin
