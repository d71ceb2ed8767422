// SPDX-License-Identifier: Apache-2.0
// The library's only exception type.
#pragma once

#include "ipmi/CmpiTypes.h"
#include "ipmi/Export.h"

namespace Ipmi
{

/// A CMPI return code and message. Thrown by value. The codes that the library throws: 1 value not available, 2 not
/// root, 100 system resources exhausted, 200 wrong state; and what a CIM broker reports.
class TRX_IPMI_API CmpiStatus
{
public:
    /// rc 0, no message.
    CmpiStatus();
    explicit CmpiStatus(_CMPIrc rc);
    /// Logs `text` at LOG_ERR and does not keep it: callers read it in the system log. This is meant.
    CmpiStatus(_CMPIrc rc, const char* text);
    /// As a CIM broker reported it; the message stays the broker's.
    explicit CmpiStatus(_CMPIStatus status);
    CmpiStatus(const CmpiStatus&) = default;
    CmpiStatus& operator=(const CmpiStatus&) = default;
    virtual ~CmpiStatus();

    _CMPIStatus status() const;
    _CMPIrc rc() const;
    /// Text of the message, owned by it; "(null)" when there is none.
    const char* msg() const;

private:
    _CMPIStatus status_;
};

} // namespace Ipmi
