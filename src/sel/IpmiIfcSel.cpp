// SPDX-License-Identifier: Apache-2.0
// Seeing what changed in the log.
#include "sel/IpmiIfcSel.h"

#include "base/Log.h"
#include "node/IpmiNode.h"
#include "sel/FlagScope.h"
#include "transport/Answer.h"
#include "transport/SignalPipe.h"
#include "wire/AnswerLayout.h"

#include <algorithm>
#include <utility>

namespace Ipmi
{

namespace
{

constexpr std::chrono::seconds kBeforeReservation{1}; ///< that a BMC may not be ready for
bool isWholeInfo(const ipmiifc_resp* resp)
{
    return resp && resp->cc == 0 && resp->datalen >= static_cast<int>(sizeof(ipmiifc_sel_info::bytes)) &&
           isNode(resp->node);
}

ipmiifc_sel_info infoOf(const ipmiifc_resp& resp)
{
    ipmiifc_sel_info info;
    std::copy_n(resp.data, sizeof info.bytes, info.bytes);
    return info;
}

void setInfo(int node, const ipmiifc_sel_info& info)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::Reference<IpmiSel> before; // goes when the lock has gone
    TRX::MutexLock hold(self.selLock);
    before = self.sel.setInfo(info, node);
}

void dropRecords(int node, bool all)
{
    IpmiNode& self = g_IpmiNode[node];
    SelCache::Records records; // go when the lock has gone
    TRX::Reference<IpmiSel> summary;
    TRX::MutexLock hold(self.selLock);
    records = self.sel.takeRecords();
    if (all)
        std::swap(summary, self.sel.summary);
}

bool isStale(int node)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    return self.sel.isStale;
}

/// Keeps what the log can hold, or what a first load may keep if that is more.
void trimRecords(int node, const ipmiifc_sel_info& info)
{
    const int most = std::max(KEEP_SEL_NUMBER.load(), IpmiSel(info, {}, node).getMaxNumberOfRecords());
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    self.sel.trim(static_cast<std::size_t>(std::max(most, 0)));
}

void reload(int node, const ipmiifc_sel_info& info)
{
    setInfo(node, info);
    IpmiIfcSelReserve(node);
    dropRecords(node, false);
    IpmiIfcSelGetAll(node);
}

void readAdditions(int node, const ipmiifc_sel_info& info)
{
    IpmiNode& self = g_IpmiNode[node];
    IpmiIfcSelReserve(node);
    std::uint16_t last;
    {
        TRX::MutexLock hold(self.selLock);
        last = self.sel.lastRecordId;
    }
    // Where the record read last is gone the log was erased, though the erasure time does not say so: it counts whole
    // seconds, and there are BMCs that never set it.
    if (IpmiIfcSelReadNew(node, last) == wire::cc::kNotPresent)
        return reload(node, info);
    setInfo(node, info);
}

void logUnknownSelVersion(std::uint8_t version)
{
    static std::atomic<bool> _invalid_version_logged{false}; // once per process, not per node: this is meant
    if (!_invalid_version_logged.exchange(true))
        TRX::log(LOG_ERR, "IpmiIfcSelGetAll: invalid version. Version = 0x%x", version);
}

/// Fetches an info for a log of which there is none, and leaves the cache empty. @return 0, or the failed fetch's
/// result
int fetchInfo(int node, IpmiNode& self) TRX_REQUIRES(self.selCheckLock)
{
    const FlagScope fetching(self.selFetching);
    const int result = IpmiIfcSelGetInfo(node, nullptr);
    if (result == 0)
        dropRecords(node, false); // the fetch itself may have loaded them
    return result;
}

} // namespace

int IpmiIfcSelGetInfo(int node, unsigned short* count)
{
    if (!isNode(node))
        return -2;
    TRX::ReentrantLock check(
        g_IpmiNode[node].selCheckLock); // from the question on: an older answer must not follow a newer one
    const Answer answer = ask(node, wire::kGetSelInfo);
    if (!answer.answered())
        return -1;
    const std::uint8_t cc = answer.codeOrNoAnswer();
    if (cc != wire::cc::kOk && cc != wire::cc::kNodeBusy && cc != wire::cc::kNotPresent && cc != wire::cc::kSelErasing)
        TRX::log(LOG_WARNING, "%s: IPMI_CMD_GET_SEL_INFO cc=0x%x", __func__, cc);
    ipmiifc_resp reply = answer.reply(node);
    return IpmiIfcRhSelInfo(&reply, count);
}

