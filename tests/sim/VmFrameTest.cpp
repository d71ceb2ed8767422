#include "sim/vm/VmFrame.h"

#include "sim/SimSupport.h"

#include <gtest/gtest.h>

namespace Sim
{
namespace
{

std::string text(const Bytes& bytes)
{
    std::string out;
    for (const std::uint8_t byte : bytes) {
        char word[4];
        std::snprintf(word, sizeof word, "%02x ", byte);
        out += word;
    }
    return out.substr(0, out.empty() ? 0 : out.size() - 1);
}

/// Every frame in these bytes: "m" or "c" and its bytes.
std::string framesIn(VmDecoder& decoder, const Bytes& bytes)
{
    std::string found;
    for (const std::uint8_t byte : bytes) {
        if (const auto frame = decoder.take(byte))
            found += (frame->kind == VmFrame::Kind::message ? "m " : "c ") + text(frame->bytes) + ";";
    }
    return found;
}

/// A message of so many equal bytes, with its checksum and end.
Bytes longMessage(std::size_t count)
{
    Bytes bytes(count, 0x11);
    bytes.push_back(static_cast<std::uint8_t>(-0x11 * static_cast<int>(count)));
    bytes.push_back(0xa0);
    return bytes;
}

} // namespace

TEST(VmFrame, DecodesWhatIsWholeAndDropsTheRest)
{
    const struct {
        const char* bytes;
        const char* frames;
    } rows[] = {
        {"03 18 2e 01 b6 a0", "m 03 18 2e 01;"},
        {"ff 01 a1 08 3f a1", "c ff 01;c 08 3f;"},
        {"01 18 01 aa b0 aa b1 aa ba fb a0", "m 01 18 01 a0 a1 aa;"},
        {"01 18 01 e6 a0 aa ba 18 01 3d a0", "m 01 18 01;m aa 18 01;"},
        {"03 18 2e 01 b7 a0 03 18 2e 01 b6 a0", "m 03 18 2e 01;"},    // a wrong checksum
        {"03 18 2e 01 b6 aa a0 03 18 2e 01 b6 a0", "m 03 18 2e 01;"}, // an escape without its byte
        {"a0 a1 a0 aa a1", ""},
        {"00 a0", "m ;"},
    };
    for (const auto& row : rows) {
        VmDecoder decoder;
        EXPECT_EQ(framesIn(decoder, hex(row.bytes)), row.frames) << row.bytes;
    }
}

TEST(VmFrame, FindsTheNextMessageAfterEveryTruncation)
{
    const Bytes good = hex("03 18 2e aa b1 16 a0");
    for (std::size_t length = 0; length < good.size(); ++length) {
        VmDecoder decoder;
        Bytes bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(length));
        bytes.push_back(0xa0);
        const std::string first = framesIn(decoder, bytes);
        EXPECT_EQ(first, length == good.size() - 1 ? "m 03 18 2e a1;" : "") << length;
        EXPECT_EQ(framesIn(decoder, good), "m 03 18 2e a1;") << length;
    }
}

TEST(VmFrame, IsBounded)
{
    for (const std::size_t count : {VmDecoder::kLongest - 1, VmDecoder::kLongest, std::size_t{1} << 20}) {
        VmDecoder decoder;
        EXPECT_EQ(framesIn(decoder, longMessage(count)).empty(), count >= VmDecoder::kLongest) << count;
        EXPECT_EQ(framesIn(decoder, hex("08 3f a1")), "c 08 3f;") << count;
    }
}

TEST(VmFrame, RequestsAndAnswers)
{
    const auto request = vmRequest({VmFrame::Kind::message, hex("a0 19 2d 04")});
    ASSERT_TRUE(request);
    EXPECT_EQ(request->sequence, 0xa0);
    EXPECT_EQ(request->request.netfn << 2 | request->request.lun, 0x19);
    EXPECT_EQ(request->request.cmd, 0x2d);
    EXPECT_EQ(request->request.data, hex("04"));
    EXPECT_EQ(text(encodeAnswer(*request, hex("00 a1 aa 10"))), "aa b0 1d 2d 00 aa b1 aa ba 10 bb a0");
    EXPECT_EQ(text(encodeAnswer(*request, {})), "aa b0 1d 2d 16 a0");
    EXPECT_EQ(text(encodeCommand(VmCommand::interruptsOn)), "05 a1");

    EXPECT_FALSE(vmRequest({VmFrame::Kind::message, hex("a0 19")}));
    EXPECT_FALSE(vmRequest({VmFrame::Kind::command, hex("ff 01 02 03")}));
}

} // namespace Sim
