#include "osadapter/include/kosa.h"
#include "osadapter/src/secure_format.h"

#include <string.h>

#include <cerrno>
#include <cstddef>

namespace {

constexpr uint32_t kSlots = KOSA_HISTORY_SLOTS;

struct OperateHistory {
    OperateRec slots[kSlots];
    int32_t next; // slot after the last one written, 0 to kSlots
};

// Other programs fill and read records of this layout.
static_assert(sizeof(OperateRec) == 52);
static_assert(offsetof(OperateRec, operation) == 0);
static_assert(offsetof(OperateRec, time) == 4);
static_assert(offsetof(OperateRec, threadId) == 8);
static_assert(offsetof(OperateRec, threadName) == 12);
static_assert(offsetof(OperateRec, param1) == 44);
static_assert(offsetof(OperateRec, param2) == 48);
static_assert(sizeof(OperateHistory) == 26628);

OperateHistory g_history;

// The flag "#" has no effect on the conversion "s" in any supported runtime.
constexpr char kHeader[] = "Trellis Operate History: \n  %#14s  %#10s %#10s %#10s %#5s %s\n";
constexpr char kRow[] = "  %04d:%02d:%02d(%03d) %#10s 0x%08x 0x%08x %5d %s\n";

const char* OperationName(uint32_t operation) noexcept {
    switch (operation) {
    case 1:
        return "CreateTm";
    case 2:
        return "DeleteTm";
    default:
        return "undefined";
    }
}

int32_t AppendRow(char* end, uint64_t room, const OperateRec& record) noexcept {
    // The caller may have filled the name to its last byte, without a terminator.
    char name[sizeof(record.threadName) + 1] = {};
    memcpy(name, record.threadName, sizeof(record.threadName));
    const uint32_t seconds = record.time / 100;
    return SecureFormat(end, room, static_cast<int64_t>(room) - 1, kRow, static_cast<int>(record.time / 360000),
                        static_cast<int>(seconds % 3600 / 60), static_cast<int>(seconds % 60),
                        static_cast<int>(record.time % 100 * 10), OperationName(record.operation), record.param1,
                        record.param2, record.threadId, name);
}

} // namespace

int32_t KOSA_InitOperateHistory(void) {
    g_history = {};
    return 0;
}

int32_t KOSA_AddOperateRec(const OperateRec* record) {
    // The counter is read once and reduced to the table's size. Callers that do not serialise themselves may lose
    // records, but cannot make this function write outside the table.
    const uint32_t slot = static_cast<uint32_t>(g_history.next) % kSlots;
    if (record != nullptr) {
        g_history.slots[slot] = *record;
    } else {
        // Deliberate: a null record empties the slot, as the runtime's checked copy of a null pointer does.
        g_history.slots[slot] = {};
        errno = EINVAL;
    }
    const int32_t next = static_cast<int32_t>(slot + 1);
    g_history.next = next;
    return next;
}

int32_t KOSA_DumpOperateHistory(char* buffer, uint32_t size) {
    if (buffer == nullptr || size == 0) {
        return -1;
    }
    memset(buffer, 0, size);
    SecureFormat(buffer, size, static_cast<int64_t>(size) - 1, kHeader, "Time", "Operate", "Param1", "Param2", "Tid",
                 "TName");
    size_t length = strlen(buffer);
    int32_t result = static_cast<int32_t>(length);
    uint32_t at = static_cast<uint32_t>(g_history.next);
    for (uint32_t visited = 0; visited < kSlots; ++visited) {
        at = (at + kSlots - 1) % kSlots;
        if (g_history.slots[at].operation == 0) {
            continue;
        }
        if (length >= size - 1) {
            return static_cast<int32_t>(length);
        }
        result = AppendRow(buffer + length, size - length, g_history.slots[at]);
        // For a row that was cut the result is -1, not a length.
        length += result >= 0 ? static_cast<size_t>(result) : strlen(buffer + length);
    }
    return result;
}
