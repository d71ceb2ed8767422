// SPDX-License-Identifier: Apache-2.0
// The log's summary, and whether the BMC logs at all.
#include "ipmi/IpmiSel.h"

#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"
#include "sel/SelTime.h"
#include "transport/Answer.h"
#include "wire/AnswerLayout.h"
#include "wire/Cursor.h"
#include "wire/SelLayout.h"

namespace Ipmi
{

namespace
{

constexpr int kRecordSize = wire::sel::kSize; ///< also the allocation unit of a BMC that says 0

std::uint8_t globalEnables(int node)
{
    const Answer answer = ask(node, wire::kGetGlobalEnables);
    if (!answer.good(wire::global_enables::kSize))
        throw CmpiStatus(CMPI_RC_ERR_FAILED);
    return answer.at(wire::global_enables::kEnables);
}

void setGlobalEnables(int node, unsigned int enables)
{
    if (!ask(node, wire::kSetGlobalEnables, wire::Writer().u8(enables)).good())
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
    return (globalEnables(static_cast<int>(node_)) & wire::global_enables::kEventLogging) != 0;
}

void IpmiSel::enable() const
{
    setGlobalEnables(static_cast<int>(node_),
                     globalEnables(static_cast<int>(node_)) | wire::global_enables::kEventLogging);
}

void IpmiSel::disable() const
{
    setGlobalEnables(static_cast<int>(node_),
                     globalEnables(static_cast<int>(node_)) & ~unsigned{wire::global_enables::kEventLogging});
}

int IpmiSel::clear() const
{
    return IpmiIfc::clearSel(static_cast<int>(node_));
}

} // namespace Ipmi
