#include "Outlook/AddIns/Marker.h"
#include "tests/fuzz/Fuzz.h"

namespace {

/// The readers take every value and give their plain answers for null.
void CheckReaders(const Json::Value& marker) {
    FUZZ_CHECK(Marker::HasFlag(marker) == (marker.isObject() && marker.isMember(Marker::kFlag)));
    // The default is asked for only when there is no usable member.
    const bool given = Marker::IsNewItem(marker, true) == Marker::IsNewItem(marker, false);
    FUZZ_CHECK(!given || (marker.isObject() && marker.isMember(Marker::kIsNewItem)));
    FUZZ_CHECK(Marker::ConfId(marker).empty() || marker.isMember(Marker::kConfId));
}

/// An appointment whose comment could be read once stays one of ours: it is marked, written and read again.
/// @param source what the marker was read from.
void CheckMarkedAgain(std::string_view source, Json::Value marker) {
    const std::string confId = Marker::ConfId(marker);
    const bool isNew = Marker::IsNewItem(marker, true);
    marker[Marker::kFlag] = true;
    marker[Marker::kIsNewItem] = isNew;
    const std::string text = Marker::Write(marker);
    // The writer escapes every string, but copies the text's own comments as they are.
    FUZZ_CHECK(text.find('\0') == std::string::npos || source.find('\0') != std::string_view::npos);
    FUZZ_CHECK(Fuzz::IsUtf8(text) || !Fuzz::IsUtf8(source));

    Json::Value again;
    std::string error;
    FUZZ_CHECK(Marker::Parse(text, again, error));
    FUZZ_CHECK(Marker::HasFlag(again) && Marker::IsNewItem(again, !isNew) == isNew);
    FUZZ_CHECK(!Fuzz::IsUtf8(confId) || Marker::ConfId(again) == confId);
    // A text's comments may take more than one writing to settle, for their line ends. Keys that are no UTF-8 may come
    // in another order once the writer has replaced their bytes.
    const bool settled = source.find('/') == std::string_view::npos && Fuzz::IsUtf8(source);
    FUZZ_CHECK(Marker::Write(again) == text || !settled);
}

} // namespace

void FuzzOne(Fuzz::Input input) {
    const Fuzz::Exact<char> text(input.TakeRest());
    Json::Value marker("junk");
    std::string error;
    const bool read = Marker::Parse(text.View(), marker, error);
    FUZZ_CHECK(read ? marker.isObject() || marker.isNull() : marker.isNull() && !error.empty());
    CheckReaders(marker);
    if (read) {
        CheckMarkedAgain(text.View(), marker);
    }
}
