#include "support/UniqueResource.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

std::vector<int> g_closed;

struct CountingTraits {
    using Value = int;
    static Value Empty() noexcept { return -1; }
    static void Close(Value value) noexcept { g_closed.push_back(value); }
};

TEST(UniqueResource, MoveAssignmentClosesTheOldValueAtOnce) {
    g_closed.clear();
    {
        UniqueResource<CountingTraits> first(1);
        UniqueResource<CountingTraits> second(2);
        first = std::move(second);
        EXPECT_THAT(g_closed, testing::ElementsAre(1));
        EXPECT_EQ(first.Get(), 2);
        EXPECT_FALSE(second);
    }
    EXPECT_THAT(g_closed, testing::ElementsAre(1, 2));
}

} // namespace
