// Status and date-time values, with a CIM broker and with the library's own.
#include "base/Log.h"
#include "cmpi/Broker.h"
#include "cmpi/DateTimeText.h"
#include "ipmi/CmpiDateTime.h"
#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstddef>
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

constexpr unsigned long long kDay = 86'400'000'000, kUnknown = 253'370'764'800'000'000;

std::string textOf(const _CMPIDateTime* dateTime)
{
    CMPIStatus status{};
    CMPIString* text = dateTime->ft->getStringFormat(dateTime, &status);
    return text ? text->ft->getCharPtr(text, nullptr) : "";
}

TEST(CmpiStatus, keepsTheCodeAndLogsTheText)
{
    Support::LogCapture log;
    const CmpiStatus status(CMPI_RC_ERROR, "what happened");
    EXPECT_EQ(status.rc(), CMPI_RC_ERROR);
    EXPECT_STREQ(status.msg(), "(null)");
    EXPECT_EQ(status.status().msg, nullptr);
    EXPECT_EQ(CmpiStatus().rc(), CMPI_RC_OK);
    EXPECT_EQ(CmpiStatus(CMPI_RC_ERR_FAILED).rc(), CMPI_RC_ERR_FAILED);
    EXPECT_EQ(CmpiStatus(CMPI_RC_ERR_FAILED, nullptr).rc(), CMPI_RC_ERR_FAILED);
    const std::vector<Support::LogLine> expected{{LOG_ERR, "CmpiStatus error 200 what happened"},
                                                 {LOG_ERR, "CmpiStatus error 1 (null)"}};
    EXPECT_EQ(log.lines(), expected);
}

/// A CIM broker that does as it is told.
struct TestBroker {
    static inline CMPIStatus reported;
    static inline bool writesStatus, makes;
    static inline unsigned long long value;
    static inline int interval;
    static inline std::string chars;
    static inline CMPIDateTime made;

    CMPIBrokerEncFT functions{};
    CMPIBroker broker{};

    TestBroker()
    {
        reported = {};
        writesStatus = makes = true;
        functions.newDateTimeFromBinary = [](const CMPIBroker*, CMPIUint64 v, CMPIBoolean i, CMPIStatus* status) {
            value = v;
            interval = i;
            return answer(status);
        };
        functions.newDateTimeFromChars = [](const CMPIBroker*, const char* text, CMPIStatus* status) {
            chars = text;
            return answer(status);
        };
        broker.eft = &functions;
        IpmiIfc::setBroker(&broker);
    }
    ~TestBroker() { IpmiIfc::setBroker(nullptr); }

    static CMPIDateTime* answer(CMPIStatus* status)
    {
        if (writesStatus)
            *status = reported; // a null pointer here is the library's fault
        return makes ? &made : nullptr;
    }
};

