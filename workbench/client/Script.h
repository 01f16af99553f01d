#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace meeting_client {

class Client;

/// Orders from a file, carried out one after the other on the client's thread. The first that is refused ends the
/// client with `kScriptFailed`.
class Script {
public:
    /// @param path UTF-8; empty for no script. @throws std::runtime_error when the file cannot be read.
    Script(Client& client, const std::string& path);

    void Start();

private:
    void Step();
    bool StepWait(std::string_view line);
    void Poll(const std::string& line, std::uint64_t count, std::int64_t left);
    void Fail(const std::string& line, const std::string& reason);

    Client& client_;
    std::vector<std::string> lines_;
    std::size_t next_ = 0;
};

} // namespace meeting_client
