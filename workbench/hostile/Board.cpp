#include "workbench/hostile/Board.h"

#include <new>
#include <stdexcept>

namespace hostile {

SharedBoard::SharedBoard(const std::wstring& name, bool create)
    : section_(create
                   ? ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Board), name.c_str())
                   : ::OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, name.c_str())) {
    void* view = section_ ? ::MapViewOfFile(section_.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Board)) : nullptr;
    if (view == nullptr) {
        throw std::runtime_error("the memory shared by the two processes could not be mapped");
    }
    // The sender takes over what the host has laid out.
    board_ = create ? ::new (view) Board{} : static_cast<Board*>(view);
}

SharedBoard::~SharedBoard() {
    ::UnmapViewOfFile(board_);
}

} // namespace hostile
