// SPDX-License-Identifier: Apache-2.0
// One FRU device: its size, its header, and the areas that the header names.
#include "base/Log.h"
#include "fru/IpmiIfcFru.h"
#include "node/IpmiNode.h"
#include "transport/Answer.h"
#include "transport/TargetScope.h"
#include "wire/AnswerLayout.h"
#include "wire/Bits.h"
#include "wire/FruLayout.h"

#include <algorithm>

namespace Ipmi
{

namespace
{

namespace layout = wire::fru;

void logHeader(const fru_header& fru)
{
    const int version = fru.bytes[layout::kHeaderVersion];
    if (version != layout::kFormatVersion)
        TRX::log(LOG_WARNING, "IpmiIfcRhFruInv: Unknown FRU header version 0x%02x", version);
    TRX::log(LOG_INFO, "IpmiIfcRhFruInv: fru.header.version:         0x%x", version);
    TRX::log(LOG_INFO, "IpmiIfcRhFruInv: fru.header.offset.internal: 0x%x", fru.bytes[layout::kInternalOffset]);
    TRX::log(LOG_INFO, "IpmiIfcRhFruInv: fru.header.offset.chassis:  0x%x", fru.bytes[layout::kChassisOffset]);
    TRX::log(LOG_INFO, "IpmiIfcRhFruInv: fru.header.offset.board:    0x%x", fru.bytes[layout::kBoardOffset]);
    TRX::log(LOG_INFO, "IpmiIfcRhFruInv: fru.header.offset.product:  0x%x", fru.bytes[layout::kProductOffset]);
    TRX::log(LOG_INFO, "IpmiIfcRhFruInv: fru.header.offset.multi:    0x%x", fru.bytes[layout::kMultiOffset]);
}

void readAreas(fru_header& fru, ipmiifc_resp* info, FruAreas& areas)
{
    struct Reader {
        std::size_t pointer;
        TRX::Reference<IpmiFruOptional> (*read)(fru_header*, ipmiifc_resp*);
    };
    constexpr Reader kReaders[] = {{layout::kChassisOffset, IpmiIfcFruChassis},
                                   {layout::kBoardOffset, IpmiIfcFruBoard},
                                   {layout::kProductOffset, IpmiIfcFruProduct},
                                   {layout::kMultiOffset, IpmiIfcFruMulti}};
    for (const Reader& reader : kReaders) {
        if (fru.bytes[reader.pointer] == 0)
            continue;
        if (TRX::Reference<IpmiFruOptional> area = reader.read(&fru, info))
            areas.push_back(std::move(area));
    }
}

void beginReading(int node)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.fruLock);
    self.fru = FruReading();
    self.fruAccessWord = 0;
}

void endWithout(int node, const Answer& answer)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.fruLock);
    noteFruResult(answer.code(), self.fru.device.state, self.fru.device.completionCode);
}

} // namespace

int fruDeviceOf(const ipmiifc_resp& infoResponse)
{
    const ipmiifc_msg& request = infoResponse.req.msg;
    return request.data && request.data_len > 0 ? request.data[0] : -1;
}

FruAreas IpmiIfcFruGetInv(int node, unsigned char fruDeviceId)
{
    FruAreas areas;
    if (!isNode(node))
        return areas;
    const Target target = TargetScope::current(node);
    TRX::log(LOG_DEBUG, "IpmiIfcFruGetInv: Getting FRU info for 0x%x (target: 0x%x, lun: 0x%x: channel: 0x%x",
             fruDeviceId, target.address, target.lun, target.channel);
    beginReading(node);
    const Answer answer = ask(node, wire::kGetFruInfo, {&fruDeviceId, 1});
    if (!answer.good()) {
        endWithout(node, answer);
        if (answer.answered() && answer.code() != wire::cc::kOutOfRange)
            TRX::log(LOG_WARNING, "%s: fruDeviceId = 0x%x, failed send cc = 0x%x", "IpmiIfcFruGetInv", fruDeviceId,
                     answer.code());
        return areas;
    }
    ipmiifc_resp info = answer.reply(node);
    info.req.msg = {wire::kGetFruInfo.netfn, wire::kGetFruInfo.cmd, 1, &fruDeviceId}; // borrowed, like all of a reply
    if (IpmiIfcRhFruInv(&info, areas) < 0)
        TRX::log(LOG_DEBUG, "%s: IpmiIfcRhFruInv() failed, ignoring.", "IpmiIfcFruGetInv");
    return areas;
}

int IpmiIfcRhFruInv(ipmiifc_resp* infoResponse, FruAreas& areas)
{
    if (!infoResponse || infoResponse->cc != wire::cc::kOk || !isNode(infoResponse->node))
        return -1;
    const int deviceId = fruDeviceOf(*infoResponse);
    if (deviceId < 0)
        return -1;
    IpmiNode& self = g_IpmiNode[infoResponse->node];
    TRX::MutexLock hold(self.fruLock);
    ipmiifc_fru_info& info = self.fru.fru_inv_info;
    info = ipmiifc_fru_info();
    std::copy_n(infoResponse->data, std::clamp<std::int32_t>(infoResponse->datalen, 0, sizeof(info.bytes)), info.bytes);
    info.deviceId = static_cast<std::uint8_t>(deviceId);
    self.fruAccessWord = info.isByWords() ? 1 : 0;
    self.fru.device.size = info.size();

    fru_header fru;
    unsigned int length = sizeof(fru.bytes);
    TRX::log(LOG_INFO, "IpmiIfcRhFruInv: Reading FRU header for 0x%x, length=0x%x", deviceId, length);
    const int result = IpmiIfcReadFru(infoResponse->node, info.deviceId, self.fruAccessWord, 0, &length, fru.bytes);
    noteFruResult(result, self.fru.device.state, self.fru.device.completionCode);
    if (result != 0) {
        if (result != wire::cc::kTimeout)
            TRX::log(LOG_ERR, "IpmiIfcRhFruInv: Reading FRU header for 0x%x FAILED cc=0x%x", deviceId, result);
        return result;
    }
    noteFruHeader(fru.bytes, self.fru.device);
    logHeader(fru);
    if (fru.bytes[layout::kHeaderVersion] != layout::kFormatVersion) {
        TRX::log(LOG_DEBUG, "IpmiIfcRhFruInv: return -2 due to bad FRU header version 0x%02x",
                 fru.bytes[layout::kHeaderVersion]);
        return -2;
    }
    readAreas(fru, infoResponse, areas);
    if (info.isByWords())
        self.fru.device.state = IpmiFruDevice::kByWords;
    return 0;
}

ipmiifc_fru_info IpmiIfc::getFruDeviceHeader(int node)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.fruLock);
    return self.fru.fru_inv_info;
}

} // namespace Ipmi
