#include "sim/vm/VmFrame.h"

#include "sim/SimSupport.h"

#include <gtest/gtest.h>

namespace Sim
{
namespace
{

/// The bytes of every frame in these, each frame with its end, without escapes and checksums.
Bytes framesIn(const Bytes& bytes)
{
    VmDecoder decoder;
    Bytes found;
    for (const std::uint8_t byte : bytes)
        if (const auto frame = decoder.take(byte)) {
            found.insert(found.end(), frame->bytes.begin(), frame->bytes.end());
            found.push_back(frame->kind == VmFrame::Kind::message ? 0xa0 : 0xa1);
        }
    return found;
}

} // namespace

TEST(VmFrame, DecodesWhatIsWholeAndDropsTheRest)
{
    const struct {
        const char *name, *bytes, *frames;
    } rows[] = {
        {"commands", "ff 01 a1 08 3f a1", "ff 01 a1 08 3f a1"},
        {"escapes", "01 18 01 aa b0 aa b1 aa ba fb a0", "01 18 01 a0 a1 aa a0"},
        {"escaped end", "01 18 01 e6 a0 aa ba 18 01 3d a0", "01 18 01 a0 aa 18 01 a0"},
        {"cut before another", "03 18 a0 03 18 2e 01 b6 a0", "03 18 2e 01 a0"},
        {"wrong checksum", "03 18 2e 01 b7 a0 03 18 2e 01 b6 a0", "03 18 2e 01 a0"},
        {"escape without its byte", "03 18 2e 01 b6 aa a0 03 18 2e 01 b6 a0", "03 18 2e 01 a0"},
        {"nothing", "a0 a1 a0 aa a1", ""},
        {"empty message", "00 a0", "a0"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(framesIn(hex(row.bytes)), hex(row.frames)) << row.name;
    for (const std::size_t count : {VmDecoder::kLongest - 1, VmDecoder::kLongest, std::size_t{1} << 20}) {
        Bytes bytes(count, 0x11);
        for (const int byte : {-0x11 * static_cast<int>(count), 0xa0, 0x08, 0x3f, 0xa1}) // checksum, end, a command
            bytes.push_back(static_cast<std::uint8_t>(byte));
        EXPECT_EQ(framesIn(bytes).size(), count < VmDecoder::kLongest ? count + 4 : 3) << count;
    }
}

TEST(VmFrame, RequestsAndAnswers)
{
    const auto request = vmRequest({VmFrame::Kind::message, hex("a0 19 2d 04")});
    ASSERT_TRUE(request);
    EXPECT_EQ(request->request.netfn << 2 | request->request.lun, 0x19);
    EXPECT_EQ(request->request.data, hex("04"));
    EXPECT_EQ(encodeAnswer(*request, hex("00 a1 aa 10")), hex("aa b0 1d 2d 00 aa b1 aa ba 10 bb a0"));
    EXPECT_FALSE(vmRequest({VmFrame::Kind::message, hex("a0 19")}));
    EXPECT_FALSE(vmRequest({VmFrame::Kind::command, hex("ff 01 02 03")}));
}

} // namespace Sim
