#include "osadapter/include/kosa.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

namespace {

// A buffer of exactly the size, junk beforehand: a sanitizer sees a byte beyond.
struct Dump {
    explicit Dump(uint32_t size) : bytes(new char[size]) {
        memset(bytes.get(), 'j', size);
        result = KOSA_DumpOperateHistory(bytes.get(), size);
        text.assign(bytes.get(), strnlen(bytes.get(), size));
    }
    std::unique_ptr<char[]> bytes;
    int32_t result;
    std::string text;
};

const std::string kHeader = "Trellis Operate History: \n"
                            "            Time     Operate     Param1     Param2   Tid TName\n";

// The fuzz target compares the text with a model, on another runtime than Windows', but not the results.
TEST(OperateHistory, PrintsTheNewestFirstAndIsCutWhereTheBufferEnds) {
    ASSERT_EQ(KOSA_InitOperateHistory(), 0);
    EXPECT_EQ(Dump(1000).result, static_cast<int32_t>(kHeader.size()));
    EXPECT_EQ(KOSA_AddOperateRec(nullptr), 1);
    EXPECT_EQ(errno, EINVAL);
    OperateRec records[] = {
        {1, 366012, 77, "main", 0x1F, 0xFFFFFFFF},
        {7, 4294967295u, -1, "", 0, 0},
        {0, 1, 1, "not listed", 0, 0},
        {2, 0, 123456, "", 0x61616161, 0},
    };
    std::fill_n(records[3].threadName, sizeof(records[3].threadName), 'n'); // ends with its field
    errno = 0;
    for (const OperateRec& record : records) {
        EXPECT_EQ(KOSA_AddOperateRec(&record), &record - records + 2);
    }
    EXPECT_EQ(errno, 0);

    const std::string last = "  0001:01:00(120)   CreateTm 0x0000001f 0xffffffff    77 main\n";
    const std::string whole = kHeader + "  0000:00:00(000)   DeleteTm 0x61616161 0x00000000 123456 " +
                              std::string(32, 'n') + "\n  11930:27:52(950)  undefined 0x00000000 0x00000000    -1 \n" +
                              last;
    const size_t lastRow = whole.size() - last.size();
    for (uint32_t size = 1; size <= whole.size() + 2; ++size) {
        SCOPED_TRACE(size);
        const Dump dump(size);
        const size_t length = std::min<size_t>(size - 1, whole.size());
        EXPECT_EQ(dump.text, whole.substr(0, length));
        // Left-out rows are told by the length; a cut or whole last row by what its formatting said.
        const size_t told = length <= lastRow ? length : last.size();
        EXPECT_EQ(dump.result, lastRow < length && length < whole.size() ? -1 : static_cast<int32_t>(told));
    }
    EXPECT_EQ(KOSA_DumpOperateHistory(nullptr, 100), -1);
    char untouched = 'j';
    EXPECT_EQ(KOSA_DumpOperateHistory(&untouched, 0), -1);
    EXPECT_EQ(untouched, 'j');
}

} // namespace
