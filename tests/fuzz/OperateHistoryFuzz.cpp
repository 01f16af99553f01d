#include "osadapter/include/kosa.h"
#include "tests/fuzz/Fuzz.h"

#include <cstdio>
#include <cstring>
#include <deque>

namespace {

constexpr std::size_t kSlots = 512;
constexpr std::size_t kMostAdded = 1200; // more than twice round

std::string Padded(std::string_view text, std::size_t width) {
    return std::string(width > text.size() ? width - text.size() : 0, ' ').append(text);
}

std::string ModelRow(const OperateRec& record) {
    const std::string_view name(record.threadName, sizeof(record.threadName));
    const char* const operation = record.operation == 1 ? "CreateTm" : record.operation == 2 ? "DeleteTm" : "undefined";
    char time[64];
    std::snprintf(time, sizeof(time), "%04u:%02u:%02u(%03u)", record.time / 360000, record.time / 6000 % 60,
                  record.time / 100 % 60, record.time % 100 * 10);
    char numbers[64];
    std::snprintf(numbers, sizeof(numbers), "0x%08x 0x%08x ", record.param1, record.param2);
    return std::string("  ") + time + " " + Padded(operation, 10) + " " + numbers +
           Padded(std::to_string(record.threadId), 5) + " " + std::string(name.substr(0, name.find('\0'))) + "\n";
}

/// @param enough no more rows are written once the text is that long.
std::string ModelDump(const std::deque<OperateRec>& newestFirst, std::size_t enough) {
    std::string text = "Trellis Operate History: \n  " + Padded("Time", 14) + "  " + Padded("Operate", 10) + " " +
                       Padded("Param1", 10) + " " + Padded("Param2", 10) + " " + Padded("Tid", 5) + " TName\n";
    for (auto record = newestFirst.begin(); record != newestFirst.end() && text.size() < enough; ++record) {
        if (record->operation != 0) {
            text += ModelRow(*record);
        }
    }
    return text;
}

OperateRec TakeRecord(Fuzz::Input& input) {
    unsigned char bytes[sizeof(OperateRec)];
    std::generate(std::begin(bytes), std::end(bytes), [&] { return input.TakeByte(); });
    OperateRec record;
    std::memcpy(&record, bytes, sizeof(record));
    return record;
}

} // namespace

// The buffer's size, then records: how often each is added, at the top bit a null one, and its fields.
void FuzzOne(Fuzz::Input input) {
    std::size_t size = input.TakeByte();
    size = size << 8 | input.TakeByte();
    if (size < 0xF000) {
        size &= 0xFFF; // mostly small buffers: writing all rows each time takes almost all of the time
    }
    std::deque<OperateRec> model;
    KOSA_InitOperateHistory();
    std::size_t added = 0;
    while (!input.IsEmpty()) {
        const std::uint8_t control = input.TakeByte();
        const OperateRec record = (control & 0x80) != 0 ? OperateRec{} : TakeRecord(input);
        // Up to 568 times, so that the ring goes round.
        for (int times = (control & 0x3F) * 9 + 1; times > 0 && added < kMostAdded; --times, ++added) {
            const std::int32_t next = KOSA_AddOperateRec((control & 0x80) != 0 ? nullptr : &record);
            FUZZ_CHECK(next == static_cast<std::int32_t>(added % kSlots) + 1);
            model.push_front(record);
        }
        model.resize(std::min(model.size(), kSlots));
    }
    const Fuzz::Exact<char> output(size);
    std::fill_n(output.Data(), size, 'J');
    const std::int32_t result = KOSA_DumpOperateHistory(output.Data(), static_cast<std::uint32_t>(size));
    if (size == 0) {
        FUZZ_CHECK(result == -1);
        return;
    }
    std::string expected = ModelDump(model, size);
    expected.resize(std::min(expected.size(), size - 1));
    expected.resize(size); // zeros behind the text
    FUZZ_CHECK(output.View() == expected);
}
