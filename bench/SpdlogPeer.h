#pragma once

#include <memory>
#include <string>

namespace bench {

/// The peer of the logger: spdlog's rotating sink with a flush per line, the same limits and a prefix of the same kind.
/// Its headers are seen by one source file only.
class SpdlogPeer {
public:
    explicit SpdlogPeer(const std::string& path);
    ~SpdlogPeer();
    SpdlogPeer(const SpdlogPeer&) = delete;
    SpdlogPeer& operator=(const SpdlogPeer&) = delete;

    void Write(const char* text);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace bench
