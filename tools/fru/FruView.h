// SPDX-License-Identifier: Apache-2.0
// What one FRU has to show: of a device on a node, or of an image in a file.
#pragma once

#include "base/Json.h"
#include "ipmi/IpmiFru.h"

#include <cstdint>
#include <span>
#include <string>

namespace Tool
{

struct FruView {
    /// @param device  as IpmiIfc::readFru gives it
    explicit FruView(Ipmi::IpmiFruDevice device);
    /// Of all bytes of a device. @param name  of its file
    FruView(std::string name, std::span<const std::uint8_t> image);

    std::string title;
    std::string trouble; ///< what is wrong with the whole of it, and why there are no contents; empty: nothing is
    bool isImage = false;
    Ipmi::IpmiFruDevice device; ///< of an image `size` and `areas` alone
};

/// "PSU FRU (FRU 1)"; "DIMM SPD (0xa0)" of one on a bus; "FRU 0" without a name.
std::string fruTitle(const Ipmi::IpmiFruDevice& device);

/// Why there are no contents, or not all; empty for kRead.
std::string fruTrouble(const Ipmi::IpmiFruDevice& device);
/// The same of an image.
std::string fruTrouble(const Ipmi::IpmiFruDevice& device, const Ipmi::IpmiFruImage& image);

/// Its fields; none where it has no contents.
std::vector<Ipmi::IpmiFruField> fieldsOf(const Ipmi::IpmiFruArea& area);
/// The records of a multi-record area; none of another.
std::vector<Ipmi::IpmiFruRecord> recordsOf(const Ipmi::IpmiFruArea& area);

/// All of it for people, many lines.
std::string textOf(const FruView& fru, bool withColour);
/// All of it for programs.
Json jsonOf(const FruView& fru);

} // namespace Tool
