#include "sdr/SdrRepository.h"

#include "sdr/SdrBmc.h"
#include "support/FailingNew.h"
#include "support/LogCapture.h"

#include <algorithm>

using namespace Ipmi;
using namespace SdrTest;

namespace
{

ipmiifc_sdr_list* entryOf(const Bytes& record)
{
    auto* entry = new ipmiifc_sdr_list;
    entry->record_id = 0x1234;
    entry->record_type = record.at(3);
    entry->length = static_cast<std::uint8_t>(record.size());
    entry->data = new std::uint8_t[record.size()];
    std::ranges::copy(record, entry->data);
    return entry;
}

int add(const Bytes& record)
{
    TRX::WriteLock lock(g_IpmiNode[0].sdrLock);
    return IpmiIfcSdrListAdd(0, entryOf(record));
}

/// Node 0's lists, for a test that no other thread disturbs.
SdrRepository& lists() TRX_NO_THREAD_SAFETY_ANALYSIS
{
    return g_IpmiNode[0].repository;
}

struct SdrRepositoryTest : testing::Test {
    ~SdrRepositoryTest() override { lists().reset(); }
    Support::LogCapture log;
};

TEST_F(SdrRepositoryTest, FilesEachTypeNewestFirst)
{
    const struct {
        std::uint8_t type;
        ipmiifc_sdr_list* SdrRepository::*head;
    } rows[] = {{0x01, &SdrRepository::sdr_full},         {0x02, &SdrRepository::sdr_compact},
                {0x03, &SdrRepository::sdr_eventonly},    {0x08, &SdrRepository::sdr_entity_assoc},
                {0x09, &SdrRepository::sdr_entity_assoc}, {0x10, &SdrRepository::sdr_generic_locator},
                {0x11, &SdrRepository::sdr_fru_locator},  {0x12, &SdrRepository::sdr_mc_locator},
                {0xc0, &SdrRepository::sdr_oem},          {0x00, &SdrRepository::sdr_other},
                {0x04, &SdrRepository::sdr_other},        {0x13, &SdrRepository::sdr_other},
                {0xc1, &SdrRepository::sdr_other},        {0xff, &SdrRepository::sdr_other}};
    std::uint32_t filed = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type);
        ipmiifc_sdr_list* before = lists().*row.head;
        EXPECT_EQ(add(Bytes{0, 0, 0x51, row.type, 0}), 0);
        ASSERT_TRUE(lists().*row.head);
        EXPECT_EQ((lists().*row.head)->record_type, row.type);
        EXPECT_EQ((lists().*row.head)->next, before);
        EXPECT_EQ(lists().entries, ++filed);
    }
    ipmiifc_sensor_reading_list reading;
    reading.sdr = lists().sdr_full;
    lists().sdr_full->sreading = &reading;
    EXPECT_EQ(IpmiIfcSdrCleanUpAll(0), 0);
    EXPECT_EQ(reading.sdr, nullptr);
    EXPECT_EQ(lists().entries, 0u);
    for (const auto& row : rows)
        EXPECT_EQ(lists().*row.head, nullptr);
}

/// Fields of a shared entry as filed, oldest first.
struct Share {
    int count, modifier, number, instance;
    bool operator==(const Share&) const = default;
};

