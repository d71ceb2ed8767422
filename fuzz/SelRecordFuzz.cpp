// SPDX-License-Identifier: Apache-2.0
// Records of the event log, one after another, the last one cut off: everything that a caller can ask of each.
#include "ipmi/IpmiSelData.h"
#include "support/Fuzz.h"

#include <algorithm>

using namespace Ipmi;

namespace
{

void useRecord(const IpmiSelData& data)
{
    const std::string caption = data.caption(), values = data.recordDataString();
    Fuzz::demandClean({caption, values, data.description(), data.messageFormat(), data.recordId(data.recordId())});
    Fuzz::demand(caption.empty() || caption.starts_with("Assert + ") || caption.starts_with("Deassert + "),
                 "a caption");
    Fuzz::demand(std::count(values.begin(), values.end(), '*') == 17 && values.ends_with("*1*"), "16 values");
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

void Fuzz::use(Span input)
{
    for (Span rest = input; !rest.empty();) {
        sel_event_record record;
        const std::size_t count = std::min(rest.size(), sizeof record.bytes);
        std::copy_n(rest.begin(), count, record.bytes);
        useRecord({&record, 0});
        rest = rest.subspan(count);
    }
}
