// Where things stand in the answers that BMC identity is read from, completion code first.
#pragma once

#include <cstddef>

namespace Ipmi
{

namespace device_id // IPMI 2.0, 20.1 Get Device ID
{
inline constexpr std::size_t kDevice = 1, kRevision = 2, kFirmwareMajor = 3, kFirmwareMinor = 4, kIpmiVersion = 5,
                             kAdditionalSupport = 6, kManufacturer = 7, kProduct = 10, kAuxiliary = 12, kSize = 16;
static_assert(kManufacturer + 3 == kProduct && kProduct + 2 == kAuxiliary && kAuxiliary + 4 == kSize);
} // namespace device_id

namespace self_test // IPMI 2.0, 20.4 Get Self Test Results
{
inline constexpr std::size_t kResult = 1, kDetail = 2, kSize = 3;
} // namespace self_test

} // namespace Ipmi
