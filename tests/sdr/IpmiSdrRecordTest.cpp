#include "ipmi/IpmiSdrRecord.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <algorithm>
#include <vector>

namespace
{

using Ipmi::IpmiSdrRecord;

bool isZero(const IpmiSdrRecord& record, unsigned int from)
{
    return std::all_of(record.bytes + from, std::end(record.bytes), [](unsigned char byte) { return byte == 0; });
}

TEST(IpmiSdrRecord, KeepsWhatFitsAndReadsZeroBeyond)
{
    std::vector<unsigned char> data(80, 0xa5);
    for (unsigned int length = 0; length <= 80; ++length) {
        const IpmiSdrRecord made(length, data.data());
        const unsigned int kept = std::min(length, 64U);
        EXPECT_EQ(made.length, kept);
        const IpmiSdrRecord copy(made);
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
    const std::vector<unsigned char> data(65, 0xa5);
    IpmiSdrRecord record;
    EXPECT_FALSE(record.set(64, data.data()));
    EXPECT_EQ(record.bytes[63], 0xa5);
    EXPECT_FALSE(record.set(3, data.data()));
    EXPECT_TRUE(isZero(record, 3));
    record = *&record;
    EXPECT_EQ(record.bytes[2], 0xa5) << "assigned to itself";
    EXPECT_TRUE(log.lines().empty());

    EXPECT_TRUE(record.set(65, data.data()));
    EXPECT_TRUE(log.has(LOG_ERR, "set: SDR is too long"));
    EXPECT_EQ(record.length, 65U);
    EXPECT_TRUE(isZero(record, 0));
    IpmiSdrRecord other;
    other = record;
    EXPECT_EQ(other.length, 65U);
    EXPECT_EQ(log.lines().size(), 2U) << "an assignment is a set";
}

} // namespace
