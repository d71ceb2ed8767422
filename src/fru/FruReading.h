// SPDX-License-Identifier: Apache-2.0
// What a node keeps of the FRU device that was read last.
#pragma once

#include "fru/RecordWalk.h"
#include "ipmi/IpmiFru.h"
#include "ipmi/IpmiRecords.h"
#include "wire/FruLayout.h"

#include <cstdint>
#include <span>

namespace Ipmi
{

struct FruReading {
    ipmiifc_fru_info fru_inv_info;
    IpmiFruDevice device; ///< every area that was read of it, whatever its checks say; not where it is
};

/// What became of a device whose reading ended with a result of IpmiIfcReadFru.
inline void noteFruResult(int result, IpmiFruDevice::State& state, std::uint8_t& completionCode)
{
    state = result == 0 ? IpmiFruDevice::kRead : result > 0 ? IpmiFruDevice::kRefused : IpmiFruDevice::kNoAnswer;
    completionCode = static_cast<std::uint8_t>(result > 0 ? result : 0);
}

/// What the common header says of the device as a whole.
inline void noteFruHeader(std::span<const std::uint8_t, wire::fru::kHeaderSize> header, IpmiFruDevice& device)
{
    using namespace wire::fru;
    device.headerChecksumOk = hasZeroSum(header);
    device.internalOffset = header[kInternalOffset] * kUnit;
    device.state = header[kHeaderVersion] == kFormatVersion ? IpmiFruDevice::kRead : IpmiFruDevice::kBadHeader;
}

} // namespace Ipmi
