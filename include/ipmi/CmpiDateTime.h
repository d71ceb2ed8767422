// SPDX-License-Identifier: Apache-2.0
// Points in time and intervals as CMPI date-times.
#pragma once

#include "ipmi/CmpiObject.h"
#include "ipmi/CmpiTypes.h"
#include "ipmi/Export.h"

namespace Ipmi
{

/// A CMPI date-time made by the CIM broker (IpmiIfc::setBroker), or by the library's own small broker when there is
/// none. A broker frees its objects when the provider's current call returns. Objects of the library's own broker live
/// until their thread has made 64 more of them: clone what must live longer. @threads any; sends nothing
class TRX_IPMI_API CmpiDateTime : public CmpiObject
{
public:
    enum Type : unsigned { kPointInTime = 0, kInterval = 1 };

    CmpiDateTime() = default;
    /// Wraps `dateTime`; no copy.
    explicit CmpiDateTime(const _CMPIDateTime* dateTime);
    /// @param value  microseconds, since the epoch (UTC) or of the interval
    /// Throws CmpiStatus with the broker's status when it fails.
    CmpiDateTime(unsigned long long value, Type type);
    /// The value handed out for a time that is not known: 9999-01-01. Throws as above.
    static CmpiDateTime Unknown();

    const _CMPIDateTime* get() const;
};

} // namespace Ipmi
