// SPDX-License-Identifier: Apache-2.0
// Where things stand in answers, counted from 0 with the completion code.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Ipmi::wire
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
}

namespace global_enables // IPMI 2.0, 22.2 Get BMC Global Enables
{
inline constexpr std::size_t kEnables = 1, kSize = 2;
inline constexpr std::uint8_t kEventLogging = 0x08;
} // namespace global_enables

namespace reservation // IPMI 2.0, 33.11 Reserve SDR Repository and 31.4 Reserve SEL
{
inline constexpr std::size_t kId = 1, kSize = 3;
}

namespace repository_info // IPMI 2.0, 33.9 Get SDR Repository Info
{
inline constexpr std::size_t kVersion = 1, kCount = 2, kFreeSpace = 4, kTimes = 6, kOperations = 14, kSize = 15;
inline constexpr std::size_t kTimesSize = kOperations - kTimes;
} // namespace repository_info

/// Versions of repositories and logs: BCD, low digit first, as 2.0 has it; 51h is what IPMI 1.5 and 2.0 report.
inline constexpr std::uint8_t kVersionBits = 0x0f, kVersion2 = 2, kVersion51 = 0x51;

constexpr bool isKnownVersion(std::uint8_t version)
{
    return version == kVersion51 || (version & kVersionBits) >= kVersion2;
}

namespace record_piece // IPMI 2.0, 33.12 Get SDR and 31.5 Get SEL Entry
{
inline constexpr std::size_t kNextId = 1, kData = 3;
inline constexpr std::uint8_t kWhole = 0xff; ///< as the number of bytes wanted
} // namespace record_piece

namespace fru_info // IPMI 2.0, 34.1 Get FRU Inventory Area Info
{
inline constexpr std::size_t kBytes = 1, kAccess = 3, kSize = 4;
inline constexpr unsigned int kWordsBit = 0; ///< of the access byte
} // namespace fru_info

namespace fru_data // IPMI 2.0, 34.2 Read FRU Data
{
inline constexpr std::size_t kCount = 1, kData = 2;
}

namespace reading // IPMI 2.0, 35.14 Get Sensor Reading
{
inline constexpr std::size_t kValue = 1, kFlags = 2, kState1 = 3, kState2 = 4, kSize = 5;
inline constexpr std::uint8_t kUnavailable = 0x20, kScanning = 0x40; ///< of the flags
} // namespace reading

namespace thresholds // IPMI 2.0, 35.9 Get Sensor Thresholds
{
inline constexpr std::size_t kReadable = 1, kFirst = 2, kCount = 6, kSize = 8;
}

namespace hysteresis // IPMI 2.0, 35.7 Get Sensor Hysteresis
{
inline constexpr std::size_t kPositive = 1, kNegative = 2;
inline constexpr std::uint8_t kReserved = 0xff; ///< the request's second byte
} // namespace hysteresis

namespace event_enable // IPMI 2.0, 35.11 Get Sensor Event Enable
{
inline constexpr std::size_t kFlags = 1, kAssertions = 2, kDeassertions = 4;
}

namespace erasure // IPMI 2.0, 31.9 Clear SEL
{
inline constexpr std::size_t kStatus = 1;
inline constexpr std::uint8_t kProgress = 0x0f, kCompleted = 1; ///< of the status
} // namespace erasure

namespace sel_time // IPMI 2.0, 31.10 Get SEL Time
{
inline constexpr std::size_t kSeconds = 1, kSize = 5;
}

namespace last_processed // IPMI 2.0, 30.5 Get Last Processed Event ID
{
inline constexpr std::size_t kBySoftware = 7, kSize = 9;
}

namespace channel_info // IPMI 2.0, 22.24 Get Channel Info
{
inline constexpr std::size_t kMedium = 2;
inline constexpr std::uint8_t kMediumBits = 0x7f, kLan = 0x04, kOtherLan = 0x06; ///< table 6-3
} // namespace channel_info

namespace lan_parameter // IPMI 2.0, 23.2 Get LAN Configuration Parameters, and table 23-4
{
inline constexpr std::size_t kData = 2;
inline constexpr std::uint8_t kAddress = 3, kSource = 4, kMac = 5, kNetmask = 6, kGateway = 12, kGatewayMac = 13,
                              kVlanId = 20, kVlanPriority = 21, kIpv6Support = 50, kIpv6Enables = 51, kIpv6Status = 55,
                              kIpv6Static = 56, kIpv6Dynamic = 59;
} // namespace lan_parameter

namespace ipv6_set // IPMI 2.0, table 23-4: data of parameters 56 and 59, set selector first
{
inline constexpr std::size_t kSource = 1, kAddress = 2, kAddressSize = 16, kPrefix = 18, kState = 19, kSize = 20;
static_assert(kAddress + kAddressSize == kPrefix && kState + 1 == kSize);
} // namespace ipv6_set

} // namespace Ipmi::wire
