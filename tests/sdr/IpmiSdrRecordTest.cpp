#include "ipmi/IpmiSdrRecord.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <algorithm>
#include <vector>

namespace
{

using Ipmi::IpmiSdrRecord;
const std::vector<unsigned char> kData(80, 0xa5);

bool isZero(const IpmiSdrRecord& record, unsigned int from)
{
    return std::all_of(record.bytes + from, std::end(record.bytes), [](unsigned char byte) { return byte == 0; });
}

TEST(IpmiSdrRecord, KeepsWhatFitsAndReadsZeroBeyond)
{
    for (unsigned int length = 0; length <= kData.size(); ++length) {
        const IpmiSdrRecord made(length, kData.data()), copy(made);
        const unsigned int kept = std::min(length, 64U);
        EXPECT_TRUE(std::equal(std::begin(copy.bytes), std::end(copy.bytes), made.bytes) && copy.length == kept);
        for (unsigned int i : {0U, kept - 1, kept, 63U, 64U, ~0U})
            EXPECT_EQ(made.at(i), i < kept ? 0xa5 : 0) << length << " at " << i;
        EXPECT_EQ(made.le16(kept - 1), kept ? 0x00a5 : 0);
        EXPECT_TRUE(isZero(made, kept));
    }
    EXPECT_EQ(IpmiSdrRecord(9, nullptr).length, 0U);
}

TEST(IpmiSdrRecord, RefusesALongRecordAndSaysSo)
{
    Support::LogCapture log;
    IpmiSdrRecord record, other;
    EXPECT_FALSE(record.set(64, kData.data()));
    EXPECT_EQ(record.bytes[63], 0xa5);
    EXPECT_FALSE(record.set(3, kData.data()));
    record = *&record; // keeps what it has
    EXPECT_TRUE(record.bytes[2] == 0xa5 && isZero(record, 3) && log.lines().empty());

    EXPECT_TRUE(record.set(65, kData.data()));
    other = record; // is a set, and says it again
    EXPECT_TRUE(isZero(record, 0) && record.length == 65 && other.length == 65);
    const Support::LogLine line{LOG_ERR, "set: SDR is too long"};
    EXPECT_EQ(log.lines(), (std::vector{line, line}));
}

} // namespace
