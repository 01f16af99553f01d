#include "channel/Segments.h"

#include <algorithm>

bool SegmentSplitter::Next() noexcept {
    if (done_) {
        return false;
    }
    length_ = 0;
    Append(kSegmentPrefix);
    // The test uses the message length without the end mark: the peer accepts a last text of up to 1033 bytes, and
    // changing this would cut messages differently.
    done_ = message_.size() - offset_ <= kSegmentBody;
    Append(message_.substr(offset_, kSegmentBody));
    offset_ += kSegmentBody;
    if (done_) {
        Append(kEndMark);
    }
    buffer_[length_] = '\0';
    return true;
}

void SegmentSplitter::Append(std::string_view piece) noexcept {
    std::copy(piece.begin(), piece.end(), buffer_.begin() + static_cast<std::ptrdiff_t>(length_));
    length_ += piece.size();
}

std::optional<std::string_view> SegmentBody(std::string_view carried) noexcept {
    if (carried.size() <= kSegmentPrefix.size() || !carried.starts_with(kSegmentPrefix)) {
        return std::nullopt;
    }
    return carried.substr(kSegmentPrefix.size());
}

bool IsLastSegment(std::string_view body) noexcept {
    return body.ends_with(kEndMark);
}

std::optional<std::string> SegmentJoiner::Add(uint32_t number, std::string_view body) {
    if (body.empty()) {
        return std::nullopt;
    }
    if (!IsLastSegment(body)) {
        partial_[number].append(body);
        return std::nullopt;
    }
    body.remove_suffix(kEndMark.size());
    const auto stored = partial_.find(number);
    if (stored == partial_.end()) {
        return body.empty() ? std::nullopt : std::make_optional<std::string>(body);
    }
    stored->second.append(body);
    std::string message = std::move(stored->second);
    partial_.erase(stored);
    return message;
}
