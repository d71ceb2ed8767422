// SPDX-License-Identifier: Apache-2.0
// FRU images from their fields: Platform Management FRU Information Storage Definition 1.0.
#pragma once

#include "sim/machine/Machine.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Sim
{

/// Areas of an image; an area without its marker set is left out.
struct FruFields {
    bool hasChassis = false;
    std::uint8_t chassisType = 0;
    std::vector<std::string> chassis{}; ///< part number, serial number, further fields

    bool hasBoard = false;
    std::uint32_t boardMinutes = 0;   ///< since 1996-01-01 00:00 UTC; 0: unspecified
    std::vector<std::string> board{}; ///< manufacturer, product, serial, part, file id, further fields

    bool hasProduct = false;
    std::vector<std::string> product{}; ///< manufacturer, product, part, version, serial, asset tag, file id, further

    std::size_t size = 256; ///< whole image, at least; padded with zeros
};

/// A whole image with its checksums. Throws std::invalid_argument: a field has more than 63 characters, or an area
/// more than 2,040 bytes.
Bytes writeFru(const FruFields& fields);

} // namespace Sim
