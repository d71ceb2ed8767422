#include "sdr/SdrRepository.h"

#include "sdr/SdrBmc.h"

#include <algorithm>
#include <array>

using namespace Ipmi;
using namespace SdrTest;

namespace
{

struct SdrRepositoryTest : testing::Test {
    ~SdrRepositoryTest() override { lists.reset(); }

    static int add(const Bytes& record) TRX_NO_THREAD_SAFETY_ANALYSIS
    {
        auto* entry = new ipmiifc_sdr_list;
        entry->record_id = 0x1234;
        entry->record_type = record.at(3);
        entry->length = static_cast<std::uint8_t>(record.size());
        entry->data = new std::uint8_t[record.size()];
        std::ranges::copy(record, entry->data);
        return IpmiIfcSdrListAdd(0, entry);
    }
    static SdrRepository& node0() TRX_NO_THREAD_SAFETY_ANALYSIS { return g_IpmiNode[0].repository; }

    SdrRepository& lists = node0();
};

TEST_F(SdrRepositoryTest, FilesEachTypeNewestFirst)
{
    using Lists = SdrRepository;
    static const std::pair<ipmiifc_sdr_list * Lists::*, Bytes> rows[] = {{&Lists::sdr_full, {1}},
                                                                         {&Lists::sdr_compact, {2}},
                                                                         {&Lists::sdr_eventonly, {3}},
                                                                         {&Lists::sdr_entity_assoc, {8, 9}},
                                                                         {&Lists::sdr_generic_locator, {0x10}},
                                                                         {&Lists::sdr_fru_locator, {0x11}},
                                                                         {&Lists::sdr_mc_locator, {0x12}},
                                                                         {&Lists::sdr_oem, {0xc0}},
                                                                         {&Lists::sdr_other, {0, 4, 0x13, 0xc1, 0xff}}};
    std::uint32_t filed = 0;
    for (const auto& [head, types] : rows) {
        for (const std::uint8_t type : types) {
            const auto* before = lists.*head;
            EXPECT_EQ(add(Bytes{0, 0, 0x51, type, 0}), 0);
            ASSERT_TRUE(lists.*head && (lists.*head)->record_type == type) << type;
            EXPECT_EQ((lists.*head)->next, before);
            EXPECT_EQ(lists.entries, ++filed);
        }
    }
    ipmiifc_sensor_reading_list reading;
    reading.sdr = lists.sdr_full;
    lists.sdr_full->sreading = &reading;
    EXPECT_EQ(IpmiIfcSdrCleanUpAll(0), 0);
    EXPECT_EQ(reading.sdr, nullptr);
    EXPECT_EQ(IpmiIfcSdrListAdd(0, nullptr), -1);
    EXPECT_EQ(lists.entries, 0u);
    for (const auto& [head, types] : rows)
        EXPECT_EQ(lists.*head, nullptr);
}

TEST_F(SdrRepositoryTest, ExpandsSharedRecords)
{
    using Share = std::array<int, 4>; // count, modifier, number, instance
    static const struct {
        const char* name;
        Kind kind;
        std::size_t size;
        Share share;
        std::vector<Share> filed; ///< oldest first
    } rows[] = {
        {"all count", Kind::compact, 32, {0xa2, 0x80, 16, 5}, {{0xa2, 0x80, 16, 5}, {0xa1, 0x81, 17, 6}}},
        {"three", Kind::compact, 32, {3, 0, 16, 5}, {{3, 0, 16, 5}, {2, 1, 17, 5}, {1, 2, 18, 5}}},
        {"all wrap", Kind::compact, 32, {2, 0x7f, 0xff, 0x7f}, {{2, 0x7f, 0xff, 0x7f}, {1, 0, 0, 0x7f}}},
        {"high bits", Kind::eventOnly, 17, {0x52, 0xff, 32, 0xff}, {{0x52, 0xff, 32, 0xff}, {0x51, 0x80, 33, 0x80}}},
        {"full", Kind::full, 48, {3, 0, 1, 1}, {{3, 0, 1, 1}}},
        {"ends before the share count", Kind::compact, 23, {3, 0, 1, 1}, {{0, 0, 1, 1}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::size_t count = row.kind == Kind::eventOnly ? 12 : 23;
        const std::size_t places[] = {count, count + 1, kNumberAt, 9};
        Bytes record(64);
        record[3] = static_cast<std::uint8_t>(row.kind);
        for (std::size_t i = 0; i < 4; ++i)
            record[places[i]] = static_cast<std::uint8_t>(row.share[i]);
        record.resize(row.size);
        EXPECT_EQ(add(record), 0);
        std::vector<Share> filed;
        for (const auto* list : {lists.sdr_full, lists.sdr_compact, lists.sdr_eventonly}) {
            for (const auto* entry = list; entry; entry = entry->next) {
                filed.insert(filed.begin(), Share{});
                for (std::size_t i = 0; i < 4; ++i)
                    filed.front()[i] = entry->at(places[i]);
                EXPECT_EQ(entry->record_id, 0x1234);
                EXPECT_EQ(entry->length, row.size);
            }
        }
        EXPECT_EQ(filed, row.filed);
        IpmiIfcSdrCleanUpAll(0);
    }
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
    ASSERT_TRUE(repository.makeHeaders(2));
    EXPECT_EQ(repository.header_cnt, 2u);
}

} // namespace
