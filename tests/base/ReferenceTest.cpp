// SPDX-License-Identifier: Apache-2.0
// Handles and what they own.
#include "ipmi/Reference.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace
{

struct Counted {
    static inline std::atomic<int> alive{0};
    Counted() { ++alive; }
    virtual ~Counted() { --alive; }
};

struct Derived final : Counted {
    std::vector<int> storage = std::vector<int>(100); // leaks unless destroyed through the virtual destructor
};

using Handle = TRX::Reference<Counted>;

TEST(Reference, destroysWithTheLastHandle)
{
    Handle first(new Derived);
    Handle second = first;
    Handle moved = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(second.get(), moved.get());
    moved = *&moved;
    moved = Handle();
    EXPECT_EQ(Counted::alive, 1);
    second = Handle(new Derived);
    EXPECT_EQ(Counted::alive, 1);
    {
        const auto copyOften = [mine = second] {
            for (int round = 0; round < 1000; ++round)
                auto copy = mine;
        };
        const std::jthread one(copyOften), two(copyOften), three(copyOften);
    }
    EXPECT_EQ(Counted::alive, 1);
    second = Handle(static_cast<Counted*>(nullptr));
    EXPECT_EQ(Counted::alive, 0);
}

} // namespace
