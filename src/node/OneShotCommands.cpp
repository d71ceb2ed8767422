#include "node/OneShotCommands.h"

#include "node/IpmiIfcIdentity.h"
#include "node/IpmiIfcTransport.h"
#include "sdr/IpmiIfcSdr.h"
#include "sdr/SdrCommands.h"
#include "sel/IpmiIfcSel.h"
#include "sel/SelCommands.h"

namespace Ipmi
{

namespace
{
constexpr std::uint8_t kGetDeviceId = 0x01, kGetSelfTest = 0x04;
constexpr std::uint8_t kOsName = 4, kOsVersion = 5; // parameters of Get System Info Parameters: set 0, block 0 of each
} // namespace

constinit const std::array<OneShotCommand, kOneShotCount> kOneShotCommands{{
    {true, IpmiIfcRhGetDeviceId, kApp, kGetDeviceId, 0, {}, 0},
    {true, IpmiIfcRhGetOS_Name, kApp, kGetSystemInfo, 4, {0, kOsName, 0, 0}, 0},
    {true, IpmiIfcRhGetOS_Version, kApp, kGetSystemInfo, 4, {0, kOsVersion, 0, 0}, 0},
    {true, IpmiIfcRhGetSelfTest, kApp, kGetSelfTest, 0, {}, 0},
    {true, IpmiIfcRhGetSdrInfo, kStorage, kGetSdrInfo, 0, {}, 0},
    {false, IpmiIfcRhSelInfoNoCount, kStorage, kGetSelInfo, 0, {}, 0},
    {true, IpmiIfcRhSelGetAllocInfo, kStorage, kGetSelAllocInfo, 0, {}, 0},
}};

int IpmiIfcDataGet(int count)
{
    const std::size_t wanted = count < 1 ? 0 : static_cast<std::size_t>(count);
    for (std::size_t i = 0; i < wanted && i < kOneShotCommands.size(); ++i) {
        const OneShotCommand& command = kOneShotCommands[i];
        if (!command.enabled)
            continue;
        auto data = command.data;
        ipmiifc_req req;
        req.msg.netfn = command.netfn;
        req.msg.cmd = command.cmd;
        req.msg.data_len = command.length;
        req.msg.data = data.data();
        const Response response(IpmiIfcSend(0, &req, command.flags)); // node 0 and message id 0, always: this is meant
        if (response)
            command.handler(response.get());
    }
    return 0;
}

} // namespace Ipmi
