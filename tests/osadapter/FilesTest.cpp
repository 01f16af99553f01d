#include "osadapter/include/kosa.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <cstring>
#include <ctime>

namespace {

TEST(AdapterFiles, AreWrittenRenamedCopiedAndRemovedUnderUtf8Names) {
    const TempFolder folder;
    const std::string first = folder.Utf8("\xE7\xBA\xAA\xE8\xA6\x81.txt");
    const std::string second = folder.Utf8("b.txt");
    const std::string third = folder.Utf8("c.txt");
    FILE* const file = KOSA_Fopen(first.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    const std::string longText(5000, 'y');
    EXPECT_EQ(KOSA_Fprintf(file, "%d %s|%llu|%zu %hhd %+jd %05td %F %.*E|", 7, "ab", 18446744073709551615ULL, size_t{8},
                           9, intmax_t{10}, ptrdiff_t{11}, 1.5, 1, 0.25),
              57);
    EXPECT_EQ(KOSA_Fprintf(file, "%s", longText.c_str()), 5000);
    EXPECT_EQ(KOSA_Fprintf(file, "%s%d", longText.c_str(), 7), 5001);
    EXPECT_EQ(KOSA_Fclose(file), 0);
    const std::string content = "7 ab|18446744073709551615|8 9 +10 00011 1.500000 2.5E-01|" + longText + longText + "7";
    EXPECT_EQ(folder.Read(L"\u7eaa\u8981.txt"), content);

    EXPECT_EQ(KOSA_Rename(first.c_str(), second.c_str()), 0);
    folder.Write("c.txt", "replaced by the copy");
    EXPECT_EQ(KOSA_CopyFile(second.c_str(), third.c_str()), 0);
    EXPECT_EQ(folder.Read("c.txt"), content);
    EXPECT_EQ(KOSA_Remove(second.c_str()), 0);
    EXPECT_EQ(KOSA_Access(second.c_str(), 0), -1);
    EXPECT_EQ(KOSA_CopyFile(second.c_str(), third.c_str()), -1);
    EXPECT_EQ(KOSA_Fopen(second.c_str(), ""), nullptr) << "an empty mode touches nothing";
    EXPECT_EQ(folder.Read("b.txt"), "(missing)");
}

TEST(AdapterDescriptors, ReadWriteSeekAndCut) {
    const TempFolder folder;
    const std::string path = folder.Utf8("\xE4\xBC\x9A.bin");
    int descriptor = KOSA_Creat(path.c_str(), _S_IREAD | _S_IWRITE);
    ASSERT_GT(descriptor, 2);
    EXPECT_EQ(KOSA_Write(descriptor, "0123456789", 10), 10);
    EXPECT_EQ(KOSA_Ftruncate(descriptor, 7), 0);
    EXPECT_EQ(KOSA_Close(descriptor), 0);

    descriptor = KOSA_Open(path.c_str(), _O_RDONLY | _O_BINARY, 0);
    ASSERT_GT(descriptor, 2);
    char text[20] = {};
    EXPECT_EQ(KOSA_LSeek(descriptor, -3, SEEK_END), 4);
    EXPECT_EQ(KOSA_Read(descriptor, text, sizeof(text)), 3);
    EXPECT_STREQ(text, "456");
    EXPECT_EQ(KOSA_Read(descriptor, text, sizeof(text)), 0);
    EXPECT_EQ(KOSA_Write(descriptor, "x", 1), -1);

    KosaStat byPath, byDescriptor;
    memset(&byPath, 0x55, sizeof(byPath));
    EXPECT_EQ(KOSA_Stat(path.c_str(), &byPath), 0);
    EXPECT_EQ(KOSA_FStat(descriptor, &byDescriptor), 0);
    EXPECT_EQ(KOSA_Close(descriptor), 0);
    EXPECT_EQ(byPath.size, 7u);
    EXPECT_EQ(byDescriptor.size, 7u);
    EXPECT_EQ(byPath.mode & _S_IFMT, _S_IFREG);
    EXPECT_EQ(byPath.linkCount, 1);
    EXPECT_EQ(byPath.userId, 0);
    EXPECT_EQ(byPath.modificationTime, byDescriptor.modificationTime);
    EXPECT_NEAR(static_cast<double>(byPath.modificationTime), static_cast<double>(time(nullptr)), 60.0);
    KosaStat folderStatus;
    EXPECT_EQ(KOSA_Stat(folder.Utf8(".").c_str(), &folderStatus), 0);
    EXPECT_EQ(folderStatus.mode & _S_IFMT, _S_IFDIR);
    EXPECT_EQ(KOSA_Stat(folder.Utf8("none").c_str(), &byPath), -1);
    EXPECT_EQ(byPath.size, 0u); // zeroed all the same
    EXPECT_EQ(byPath.modificationTime, 0);
}

TEST(AdapterStreams, KeepPositionEndAndError) {
    const TempFolder folder;
    const std::wstring path = (folder.Path() / L"lines.txt").wstring();
    FILE* const stream = KOSA_Fopen_w(path.c_str(), L"w+b");
    ASSERT_NE(stream, nullptr);
    EXPECT_GE(KOSA_Fputs("one\ntwo\n", stream), 0);
    EXPECT_EQ(KOSA_Fputc('!', stream), '!');
    EXPECT_EQ(KOSA_Fwrite("abcdef", 3, 2, stream), 2u);
    EXPECT_EQ(KOSA_Fflush(stream), 0);
    EXPECT_EQ(folder.Read("lines.txt"), "one\ntwo\n!abcdef");
    EXPECT_GT(KOSA_Fileno(stream), 2);

    KOSA_Rewind(stream);
    char line[8] = {};
    fpos_t second = {};
    EXPECT_EQ(KOSA_Fgets(line, sizeof(line), stream), line);
    EXPECT_STREQ(line, "one\n");
    EXPECT_EQ(KOSA_Fgetpos(stream, &second), 0);
    EXPECT_EQ(KOSA_Fgetc(stream), 't');
    EXPECT_EQ(KOSA_Fsetpos(stream, &second), 0);
    EXPECT_EQ(KOSA_Fgets(line, 3, stream), line);
    EXPECT_STREQ(line, "tw");
    EXPECT_EQ(KOSA_Fseek(stream, -6, SEEK_END), 0);
    char items[8] = {};
    EXPECT_EQ(KOSA_Fread(items, 4, 2, stream), 1u);
    EXPECT_NE(KOSA_Feof(stream), 0);
    EXPECT_EQ(KOSA_Ferror(stream), 0);
    KOSA_Clearerr(stream);
    EXPECT_EQ(KOSA_Feof(stream), 0);
    EXPECT_EQ(KOSA_Fseek(stream, -1, SEEK_SET), -1);
    EXPECT_EQ(KOSA_Fclose(stream), 0);

    FILE* const readOnly = KOSA_Fopen_w(path.c_str(), L"rb");
    ASSERT_NE(readOnly, nullptr);
    EXPECT_EQ(KOSA_Fputc('x', readOnly), -1);
    EXPECT_NE(KOSA_Ferror(readOnly), 0);
    KOSA_Fclose(readOnly); // runtimes differ in whether it repeats the error

    FILE* const temporary = KOSA_TmpFile();
    ASSERT_NE(temporary, nullptr);
    EXPECT_EQ(KOSA_Fputc('t', temporary), 't');
    EXPECT_EQ(KOSA_Fclose(temporary), 0);
}

TEST(AdapterStreams, RefuseAnItemCountWhoseBytesOverflow) {
    const TempFolder folder;
    FILE* const stream = KOSA_Fopen(folder.Utf8("items").c_str(), "w+b");
    ASSERT_NE(stream, nullptr);
    constexpr size_t kHalf = SIZE_MAX / 2 + 2; // twice this is 2 in 64 bits
    char items[8] = {};
    EXPECT_EQ(KOSA_Fwrite(items, kHalf, 2, stream), 0u);
    EXPECT_EQ(KOSA_Fwrite(items, 2, kHalf, stream), 0u);
    EXPECT_EQ(KOSA_Ftell(stream), 0);
    EXPECT_EQ(KOSA_Fwrite("abcd", 4, 1, stream), 1u);
    KOSA_Rewind(stream);
    EXPECT_EQ(KOSA_Fread(items, kHalf, 2, stream), 0u);
    EXPECT_EQ(KOSA_Fread(items, 2, kHalf, stream), 0u);
    EXPECT_EQ(KOSA_Ftell(stream), 0);
    EXPECT_EQ(KOSA_Fread(items, 0, SIZE_MAX, stream), 0u);
    EXPECT_EQ(KOSA_Fclose(stream), 0);
}

// Runtimes return different results for bytes on such a stream. None may end the process.
TEST(AdapterStreams, OfUnicodeModeGiveAResultForEveryCall) {
    const TempFolder folder;
    FILE* const stream = KOSA_Fopen(folder.Utf8("unicode.txt").c_str(), "w+, ccs=UTF-16LE");
    ASSERT_NE(stream, nullptr);
    char text[8] = {};
    KOSA_Fputc('a', stream);
    KOSA_Fputs("abc", stream);
    KOSA_Fwrite("abc", 1, 3, stream);
    KOSA_Fprintf(stream, "%s", "abc");
    KOSA_Fflush(stream);
    KOSA_Rewind(stream);
    KOSA_Fgetc(stream);
    KOSA_Fgets(text, sizeof(text), stream);
    KOSA_Fread(text, 1, 3, stream);
    KOSA_Fclose(stream);
}

TEST(AdapterDevices, AreControlledThroughA32BitHandle) {
    constexpr uint32_t kPeekPipe = 0x0011400C; // the pipe driver's own "what is there to read"
    HANDLE reader = nullptr, writer = nullptr;
    ASSERT_TRUE(::CreatePipe(&reader, &writer, nullptr, 0));
    DWORD written = 0;
    ASSERT_TRUE(::WriteFile(writer, "abc", 3, &written, nullptr));
    struct {
        uint32_t state, readable, messages, messageLength;
        char data[16];
    } peeked = {};
    const int32_t device = static_cast<int32_t>(reinterpret_cast<intptr_t>(reader));
    uint32_t returned = 0;
    EXPECT_EQ(KOSA_Ioctl(device, kPeekPipe, nullptr, 0, &peeked, sizeof(peeked), &returned), 0);
    EXPECT_EQ(returned, 16u + 3);
    EXPECT_EQ(peeked.readable, 3u);
    EXPECT_STREQ(peeked.data, "abc");
    EXPECT_EQ(KOSA_CloseHandle(reader), 0);
    EXPECT_EQ(KOSA_CloseHandle(writer), 0);
    EXPECT_EQ(KOSA_CloseHandle(writer), -1);
}

} // namespace
