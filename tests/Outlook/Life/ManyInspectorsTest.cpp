#include "tests/Outlook/Life/LifeFixture.h"

using testing::UnorderedElementsAreArray;
using workbench::HostOptions;
using workbench::ItemPtr;

namespace {

struct Usage {
    DWORD handles = 0;
    DWORD gdiObjects = 0;
    DWORD userObjects = 0;
    size_t windows = 0;
    size_t hostObjects = 0;
};

size_t WindowsOfThisProcess() {
    struct Count {
        size_t found = 0;
    } count;
    ::EnumWindows(
        [](HWND window, LPARAM parameter) -> BOOL {
            DWORD process = 0;
            ::GetWindowThreadProcessId(window, &process);
            reinterpret_cast<Count*>(parameter)->found += process == ::GetCurrentProcessId() ? 1 : 0;
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&count));
    return count.found;
}

} // namespace

class ManyInspectors : public LifeFixture {
protected:
    Usage Measure() {
        workbench::PumpFor(0);
        Usage usage;
        ::GetProcessHandleCount(::GetCurrentProcess(), &usage.handles);
        usage.gdiObjects = ::GetGuiResources(::GetCurrentProcess(), GR_GDIOBJECTS);
        usage.userObjects = ::GetGuiResources(::GetCurrentProcess(), GR_USEROBJECTS);
        usage.windows = WindowsOfThisProcess();
        usage.hostObjects = HeldObjects().size();
        return usage;
    }
};

TEST_F(ManyInspectors, TenThousandLeaveNothingBehind) {
    HostOptions options;
    options.habits.showWindows = false;
    options.habits.editorChain = false;
    options.habits.distinctPointers = true;
    Connect(options);
    StartFreshClient();
    // Few items, opened again and again; each is saved at times, sent at times, and of one of the three kinds.
    std::vector<ItemPtr> items;
    for (const wchar_t* comment : {L"", kKnownMeeting, L"not ours"}) {
        items.push_back(OpenAppointment(true, comment));
        items.back()->OpenedInspector()->CloseWithoutAsking();
    }
    constexpr size_t kCycles = 10'000;
    constexpr size_t kWarmUp = 1'000;
    Usage early;
    for (size_t cycle = 0; cycle < kCycles; ++cycle) {
        if (cycle == kWarmUp) {
            early = Measure();
        }
        const ItemPtr& item = items[cycle % items.size()];
        const workbench::InspectorPtr inspector = Host().OpenInspector(item);
        if (cycle % 10 == 0) {
            item->Save();
        }
        inspector->CloseWithoutAsking();
        if (cycle % 1'000 == 0) {
            Host().ResetCalls(); // The record of the calls grows by itself.
            ASSERT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
        }
    }
    const Usage late = Measure();
    EXPECT_THAT(Host().AdvisedSinks(), UnorderedElementsAreArray(RestingSinks()));
    EXPECT_EQ(late.hostObjects, early.hostObjects);
    EXPECT_EQ(late.windows, early.windows);
    EXPECT_LE(late.handles, early.handles + 2) << "a handle more may be the client's channel at work";
    EXPECT_LE(late.gdiObjects, early.gdiObjects);
    EXPECT_LE(late.userObjects, early.userObjects);
    EXPECT_GT(Host().Objects().Created(), 50'000u);
    if (late.userObjects == 0) {
        std::cout << "The system does not tell the number of USER objects; windows were counted instead.\n";
    }
}
