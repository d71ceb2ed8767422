// Commands about the log that callers give: erasing, its clock, the mark of what software has processed.
#include "base/Log.h"
#include "node/IpmiIfcTransport.h"
#include "node/IpmiNode.h"
#include "node/SignalPipe.h"
#include "sel/IpmiIfcSel.h"
#include "sel/SelCommands.h"

#include <array>
#include <functional>
#include <span>

namespace Ipmi
{

namespace
{

constexpr int kBadNode = -2, kGaveUp = 2, kNoResponse = 4, kRefused = 5;
constexpr std::uint8_t kBySoftware = 0x00;

std::uint8_t low(unsigned int word)
{
    return static_cast<std::uint8_t>(word);
}

std::uint8_t high(unsigned int word)
{
    return static_cast<std::uint8_t>(word >> 8);
}

/// Sends until the BMC takes it, with a lost reservation renewed; the request is made anew for each attempt.
int erase(int node, std::uint8_t cmd, const std::function<std::span<const std::uint8_t>()>& request, Response& answer)
{
    IpmiNode& self = g_IpmiNode[node];
    for (int attempt = 0; attempt < SelRetries::kErasureAttempts; ++attempt) {
        const auto bytes = request();
        {
            TRX::MutexLock hold(self.selLock);
            answer = sendCommand(node, kStorage, cmd, bytes);
            self.sel.isStale = self.sel.isStale || (answer && answer->cc == 0);
        }
        if (!answer)
            return kNoResponse;
        if (answer->cc == 0)
            return 0;
        if (answer->cc == kCcNodeBusy)
            pause(node, SelRetries::kErasureBusy);
        else if (answer->cc == kCcReservationLost)
            IpmiIfcSelReserve(node);
        else
            return kRefused;
    }
    return kGaveUp;
}

} // namespace

int IpmiIfc::clearSel(int node)
{
    constexpr std::uint8_t kInitiate = 0xaa, kProgress = 0x0f, kCompleted = 1;
    if (!isNode(node))
        return kBadNode;
    IpmiIfcSelReserve(node);
    const std::uint16_t reservation = selReservation(node); // not renewed in the request: this is meant
    const std::uint8_t request[] = {low(reservation), high(reservation), 'C', 'L', 'R', kInitiate};
    Response answer;
    const int result = erase(
        node, kClearSel, [&] { return std::span(request); }, answer);
    if (result == kRefused)
        TRX::log(LOG_ERR, "%s: Failed with completion code = 0x%x", __func__, answer->cc);
    if (result != 0)
        return result;
    const unsigned status = answer.at(1) & kProgress; // 0: in progress, which is not waited for
    if (status > kCompleted)
        TRX::log(LOG_ERR, "%s: unspecified error cc = 0x%x, erasure status = 0x%x", __func__, answer->cc, status);
    IpmiIfcSelGetInfo(node, nullptr);
    return status > kCompleted ? kGaveUp : 0;
}

int IpmiIfc::deleteSelEntry(int node, unsigned short id)
{
    if (!isNode(node))
        return kBadNode;
    // A BMC without reservations takes 0 for one (IPMI 2.0, 31.4).
    const bool reserves = IpmiIfcSelReserve(node) == 0;
    std::array<std::uint8_t, 4> request;
    const auto makeRequest = [&] {
        const unsigned reservation = reserves ? selReservation(node) : 0;
        request = {low(reservation), high(reservation), low(id), high(id)};
        return std::span(request);
    };
    Response answer;
    const int result = erase(node, kDeleteSelEntry, makeRequest, answer);
    if (result == kRefused)
        TRX::log(LOG_ERR, "%s: Failed with completion code = 0x%x", __func__, answer->cc);
    if (result == 0)
        IpmiIfcSelGetInfo(node, nullptr);
    return result;
}

unsigned int IpmiIfc::selGetClock(int node)
{
    constexpr std::size_t kSize = 5;
    const Response answer = sendCommand(node, kStorage, kGetSelTime);
    if (!answer || answer->cc != 0) {
        TRX::log(LOG_ERR, "%s: IPMI_CMD_GET_SEL_TIME for node %d failed %x", __func__, node, answer ? answer->cc : 0);
        return 0;
    }
    return answer.bytes().size() >= kSize ? answer.le32(1) : 0;
}

unsigned short IpmiIfc::getLastProcessedSELEntry(int node)
{
    constexpr std::size_t kBySoftwareId = 7;
    const Response answer = sendCommand(node, kSensorEvent, kGetLastProcessed);
    if (!answer)
        TRX::log(LOG_DEBUG, "Failed to send get last processed SEL entry");
    else if (answer->cc != 0)
        TRX::log(LOG_DEBUG, "Failed get last processed SEL entry request 0x%x", answer->cc);
    else if (answer->datalen < static_cast<int>(kBySoftwareId + 2))
        TRX::log(LOG_DEBUG, "get last processed SEL entry response too short (%d)", answer->datalen);
    else if (const std::uint16_t id = answer.le16(kBySoftwareId); id != kNoMoreSelRecords)
        return id;
    return 0;
}

void IpmiIfc::setLastProcessedSELEntry(int node, unsigned short id)
{
    const std::uint8_t request[] = {kBySoftware, low(id), high(id)};
    const Response answer = sendCommand(node, kSensorEvent, kSetLastProcessed, request);
    if (!answer)
        TRX::log(LOG_DEBUG, "Failed to send set SEL last processed");
    else if (answer->cc != 0)
        TRX::log(LOG_DEBUG, "Failed set SEL last processed 0x%x", answer->cc);
}

bool IpmiIfc::generatesMemoryEvents(int node)
{
    return isNode(node) && g_IpmiNode[node].memorySensor != 0;
}

int IpmiIfc::clearSel()
{
    return clearSel(0);
}

int IpmiIfc::deleteSelEntry(unsigned short id)
{
    return deleteSelEntry(0, id);
}

unsigned int IpmiIfc::selGetClock()
{
    return selGetClock(0);
}

unsigned short IpmiIfc::getLastProcessedSELEntry()
{
    return getLastProcessedSELEntry(0);
}

void IpmiIfc::setLastProcessedSELEntry(unsigned short id)
{
    setLastProcessedSELEntry(0, id);
}

bool IpmiIfc::generatesMemoryEvents()
{
    return generatesMemoryEvents(0);
}

} // namespace Ipmi
