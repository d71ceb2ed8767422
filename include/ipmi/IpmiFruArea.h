// SPDX-License-Identifier: Apache-2.0
// An area of a FRU's inventory with its place and its damages, and whole inventories from an image.
#pragma once

#include "ipmi/Export.h"
#include "ipmi/IpmiFruOptional.h"
#include "ipmi/Reference.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Ipmi
{

/// An area as found, damaged or not. A plain value; copies share the contents.
struct IpmiFruArea {
    enum Kind { kInternal, kChassis, kBoard, kProduct, kMulti };

    Kind kind = kInternal;
    /// Its first byte's place in the FRU device.
    unsigned int offset = 0;
    /// Whether its checksum is right; of a multi-record area, all of them. Internal use areas have none: true.
    bool checksumOk = false;
    /// Whether all bytes were there that the area says it has; of a multi-record area, up to its end mark.
    bool whole = false;
    /// What was there of it: an IpmiFruInternal, -Chassis, -Board, -Product or -Multi. Never null.
    TRX::Reference<IpmiFruOptional> contents;
};

/// "internal", "chassis", "board", "product" or "multi-record". Lives as long as the library. @threads any; sends
/// nothing
TRX_IPMI_API const char* kindName(IpmiFruArea::Kind kind);

/// An area of the bytes that begin with its first one. What follows its end as it says itself is not kept (an internal
/// use area does not say, and keeps all). @threads any; sends nothing
/// @param bytes  `size` bytes; null counts as none
TRX_IPMI_API IpmiFruArea makeFruArea(IpmiFruArea::Kind kind, unsigned int offset, const unsigned char* bytes,
                                     std::size_t size);

/// All areas of a FRU device's image, in the order of the common header (FRU Information Storage Definition, section
/// 8); damaged and cut ones are marked. Where neither version nor checksum of the header are right, those alone that
/// are whole and have a right checksum. The first 65,536 bytes of the image count. @threads any; sends nothing
/// @param image  `size` bytes; null counts as none
/// @param error  may be null; out: what is wrong with the header, in one line without an end; empty when it is right
TRX_IPMI_API std::vector<IpmiFruArea> decodeFru(const unsigned char* image, std::size_t size, std::string* error);

} // namespace Ipmi
