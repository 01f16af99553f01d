#include "bench/SpdlogPeer.h"

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

namespace bench {

struct SpdlogPeer::State {
    spdlog::logger logger;
};

SpdlogPeer::SpdlogPeer(const std::string& path) {
    constexpr std::size_t kLimit = std::size_t{1} << 30;
    auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(path, kLimit, 2);
    state_ = std::make_unique<State>(State{spdlog::logger("peer", sink)});
    state_->logger.set_pattern("[%Y-%m-%d %H:%M:%S.%e][P:%P/T:%t][%l][%s:%# %!]%v");
    state_->logger.flush_on(spdlog::level::trace);
}

SpdlogPeer::~SpdlogPeer() = default;

void SpdlogPeer::Write(const char* text) {
    state_->logger.log(spdlog::source_loc{"AddIns/Action", 81, "AddIn::ActionTask"}, spdlog::level::info, "{}", text);
}

} // namespace bench
