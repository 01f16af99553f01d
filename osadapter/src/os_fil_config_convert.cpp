#include "osadapter/src/adapter_memory.h"
#include "osadapter/src/path_encoding.h"

namespace {

constexpr char kUnit[] = "os_fil_config";

// Zeroed, so that the text is terminated wherever the conversion ends.
template <class Unit>
UniqueText<Unit> NewText(size_t length) noexcept {
    const size_t bytes = (length + 1) * sizeof(Unit);
    if (bytes > UINT32_MAX) {
        return nullptr;
    }
    return UniqueText<Unit>(static_cast<Unit*>(KOSA_MemMallocS(static_cast<uint32_t>(bytes), 0, __LINE__, kUnit)));
}

} // namespace

UniqueText<wchar_t> ToWidePath(const char* path) noexcept {
    if (IsEmptyText(path)) {
        return nullptr;
    }
    const size_t units = path_encoding::CountUnits(path);
    UniqueText<wchar_t> wide = NewText<wchar_t>(units);
    if (wide != nullptr) {
        path_encoding::DecodeUtf8(path, wide.get(), units);
    }
    return wide;
}

UniqueText<char> ToNarrowPath(const wchar_t* path) noexcept {
    if (path == nullptr) {
        return nullptr;
    }
    UniqueText<char> narrow = NewText<char>(path_encoding::CountBytes(path));
    if (narrow != nullptr) {
        path_encoding::EncodeUtf8(path, narrow.get());
    }
    return narrow;
}
