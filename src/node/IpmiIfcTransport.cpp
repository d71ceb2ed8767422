#include "node/IpmiIfcTransport.h"

#include "node/Exchange.h"
#include "node/IpmiNode.h"

namespace Ipmi
{

namespace
{

ipmiifc_req request(IpmiNode& self, std::uint8_t netfn, std::uint8_t cmd, std::uint16_t length, std::uint8_t* data)
{
    ipmiifc_req req;
    req.msgid = self.nextMsgId++;
    req.msg.netfn = netfn;
    req.msg.cmd = cmd;
    req.msg.data_len = length;
    req.msg.data = data;
    return req;
}

bool isSendable(const ipmiifc_req* req)
{
    return req && (req->msg.data || req->msg.data_len == 0);
}

} // namespace

ipmiifc_resp* IpmiIfcSendWresponse(int node, ipmiifc_req* req, int flags, ipmiifc_resp* resp)
{
    bool freed = false;
    return isNode(node) && isSendable(req) ? exchange(node, *req, flags, resp, freed) : nullptr;
}

ipmiifc_resp* IpmiIfcSend(int node, ipmiifc_req* req, int flags)
{
    return IpmiIfcSendWresponse(node, req, flags, nullptr);
}

ipmiifc_resp* IpmiIfcSendCmd(int node, unsigned char cmd, unsigned char netfn, long, unsigned short dataLen,
                             unsigned char* data, int flags)
{
    if (!isNode(node))
        return nullptr;
    ipmiifc_req req = request(g_IpmiNode[node], netfn, cmd, dataLen, data);
    return IpmiIfcSend(node, &req, flags);
}

void sendCommand(int node, std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data, Response& reuse)
{
    constexpr std::size_t longest = 0xffff;
    if (!isNode(node) || data.size() > longest)
        return reuse.reset();
    if (reuse) { // where no answer comes the record must not look like the one before
        reuse->datalen = 0;
        reuse->cc = kNoAnswer;
    }
    const ipmiifc_req req = request(g_IpmiNode[node], netfn, cmd, static_cast<std::uint16_t>(data.size()),
                                    const_cast<std::uint8_t*>(data.data())); // the driver only reads it
    bool freed = false;
    ipmiifc_resp* resp = exchange(node, req, 0, reuse.get(), freed);
    if (freed || resp == reuse.get())
        reuse.release();
    reuse = Response(resp);
}

Response sendCommand(int node, std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data)
{
    Response response;
    sendCommand(node, netfn, cmd, data, response);
    return response;
}

} // namespace Ipmi
