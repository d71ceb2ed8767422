// The device transport: every command of the library passes through IpmiIfcSendWresponse.
#pragma once

#include "ipmi/IpmiNodeControl.h"
#include "ipmi/IpmiRecords.h"

#include <cstdint>
#include <span>
#include <utility>

namespace Ipmi
{

/// Network functions (IPMI 2.0, table 5-1).
inline constexpr std::uint8_t kSensorEvent = 0x04, kApp = 0x06, kStorage = 0x0a;

/// Completion codes that the library has an answer to (IPMI 2.0, table 5-2).
inline constexpr std::uint8_t kCcNodeBusy = 0xc0, kCcInvalidCommand = 0xc1, kCcTimeout = 0xc3,
                              kCcReservationLost = 0xc5, kCcInvalidLength = 0xc7, kCcTooManyBytes = 0xca,
                              kCcNotPresent = 0xcb, kCcIllegalCommand = 0xcd;
inline constexpr std::uint8_t kNoAnswer = 0xff; ///< of a reply that never came

void IpmiIfcOpenIpmiClose(int node);
void ReopenPort(int node);
void IpmiIfcSetTimingParms(int node);
int IpmiIfcOpenIpmiAddressSet(int node);
int IpmiIfcOpenIpmiEventEnable(int node, int* enable);

int IpmiIfcRespNew(ipmiifc_resp** out);
int IpmiIfcRespReuse(ipmiifc_resp* r);

/// One exchange. Returns the reply or null. With a supplied `resp` a null result leaves it with the caller when nothing
/// was received (bad node, device closed, shutdown) and has freed it after a failed receive or an asynchronous event;
/// callers inside the library use the owning Response below, which knows the difference.
ipmiifc_resp* IpmiIfcSendWresponse(int node, ipmiifc_req* req, int flags, ipmiifc_resp* resp);
ipmiifc_resp* IpmiIfcSend(int node, ipmiifc_req* req, int flags);
/// `msgid` is ignored: the id is drawn from the node's counter.
ipmiifc_resp* IpmiIfcSendCmd(int node, unsigned char cmd, unsigned char netfn, long msgid, unsigned short dataLen,
                             unsigned char* data, int flags);

/// Owner of a reply.
class Response
{
public:
    Response() = default;
    explicit Response(ipmiifc_resp* resp) : resp_(resp) {}
    Response(Response&& other) noexcept : resp_(std::exchange(other.resp_, nullptr)) {}
    Response& operator=(Response&& other) noexcept
    {
        std::swap(resp_, other.resp_);
        return *this;
    }
    ~Response() { IpmiIfcRespDel(&resp_); }

    explicit operator bool() const { return resp_ != nullptr; }
    ipmiifc_resp* get() const { return resp_; }
    ipmiifc_resp* operator->() const { return resp_; }
    void reset() { IpmiIfcRespDel(&resp_); }
    ipmiifc_resp* release() { return std::exchange(resp_, nullptr); }

    /// Answer bytes received and kept, completion code first: min(datalen, 32) of them.
    std::span<const std::uint8_t> bytes() const;
    /// Answer byte `index`, or 0 when the BMC did not send it.
    std::uint8_t at(std::size_t index) const { return index < bytes().size() ? bytes()[index] : std::uint8_t{0}; }
    /// Two and four of them, LS byte first.
    std::uint16_t le16(std::size_t index) const { return static_cast<std::uint16_t>(at(index) | at(index + 1) << 8); }
    std::uint32_t le32(std::size_t index) const
    {
        return le16(index) | static_cast<std::uint32_t>(le16(index + 2)) << 16;
    }

private:
    ipmiifc_resp* resp_ = nullptr;
};

/// Sends one command with the node's next message id and returns the reply, if any.
Response sendCommand(int node, std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data = {});
/// The same, reusing the record in `reuse` (which may be empty). Afterwards `reuse` holds the reply, or nothing.
void sendCommand(int node, std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data, Response& reuse);

/// The controller that an exchange goes to; address 0 or the node's own: the BMC itself.
struct Target {
    unsigned int address = 0;
    std::uint8_t lun = 0;
    std::uint8_t channel = 0;
};

/// While it lives, this thread's exchanges on `node` go to another controller; other threads' keep the node's base
/// target. Scopes nest; the innermost one for a node counts.
class TargetScope
{
public:
    TargetScope(int node, std::uint8_t address, std::uint8_t lun, std::uint8_t channel);
    ~TargetScope();
    TargetScope(const TargetScope&) = delete;
    TargetScope& operator=(const TargetScope&) = delete;

    /// Where the calling thread's exchanges on `node` go.
    static Target current(int node);

private:
    int node_;
    Target target_;
    const TargetScope* before_;
};

} // namespace Ipmi
