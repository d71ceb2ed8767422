// SPDX-License-Identifier: Apache-2.0
// The repository's info, its reservation, and the order of a load.
#include "sdr/IpmiIfcSdr.h"

#include "base/Log.h"
#include "entity/IpmiIfcEntity.h"
#include "ipmi/IpmiIfc.h"
#include "node/IpmiNode.h"
#include "sdr/IpmiIfcSensor.h"
#include "sdr/SdrReading.h"
#include "transport/Answer.h"

#include <algorithm>
#include <atomic>

namespace Ipmi
{

namespace
{

/// A fresh read of the whole repository is at depth 1, under the info handler at 2, under the info fetch at 3. One that
/// fetched the info itself because it had none comes back deeper and must not do so again.
constexpr int kDeepestFreshRead = 3;

/// True for an info that can be stored; logs what is wrong with another.
bool isGoodInfo(const ipmiifc_resp& resp)
{
    constexpr int kInfoSize = sizeof(ipmiifc_sdr_info::bytes);
    static_assert(kInfoSize <= kAnswerRoom);
    if (resp.cc != 0)
        TRX::log(LOG_WARNING, "Unable to fetch SDR info - cc=0x%x", resp.cc);
    else if (resp.data[0] != 0)
        TRX::log(LOG_WARNING, "Inconsistent SDR Response codes %x != %x", resp.data[0], 0);
    else if (resp.datalen != kInfoSize)
        TRX::log(LOG_WARNING, "SDR response buffer was wrong size %x (expecting %x)",
                 static_cast<unsigned>(resp.datalen), kInfoSize);
    else if ((resp.data[1] & wire::kVersionBits) > wire::kVersion2)
        TRX::log(LOG_WARNING, "Unexpected SDR Repository info version 0x%x - discarding results ", resp.data[1]);
    else
        return true;
    return false;
}

void logUnknownSdrVersion(std::uint8_t version)
{
    static std::atomic<bool> logged{false}; // once per process, not per node: this is meant
    if (!logged.exchange(true))
        TRX::log(LOG_ERR, "IpmiIfcSdrGetAll: invalid version. version = 0x%x", version);
}

} // namespace

int IpmiIfcSdrGetInfo(int node)
{
    if (!isNode(node))
        return -1;
    TRX::ReentrantLock load(g_IpmiNode[node].loadLock);
    const Answer answer = ask(node, wire::kGetSdrInfo);
    if (!answer.good())
        return -1;
    ipmiifc_resp reply = answer.reply(node);
    IpmiIfcRhGetSdrInfo(&reply);
    return 0;
}

int IpmiIfcRhGetSdrInfo(ipmiifc_resp* resp)
{
    if (!resp || !isGoodInfo(*resp) || !isNode(resp->node))
        return -1;
    const int node = resp->node;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReentrantLock load(self.loadLock);
    {
        TRX::WriteLock lock(self.sdrLock);
        std::copy_n(resp->data, sizeof self.repository.sdr_info.bytes, self.repository.sdr_info.bytes);
    }
    IpmiIfcSdrReserve(node);
    IpmiIfcSdrGetAll(node);
    IpmiIfcSensorInstantiateAll(node);
    IpmiIfcEntityListCreate(node);
    IpmiIfcEntityInstantiateAll(node);
    return 0;
}

int IpmiIfcSdrReserve(int node)
{
    if (!isNode(node))
        return -1;
    const Answer answer = ask(node, wire::kReserveSdr);
    if (!answer.good())
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    TRX::WriteLock lock(self.sdrLock);
    self.repository.sdr_reservation = {answer.at(0), answer.at(1), answer.at(2)};
    return 0;
}

std::uint16_t IpmiIfcSdrReservation(int node)
{
    if (!isNode(node))
        return 0;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReadLock lock(self.sdrLock);
    return self.repository.reservation();
}

std::uint16_t renewSdrReservation(int node)
{
    IpmiIfcSdrReserve(node);
    return IpmiIfcSdrReservation(node);
}

int IpmiIfcSdrGetAll(int node)
{
    if (!isNode(node))
        return -1;
    TRX::ReentrantLock load(g_IpmiNode[node].loadLock);
    if (IpmiIfc::getSdr(node).version() == 0 && load.depth() <= kDeepestFreshRead && IpmiIfcSdrGetInfo(node) != 0)
        return -1;
    if (IpmiIfcSdrReservation(node) == 0 && IpmiIfcSdrReserve(node) != 0)
        return -1;
    const ipmiifc_sdr_info info = IpmiIfc::getSdr(node);
    if (!wire::isKnownVersion(info.version())) {
        logUnknownSdrVersion(info.version());
        return -1;
    }
    if (info.recordCount() == 0)
        return -1;
    if (IpmiIfcSdrGetHeaders(node) != 0)
        return -1; // the lists before stay
    IpmiIfcSdrCleanUpAll(node);
    return IpmiIfcSdrReadAll(node);
}

void IpmiIfcSdrCleanUpHeaders(int node)
{
    if (!isNode(node))
        return;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReentrantLock load(self.loadLock);
    TRX::WriteLock lock(self.sdrLock);
    self.repository.dropHeaders();
}

int IpmiIfcSdrCleanUpAll(int node)
{
    if (!isNode(node))
        return 0;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReentrantLock load(self.loadLock);
    TRX::WriteLock lock(self.sdrLock);
    self.repository.dropRecords();
    return 0;
}

ipmiifc_sdr_info IpmiIfc::getSdr(int node)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::WriteLock lock(self.sdrLock);
    return self.repository.sdr_info;
}

} // namespace Ipmi
