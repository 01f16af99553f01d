#include "support/UniqueResource.h"
#include "tests/resources/ModuleResources.h"

#include <gtest/gtest.h>
#include <objidl.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

// The GDI+ headers use min and max unqualified.
using std::max;
using std::min;
#include <gdiplus.h>

namespace {

constexpr int kSize = 64; // Pixels a side.

struct Pixels {
    std::vector<std::uint32_t> straight; // As drawn: 0xAARRGGBB.
    std::vector<std::uint32_t> handed;   // As Office gets them, from the bitmap handle.
};

int Part(std::uint32_t pixel, int shift) {
    return static_cast<int>(pixel >> shift & 0xFF);
}

class ButtonImages : public testing::TestWithParam<WORD> {
protected:
    void SetUp() override {
        const Gdiplus::GdiplusStartupInput input;
        ASSERT_EQ(Gdiplus::GdiplusStartup(&token_, &input, nullptr), Gdiplus::Ok);
    }
    void TearDown() override { Gdiplus::GdiplusShutdown(token_); }

    /// Decodes the button's resource the way the ribbon callback does.
    static void Decode(WORD id, Pixels& pixels) {
        const std::string_view bytes = ResourceBytes(L"PNG", id);
        ASSERT_FALSE(bytes.empty());
        HGLOBAL memory = ::GlobalAlloc(GHND, bytes.size());
        std::copy(bytes.begin(), bytes.end(), static_cast<char*>(::GlobalLock(memory)));
        ::GlobalUnlock(memory);
        IStream* stream = nullptr;
        ASSERT_EQ(::CreateStreamOnHGlobal(memory, TRUE, &stream), S_OK);
        {
            Gdiplus::Bitmap bitmap(stream);
            ASSERT_EQ(bitmap.GetLastStatus(), Gdiplus::Ok);
            ASSERT_EQ(bitmap.GetWidth(), static_cast<UINT>(kSize));
            ASSERT_EQ(bitmap.GetHeight(), static_cast<UINT>(kSize));
            ReadPixels(bitmap, pixels);
        }
        stream->Release();
    }

private:
    static void ReadPixels(Gdiplus::Bitmap& bitmap, Pixels& pixels) {
        for (int y = 0; y < kSize; ++y) {
            for (int x = 0; x < kSize; ++x) {
                Gdiplus::Color color;
                ASSERT_EQ(bitmap.GetPixel(x, y, &color), Gdiplus::Ok);
                pixels.straight.push_back(color.GetValue());
            }
        }
        HBITMAP handle = nullptr;
        ASSERT_EQ(bitmap.GetHBITMAP(Gdiplus::Color(0xFF000000), &handle), Gdiplus::Ok);
        const UniqueGdiObject owner(handle);

        // A bitmap that is no DIB section would lose its alpha channel in Office.
        DIBSECTION section = {};
        ASSERT_EQ(::GetObjectW(handle, sizeof(section), &section), static_cast<int>(sizeof(section)));
        ASSERT_EQ(section.dsBm.bmBitsPixel, 32);

        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = kSize;
        info.bmiHeader.biHeight = -kSize; // Top row first.
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        pixels.handed.resize(kSize * kSize);
        const HDC memory = ::CreateCompatibleDC(nullptr);
        EXPECT_EQ(::GetDIBits(memory, handle, 0, kSize, pixels.handed.data(), &info, DIB_RGB_COLORS), kSize);
        ::DeleteDC(memory);
    }

    ULONG_PTR token_ = 0;
};

// Dark or light fringes come from pixels whose colours don't belong to their alpha.
TEST_P(ButtonImages, ComposeWithoutFringesOverLightAndDarkRibbons) {
    Pixels pixels;
    ASSERT_NO_FATAL_FAILURE(Decode(GetParam(), pixels));
    ASSERT_EQ(pixels.handed.size(), pixels.straight.size());
    int unmultiplied = 0;
    int dirty = 0;
    int worst = 0;
    for (size_t at = 0; at < pixels.handed.size(); ++at) {
        const std::uint32_t drawn = pixels.straight[at];
        const std::uint32_t handed = pixels.handed[at];
        const int alpha = Part(handed, 24);
        ASSERT_EQ(alpha, Part(drawn, 24)) << "pixel " << at;
        dirty += alpha == 0 && handed != 0;
        for (const int shift : {16, 8, 0}) {
            unmultiplied += Part(handed, shift) > alpha;
            for (const std::uint32_t ribbon : {0xF3F2F1u, 0x292929u}) {
                const int behind = Part(ribbon, shift) * (255 - alpha);
                const int wanted = (Part(drawn, shift) * alpha + behind) / 255;
                worst = std::max(worst, std::abs(Part(handed, shift) + behind / 255 - wanted));
            }
        }
    }
    EXPECT_EQ(unmultiplied, 0);
    EXPECT_EQ(dirty, 0);
    EXPECT_LE(worst, 2);
}

TEST_P(ButtonImages, FillTheirSquareAndLeaveTheCornersFree) {
    Pixels pixels;
    ASSERT_NO_FATAL_FAILURE(Decode(GetParam(), pixels));
    int left = kSize, right = -1;
    size_t opaque = 0;
    for (size_t at = 0; at < pixels.straight.size(); ++at) {
        const int column = static_cast<int>(at % kSize);
        if (Part(pixels.straight[at], 24) == 255) {
            left = std::min(left, column);
            right = std::max(right, column);
            ++opaque;
        }
    }
    EXPECT_LE(left, 6);
    EXPECT_GE(right, kSize - 7);
    EXPECT_GT(opaque, pixels.straight.size() / 4);
    for (const size_t corner : {0, kSize - 1, kSize * (kSize - 1), kSize * kSize - 1}) {
        EXPECT_EQ(Part(pixels.straight[corner], 24), 0) << "pixel " << corner;
    }
}

INSTANTIATE_TEST_SUITE_P(Resources, ButtonImages, testing::Values<WORD>(401, 402, 403, 404));

} // namespace
