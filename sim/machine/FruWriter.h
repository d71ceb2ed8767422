// SPDX-License-Identifier: Apache-2.0
// FRU images from their fields: Platform Management FRU Information Storage Definition 1.0.
#pragma once

#include "sim/bus/Bytes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace Sim
{

/// How a field is stored; the value is the type code. What `text` means is the area's language's to say.
enum class FruEncoding : std::uint8_t { binary = 0, bcdPlus = 1, sixBit = 2, text = 3 };

inline constexpr std::uint8_t kEnglish = 25;

/// A field's type/length byte and its bytes. Throws std::invalid_argument: more than 63 bytes.
Bytes fruField(FruEncoding encoding, Bytes content);

/// Fields in their order, the standard's first, then further ones; those that are not there are stored empty.
struct FruArea {
    std::vector<Bytes> fields{};      ///< from fruField()
    std::uint8_t language = kEnglish; ///< of board and product
    bool wrongChecksum = false;
};

/// A record of the multi-record area, without its header.
struct FruRecord {
    std::uint8_t type = 0;
    Bytes data{};
    bool wrongChecksum = false; ///< of the data
    bool wrongHeaderChecksum = false;
};

/// What an image is made of; areas that are not there are left out.
struct FruContents {
    std::optional<Bytes> internal{}; ///< without its version byte
    std::uint8_t chassisType = 0;
    std::optional<FruArea> chassis{}; ///< part number, serial number, further fields
    std::uint32_t boardMinutes = 0;   ///< since 1996-01-01 00:00 UTC; 0: unspecified
    std::optional<FruArea> board{};   ///< manufacturer, product, serial, part, file id, further fields
    std::optional<FruArea> product{}; ///< manufacturer, product, part, version, serial, asset tag, file id, further
    std::vector<FruRecord> records{};
    bool endMark = true; ///< on the last record
    bool wrongHeaderChecksum = false;
    std::size_t size = 256; ///< whole image, at least; padded with zeros
};

/// A whole image. Throws std::invalid_argument: an area has more than 2,040 bytes, a record's data more than 255, or
/// one begins beyond byte 2,040.
Bytes writeFru(const FruContents& contents);

} // namespace Sim
