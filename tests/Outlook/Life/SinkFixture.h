#pragma once

#include "Outlook/AddIns/AddIn.h"
#include "Outlook/AddIns/EventSink.h"
#include "tests/Outlook/Business/LogCapture.h"
#include "tests/fakes/StatusMatcher.h"
#include "workbench/host/OutlookHost.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

/// Sinks made by hand on the objects of a stand-in host. Their add-in is not connected, so it asks no user: a save of
/// an appointment of its own is refused, as no dialog can be shown from this program.
class SinkFixture : public testing::Test {
protected:
    SinkFixture() {
        ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        host_.emplace();
        addIn_ = new AddIn; // the first reference is released by TearDown
        LogCapture::Clear();
    }

    void TearDown() override {
        EXPECT_EQ(addIn_->Release(), 0u);
        EXPECT_THAT(host_->AdvisedSinks(), testing::IsEmpty());
        host_->Shutdown();
        EXPECT_THAT(host_->Objects().Outstanding(), testing::IsEmpty());
        host_.reset();
        ::CoUninitialize();
    }

    static HRESULT Invoke(const IEventSinkPtr& sink, DISPID event, DISPPARAMS* params) {
        const IDispatchPtr dispatch(sink);
        EXCEPINFO exception = {};
        UINT argument = 0;
        return dispatch->Invoke(event, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, params, nullptr, &exception,
                                &argument);
    }

    static std::vector<std::wstring> LogTexts(const std::wstring& function) {
        std::vector<std::wstring> texts;
        for (const LogCapture::Line& line : LogCapture::Of(function)) {
            EXPECT_EQ(line.source, L"AddIns/EventSink");
            texts.push_back(std::to_wstring(static_cast<int>(line.level)) + L" " + line.text);
        }
        return texts;
    }

    std::optional<workbench::OutlookHost> host_;
    AddIn* addIn_ = nullptr;
};
