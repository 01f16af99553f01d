#include "channel/Envelope.h"

std::optional<std::string_view> FindEnvelope(std::string_view message, const EnvelopeKey& key) noexcept {
    const std::size_t start = message.find(key.key);
    if (start == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t end = message.find(key.terminator, start);
    return message.substr(start, end == std::string_view::npos ? end : end - start);
}
