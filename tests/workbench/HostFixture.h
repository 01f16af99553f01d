#pragma once

#include "workbench/host/OutlookHost.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace workbench {

inline std::string ToNarrow(const std::wstring& text) {
    return std::string(text.begin(), text.end());
}

/// A host on this thread; at the end nothing of it may be held any more.
class HostFixture : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
        host_.AddStore(L"Mailbox");
    }

    void TearDown() override {
        host_.Shutdown();
        EXPECT_THAT(host_.Objects().Outstanding(), testing::IsEmpty());
        EXPECT_THAT(host_.Objects().Windows(), testing::IsEmpty());
        ::CoUninitialize();
    }

    OutlookHost host_;
};

} // namespace workbench
