#include "workbench/faults/Kinds.h"

#include <iterator>

namespace faults {
namespace {

constexpr const char* kNames[] = {"allocation",   "gdiplus",  "windows",    "threads",         "messages",
                                  "resources",    "registry", "shell",      "files-read-only", "files-full",
                                  "files-shared", "com",      "conversion", "modules",         "json"};
static_assert(std::size(kNames) == kKinds);

} // namespace

const char* Name(Kind kind) {
    return kNames[static_cast<std::size_t>(kind)];
}

std::string RoundName(Kind kind, bool onward) {
    return std::string(Name(kind)) + (onward ? "+" : "");
}

std::optional<Order> ParseRound(std::string_view name) {
    Order order;
    if (name.ends_with('+')) {
        order.onward = true;
        name.remove_suffix(1);
    }
    for (std::size_t i = 0; i < kKinds; ++i) {
        if (name == kNames[i]) {
            order.kind = static_cast<Kind>(i);
            return order;
        }
    }
    return std::nullopt;
}

} // namespace faults
