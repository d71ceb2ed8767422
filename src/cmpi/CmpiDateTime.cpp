// SPDX-License-Identifier: Apache-2.0
// Date-times as the broker in use makes them.
#include "ipmi/CmpiDateTime.h"

#include "cmpi/Broker.h"
#include "ipmi/CmpiStatus.h"

namespace Ipmi
{

namespace
{

constexpr const char* kUnknown = "99990101000000.000000+000";

/// Calls one of the broker's functions and gives what it made, or throws. The status is set beforehand, as brokers
/// do not always write it.
template <typename Function, typename... Arguments> CmpiDateTime make(Function function, Arguments... arguments)
{
    _CMPIStatus status{};
    status.rc = CMPI_RC_ERR_NOT_SUPPORTED;
    if (!function)
        throw CmpiStatus(status);
    status.rc = CMPI_RC_OK;
    const _CMPIDateTime* made = function(arguments..., &status);
    if (!made && status.rc == CMPI_RC_OK)
        status.rc = CMPI_RC_ERR_FAILED;
    if (status.rc != CMPI_RC_OK)
        throw CmpiStatus(status);
    return CmpiDateTime(made);
}

} // namespace

CmpiDateTime::CmpiDateTime(const _CMPIDateTime* dateTime) : CmpiObject(dateTime) {}

CmpiDateTime::CmpiDateTime(unsigned long long value, Type type)
{
    const _CMPIBroker* from = broker();
    const CMPIBoolean interval = type == kInterval;
    *this = make(from->eft ? from->eft->newDateTimeFromBinary : nullptr, from, CMPIUint64{value}, interval);
}

CmpiDateTime CmpiDateTime::Unknown()
{
    const _CMPIBroker* from = broker();
    return make(from->eft ? from->eft->newDateTimeFromChars : nullptr, from, kUnknown);
}

const _CMPIDateTime* CmpiDateTime::get() const
{
    return static_cast<const _CMPIDateTime*>(getHandle());
}

} // namespace Ipmi
