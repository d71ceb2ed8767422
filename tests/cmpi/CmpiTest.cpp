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
struct TestBroker : CMPIBroker {
    CMPIStatus reported;
    bool writesStatus, makes;
    std::string asked{};
    CMPIDateTime made{};
    CMPIBrokerEncFT functions{};

    TestBroker(CMPIStatus reports, bool writes, bool make)
        : CMPIBroker{}, reported(reports), writesStatus(writes), makes(make)
    {
        functions.newDateTimeFromBinary = [](const CMPIBroker* self, CMPIUint64 v, CMPIBoolean i, CMPIStatus* status) {
            return answer(self, std::to_string(v) + (i == 1 ? " interval" : i == 0 ? " point" : " ?"), status);
        };
        functions.newDateTimeFromChars = answer;
        eft = &functions;
        IpmiIfc::setBroker(this);
    }
    ~TestBroker() { IpmiIfc::setBroker(nullptr); }

    template <typename Text> static CMPIDateTime* answer(const CMPIBroker* broker, Text question, CMPIStatus* status)
    {
        auto& self = *const_cast<TestBroker*>(static_cast<const TestBroker*>(broker));
        self.asked = question;
        if (self.writesStatus)
            *status = self.reported; // a null pointer here is the library's fault
        return self.makes ? &self.made : nullptr;
    }
};

TEST(CmpiDateTime, asksTheBrokerAndThrowsWhatItReports)
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
        {"good", {}, true, true, CMPI_RC_OK},
        {"good, status not written", {}, false, true, CMPI_RC_OK},
        {"rc and message", {failed, &message}, true, false, failed, "no memory"},
        {"rc with an object", {noHandle, nullptr}, true, true, noHandle},
        {"message without text", {CMPI_RC_ERROR, &empty}, true, false, CMPI_RC_ERROR},
        {"null and status not written", {}, false, false, failed},
        {"no functions", {}, true, true, CMPI_RC_ERR_NOT_SUPPORTED},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        TestBroker broker(row.reported, row.writes, row.makes);
        if (row.rc == CMPI_RC_ERR_NOT_SUPPORTED)
            broker.functions = {};
        for (const int type : {1, 0, 2, -1, 99}) { // 99: unknown
            try {
                EXPECT_EQ(type == 99 ? CmpiDateTime::Unknown().get()
                                     : CmpiDateTime(5, static_cast<CmpiDateTime::Type>(type)).get(),
                          &broker.made);
                EXPECT_EQ(broker.asked, type == 99  ? "99990101000000.000000+000"
                                        : type == 1 ? "5 interval"
                                                    : "5 point");
                EXPECT_EQ(row.rc, CMPI_RC_OK);
            } catch (const CmpiStatus& status) {
                EXPECT_EQ(status.rc(), row.rc);
                EXPECT_STREQ(status.msg(), row.msg);
            }
        }
    }
}

TEST(CmpiDateTime, worksWithoutABroker)
{
    using Row = std::pair<const char*, std::optional<unsigned long long>>; // none: refused
    const Row rows[] = {{"20000229123456.000001+000", 951'827'696'000'001},
                        {"99991231235959.999999+000", 2'932'897 * kDay - 1},
                        {"00000001010101.000002:000", kDay + 3'661'000'002},
                        {"19700101010000.000000+060", 0},
                        {"19691231190000.000000-300", 0},
                        {"19700101005959.999999+060", {}},
                        {"20230229000000.000000+000", {}},
                        {"20241301000000.000000+000", {}},
                        {"20240101240000.000000+000", {}},
                        {"2024010100000a.000000+000", {}},
                        {"20240101000000:000000+000", {}},
                        {"00000001000000.000000:001", {}},
                        {"20240101000000.000000+00", {}},
                        {nullptr, {}}};
    for (const auto& [text, value] : rows) {
        SCOPED_TRACE(text ? text : "null");
        CMPIStatus status{};
        const CMPIDateTime* read = ownBroker()->eft->newDateTimeFromChars(ownBroker(), text, &status);
        ASSERT_EQ(read != nullptr, value.has_value());
        EXPECT_EQ(status.rc, value ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_PARAMETER);
        if (!read)
            continue;
        EXPECT_EQ(read->ft->getBinaryFormat(read, nullptr), *value);
        EXPECT_EQ(textOf(read), text);
        const bool interval = text[21] == ':';
        EXPECT_EQ(read->ft->isInterval(read, nullptr), interval);
        if (*value != 0) {
            EXPECT_EQ(textOf(CmpiDateTime(*value, interval ? kInterval : kPoint).get()), text);
        }
    }
    for (const auto& [value, type] :
         {std::pair(2'932'897 * kDay, kPoint), {100'000'000 * kDay, kInterval}, {~0ULL, kPoint}})
        EXPECT_THROW(CmpiDateTime(value, type), CmpiStatus) << value;
    const CmpiDateTime unknown = CmpiDateTime::Unknown();
    EXPECT_EQ(unknown.get()->ft->getBinaryFormat(unknown.get(), nullptr), kUnknown);
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
