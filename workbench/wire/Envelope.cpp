#include "workbench/wire/Envelope.h"

#include <cstring>
#include <limits>

namespace wire {
namespace {

constexpr std::size_t kLongestWhole = 1023;
constexpr std::size_t kShare = 1011; // message bytes in each segment but the last, which holds 1 to 1011 of them

std::string Sized(const char* what, std::size_t size) {
    return std::string(what) + " (" + std::to_string(size) + ")";
}

} // namespace

std::vector<Envelope> Split(std::string_view message, std::uint32_t number) {
    if (message.empty()) {
        return {};
    }
    if (message.size() <= kLongestWhole) {
        return {{0, std::string(message)}};
    }
    std::vector<Envelope> envelopes;
    const std::size_t full = (message.size() - 1) / kShare;
    for (std::size_t i = 0; i < full; ++i) {
        envelopes.push_back({number, std::string(kPrefix) + std::string(message.substr(i * kShare, kShare))});
    }
    envelopes.push_back(
        {number, std::string(kPrefix) + std::string(message.substr(full * kShare)) + std::string(kEndMark)});
    return envelopes;
}

Joiner::Result Joiner::Take(std::uint64_t number, const char* bytes, std::size_t size) {
    Result result;
    if (!bytes || size == 0) {
        result.faults.push_back("no bytes");
        return result;
    }
    const void* end = std::memchr(bytes, 0, size);
    const std::size_t length = end ? static_cast<std::size_t>(static_cast<const char*>(end) - bytes) : size;
    if (!end) {
        result.faults.push_back("not NUL-terminated");
    } else if (length + 1 != size) {
        result.faults.push_back(Sized("cbData is not the length + 1", size));
    }
    const std::string_view text(bytes, length);
    if (text.empty()) {
        result.faults.push_back("empty text");
        return result;
    }
    if (number > std::numeric_limits<std::uint32_t>::max()) {
        result.faults.push_back("number beyond 32 bits");
    }
    if (number != 0) {
        TakeSegment(static_cast<std::uint32_t>(number), text, result);
        return result;
    }
    if (length > kLongestWhole) {
        result.faults.push_back(Sized("whole message too long", length));
    }
    result.message = text;
    return result;
}

void Joiner::TakeSegment(std::uint32_t number, std::string_view text, Result& result) {
    if (!text.starts_with(kPrefix)) {
        result.faults.push_back("segment without its prefix");
        return;
    }
    std::string_view body = text.substr(kPrefix.size());
    const bool last = body.ends_with(kEndMark);
    if (last) {
        body.remove_suffix(kEndMark.size());
    }
    if (last && (body.empty() || body.size() > kShare)) {
        result.faults.push_back(Sized("last segment of a wrong size", body.size()));
    }
    if (!last && body.size() != kShare) {
        result.faults.push_back(Sized("segment of a wrong size", body.size()));
    }
    const auto [part, first] = parts_.try_emplace(number);
    if (first && last) {
        result.faults.push_back("last segment without a first one");
    }
    part->second += body;
    unfinishedBytes_ += body.size();
    if (last) {
        unfinishedBytes_ -= part->second.size();
        result.message = std::move(part->second);
        parts_.erase(part);
    }
}

} // namespace wire
