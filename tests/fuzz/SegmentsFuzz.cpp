#include "channel/Envelope.h"
#include "channel/Segments.h"
#include "tests/fuzz/Fuzz.h"

namespace {

/// Segments of a message join to the same message.
void CheckRoundTrip(std::string_view pattern, std::size_t length) {
    if (pattern.empty()) {
        return;
    }
    Fuzz::Exact<char> message(length);
    for (std::size_t at = 0; at < length; ++at) {
        message.Data()[at] = pattern[at % pattern.size()];
    }
    FUZZ_CHECK(NeedsSegments(message.View()));
    SegmentSplitter splitter(message.View());
    SegmentJoiner joiner;
    const std::size_t texts = (length + kSegmentBody - 1) / kSegmentBody;
    for (std::size_t number = 1; splitter.Next(); ++number) {
        const std::string_view text = splitter.Text();
        FUZZ_CHECK(number <= texts && text.data()[text.size()] == '\0');
        FUZZ_CHECK(text.size() <= kSegmentPrefix.size() + kSegmentBody + kEndMark.size());
        const std::optional<std::string_view> body = SegmentBody(text);
        FUZZ_CHECK(body && (number < texts || IsLastSegment(*body)));
        if (number < texts && IsLastSegment(*body)) {
            return; // The wire cannot tell such a message from one that ends here.
        }
        const std::optional<std::string> joined = joiner.Add(5, *body);
        FUZZ_CHECK(joined.has_value() == (number == texts));
        FUZZ_CHECK(!joined || *joined == message.View());
    }
}

/// Carried texts as no client should send them, against a plain model: all bodies are kept, joined at the end.
void CheckHostileStream(Fuzz::Input input) {
    SegmentJoiner joiner;
    std::map<std::uint8_t, std::vector<std::string>> model;
    while (!input.IsEmpty()) {
        const std::uint8_t number = input.TakeByte();
        const Fuzz::Exact<char> text(input.TakeLine());
        const std::optional<std::string_view> body = SegmentBody(text.View());
        const bool segment = text.Size() > 12 && text.View().substr(0, 12) == "%pre_nbmsdk%";
        FUZZ_CHECK(body.has_value() == segment);
        if (!body) {
            continue;
        }
        const std::optional<std::string> joined = joiner.Add(number, *body);
        std::vector<std::string>& stored = model[number];
        stored.emplace_back(*body);
        const std::string& last = stored.back();
        if (last.size() < 10 || last.substr(last.size() - 10) != "%end_flag%") {
            FUZZ_CHECK(!joined);
            continue;
        }
        std::string expected;
        for (const std::string& part : stored) {
            expected += part;
        }
        expected.resize(expected.size() - 10);
        FUZZ_CHECK(joined.value_or("") == expected && joined.has_value() == !expected.empty());
        stored.clear();
    }
}

void CheckEnvelopes(std::string_view text) {
    const Fuzz::Exact<char> message(text);
    for (const EnvelopeKey& key : kEnvelopeKeys) {
        const std::optional<std::string_view> found = FindEnvelope(message.View(), key);
        FUZZ_CHECK(found.has_value() == (text.find(key.key) != std::string_view::npos));
        if (found) {
            FUZZ_CHECK(found->substr(0, key.key.size()) == key.key);
            FUZZ_CHECK(found->find(key.terminator) == std::string_view::npos);
            FUZZ_CHECK(found->data() + found->size() <= message.Data() + message.Size());
        }
    }
}

} // namespace

void FuzzOne(Fuzz::Input input) {
    // Lengths around the borders of the segments, where the splitter's arithmetic decides.
    const std::size_t border = kSegmentBody * (1u + input.TakeByte() % 8u);
    const std::size_t length = std::max(kMaxWholeMessage + 1, border + input.TakeByte() - 128u);
    const std::string_view rest = input.TakeRest();
    CheckRoundTrip(rest, length);
    CheckHostileStream(Fuzz::Input(rest));
    CheckEnvelopes(rest);
}
