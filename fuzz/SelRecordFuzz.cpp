// Records of the event log, one after another, the last one cut off: everything that a caller can ask of each.
#include "ipmi/IpmiSelData.h"
#include "support/Check.h"
#include "support/Input.h"

#include <algorithm>

using namespace Ipmi;

namespace
{

void useTexts(const IpmiSelData& data)
{
    const std::string caption = data.caption(), values = data.recordDataString();
    Fuzz::demandClean(
        {caption, values, data.description(), data.messageFormat(), IpmiSelData::recordId(data.recordId())});
    Fuzz::demand(caption.empty() || caption.starts_with("Assert + ") || caption.starts_with("Deassert + "),
                 "a direction");
    Fuzz::demand(std::count(values.begin(), values.end(), '*') == 17 && values.ends_with("*1*"), "16 values");
}

void use(const IpmiSelData& data)
{
    useTexts(data);
    const unsigned int severity = data.severity(), alert = data.alertType();
    Fuzz::demand(severity == 0 || (severity >= 5 && severity <= 7), "a severity");
    Fuzz::demand(alert == 0 || alert == 5 || alert == 6 || alert == 8, "an alert type");
    Fuzz::demand(data.isSelEventRecord() == (data.eventType() >= 0), "an event type");
    Fuzz::demand(data.isSelEventRecord() || (data.getSensorNumber() == 0 && data.getGeneratorId() == 0), "no sensor");
    Fuzz::demand(data.getCmpiDateTime().get() != nullptr, "a time");
    unsigned short id = 0;
    Fuzz::demand(data.reserve(id) == 4 && data.clear() == 4, "no answer from a closed node");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    for (Fuzz::Span rest{data, size}; !rest.empty();) {
        sel_event_record record;
        const std::size_t count = std::min(rest.size(), sizeof record.bytes);
        std::copy_n(rest.begin(), count, record.bytes);
        use({&record, 0});
        rest = rest.subspan(count);
    }
    return 0;
}
