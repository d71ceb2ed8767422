#include "ipmi/Reference.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace
{

struct Counted {
    explicit Counted(std::atomic<int>& alive) : alive(alive) { ++alive; }
    virtual ~Counted() { --alive; }
    std::atomic<int>& alive;
};

struct Derived final : Counted {
    using Counted::Counted;
    std::vector<int> storage = std::vector<int>(100); // leaks unless destroyed through the virtual destructor
};

using Handle = TRX::Reference<Counted>;

TEST(Reference, destroysWithTheLastHandle)
{
    std::atomic<int> alive{0};
    Handle first(new Derived(alive));
    Handle second = first;
    Handle moved = std::move(first);
    EXPECT_FALSE(first);
    EXPECT_EQ(second.get(), moved.get());
    moved = *&moved;
    moved = Handle();
    EXPECT_EQ(alive, 1);
    second = Handle(new Derived(alive));
    EXPECT_EQ(alive, 1);
    second = Handle(static_cast<Counted*>(nullptr));
    EXPECT_EQ(alive, 0);
    EXPECT_FALSE(Handle(second));
}

TEST(Reference, countsAcrossThreads)
{
    std::atomic<int> alive{0};
    {
        const std::vector<Handle> handles{Handle(new Derived(alive)), Handle(new Derived(alive))};
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([mine = handles] {
                for (int round = 0; round < 1000; ++round)
                    auto copies = mine;
            });
        }
        for (auto& thread : threads)
            thread.join();
        EXPECT_EQ(alive, 2);
    }
    EXPECT_EQ(alive, 0);
}

} // namespace
