#pragma once

#include <memory>
#include <optional>
#include <string>

namespace process {

/// The lines of this process's standard input, read by a thread of its own. That thread outlives the object: a read
/// cannot be interrupted in every kind of input, so nobody waits for it.
class InputLines {
public:
    InputLines();

    /// The next line that has come, without its end; nothing when there is none yet. Any thread.
    std::optional<std::string> Take();

private:
    struct Lines;
    std::shared_ptr<Lines> lines_;
};

} // namespace process
