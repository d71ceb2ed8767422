// SPDX-License-Identifier: Apache-2.0
// A field replaceable unit: where it is, and what its FRU device says of it.
#pragma once

#include "ipmi/Export.h"
#include "ipmi/IpmiEntity.h"
#include "ipmi/IpmiFruArea.h"
#include "ipmi/IpmiFruOptional.h"
#include "ipmi/IpmiSdrRecord.h"
#include "ipmi/Reference.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Ipmi
{

/// A logical FRU device of the inventory, with those of its areas that passed all checks. Never changes once it is in
/// the inventory; may be read from any thread, sends nothing and throws nothing but std::bad_alloc.
class TRX_IPMI_API IpmiFru
{
public:
    using Areas = std::vector<TRX::Reference<IpmiFruOptional>>;

    /// @param locator     its FRU Device Locator record (IPMI 2.0, 43.8); empty for device 0 without one
    /// @param isFallback  device 0 without a locator record
    IpmiFru(const IpmiSdrRecord& locator, Areas areas, int node, bool isFallback);
    virtual ~IpmiFru();

    IpmiEntity getEntity() const;
    /// The FRU device's id; 0 where the record has none.
    unsigned int getOwnerId() const;
    unsigned int getLun() const;
    unsigned int getChannel() const;
    /// Of the controller that the device is behind, as the record has it: bits 7..1 are the address.
    unsigned int getSlaveAddress() const;
    bool isLogical() const;
    /// True for device 0 where no record of the repository names one.
    bool isFallback() const { return isFallback_ != 0; }
    /// Chassis, board, product, multi-record: those that could be read. The areas themselves are shared.
    Areas getOptionalRefArray() const { return areas_; }
    void setOptionalRefArray(const Areas& areas) { areas_ = areas; }

private:
    IpmiSdrRecord locator_;
    Areas areas_;
    std::int32_t node_;
    std::int32_t isFallback_;
};

/// A summary of one area, fit to print; what its kind does not have stays empty. A plain value.
struct FruPart {
    std::string kind; ///< "Product", "Chassis" or "Board"
    std::string name;
    std::string partNumber;
    std::string version;
    std::string manufacturer;
    std::string serialNumber;
    std::string assetTag;
    std::string mfgDate;
};

/// What is known of one FRU device, as the public standards have it: damaged areas are marked and not left out, and
/// devices that are not asked are listed. A plain value.
struct IpmiFruDevice {
    enum State {
        kRead,      ///< the areas are those that the device has, but for what is marked in them
        kNotAsked,  ///< its contents are not FRU areas (a memory module's SPD), or it is behind a private bus
        kNoAnswer,  ///< no answer came from the controller, or one that makes no sense
        kRefused,   ///< the controller refused, with the completion code named
        kBadHeader, ///< the device does not begin as a FRU device does
        kByWords    ///< the device counts in words; what IpmiIfc::getFrus has of it may be wrong. Ask readFru
    };

    State state = kNotAsked;
    std::uint8_t completionCode = 0;

    std::string name;            ///< of its locator record, UTF-8; empty for device 0 without one
    bool hasLocator = false;     ///< false for device 0 where no record names one
    bool isLogical = true;       ///< behind its controller's FRU commands; else on a bus
    std::uint8_t id = 0;         ///< FRU device id; of one on a bus its slave address, bits 7..1
    std::uint8_t controller = 0; ///< slave address, bits 7..1: 20h for the BMC
    std::uint8_t lun = 0;
    std::uint8_t channel = 0;
    std::uint8_t bus = 0;                                ///< private bus; 0 where it is on the channel itself
    std::uint8_t deviceType = 0, deviceTypeModifier = 0; ///< IPMI 2.0, table 43-12
    IpmiEntity entity;

    unsigned int size = 0;           ///< of the inventory area in bytes, as the device says
    unsigned int internalOffset = 0; ///< of an internal use area, in bytes; 0 for none
    bool headerChecksumOk = true;    ///< of the common header, once one was read
    std::vector<IpmiFruArea> areas;  ///< by kind: internal use, chassis, board, product, multi-record
};

/// All bytes of a FRU device, or why they could not be read. A plain value.
struct IpmiFruImage {
    IpmiFruDevice::State state = IpmiFruDevice::kNotAsked; ///< kRead when it is whole
    std::uint8_t completionCode = 0;
    unsigned int size = 0;            ///< bytes that the device says it has
    std::vector<unsigned char> bytes; ///< what was read of them, from the first one on
};

} // namespace Ipmi
