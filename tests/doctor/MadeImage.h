#pragma once

#include "doctor/PeImage.h"

#include <cstddef>
#include <cstdint>
#include <string>

/// A program file made by hand.
namespace made {

inline constexpr std::size_t kHeaders = 0x80;
inline constexpr std::size_t kSections = kHeaders + 24 + 240;
inline constexpr std::size_t kData = 0x200; // offset of the only section's content; its address is 0x1000

inline void Put(std::string& image, std::size_t at, std::uint32_t number, std::size_t bytes = 4) {
    for (std::size_t i = 0; i < bytes; ++i) {
        image[at + i] = static_cast<char>(number >> (8 * i));
    }
}

/// A 64-bit program file that imports two libraries.
inline std::string Image() {
    std::string image(kData + 0x60, '\0');
    image.replace(0, 2, "MZ");
    Put(image, 0x3C, kHeaders);
    image.replace(kHeaders, 2, "PE");
    Put(image, kHeaders + 4, doctor::kMachineX64, 2);
    Put(image, kHeaders + 6, 1, 2);    // sections
    Put(image, kHeaders + 20, 240, 2); // bytes of the optional header
    Put(image, kHeaders + 24, 0x20B, 2);
    Put(image, kHeaders + 24 + 120, 0x1000); // import table
    Put(image, kSections + 12, 0x1000);
    Put(image, kSections + 16, 0x60);
    Put(image, kSections + 20, kData);
    Put(image, kData + 12, 0x1040);
    Put(image, kData + 20 + 12, 0x1048);
    image.replace(kData + 0x40, 5, "a.dll");
    image.replace(kData + 0x48, 5, "b.dll");
    return image;
}

} // namespace made