TEST(CmpiDateTime, asksTheBroker)
{
    TestBroker broker;
    EXPECT_EQ(CmpiDateTime(5, CmpiDateTime::kInterval).get(), &TestBroker::made);
    EXPECT_EQ(TestBroker::value, 5U);
    EXPECT_EQ(TestBroker::interval, 1);
    for (const int type : {0, 2, -1}) {
        TestBroker::writesStatus = false;
        EXPECT_EQ(CmpiDateTime(0, static_cast<CmpiDateTime::Type>(type)).getHandle(), &TestBroker::made);
        EXPECT_EQ(TestBroker::interval, 0) << type;
    }
    EXPECT_EQ(CmpiDateTime::Unknown().get(), &TestBroker::made);
    EXPECT_EQ(TestBroker::chars, "99990101000000.000000+000");
    EXPECT_EQ(CmpiDateTime().get(), nullptr);
    EXPECT_EQ(CmpiDateTime(&TestBroker::made).get(), &TestBroker::made);
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
        bool writes, makes, hasFunctions;
        CMPIrc rc;
        const char* msg;
    };
    const Row rows[] = {
        {"rc and message", {CMPI_RC_ERR_FAILED, &message}, true, false, true, CMPI_RC_ERR_FAILED, "no memory"},
        {"rc with an object",
         {CMPI_RC_ERR_INVALID_HANDLE, nullptr},
         true,
         true,
         true,
         CMPI_RC_ERR_INVALID_HANDLE,
         "(null)"},
        {"message without text", {CMPI_RC_ERROR, &empty}, true, false, true, CMPI_RC_ERROR, "(null)"},
        {"null with rc 0", {}, true, false, true, CMPI_RC_ERR_FAILED, "(null)"},
        {"null and status not written", {}, false, false, true, CMPI_RC_ERR_FAILED, "(null)"},
        {"no functions", {}, true, true, false, CMPI_RC_ERR_NOT_SUPPORTED, "(null)"},
    };
    for (const Row& row : rows) {
        TestBroker broker;
        TestBroker::reported = row.reported;
        TestBroker::writesStatus = row.writes;
        TestBroker::makes = row.makes;
        if (!row.hasFunctions)
            broker.functions = {};
        for (int form = 0; form < 2; ++form) {
            try {
                form == 0 ? CmpiDateTime(1, CmpiDateTime::kPointInTime) : CmpiDateTime::Unknown();
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
        {0, CmpiDateTime::kPointInTime, "19700101000000.000000+000"},
        {951'827'696'000'001, CmpiDateTime::kPointInTime, "20000229123456.000001+000"},
        {kUnknown, CmpiDateTime::kPointInTime, "99990101000000.000000+000"},
        {2'932'897 * kDay - 1, CmpiDateTime::kPointInTime, "99991231235959.999999+000"},
        {2'932'897 * kDay, CmpiDateTime::kPointInTime, nullptr},
        {0, CmpiDateTime::kInterval, "00000000000000.000000:000"},
        {kDay + 3'600'000'000 + 61'000'002, CmpiDateTime::kInterval, "00000001010101.000002:000"},
        {100'000'000 * kDay - 1, CmpiDateTime::kInterval, "99999999235959.999999:000"},
        {100'000'000 * kDay, CmpiDateTime::kInterval, nullptr},
        {~0ULL, CmpiDateTime::kPointInTime, nullptr},
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
        EXPECT_EQ(object->ft->isInterval(object, nullptr), row.type == CmpiDateTime::kInterval);
        EXPECT_EQ(parseDateTime(row.text).value().microseconds, row.value);
    }
    const CmpiDateTime unknown = CmpiDateTime::Unknown();
    EXPECT_EQ(unknown.get()->ft->getBinaryFormat(unknown.get(), nullptr), kUnknown);
}

TEST(CmpiDateTime, readsTheTextForm)
{
    struct Row {
        const char* text;
        long long value; ///< -1: not a date-time
    };
    const Row rows[] = {
        {"19700101010000.000000+060", 0},
        {"19691231190000.000000-300", 0},
        {"19700101005959.999999+060", -1},
        {"20230229000000.000000+000", -1},
        {"20240229000000.000000+000", 1'709'164'800'000'000},
        {"20241301000000.000000+000", -1},
        {"20240100000000.000000+000", -1},
        {"20240101240000.000000+000", -1},
        {"20240101006000.000000+000", -1},
        {"20240101000060.000000+000", -1},
        {"2024010100000a.000000+000", -1},
        {"20240101000000.00000*+000", -1},
        {"20240101000000:000000+000", -1},
        {"20240101000000.000000Z000", -1},
        {"20240101000000.000000+0 0", -1},
        {"00000001000000.000000:001", -1},
        {"00000001000000.000000:000", static_cast<long long>(kDay)},
        {"20240101000000.000000+00", -1},
        {"20240101000000.000000+0000", -1},
        {"", -1},
    };
    const auto fromChars = ownBroker()->eft->newDateTimeFromChars;
    for (const Row& row : rows) {
        CMPIStatus status{};
        const CMPIDateTime* made = fromChars(ownBroker(), row.text, &status);
        EXPECT_EQ(status.rc, row.value < 0 ? CMPI_RC_ERR_INVALID_PARAMETER : CMPI_RC_OK) << row.text;
        ASSERT_EQ(made != nullptr, row.value >= 0) << row.text;
        if (!made)
            continue;
        EXPECT_EQ(made->ft->getBinaryFormat(made, &status), static_cast<unsigned long long>(row.value)) << row.text;
        EXPECT_EQ(textOf(made), row.text);
    }
    EXPECT_EQ(fromChars(ownBroker(), nullptr, nullptr), nullptr);
}

TEST(CmpiDateTime, ownObjectsDoNotPileUpAndClonesStay)
{
    const CmpiDateTime first(1, CmpiDateTime::kPointInTime);
    CMPIStatus status{};
    CMPIDateTime* clone = first.get()->ft->clone(first.get(), &status);
    CMPIString* text = clone->ft->getStringFormat(clone, &status);
    CMPIString* textClone = text->ft->clone(text, &status);

    std::set<const void*> handles;
    for (unsigned int i = 2; i < 1000; ++i)
        handles.insert(CmpiDateTime(i, CmpiDateTime::kPointInTime).getHandle());
    EXPECT_EQ(handles.size(), 64U);
    std::thread([] { EXPECT_NO_THROW(CmpiDateTime(1, CmpiDateTime::kInterval)); }).join();

    EXPECT_EQ(clone->ft->getBinaryFormat(clone, &status), 1U);
    auto* mutableFirst = const_cast<CMPIDateTime*>(first.get());
    EXPECT_EQ(mutableFirst->ft->release(mutableFirst).rc, CMPI_RC_OK);
    EXPECT_EQ(text->ft->release(text).rc, CMPI_RC_OK); // its date-time's: still there
    EXPECT_EQ(textOf(clone), "19700101000000.000001+000");
    EXPECT_EQ(clone->ft->release(clone).rc, CMPI_RC_OK);
    EXPECT_STREQ(textClone->ft->getCharPtr(textClone, &status), "19700101000000.000001+000");
    EXPECT_EQ(textClone->ft->release(textClone).rc, CMPI_RC_OK);

    const auto* table = first.get()->ft;
    EXPECT_EQ(table->getBinaryFormat(nullptr, &status), 0U);
    EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_HANDLE);
    EXPECT_EQ(table->clone(nullptr, nullptr), nullptr);
    EXPECT_EQ(table->getStringFormat(nullptr, nullptr), nullptr);
    EXPECT_EQ(table->isInterval(nullptr, nullptr), 0);
}

} // namespace
