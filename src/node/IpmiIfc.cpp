// Raw commands of the caller-facing interface.
#include "ipmi/IpmiIfc.h"

#include "node/IpmiIfcTransport.h"
#include "node/IpmiNode.h"

#include <algorithm>

namespace Ipmi
{

namespace
{

constexpr unsigned char kCut = 16; ///< the answer was longer than the caller's room

} // namespace

unsigned char IpmiIfc::sendCmd(int node, unsigned char cmd, unsigned char netfn, unsigned short dataLen,
                               unsigned char* data, unsigned short* respLen, unsigned char* respData)
{
    const Response response(IpmiIfcSendCmd(node, cmd, netfn, 0, dataLen, data, 0));
    const auto answer = response.bytes();
    if (answer.empty())
        return kNoAnswer;
    if (response->cc != 0)
        return response->cc;
    const std::size_t room = respLen && respData ? *respLen : 0;
    const std::size_t count = std::min(room, answer.size());
    std::copy_n(answer.begin(), count, respData);
    if (respLen)
        *respLen = static_cast<unsigned short>(count);
    return room < static_cast<std::size_t>(response->datalen) ? kCut : 0;
}

unsigned char IpmiIfc::sendCmd(unsigned char cmd, unsigned char netfn, unsigned short dataLen, unsigned char* data,
                               unsigned short* respLen, unsigned char* respData)
{
    return sendCmd(0, cmd, netfn, dataLen, data, respLen, respData);
}

ipmiifc_resp* IpmiIfc::OemIpmiIfcSend(int node, ipmiifc_req* req, int flags)
{
    if (!isNode(node))
        return nullptr;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.bmcInfoLock);
    return IpmiIfcSendWresponse(node, req, flags, nullptr);
}

} // namespace Ipmi
