#include "tests/workbench/FakeAddIn.h"
#include "tests/workbench/HostFixture.h"
#include "tests/workbench/LateBinding.h"

namespace workbench {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A sink advised by COM alone; unadvised at the end.
class Advised {
public:
    Advised(const DispatchPtr& source, REFIID iid) : sink(iid) {
        void* container = nullptr;
        if (FAILED(source->QueryInterface(IID_IConnectionPointContainer, &container))) {
            return;
        }
        status = static_cast<IConnectionPointContainer*>(container)->FindConnectionPoint(iid, &point_);
        static_cast<IConnectionPointContainer*>(container)->Release();
        if (SUCCEEDED(status)) {
            status = point_->Advise(&sink, &cookie_);
        }
    }
    ~Advised() {
        Unadvise();
        if (point_) {
            point_->Release();
        }
        EXPECT_EQ(sink.references, 0);
    }
    HRESULT Unadvise() { return point_ ? point_->Unadvise(cookie_) : E_FAIL; }

    FakeSink sink;
    HRESULT status = E_NOINTERFACE;

private:
    IConnectionPoint* point_ = nullptr;
    DWORD cookie_ = 0;
};

class HostEvents : public HostFixture {};

TEST_F(HostEvents, EachObjectOffersItsGenerationsAndNoOther) {
    const ItemPtr item = host_.NewAppointment();
    const DispatchPtr application = host_.Application();
    const struct {
        DispatchPtr source;
        std::vector<GUID> offered;
    } cases[] = {
        {host_.OpenExplorer()->Dispatch(), {kIidExplorerEvents, kIidExplorerEvents10}},
        {host_.OpenInspector(item)->Dispatch(), {kIidInspectorEvents, kIidInspectorEvents10}},
        {item->Dispatch(), {kIidItemEvents, kIidItemEvents10}},
        {Get(application, L"Explorers").Object(), {kIidExplorersEvents}},
        {Get(application, L"Inspectors").Object(), {kIidInspectorsEvents}},
    };
    for (const auto& one : cases) {
        for (const GUID& iid : one.offered) {
            EXPECT_EQ(Advised(one.source, iid).status, S_OK);
        }
        EXPECT_EQ(Advised(one.source, kIidApplication).status, CONNECT_E_NOCONNECTION);
    }
    EXPECT_THAT(host_.AdvisedSinks(), IsEmpty());
}

TEST_F(HostEvents, ASinkOfTheWrongGenerationIsRefused) {
    const ExplorerPtr explorer = host_.OpenExplorer();
    FakeSink sink(kIidExplorerEvents10);
    DWORD cookie = 5;
    EXPECT_EQ(explorer->Events().Advise(kIidExplorerEvents, &sink, &cookie), CONNECT_E_CANNOTCONNECT);
    EXPECT_EQ(explorer->Events().Unadvise(99), CONNECT_E_NOCONNECTION);
}

TEST_F(HostEvents, CancelArrivesInTheChosenForm) {
    const ItemPtr item = host_.NewAppointment();
    Advised watcher(item->Dispatch(), kIidItemEvents10);
    watcher.sink.onEvent = [](DISPID, DISPPARAMS& params) {
        if (params.cArgs > 0 && params.rgvarg[0].vt == (VT_BYREF | VT_BOOL)) {
            *params.rgvarg[0].pboolVal = VARIANT_TRUE;
        }
    };
    EXPECT_FALSE(item->Save());
    EXPECT_EQ(CallMethod(item->Dispatch(), L"Save").scode, E_ABORT);
    host_.habits().cancelByValue = true;
    EXPECT_TRUE(item->Save());
    host_.habits().cancelMissing = true;
    EXPECT_TRUE(item->Save());
    EXPECT_EQ(item->SaveCount(), 2u);
    EXPECT_THAT(watcher.sink.seen[2].types, ElementsAre(VT_BOOL));
    EXPECT_THAT(watcher.sink.seen[3].types, IsEmpty());
}

TEST_F(HostEvents, BeforeDeleteComesForAnOpenItemWithReversedArguments) {
    const ItemPtr closed = host_.NewAppointment();
    const ItemPtr open = host_.NewAppointment();
    Advised onClosed(closed->Dispatch(), kIidItemEvents10);
    Advised onOpen(open->Dispatch(), kIidItemEvents10);
    host_.OpenInspector(open);
    EXPECT_TRUE(closed->Delete());
    EXPECT_EQ(CallMethod(open->Dispatch(), L"Delete").status, S_OK);
    EXPECT_THAT(onClosed.sink.seen, IsEmpty());
    ASSERT_EQ(onOpen.sink.seen.size(), 1u);
    EXPECT_THAT(onOpen.sink.seen[0].types, ElementsAre(VT_BYREF | VT_BOOL, VT_DISPATCH));
    EXPECT_THAT(host_.Appointments(), IsEmpty());
    EXPECT_THAT(host_.Inspectors(), IsEmpty());
}

TEST_F(HostEvents, ClosingAndDiscardingTakesTheFieldsBack) {
    const ItemPtr item = host_.NewAppointment();
    item->fields.subject = L"kept";
    item->Save();
    const InspectorPtr inspector = host_.OpenInspector(item);
    Advised watcher(inspector->Dispatch(), kIidInspectorEvents);
    std::wstring during;
    watcher.sink.onEvent = [&](DISPID id, DISPPARAMS&) {
        if (id == event::kWindowClose) {
            during = Get(Get(inspector->Dispatch(), L"CurrentItem").Object(), L"Subject").Text();
        }
    };
    Put(item->Dispatch(), L"Subject", L"lost");
    EXPECT_EQ(CallMethod(inspector->Dispatch(), L"Close", {_variant_t(1L)}).status, S_OK);
    EXPECT_EQ(during, L"lost");
    EXPECT_EQ(item->Subject(), L"kept");
    EXPECT_TRUE(item->Saved());
    EXPECT_EQ(Get(inspector->Dispatch(), L"CurrentItem").status, DISP_E_EXCEPTION);
}

TEST_F(HostEvents, CloseCanComeInsideARelease) {
    host_.habits().closeInsideRelease = true;
    const InspectorPtr inspector = host_.OpenInspector(host_.NewAppointment());
    Advised watcher(inspector->Dispatch(), kIidInspectorEvents);
    DispatchPtr held = inspector->Dispatch();
    inspector->Close(kCloseDiscard);
    EXPECT_THAT(watcher.sink.seen, IsEmpty());
    held = nullptr;
    EXPECT_EQ(watcher.sink.seen.size(), 1u);
    EXPECT_TRUE(inspector->Closed());
}

TEST_F(HostEvents, ASinkThatIsUnadvisedMeanwhileGetsNothingMore) {
    const ExplorerPtr explorer = host_.OpenExplorer();
    Advised first(explorer->Dispatch(), kIidExplorerEvents);
    Advised second(explorer->Dispatch(), kIidExplorerEvents10);
    first.sink.onEvent = [&](DISPID, DISPPARAMS&) { second.Unadvise(); };
    explorer->Close();
    EXPECT_EQ(first.sink.seen.size(), 1u);
    EXPECT_THAT(second.sink.seen, IsEmpty());
}

} // namespace
} // namespace workbench
