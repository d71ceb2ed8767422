// SPDX-License-Identifier: Apache-2.0
// Commands about the log that callers give: erasing, its clock, the mark of what software has processed.
#include "base/Log.h"
#include "node/IpmiNode.h"
#include "sel/IpmiIfcSel.h"
#include "transport/Answer.h"
#include "transport/SignalPipe.h"
#include "wire/AnswerLayout.h"
#include "wire/Cursor.h"

#include <algorithm>
#include <functional>

namespace Ipmi
{

namespace
{

constexpr int kErasureAttempts = 5;              ///< on Clear SEL and Delete SEL Entry
constexpr std::chrono::seconds kErasurePause{5}; ///< before a busy BMC is asked again

/// Sends until the BMC takes it, with a lost reservation renewed; the request is made anew for each attempt.
int erase(int node, wire::Command command, const std::function<wire::Writer()>& request, Answer& answer)
{
    IpmiNode& self = g_IpmiNode[node];
    for (int attempt = 0; attempt < kErasureAttempts; ++attempt) {
        const wire::Writer data = request();
        {
            TRX::MutexLock hold(self.selLock);
            answer = ask(node, command, data);
            self.sel.isStale = self.sel.isStale || answer.good();
        }
        switch (answer.code()) {
        case Answer::kNone:
            return IpmiIfc::IPMI_RESULT_NO_RESPONSE;
        case wire::cc::kOk:
            return IpmiIfc::IPMI_RESULT_OK;
        case wire::cc::kNodeBusy:
            pause(node, kErasurePause);
            break;
        case wire::cc::kReservationLost:
            IpmiIfcSelReserve(node);
            break;
        default:
            return IpmiIfc::IPMI_RESULT_REFUSED;
        }
    }
    return IpmiIfc::IPMI_RESULT_BUSY;
}

} // namespace

int IpmiIfc::clearSel(int node)
{
    constexpr unsigned int kInitiate = 0xaa;
    using namespace wire::erasure;
    if (!isNode(node))
        return IPMI_RESULT_BAD_NODE;
    IpmiIfcSelReserve(node);
    const std::uint16_t reservation = selReservation(node); // not renewed in the request: this is meant
    const auto request = [&] { return wire::Writer().le16(reservation).u8('C').u8('L').u8('R').u8(kInitiate); };
    Answer answer;
    const int result = erase(node, wire::kClearSel, request, answer);
    if (result == IPMI_RESULT_REFUSED)
        TRX::log(LOG_ERR, "%s: Failed with completion code = 0x%x", __func__, answer.codeOrNoAnswer());
    if (result != IPMI_RESULT_OK)
        return result;
    const unsigned status = answer.at(kStatus) & kProgress; // 0: in progress, which is not waited for
    if (status > kCompleted)
        TRX::log(LOG_ERR, "%s: unspecified error cc = 0x%x, erasure status = 0x%x", __func__, answer.codeOrNoAnswer(),
                 status);
    IpmiIfcSelGetInfo(node, nullptr);
    return status > kCompleted ? IPMI_RESULT_BUSY : IPMI_RESULT_OK;
}

int IpmiIfc::deleteSelEntry(int node, unsigned short id)
{
    if (!isNode(node))
        return IPMI_RESULT_BAD_NODE;
    // A BMC without reservations takes 0 for one (IPMI 2.0, 31.4).
    const bool reserves = IpmiIfcSelReserve(node) == 0;
    const auto request = [&] { return wire::Writer().le16(reserves ? selReservation(node) : 0U).le16(id); };
    Answer answer;
    const int result = erase(node, wire::kDeleteSelEntry, request, answer);
    if (result == IPMI_RESULT_REFUSED)
        TRX::log(LOG_ERR, "%s: Failed with completion code = 0x%x", __func__, answer.codeOrNoAnswer());
    if (result == IPMI_RESULT_OK)
        IpmiIfcSelGetInfo(node, nullptr);
    return result;
}

unsigned int IpmiIfc::selGetClock(int node)
{
    const Answer answer = ask(node, wire::kGetSelTime);
    if (!answer.good()) {
        TRX::log(LOG_ERR, "%s: IPMI_CMD_GET_SEL_TIME for node %d failed %x", __func__, node,
                 static_cast<unsigned int>(std::max(answer.code(), 0)));
        return 0;
    }
    return answer.good(wire::sel_time::kSize) ? answer.le32(wire::sel_time::kSeconds) : 0;
}

unsigned short IpmiIfc::getLastProcessedSELEntry(int node)
{
    const Answer answer = ask(node, wire::kGetLastProcessed);
    if (!answer.answered())
        TRX::log(LOG_DEBUG, "Failed to send get last processed SEL entry");
    else if (!answer.good())
        TRX::log(LOG_DEBUG, "Failed get last processed SEL entry request 0x%x", answer.codeOrNoAnswer());
    else if (!answer.good(wire::last_processed::kSize))
        TRX::log(LOG_DEBUG, "get last processed SEL entry response too short (%d)", answer.length());
    else if (const std::uint16_t id = answer.le16(wire::last_processed::kBySoftware); id != wire::kLastRecord)
        return id;
    return 0;
}

void IpmiIfc::setLastProcessedSELEntry(int node, unsigned short id)
{
    constexpr unsigned int kBySoftware = 0x00;
    const Answer answer = ask(node, wire::kSetLastProcessed, wire::Writer().u8(kBySoftware).le16(id));
    if (!answer.answered())
        TRX::log(LOG_DEBUG, "Failed to send set SEL last processed");
    else if (!answer.good())
        TRX::log(LOG_DEBUG, "Failed set SEL last processed 0x%x", answer.codeOrNoAnswer());
}

bool IpmiIfc::generatesMemoryEvents(int node)
{
    return isNode(node) && g_IpmiNode[node].memorySensor != 0;
}

} // namespace Ipmi
