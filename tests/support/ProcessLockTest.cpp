#include "support/ProcessLock.h"

#include "support/LogOneApi.h"
#include "support/MC_Event.h"
#include "tests/support/LogText.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>
#include <sddl.h>

#include <algorithm>
#include <thread>

// To the platform another thread is what another process is: the lock belongs to a thread.
namespace {

using testing::ElementsAre;

constexpr uint32_t kLimit = 60'000; // ms

/// Owns a file's lock until it is told to release it.
class Owner {
public:
    explicit Owner(const std::string& path) : lock_(path.c_str()) { taken_.Wait(kLimit); }
    ~Owner() { Release(); }

    void Release() {
        release_.Set();
        if (thread_.joinable()) {
            thread_.join();
        }
    }

private:
    ProcessLock lock_;
    MC_Event taken_;
    MC_Event release_;
    std::thread thread_{[this] {
        lock_.Lock(true);
        taken_.Set();
        release_.Wait(kLimit);
        lock_.Unlock();
    }};
};

TEST(FileLock, BelongsToOneOwnerPerFile) {
    ProcessLock lock("C:\\a.txt");
    ProcessLock another("C:\\b.txt");
    Owner owner("C:\\a.txt");
    EXPECT_TRUE(another.Lock(false));
    for (const bool mayWait : {false, true, true}) {
        EXPECT_FALSE(lock.Lock(mayWait));
        lock.Unlock();
    }
    owner.Release();
    EXPECT_TRUE(lock.Lock(false));
}

TEST(FileLock, OfAnOwnerThatHasEndedIsTaken) {
    ProcessLock lock("C:\\a.txt");
    std::thread([] { ProcessLock("C:\\a.txt").Lock(true); }).join();
    ASSERT_TRUE(lock.Lock(false));
    bool free = true;
    std::thread([&] { free = ProcessLock("C:\\a.txt").Lock(false); }).join();
    EXPECT_FALSE(free);
}

TEST(FileLock, WhoseNameIsTakenByAnotherObjectExcludesNobody) {
    const UniqueHandle squatter(::CreateEventW(nullptr, TRUE, FALSE, ProcessLock::NameOf("C:\\a.txt").data()));
    ProcessLock first("C:\\a.txt");
    ProcessLock second("C:\\a.txt");
    EXPECT_TRUE(first.Lock(true));
    EXPECT_TRUE(second.Lock(true));
}

// Access list and label of a descriptor, byte for byte. Not as text: Wine has no word for a label.
std::string Lists(PSECURITY_DESCRIPTOR descriptor) {
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL access = nullptr;
    PACL label = nullptr;
    ::GetSecurityDescriptorDacl(descriptor, &present, &access, &defaulted);
    ::GetSecurityDescriptorSacl(descriptor, &present, &label, &defaulted);
    std::string bytes;
    for (const ACL* const list : {access, label}) {
        bytes.append(reinterpret_cast<const char*>(list), list != nullptr ? list->AclSize : 0).append("|");
    }
    return bytes;
}

// An elevated regsvr32 may have made the lock of the Outlook that comes after it.
TEST(FileLock, IsOpenToInteractiveUsersOfMediumIntegrity) {
    const ProcessLock lock("C:\\a.txt");
    const UniqueHandle opened(::OpenMutexW(READ_CONTROL, FALSE, ProcessLock::NameOf("C:\\a.txt").data()));
    BYTE descriptor[1024] = {};
    DWORD length = 0;
    ASSERT_TRUE(::GetKernelObjectSecurity(opened.Get(), DACL_SECURITY_INFORMATION | LABEL_SECURITY_INFORMATION,
                                          descriptor, sizeof(descriptor), &length));
    PSECURITY_DESCRIPTOR expected = nullptr;
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;0x100001;;;IU)S:(ML;;NWNRNX;;;ME)",
                                                                       SDDL_REVISION_1, &expected, nullptr));
    EXPECT_EQ(Lists(descriptor), Lists(expected));
    ::LocalFree(expected);
}

class SharedLog : public testing::Test {
protected:
    SharedLog() {
        const LogOneConfig config = {path_.c_str(), 1, 1, 2};
        id_ = LogOneOpen(&config);
    }
    ~SharedLog() override { LogOneClose(id_); }

    void Write(const std::string& text) const { LogOneWrite(id_, "", 0, "f", "s", 1, "%s", text.c_str()); }
    std::vector<std::string> Lines(const char* file = "log.txt") const { return LogLines(folder_.Read(file)); }

    TempFolder folder_;
    std::string path_ = folder_.Utf8("log.txt");
    uint32_t id_ = 0;
};

// The loader lock is held then.
TEST_F(SharedLog, KeepsTheFirstLineUntilTheNextWhenAnotherProcessWrites) {
    Owner owner(path_);
    Write("first");
    EXPECT_EQ(folder_.Read("log.txt"), "(missing)"); // the owner is still inside
    owner.Release();
    Write("second");
    EXPECT_THAT(Lines(), ElementsAre("[Err][s:1 f]first", "[Err][s:1 f]second"));
}

TEST_F(SharedLog, WritesAKeptLineWhenItIsClosed) {
    Owner owner(path_);
    Write("first");
    owner.Release();
    LogOneClose(id_);
    EXPECT_THAT(Lines(), ElementsAre("[Err][s:1 f]first"));
}

TEST_F(SharedLog, IsClosedWhileAnotherProcessWrites) {
    const Owner owner(path_);
    Write("first");
    LogOneClose(id_);
    EXPECT_EQ(folder_.Read("log.txt"), "(missing)");
}

TEST_F(SharedLog, WritesBesideAStoppedOwnerOnceMuchIsKeptButDoesNotRotate) {
    Owner owner(path_);
    std::vector<std::string> all;
    for (int line = 0; line < 40; ++line) {
        const std::string text = std::to_string(line) + std::string(10'000, 'x');
        Write(text);
        all.push_back("[Err][s:1 f]" + text);
    }
    EXPECT_NE(folder_.Read("log.txt"), "(missing)");
    EXPECT_EQ(folder_.Read("log_1.txt"), "(missing)");
    owner.Release();
    Write("last"); // finds the file full
    all.push_back("[Err][s:1 f]last");
    std::vector<std::string> both = Lines("log_1.txt");
    std::ranges::move(Lines(), std::back_inserter(both));
    EXPECT_TRUE(both == all) << both.size() << " lines";
}

} // namespace