TEST_F(SdrRepositoryTest, ExpandsSharedRecords)
{
    const struct {
        const char* name;
        Kind kind;
        std::uint8_t share, modifier, number, instance;
        std::size_t size;
        std::vector<Share> filed;
    } rows[] = {
        {"not shared", Kind::compact, 0xa1, 0x80, 0x10, 5, 32, {{0xa1, 0x80, 0x10, 5}}},
        {"three, instances count",
         Kind::compact,
         0xa3,
         0x80,
         0x10,
         5,
         32,
         {{0xa3, 0x80, 0x10, 5}, {0xa2, 0x81, 0x11, 6}, {0xa1, 0x82, 0x12, 7}}},
        {"one instance, all wraps", Kind::compact, 2, 0x7f, 0xff, 0x7f, 32, {{2, 0x7f, 0xff, 0x7f}, {1, 0, 0, 0x7f}}},
        {"kept high bits",
         Kind::eventOnly,
         0x52,
         0xff,
         0x20,
         0xff,
         17,
         {{0x52, 0xff, 0x20, 0xff}, {0x51, 0x80, 0x21, 0x80}}},
        {"full records have no share", Kind::full, 3, 0, 1, 1, 48, {{3, 0, 1, 1}}},
        {"ends before the modifier", Kind::compact, 2, 0, 1, 1, 24, {{2, 0, 1, 1}, {1, 0, 2, 1}}},
        {"ends before the share count", Kind::compact, 3, 0, 1, 1, 23, {{0, 0, 1, 1}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::size_t at = row.kind == Kind::eventOnly ? 12 : 23;
        Bytes record(64);
        record[3] = static_cast<std::uint8_t>(row.kind);
        record[7] = row.number, record[9] = row.instance, record[at] = row.share, record[at + 1] = row.modifier;
        record.resize(row.size);
        EXPECT_EQ(add(record), 0);
        const auto* entry = row.kind == Kind::full      ? lists().sdr_full
                            : row.kind == Kind::compact ? lists().sdr_compact
                                                        : lists().sdr_eventonly;
        std::vector<Share> filed;
        for (; entry; entry = entry->next) {
            filed.push_back({entry->at(at), entry->at(at + 1), entry->at(7), entry->at(9)});
            EXPECT_EQ(entry->record_id, 0x1234);
            EXPECT_EQ(entry->length, row.size);
        }
        std::ranges::reverse(filed);
        EXPECT_EQ(filed, row.filed);
        IpmiIfcSdrCleanUpAll(0);
    }
}

TEST_F(SdrRepositoryTest, KeepsWhatWasFiledWhenMemoryRunsOut)
{
    const Bytes record = patched(Bytes(32), {{3, 0x02}, {23, 4}});
    for (int nth = 1; nth <= 6; ++nth) { // two allocations per copy
        SCOPED_TRACE(nth);
        log.clear();
        ipmiifc_sdr_list* entry = entryOf(record);
        Support::FailingNew memory(nth);
        TRX::WriteLock lock(g_IpmiNode[0].sdrLock);
        EXPECT_EQ(IpmiIfcSdrListAdd(0, entry), -1);
        EXPECT_EQ(sizeOf(lists().sdr_compact), 1u + static_cast<std::size_t>(nth - 1) / 2);
        EXPECT_EQ(log.lines(), (Lines{{LOG_ERR, "IpmiIfcSdrListAdd: failed memory alloc."}}));
        lists().dropRecords();
    }
}

TEST_F(SdrRepositoryTest, HoldsSoManyEntriesAndNoMore)
{
    const Bytes record = patched(Bytes(32), {{3, 0x02}, {23, 15}});
    int result = 0;
    for (int i = 0; i < 2000 && result == 0; ++i)
        result = add(record);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(lists().entries, SdrRepository::kMostEntries);
    EXPECT_EQ(sizeOf(lists().sdr_compact), SdrRepository::kMostEntries);
    EXPECT_EQ(add(plainRecord(1)), -1);
    EXPECT_EQ(IpmiIfcSdrListAdd(4, entryOf(record)), -1);
    EXPECT_EQ(IpmiIfcSdrListAdd(0, nullptr), -1);
}

TEST(SdrHeaderArray, IsReusedWhileItIsLargeEnough)
{
    SdrRepository repository;
    ASSERT_TRUE(repository.makeHeaders(8));
    const auto* array = repository.sdr_headers;
    repository.header_cnt = 5; // a walk found fewer
    ASSERT_TRUE(repository.makeHeaders(4));
    EXPECT_EQ(repository.sdr_headers, array);
    EXPECT_EQ(repository.header_cnt, 5u);
    ASSERT_TRUE(repository.makeHeaders(6)); // the five known to fit are too few
    EXPECT_EQ(repository.header_cnt, 6u);
    repository.dropHeaders();
    EXPECT_EQ(repository.header_cnt, 6u);
    ASSERT_TRUE(repository.makeHeaders(2));
    EXPECT_TRUE(repository.sdr_headers);
    EXPECT_EQ(repository.header_cnt, 2u);
    const Support::FailingNew memory(1);
    EXPECT_FALSE(repository.makeHeaders(3));
    EXPECT_EQ(repository.header_cnt, 0u);
}

} // namespace
