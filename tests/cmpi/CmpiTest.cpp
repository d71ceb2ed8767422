// SPDX-License-Identifier: Apache-2.0
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
constexpr unsigned long long kDay = 86'400'000'000;

std::string textOf(const CMPIDateTime* dateTime)
{
    CMPIString* text = dateTime->ft->getStringFormat(dateTime, nullptr);
    return text ? text->ft->getCharPtr(text, nullptr) : "";
}

TEST(CmpiStatus, keepsTheCodeAndLogsTheText)
{
    Support::LogCapture log;
    EXPECT_EQ(CmpiStatus(CMPI_RC_ERROR, "what happened").rc(), CMPI_RC_ERROR);
    EXPECT_STREQ(CmpiStatus(CMPI_RC_ERR_FAILED, nullptr).msg(), "(null)");
    const std::vector<Support::LogLine> expected{{LOG_ERR, "CmpiStatus error 200 what happened"},
                                                 {LOG_ERR, "CmpiStatus error 1 (null)"}};
    EXPECT_EQ(log.lines(), expected);
}

/// A CIM broker that does as it is told, and notes what it was asked.
struct TestBroker : CMPIBroker {
    std::optional<CMPIStatus> reports; ///< none: it does not write the status
    bool makes;
    std::string asked{};
    CMPIDateTime made{};
    CMPIBrokerEncFT functions{};

    TestBroker(std::optional<CMPIStatus> status, bool make) : CMPIBroker{}, reports(status), makes(make)
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
        *status = self.reports.value_or(*status); // a null pointer here is the library's fault
        return self.makes ? &self.made : nullptr;
    }
};

TEST(CmpiDateTime, asksTheBrokerAndThrowsWhatItReports)
{
    static CMPIStringFT text{};
    text.getCharPtr = [](const CMPIString* string, CMPIStatus*) { return static_cast<const char*>(string->hdl); };
    static char noMemory[] = "no memory";
    CMPIString message{noMemory, &text}, empty{nullptr, &text};
    const CMPIrc failed = CMPI_RC_ERR_FAILED, noHandle = CMPI_RC_ERR_INVALID_HANDLE;
    const CMPIStatus good{}, failure{failed, &message}, wordless{CMPI_RC_ERROR, &empty}, badHandle{noHandle, nullptr};
    const struct {
        const char* name;
        std::optional<CMPIStatus> reports;
        bool makes;
        CMPIrc rc; ///< thrown, unless it is CMPI_RC_OK
        const char* msg = "(null)";
    } rows[] = {
        {"good", good, true, CMPI_RC_OK},
        {"good, status not written", {}, true, CMPI_RC_OK},
        {"rc and message", failure, false, failed, "no memory"},
        {"rc with an object", badHandle, true, noHandle},
        {"message without text", wordless, false, CMPI_RC_ERROR},
        {"null and status not written", {}, false, failed},
        {"no functions", good, true, CMPI_RC_ERR_NOT_SUPPORTED},
    };
    const std::pair<const char*, CmpiDateTime (*)()> questions[] = {
        {"5 interval", [] { return CmpiDateTime(5, kInterval); }},
        {"5 point", [] { return CmpiDateTime(5, kPoint); }},
        {"99990101000000.000000+000", CmpiDateTime::Unknown},
    };
    for (const auto& row : rows)
        for (const auto& [question, ask] : questions) {
            SCOPED_TRACE(row.name);
            TestBroker broker(row.reports, row.makes);
            if (row.rc == CMPI_RC_ERR_NOT_SUPPORTED)
                broker.functions = {};
            try {
                EXPECT_EQ(ask().get(), &broker.made);
                EXPECT_EQ(row.rc, CMPI_RC_OK);
            } catch (const CmpiStatus& status) {
                EXPECT_EQ(status.rc(), row.rc);
                EXPECT_STREQ(status.msg(), row.msg);
            }
            EXPECT_EQ(broker.asked, row.rc == CMPI_RC_ERR_NOT_SUPPORTED ? "" : question);
        }
}

TEST(CmpiDateTime, worksWithoutABroker)
{
    using Row = std::pair<const char*, std::optional<unsigned long long>>; // text, microseconds; none: refused
    const Row rows[] = {
        {"20000229123456.000001+000", 951'827'696'000'001},
        {"99991231235959.999999+000", 2'932'897 * kDay - 1},
        {"00000001010101.000002:000", kDay + 3'661'000'002},
        {"19700101010000.000000+060", 0},  // of the east
        {"19691231190000.000000-300", 0},  // of the west
        {"19700101005959.999999+060", {}}, // before 1970
        {"20230229000000.000000+000", {}}, // no such day
        {"20240101240000.000000+000", {}}, // no such time
        {"2024010100000a.000000+000", {}}, // no digit
        {"20240101000000:000000+000", {}}, // no point
        {"00000001000000.000000:001", {}}, // an interval with an offset
        {"20240101000000.000000+00", {}},  // short
        {nullptr, {}},
    };
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
    for (const auto& [value, type] : {std::pair(2'932'897 * kDay, kPoint), {100'000'000 * kDay, kInterval}})
        EXPECT_THROW(CmpiDateTime(value, type), CmpiStatus) << value;
    EXPECT_EQ(textOf(CmpiDateTime::Unknown().get()), "99990101000000.000000+000");
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
    EXPECT_EQ(pooled->ft->release(pooled).rc + text->ft->release(text).rc, CMPI_RC_OK); // its date-time's: still there
    EXPECT_EQ(textOf(clone), "19700101000000.000001+000");
    EXPECT_EQ(clone->ft->release(clone).rc, CMPI_RC_OK);
    EXPECT_STREQ(textClone->ft->getCharPtr(textClone, &status), "19700101000000.000001+000");
    EXPECT_EQ(textClone->ft->release(textClone).rc, CMPI_RC_OK);
}

} // namespace
