// SPDX-License-Identifier: Apache-2.0
// Which commands a start sends, and who takes their answers.
#include "node/OneShotCommands.h"

#include "node/IpmiIfcIdentity.h"
#include "sdr/IpmiIfcSdr.h"
#include "sel/IpmiIfcSel.h"
#include "transport/Answer.h"

namespace Ipmi
{

namespace
{
constexpr std::uint8_t kOsName = 4, kOsVersion = 5; // parameters of Get System Info Parameters: set 0, block 0 of each
} // namespace

constinit const std::array<OneShotCommand, kOneShotCount> kOneShotCommands{{
    {true, IpmiIfcRhGetDeviceId, wire::kGetDeviceId, 0, {}},
    {true, IpmiIfcRhGetOS_Name, wire::kGetSystemInfo, 4, {0, kOsName, 0, 0}},
    {true, IpmiIfcRhGetOS_Version, wire::kGetSystemInfo, 4, {0, kOsVersion, 0, 0}},
    {true, IpmiIfcRhGetSelfTest, wire::kGetSelfTest, 0, {}},
    {true, IpmiIfcRhGetSdrInfo, wire::kGetSdrInfo, 0, {}},
    {false, IpmiIfcRhSelInfoNoCount, wire::kGetSelInfo, 0, {}},
    {true, IpmiIfcRhSelGetAllocInfo, wire::kGetSelAllocInfo, 0, {}},
}};

int IpmiIfcDataGet(int count)
{
    constexpr int kNode = 0; // always node 0, and message id 0: this is meant
    constexpr long kMessageId = 0;
    const std::size_t wanted = count < 1 ? 0 : static_cast<std::size_t>(count);
    for (std::size_t i = 0; i < wanted && i < kOneShotCommands.size(); ++i) {
        const OneShotCommand& one = kOneShotCommands[i];
        if (!one.enabled)
            continue;
        const Answer answer = ask(kNode, one.command, one.request(), kMessageId);
        ipmiifc_resp reply = answer.reply(kNode);
        if (answer.answered())
            one.handler(&reply);
    }
    return 0;
}

} // namespace Ipmi
