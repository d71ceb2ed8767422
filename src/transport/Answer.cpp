// SPDX-License-Identifier: Apache-2.0
// Sending a command, and what is kept of its answer.
#include "transport/Answer.h"

#include "transport/Channel.h"

#include <limits>

namespace Ipmi
{

Answer::Answer(const Exchanged& exchanged)
    : data_(exchanged.data), length_(exchanged.end == Exchanged::End::kAnswered ? exchanged.length : 0),
      answered_(exchanged.end == Exchanged::End::kAnswered), timedOut_(exchanged.end == Exchanged::End::kNotAnswered)
{
}

ipmiifc_resp Answer::reply(int node) const
{
    ipmiifc_resp resp;
    std::copy(data_.begin(), data_.end(), resp.data);
    resp.datalen = length_;
    resp.cc = codeOrNoAnswer();
    resp.node = good() ? node : 0; // of a good answer only
    return resp;
}

Answer ask(int node, wire::Command command, std::span<const std::uint8_t> data, std::optional<long> messageId)
{
    if (!isNode(node) || data.size() > std::numeric_limits<std::uint16_t>::max())
        return {};
    ipmiifc_req req;
    req.msgid = messageId ? *messageId : channelOf(node).nextMsgId++;
    req.msg.netfn = command.netfn;
    req.msg.cmd = command.cmd;
    req.msg.data_len = static_cast<std::uint16_t>(data.size());
    req.msg.data = const_cast<std::uint8_t*>(data.data()); // the driver only reads it
    return Answer(exchange(node, req));
}

} // namespace Ipmi
