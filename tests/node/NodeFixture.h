// SPDX-License-Identifier: Apache-2.0
// An opened and prepared node 0 on a scripted BMC.
#pragma once

#include "base/Log.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiIfcSend.h"
#include "node/IpmiNode.h"
#include "support/ScriptedBmc.h"
#include "support/SimNode.h"
#include "transport/Answer.h"
#include "transport/Device.h"
#include "transport/ReplyRecords.h"

#include <gtest/gtest.h>

#include <memory>

namespace Ipmi
{

struct FreeReply {
    void operator()(ipmiifc_resp* reply) const { IpmiIfcRespDel(&reply); }
};
using Reply = std::unique_ptr<ipmiifc_resp, FreeReply>;

class NodeFixture : public testing::Test
{
protected:
    using Bytes = std::vector<std::uint8_t>;
    using Lines = std::vector<Support::LogLine>;

    NodeFixture()
    {
        EXPECT_GT(IpmiIfcOpenIpmiOpen(0), 0);
        init();
        sim.log().clear();
    }
    ~NodeFixture() override
    {
        node.shutdown = false;
        node.targetAddress = 0;
        IpmiIfcCloseForCLI(0);
    }

    /// IpmiIfcInitForCLI, with this answer to its Get Device ID.
    void init(const Bytes& answer = {0xc1})
    {
        bmc.expect({0x06, 0x01}, answer);
        EXPECT_EQ(IpmiIfcInitForCLI(0), 0);
    }

    /// One exchange with a message id of the test's choice.
    ipmiifc_resp* send(std::uint8_t cmd, long id = 5, int flags = 0, ipmiifc_resp* supplied = nullptr)
    {
        std::uint8_t data[] = {0xaa, 0xbb};
        ipmiifc_req req;
        req.msgid = id;
        req.msg = {0x06, cmd, static_cast<std::uint16_t>(flags == 0 ? 0 : sizeof data), data};
        return IpmiIfcSendWresponse(0, &req, flags, supplied);
    }

    /// A message from the driver that the BMC has not sent.
    void deliver(std::uint8_t type, long id, const Bytes& data)
    {
        Sim::Frame::Header header{};
        header.receiveType = type;
        header.addressType = Sim::Frame::kSystemInterface;
        header.channel = Sim::Frame::kBmcChannel;
        header.netfn = 0x07;
        header.msgid = id;
        sim.device([&](Sim::Device& device) { device.deliver(header, data); });
    }

    IpmiNode& node = g_IpmiNode[0];
    Support::ScriptedBmc bmc;
    Support::SimNode sim{bmc};
};

} // namespace Ipmi
