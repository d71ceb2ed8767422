// Status and date-time values, with a CIM broker and with the library's own.
#include "base/Log.h"
#include "cmpi/Broker.h"
#include "ipmi/CmpiDateTime.h"
#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <thread>

using namespace Ipmi;

namespace
{

// Where every broker has its functions.
static_assert(sizeof(CMPIStatus) == 16 && offsetof(CMPIStatus, msg) == 8 && sizeof(CMPIrc) == 4);
static_assert(offsetof(CMPIBroker, eft) == 16 && sizeof(CMPIDateTimeFT) == 48);
static_assert(offsetof(CMPIBrokerEncFT, newDateTimeFromBinary) == 56);
static_assert(offsetof(CMPIBrokerEncFT, newDateTimeFromChars) == 64);
static_assert(offsetof(CMPIBrokerEncFT, trace) == 128);
static_assert(offsetof(CMPIStringFT, getCharPtr) == 24 && offsetof(CMPIDateTimeFT, isInterval) == 40);

constexpr auto kPoint = CmpiDateTime::kPointInTime, kInterval = CmpiDateTime::kInterval;
constexpr unsigned long long kDay = 86'400'000'000, kUnknown = 253'370'764'800'000'000;

std::string textOf(const CMPIDateTime* dateTime)
{
    CMPIString* text = dateTime->ft->getStringFormat(dateTime, nullptr);
    return text ? text->ft->getCharPtr(text, nullptr) : "";
}

TEST(CmpiStatus, keepsTheCodeAndLogsTheText)
{
    Support::LogCapture log;
    const CmpiStatus status(CMPI_RC_ERROR, "what happened");
    EXPECT_EQ(status.rc(), CMPI_RC_ERROR);
    EXPECT_STREQ(status.msg(), "(null)");
    EXPECT_EQ(CmpiStatus(CMPI_RC_ERR_FAILED, nullptr).rc(), CMPI_RC_ERR_FAILED);
    const std::vector<Support::LogLine> expected{{LOG_ERR, "CmpiStatus error 200 what happened"},
                                                 {LOG_ERR, "CmpiStatus error 1 (null)"}};
    EXPECT_EQ(log.lines(), expected);
}

/// A CIM broker that does as it is told.
struct TestBroker {
    static inline bool writesStatus, makes;
    static inline CMPIStatus reported;
    static inline std::string asked;
    static inline CMPIDateTime made;

    CMPIBrokerEncFT functions{};
    CMPIBroker broker{};

    explicit TestBroker(bool writes = true, bool make = true, CMPIStatus report = {})
    {
        writesStatus = writes;
        makes = make;
        reported = report;
        functions.newDateTimeFromBinary = [](const CMPIBroker*, CMPIUint64 v, CMPIBoolean i, CMPIStatus* status) {
            return answer(std::to_string(v) + (i == 1 ? " interval" : i == 0 ? " point" : " ?"), status);
        };
        functions.newDateTimeFromChars = [](const CMPIBroker*, const char* text, CMPIStatus* status) {
            return answer(text, status);
        };
        broker.eft = &functions;
        IpmiIfc::setBroker(&broker);
    }
    ~TestBroker() { IpmiIfc::setBroker(nullptr); }

