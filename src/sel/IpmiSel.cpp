#include "ipmi/IpmiSel.h"

#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"
#include "node/IpmiIfcTransport.h"
#include "sel/SelTime.h"

namespace Ipmi
{

namespace
{

constexpr std::uint8_t kSetGlobalEnables = 0x2e, kGetGlobalEnables = 0x2f;
constexpr std::uint8_t kEventLogging = 0x08;
constexpr int kRecordSize = 16; ///< also the allocation unit of a BMC that says 0

std::uint8_t globalEnables(int node)
{
    const Response answer = sendCommand(node, kApp, kGetGlobalEnables);
    if (!answer || answer->cc != 0 || answer.bytes().size() < 2)
        throw CmpiStatus(CMPI_RC_ERR_FAILED);
    return answer.at(1);
}

void setGlobalEnables(int node, unsigned int enables)
{
    const std::uint8_t request[] = {static_cast<std::uint8_t>(enables)};
    const Response answer = sendCommand(node, kApp, kSetGlobalEnables, request);
    if (!answer || answer->cc != 0)
        throw CmpiStatus(CMPI_RC_ERR_FAILED);
}

} // namespace

IpmiSel::IpmiSel(const ipmiifc_sel_info& info, const ipmiifc_sel_alloc_info& allocation, int node)
    : version_(info.version()), records_(info.entryCount()), freeSpace_(info.freeSpace()), addTime_(info.addTime()),
      eraseTime_(info.eraseTime()), flags_(info.operationSupport()), node_(static_cast<unsigned int>(node)),
      unitSize_(allocation.unitSize() != 0 ? allocation.unitSize() : kRecordSize)
{
}

int IpmiSel::getMaxNumberOfRecords() const
{
    return static_cast<int>(records_ * kRecordSize + freeSpace_) / kRecordSize;
}

CmpiDateTime IpmiSel::getAddTimeStamp() const
{
    return dateTimeOfSel(addTime_);
}

CmpiDateTime IpmiSel::getEraseTimeStamp() const
{
    return dateTimeOfSel(eraseTime_);
}

unsigned int IpmiSel::getAddTimeStampUnix() const
{
    return isPointInTime(addTime_) ? addTime_ : 0;
}

unsigned int IpmiSel::getEraseTimeStampUnix() const
{
    return isPointInTime(eraseTime_) ? eraseTime_ : 0;
}

bool IpmiSel::isEnabled() const
{
    return (globalEnables(static_cast<int>(node_)) & kEventLogging) != 0;
}

void IpmiSel::enable() const
{
    setGlobalEnables(static_cast<int>(node_), globalEnables(static_cast<int>(node_)) | kEventLogging);
}

void IpmiSel::disable() const
{
    setGlobalEnables(static_cast<int>(node_), globalEnables(static_cast<int>(node_)) & ~unsigned{kEventLogging});
}

int IpmiSel::clear() const
{
    return IpmiIfc::clearSel(static_cast<int>(node_));
}

} // namespace Ipmi
