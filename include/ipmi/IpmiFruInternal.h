// SPDX-License-Identifier: Apache-2.0
// The internal use area of a FRU.
#pragma once

#include "ipmi/IpmiFruOptional.h"

namespace Ipmi
{

/// An internal use area (FRU Information Storage Definition, section 9): what it holds only its maker knows. Members
/// as of IpmiFruOptional.
class TRX_IPMI_API IpmiFruInternal : public IpmiFruOptional
{
public:
    using IpmiFruOptional::IpmiFruOptional;

    void dump() const override;
    /// All bytes, the format version too, as one binary field, "Internal Use Area"; nothing without bytes.
    std::vector<IpmiFruField> fields() const override;
};

} // namespace Ipmi
