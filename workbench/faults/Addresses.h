#pragma once

#include <string>
#include <vector>

namespace faults {

/// The frames as " module+offset", this program's own left out; readable with the linker's map of the module.
std::string DescribeStack(const std::vector<void*>& stack);

/// The frames of another thread, which is stopped for that time.
std::vector<void*> StackOfThread(void* thread);

} // namespace faults
