// SPDX-License-Identifier: Apache-2.0
// Requests as callers make them, and replies that they own.
#include "node/IpmiIfcSend.h"

#include "base/Log.h"
#include "node/IpmiNode.h"
#include "transport/Answer.h"
#include "transport/ReplyRecords.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace Ipmi
{

namespace
{

constexpr int kCopyRequest = 0x01;
constexpr unsigned char kCut = 16; ///< the answer was longer than the caller's room

bool isSendable(const ipmiifc_req* req)
{
    return req && (req->msg.data || req->msg.data_len == 0);
}

/// A fresh copy of `count` bytes; null for none. @return false when memory ran out
bool copyBytes(const std::uint8_t* bytes, std::size_t count, std::uint8_t*& copy)
{
    copy = nullptr;
    if (!bytes || count == 0)
        return true;
    copy = new (std::nothrow) std::uint8_t[count];
    if (copy)
        std::memcpy(copy, bytes, count);
    return copy != nullptr;
}

void logNoMemory(int node)
{
    TRX::log(LOG_ERR, "Node %d: alloc failed - not enough memory.", node);
}

void copyRequest(int node, ipmiifc_resp& resp, const ipmiifc_req& req, const DriverAddress& address)
{
    ipmiifc_req& copy = resp.req;
    copy = req;
    copy.addr_len = kAddressLength;
    copy.addr = copy.msg.data = nullptr;
    if (copyBytes(address.data(), address.size(), copy.addr) &&
        copyBytes(req.msg.data, req.msg.data_len, copy.msg.data))
        return;
    logNoMemory(node);
    IpmiIfcRespReuse(&resp);
    copy = ipmiifc_req(); // the answer is good all the same
}

/// The answer in the record supplied, or in a new one.
ipmiifc_resp* deliver(int node, const ipmiifc_req& req, int flags, const Exchanged& brought, ipmiifc_resp* resp)
{
    if (resp)
        IpmiIfcRespReuse(resp);
    else
        IpmiIfcRespNew(&resp);
    if (!resp) {
        logNoMemory(node);
        return nullptr;
    }
    std::ranges::copy(brought.data, resp->data);
    resp->datalen = brought.length;
    resp->cc = brought.data[0];
    if (resp->cc != 0 || resp->datalen == 0)
        return resp;
    resp->node = node;
    if (flags & kCopyRequest)
        copyRequest(node, *resp, req, brought.address);
    return resp;
}

} // namespace

ipmiifc_resp* IpmiIfcSendWresponse(int node, ipmiifc_req* req, int flags, ipmiifc_resp* resp)
{
    if (!isNode(node) || !isSendable(req))
        return nullptr;
    const Exchanged brought = exchange(node, *req);
    switch (brought.end) {
    case Exchanged::End::kAnswered:
        return deliver(node, *req, flags, brought, resp);
    case Exchanged::End::kNotAnswered:
        if (resp)
            resp->cc = wire::kNoAnswer;
        return resp;
    case Exchanged::End::kUnusable:
        IpmiIfcRespDel(&resp); // whoever made it
        return nullptr;
    case Exchanged::End::kRefused:
        break;
    }
    return nullptr;
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
    ipmiifc_req req;
    req.msgid = g_IpmiNode[node].nextMsgId++;
    req.msg = {netfn, cmd, dataLen, data};
    return IpmiIfcSend(node, &req, flags);
}

unsigned char IpmiIfc::sendCmd(int node, unsigned char cmd, unsigned char netfn, unsigned short dataLen,
                               unsigned char* data, unsigned short* respLen, unsigned char* respData)
{
    if (!data && dataLen != 0)
        return wire::kNoAnswer;
    const Answer answer = ask(node, {netfn, cmd}, {data, dataLen});
    if (answer.bytes().empty())
        return wire::kNoAnswer;
    if (answer.code() != wire::cc::kOk)
        return answer.codeOrNoAnswer();
    const std::size_t room = respLen && respData ? *respLen : 0;
    const std::size_t count = std::min(room, answer.bytes().size());
    std::copy_n(answer.bytes().begin(), count, respData);
    if (respLen)
        *respLen = static_cast<unsigned short>(count);
    return room < static_cast<std::size_t>(answer.length()) ? kCut : 0;
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
