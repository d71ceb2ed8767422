// SPDX-License-Identifier: Apache-2.0
// Base of the classes that wrap a CMPI object.
#pragma once

#include "ipmi/Export.h"

namespace Ipmi
{

/// Holds one opaque handle; owns nothing.
class TRX_IPMI_API CmpiObject
{
public:
    CmpiObject() = default;
    explicit CmpiObject(const void* handle) : handle_(handle) {}

    const void* getHandle() const { return handle_; }

private:
    const void* handle_ = nullptr;
};

} // namespace Ipmi
