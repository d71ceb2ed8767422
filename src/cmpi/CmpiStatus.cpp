// SPDX-License-Identifier: Apache-2.0
// Return codes and their messages.
#include "ipmi/CmpiStatus.h"

#include "base/Log.h"

namespace Ipmi
{

namespace
{

constexpr const char* kNoText = "(null)";

_CMPIStatus withoutMessage(_CMPIrc rc)
{
    _CMPIStatus status{};
    status.rc = rc;
    return status;
}

} // namespace

CmpiStatus::CmpiStatus() : CmpiStatus(CMPI_RC_OK) {}

CmpiStatus::CmpiStatus(_CMPIrc rc) : status_(withoutMessage(rc)) {}

CmpiStatus::CmpiStatus(_CMPIrc rc, const char* text) : CmpiStatus(rc)
{
    TRX::log(LOG_ERR, "CmpiStatus error %d %s", static_cast<int>(rc), text ? text : kNoText);
}

CmpiStatus::CmpiStatus(_CMPIStatus status) : status_(status) {}

CmpiStatus::~CmpiStatus() = default;

_CMPIStatus CmpiStatus::status() const
{
    return status_;
}

_CMPIrc CmpiStatus::rc() const
{
    return status_.rc;
}

const char* CmpiStatus::msg() const
{
    if (!status_.msg || !status_.msg->ft || !status_.msg->ft->getCharPtr)
        return kNoText;
    _CMPIStatus ignored{};
    const char* text = status_.msg->ft->getCharPtr(status_.msg, &ignored);
    return text ? text : kNoText;
}

} // namespace Ipmi