int IpmiIfcRhSelInfo(ipmiifc_resp* resp, unsigned short* count)
{
    if (!isWholeInfo(resp))
        return -1;
    const int node = resp->node;
    IpmiNode& self = g_IpmiNode[node];
    const ipmiifc_sel_info info = infoOf(*resp);
    if (count)
        *count = info.entryCount() & 0xff; // the low byte alone: this is meant
    TRX::ReentrantLock check(self.selCheckLock);
    if (self.selHandling)
        return 0; // a handler's own check: the next one takes it over
    const ipmiifc_sel_info before = IpmiIfc::getRawSelHeader(node);
    const bool isErased = info.eraseTime() != before.eraseTime() || isStale(node);
    if (self.state == IpmiIfc::IPMI_STATE_CLI || isErased)
        reload(node, info);
    else if (info.addTime() != before.addTime())
        readAdditions(node, info);
    else
        return 0;
    trimRecords(node, info);
    IpmiIfcSelGenerateEvents(node, before.addTime() != 0 ? before.addTime() : info.addTime());
    return 0;
}

int IpmiIfcRhSelInfoNoCount(ipmiifc_resp* resp)
{
    return IpmiIfcRhSelInfo(resp, nullptr);
}

int IpmiIfcRhSelGetAllocInfo(ipmiifc_resp* resp)
{
    if (!resp || !isNode(resp->node))
        return -1;
    if (resp->cc != 0) {
        TRX::log(LOG_INFO, "Unable to get alloc info - cc=0x%x", resp->cc);
        return -1;
    }
    ipmiifc_sel_alloc_info allocation; // what was not sent stays 0
    const int count = std::clamp<int>(resp->datalen, 0, sizeof allocation.bytes);
    std::copy_n(resp->data, count, allocation.bytes);
    IpmiNode& self = g_IpmiNode[resp->node];
    TRX::MutexLock hold(self.selLock);
    self.sel.allocation = allocation;
    return 0;
}

int IpmiIfcSelReserve(int node)
{
    const Answer answer = ask(node, wire::kReserveSel);
    const int code = answer.code();
    if (code == Answer::kNone) {
        TRX::log(LOG_WARNING, "Transmit issue for IPMI SEL Reserve node %d", node);
        return -1;
    }
    if (code == wire::cc::kInvalidCommand)
        TRX::log(LOG_DEBUG, "node: %d reserve sel command is not supported", node);
    else if (code != wire::cc::kOk && code != wire::cc::kNodeBusy)
        TRX::log(LOG_WARNING, "node: %d reserve sel failed cc 0x%x", node, static_cast<unsigned int>(code));
    if (code == wire::cc::kInvalidCommand || code == wire::cc::kNodeBusy)
        pause(node, kBeforeReservation);
    if (!answer.good(wire::reservation::kSize))
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    self.sel.reservation = {answer.at(0), answer.at(1), answer.at(2)};
    return 0;
}

std::uint16_t selReservation(int node)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    return self.sel.reservationId();
}

int IpmiIfcSelGetAll(int node)
{
    if (!isNode(node))
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReentrantLock check(self.selCheckLock);
    if (IpmiIfc::getRawSelHeader(node).version() == 0 && !self.selFetching)
        if (const int result = fetchInfo(node, self); result != 0)
            return result;
    if (selReservation(node) == 0)
        IpmiIfcSelReserve(node);
    const ipmiifc_sel_info info = IpmiIfc::getRawSelHeader(node);
    if (!wire::isKnownVersion(info.version())) {
        logUnknownSelVersion(info.version());
        return -1;
    }
    if (info.entryCount() != 0)
        return IpmiIfcSelReadAll(node);
    TRX::log(LOG_ERR, "IpmiIfcSelGetAll: node %d no record count", node);
    return -1;
}

void dropSelRecords(int node)
{
    dropRecords(node, true);
}

TRX::Reference<IpmiSel> IpmiIfc::getSel(int node)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    return self.sel.summary;
}

ipmiifc_sel_info IpmiIfc::getRawSelHeader(int node)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    return self.sel.info;
}

std::vector<TRX::Reference<IpmiSelData>> IpmiIfc::getSelData(int node)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    return self.sel.records;
}

} // namespace Ipmi
