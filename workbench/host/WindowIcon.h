#pragma once

#include <windows.h>

namespace workbench {

/// The stand-in's own icon, an envelope, drawn in that size (pixels). The caller owns it; null when it cannot be made.
HICON MakeWindowIcon(int size);

} // namespace workbench
