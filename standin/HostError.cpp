#include "standin/HostError.h"

namespace standin {

HostError::~HostError() = default;

} // namespace standin
