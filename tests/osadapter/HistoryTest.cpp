#include "osadapter/include/kosa.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

namespace {

OperateRec Record(uint32_t operation, uint32_t time, int32_t threadId, const std::string& threadName,
                  uint32_t param1 = 0, uint32_t param2 = 0) {
    OperateRec record = {operation, time, threadId, {}, param1, param2};
    std::copy_n(threadName.begin(), std::min(threadName.size(), sizeof(record.threadName)), record.threadName);
    return record;
}

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

class OperateHistory : public testing::Test {
protected:
    OperateHistory() { EXPECT_EQ(KOSA_InitOperateHistory(), 0); }
};

TEST_F(OperateHistory, PrintsTheNewestFirst) {
    const Dump empty(1000);
    EXPECT_EQ(empty.text, kHeader);
    EXPECT_EQ(empty.result, static_cast<int32_t>(kHeader.size()));

    EXPECT_EQ(KOSA_AddOperateRec(nullptr), 1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    OperateRec record = Record(1, 366012, 77, "main", 0x1F, 0xFFFFFFFF);
    EXPECT_EQ(KOSA_AddOperateRec(&record), 2);
    EXPECT_EQ(errno, 0);
    record = Record(7, 4294967295u, -1, "");
    KOSA_AddOperateRec(&record);
    record = Record(0, 1, 1, "not listed");
    KOSA_AddOperateRec(&record);
    record = Record(2, 0, 123456, std::string(32, 'n')); // a name without a terminator ends with its field
    record.param1 = 0x61616161;
    KOSA_AddOperateRec(&record);

    const std::string last = "  0001:01:00(120)   CreateTm 0x0000001f 0xffffffff    77 main\n";
    const Dump dump(1000);
    EXPECT_EQ(dump.text, kHeader + "  0000:00:00(000)   DeleteTm 0x61616161 0x00000000 123456 " + std::string(32, 'n') +
                             "\n" + "  11930:27:52(950)  undefined 0x00000000 0x00000000    -1 \n" + last);
    EXPECT_EQ(dump.result, static_cast<int32_t>(last.size()));
}

TEST_F(OperateHistory, IsCutWhereTheBufferEnds) {
    for (const uint32_t operation : {1u, 2u, 3u}) {
        const OperateRec record = Record(operation, operation * 100, 1, "t");
        KOSA_AddOperateRec(&record);
    }
    const std::string whole = Dump(2000).text;
    ASSERT_EQ(std::count(whole.begin(), whole.end(), '\n'), 5);
    const size_t rowLength = (whole.size() - kHeader.size()) / 3;
    for (uint32_t size = 1; size <= whole.size() + 2; ++size) {
        SCOPED_TRACE(size);
        const Dump dump(size);
        const size_t length = std::min<size_t>(size - 1, whole.size());
        EXPECT_EQ(dump.text, whole.substr(0, length));
        // Left-out rows are told by the length; a cut or whole last row by what its formatting said.
        const size_t lastRow = whole.size() - rowLength;
        const int32_t expected = length <= lastRow       ? static_cast<int32_t>(length)
                                 : length < whole.size() ? -1
                                                         : static_cast<int32_t>(rowLength);
        EXPECT_EQ(dump.result, expected);
    }
    EXPECT_EQ(KOSA_DumpOperateHistory(nullptr, 100), -1);
    char untouched = 'j';
    EXPECT_EQ(KOSA_DumpOperateHistory(&untouched, 0), -1);
    EXPECT_EQ(untouched, 'j');
}

} // namespace