    static CMPIDateTime* answer(std::string question, CMPIStatus* status)
    {
        asked = std::move(question);
        if (writesStatus)
            *status = reported; // a null pointer here is the library's fault
        return makes ? &made : nullptr;
    }
};

TEST(CmpiDateTime, asksTheBroker)
{
    for (const bool writesStatus : {true, false}) {
        TestBroker broker(writesStatus);
        for (const int type : {1, 0, 2, -1}) {
            EXPECT_EQ(CmpiDateTime(5, static_cast<CmpiDateTime::Type>(type)).getHandle(), &TestBroker::made);
            EXPECT_EQ(TestBroker::asked, type == 1 ? "5 interval" : "5 point");
        }
        EXPECT_EQ(CmpiDateTime::Unknown().get(), &TestBroker::made);
        EXPECT_EQ(TestBroker::asked, "99990101000000.000000+000");
    }
}

TEST(CmpiDateTime, throwsWhatTheBrokerReports)
{
    static CMPIStringFT text{};
    text.getCharPtr = [](const CMPIString* string, CMPIStatus*) { return static_cast<const char*>(string->hdl); };
    static char noMemory[] = "no memory";
    CMPIString message{noMemory, &text}, empty{nullptr, &text};
    struct Row {
        const char* name;
        CMPIStatus reported;
        bool writes, makes;
        CMPIrc rc;
        const char* msg = "(null)";
    };
    const CMPIrc failed = CMPI_RC_ERR_FAILED, noHandle = CMPI_RC_ERR_INVALID_HANDLE;
    const Row rows[] = {
        {"rc and message", {failed, &message}, true, false, failed, "no memory"},
        {"rc with an object", {noHandle, nullptr}, true, true, noHandle},
        {"message without text", {CMPI_RC_ERROR, &empty}, true, false, CMPI_RC_ERROR},
        {"null and status not written", {}, false, false, failed},
        {"no functions", {}, true, true, CMPI_RC_ERR_NOT_SUPPORTED},
    };
    for (const Row& row : rows) {
        TestBroker broker(row.writes, row.makes, row.reported);
        if (row.rc == CMPI_RC_ERR_NOT_SUPPORTED)
            broker.functions = {};
        for (const bool unknown : {false, true}) {
            try {
                unknown ? CmpiDateTime::Unknown() : CmpiDateTime(1, kPoint);
                ADD_FAILURE() << row.name;
            } catch (const CmpiStatus& status) {
                EXPECT_EQ(status.rc(), row.rc) << row.name;
                EXPECT_STREQ(status.msg(), row.msg) << row.name;
            }
        }
    }
}

TEST(CmpiDateTime, worksWithoutABroker)
{
    struct Row {
        unsigned long long value;
        CmpiDateTime::Type type;
        const char* text; ///< null: cannot be represented
    };
    const Row rows[] = {
        {951'827'696'000'001, kPoint, "20000229123456.000001+000"},
        {2'932'897 * kDay - 1, kPoint, "99991231235959.999999+000"},
        {2'932'897 * kDay, kPoint, nullptr},
        {kDay + 3'600'000'000 + 61'000'002, kInterval, "00000001010101.000002:000"},
        {100'000'000 * kDay, kInterval, nullptr},
        {~0ULL, kPoint, nullptr},
    };
    for (const Row& row : rows) {
        if (!row.text) {
            EXPECT_THROW(CmpiDateTime(row.value, row.type), CmpiStatus) << row.value;
            continue;
        }
        const CmpiDateTime dateTime(row.value, row.type);
        const auto* object = dateTime.get();
        EXPECT_EQ(textOf(object), row.text);
        EXPECT_EQ(object->ft->getBinaryFormat(object, nullptr), row.value);
        EXPECT_EQ(object->ft->isInterval(object, nullptr), row.type == kInterval);
    }
    const CmpiDateTime unknown = CmpiDateTime::Unknown();
    EXPECT_EQ(unknown.get()->ft->getBinaryFormat(unknown.get(), nullptr), kUnknown);
}

TEST(CmpiDateTime, readsTheTextForm)
{
    using Row = std::pair<const char*, std::optional<unsigned long long>>; // none: refused
    std::vector<Row> rows({Row{"19700101010000.000000+060", 0}, Row{"19691231190000.000000-300", 0},
                           Row{"20240229000000.000000+000", 1'709'164'800'000'000},
                           Row{"00000001000000.000000:000", kDay}});
    for (const char* text :
         {"19700101005959.999999+060", "20230229000000.000000+000", "20241301000000.000000+000",
          "20240101240000.000000+000", "2024010100000a.000000+000", "20240101000000:000000+000",
          "00000001000000.000000:001", "20240101000000.000000+00", static_cast<const char*>(nullptr)})
        rows.emplace_back(text, std::nullopt);
    for (const auto& [text, value] : rows) {
        CMPIStatus status{};
        const CMPIDateTime* made = ownBroker()->eft->newDateTimeFromChars(ownBroker(), text, &status);
        ASSERT_EQ(made != nullptr, value.has_value()) << (text ? text : "null");
        EXPECT_EQ(status.rc, value ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
        if (made) {
            EXPECT_EQ(made->ft->getBinaryFormat(made, nullptr), *value);
            EXPECT_EQ(textOf(made), text);
        }
    }
}

TEST(CmpiDateTime, ownObjectsDoNotPileUpAndClonesStay)
{
    const CmpiDateTime first(1, kPoint);
    CMPIStatus status{};
    CMPIDateTime* clone = first.get()->ft->clone(first.get(), &status);
    CMPIString* text = clone->ft->getStringFormat(clone, &status);
    CMPIString* textClone = text->ft->clone(text, &status);

    std::set<const void*> handles;
    for (unsigned int i = 2; i < 1000; ++i)
        handles.insert(CmpiDateTime(i, kPoint).getHandle());
    EXPECT_EQ(handles.size(), 64U);
    std::thread([] { EXPECT_NO_THROW(CmpiDateTime(1, kInterval)); }).join();

    auto* pooled = const_cast<CMPIDateTime*>(first.get());
    EXPECT_EQ(pooled->ft->release(pooled).rc, CMPI_RC_OK);
    EXPECT_EQ(text->ft->release(text).rc, CMPI_RC_OK); // its date-time's: still there
    EXPECT_EQ(textOf(clone), "19700101000000.000001+000");
    EXPECT_EQ(clone->ft->release(clone).rc, CMPI_RC_OK);
    EXPECT_STREQ(textClone->ft->getCharPtr(textClone, &status), "19700101000000.000001+000");
    EXPECT_EQ(textClone->ft->release(textClone).rc, CMPI_RC_OK);
}

} // namespace
