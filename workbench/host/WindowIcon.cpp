#include "workbench/host/WindowIcon.h"

#include "support/UniqueResource.h"

#include <cmath>
#include <cstdint>
#include <vector>

namespace workbench {
namespace {

constexpr std::uint32_t kClear = 0;
constexpr std::uint32_t kPaper = 0xFFFFFFFF; // alpha, red, green, blue
constexpr std::uint32_t kFold = 0xFF106EBE;

/// The envelope's colour at a place given in parts of its edge, from the left and the top.
std::uint32_t ColourAt(double x, double y) {
    constexpr double kLeft = 1 / 16.0, kTop = 3 / 16.0, kLine = 0.6 / 16.0;
    if (x < kLeft || x > 1 - kLeft || y < kTop || y > 1 - kTop) {
        return kClear;
    }
    // The flap's two edges meet below the middle of the paper.
    const double edge = kTop + (0.5 - std::abs(x - 0.5) - kLeft) * 0.9;
    return std::abs(y - edge) < kLine * 1.35 && y < 0.62 ? kFold : kPaper;
}

} // namespace

HICON MakeWindowIcon(int size) {
    std::vector<std::uint32_t> pixels;
    for (int row = 0; row < size; ++row) {
        for (int column = 0; column < size; ++column) {
            pixels.push_back(ColourAt((column + 0.5) / size, (row + 0.5) / size));
        }
    }
    const UniqueGdiObject colours(::CreateBitmap(size, size, 1, 32, pixels.data()));
    // The alpha channel counts; a mask has to be there all the same. Its rows are whole words.
    const std::vector<std::uint16_t> none(static_cast<std::size_t>(size) *
                                          ((static_cast<std::size_t>(size) + 15) / 16));
    const UniqueGdiObject mask(::CreateBitmap(size, size, 1, 1, none.data()));
    if (!colours || !mask) {
        return nullptr;
    }
    ICONINFO icon{};
    icon.fIcon = TRUE;
    icon.hbmColor = static_cast<HBITMAP>(colours.Get());
    icon.hbmMask = static_cast<HBITMAP>(mask.Get());
    return ::CreateIconIndirect(&icon);
}

} // namespace workbench
