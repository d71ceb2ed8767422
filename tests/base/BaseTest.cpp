// SPDX-License-Identifier: Apache-2.0
// What everything stands on: readers of bytes of unknown good will, and the line that tells of them; the real clock,
// whose sleep can be woken; handles and what they own.
#include "base/Clock.h"
#include "base/Log.h"
#include "base/Text.h"
#include "ipmi/Reference.h"
#include "wire/Cursor.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

namespace
{

using Bytes = std::vector<std::uint8_t>;

TEST(WireReader, latchesAtEveryTruncation)
{
    const Bytes whole{0x01, 0x34, 0x12, 0x56, 0x34, 0x12, 0xaa, 0xbb, 0xcc};
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        Ipmi::wire::Reader reader{std::span(whole).first(length)};
        EXPECT_EQ(reader.u8(), length >= 1 ? 0x01U : 0U);
        EXPECT_EQ(reader.le16(), length >= 3 ? 0x1234U : 0U);
        EXPECT_EQ(reader.le24(), length >= 6 ? 0x123456U : 0U);
        reader.skip(1);
        EXPECT_EQ(reader.bytes(2).size(), length == whole.size() ? 2U : 0U);
        EXPECT_EQ(reader.ok(), length == whole.size()) << length;
        EXPECT_EQ(reader.u8(), 0U);
        EXPECT_TRUE(reader.bytes(SIZE_MAX).empty()); // huge counts do not wrap
        EXPECT_FALSE(reader.ok());
    }
}

TEST(Log, leavesErrnoAsItWas)
{
    TRX::setLogSink([](int, const char*) { errno = EIO; });
    errno = ENOENT;
    TRX::log(LOG_ERR, "%s", "");
    EXPECT_EQ(errno, ENOENT);
    TRX::setLogSink(nullptr);
}

using Decode = std::string (*)(std::span<const std::uint8_t>);
constexpr Decode latin1 = TRX::textFromLatin1, utf8 = TRX::textFromUtf8, utf16 = TRX::textFromUtf16;

TEST(Text, isUtf8WithoutControlCharacters)
{
    const struct {
        const char* name;
        Decode decode;
        Bytes bytes;
        const char* text;
    } rows[] = {
        {"latin-1", latin1, {'a', 0xe9, 0xff}, "a\u00e9\u00ff"},
        {"controls", latin1, {'a', 0x1b, 0x07, 0x7f, 0x80, 0x9f, 'b'}, "a?????b"},
        {"padding", latin1, {'a', ' ', 'b', 0, ' ', 0, 0}, "a b"},
        {"only padding", latin1, {0, ' ', 0}, ""},
        {"NUL inside", latin1, {'a', 0, 'b'}, "a?b"},
        {"utf-8", utf8, {'a', 0xc3, 0xa9, 0xe2, 0x82, 0xac, 0xf0, 0x9f, 0x98, 0x80}, "a\u00e9\u20ac\U0001F600"},
        {"utf-8 cut off", utf8, {'a', 0xe2, 0x82}, "a"},
        {"utf-8 broken sequences", utf8, {0x80, 'a', 0xe2, 'a', 'b', 0xff, 'a'}, "?a?ab?a"},
        {"utf-8 overlong, surrogate", utf8, {0xc0, 0xaf, 0xed, 0xa0, 0x80, 'a'}, "???a"},
        {"utf-8 beyond unicode, C1 control", utf8, {0xf7, 0xbf, 0xbf, 0xbf, 0xc2, 0x85, 'a'}, "?????a"},
        {"utf-16", utf16, {'a', 0, 0xac, 0x20, 0x3d, 0xd8, 0x00, 0xde, 0, 0, ' ', 0}, "a\u20ac\U0001F600"},
        {"utf-16 odd length", utf16, {'a', 0, 'b'}, "a"},
        {"utf-16 cut pair", utf16, {'a', 0, 0x3d, 0xd8}, "a"},
        {"utf-16 lone surrogates", utf16, {0x00, 0xde, 0x3d, 0xd8, 'a', 0}, "??a"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(TRX::trimmed(row.decode(row.bytes)), row.text) << row.name;
}

TEST(Clock, SleepsUntilItIsWokenAndNoShorterForASignal)
{
    TRX::Clock& clock = TRX::Clock::get();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "", 1), 1);
    clock.sleep(1h, ends[0]);         // or the test does not end
    std::signal(SIGALRM, [](int) {}); // poll(2) is not begun again, whatever the signal's flags
    const itimerval soon{{}, {0, 10'000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &soon, nullptr), 0);
    const auto before = clock.steadyTime();
    clock.sleep(1s, -1);
    EXPECT_GE(clock.steadyTime() - before, 1s);
}

struct Counted {
    static inline std::atomic<int> alive{0};
    Counted() { ++alive; }
    virtual ~Counted() { --alive; }
};

struct Derived final : Counted {
    Bytes storage = Bytes(100); // leaks unless destroyed through the virtual destructor
};

TEST(Reference, destroysWithTheLastHandle)
{
    using Handle = TRX::Reference<Counted>;
    Handle first(new Derived), second = first, moved = std::move(first);
    EXPECT_TRUE(!first && second.get() == moved.get());
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
