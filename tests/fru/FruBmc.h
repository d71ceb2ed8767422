// SPDX-License-Identifier: Apache-2.0
// A simulated BMC with FRU devices and the records that name them, on node 0 and opened.
#pragma once

#include "fru/FruSamples.h"
#include "fru/IpmiIfcFru.h"
#include "sdr/SdrBmc.h"
#include "sim/machine/FruWriter.h"

namespace FruTest
{

using namespace SdrTest;

inline constexpr std::uint8_t kInfo = 0x10, kRead = 0x11; ///< Storage

/// An area of each kind, the multi-record area with two records.
inline Sim::FruContents contents()
{
    Sim::FruContents all;
    all.internal = Bytes{0xde, 0xad};
    all.chassisType = 0x17;
    all.chassis = Sim::FruArea{.fields = {latin("CH-1"), latin("CS-1")}};
    all.board = Sim::FruArea{.fields = {latin("Example"), latin("Board"), latin("BS-1"), latin("BP-1")}};
    all.product = Sim::FruArea{.fields = {latin("Example"), latin("Server"), latin("P-1"), latin("1.0")}};
    all.records = {{.type = 2, .data = Bytes(13, 1)}, {.type = 0xc0, .data = Bytes(30, 2)}};
    return all;
}

template <typename... Part> std::string written(const Part&... parts)
{
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

inline constexpr std::uint8_t kLogical = 0x80;

/// FRU Device Locator record.
inline Bytes locator(std::uint16_t id, std::uint8_t address, std::uint8_t device, const Changes& changes = {})
{
    Bytes body(11);
    body[0] = address, body[1] = device, body[2] = kLogical, body[5] = 0x10, body[7] = 7, body[8] = 0x81;
    body[10] = 0xc3;
    for (const char letter : {'F', 'R', 'U'})
        body.push_back(static_cast<std::uint8_t>(letter));
    return patched(Sim::writeRecord(id, 0x11, body), changes);
}

/// With device 0 of these contents on the BMC.
inline Sim::Machine machineWith(const Sim::FruContents& device, std::vector<Bytes> records = {})
{
    Sim::Machine machine = machineOf(std::move(records));
    machine.fru[Sim::FruKey(0)] = Sim::writeFru(device);
    return machine;
}

struct FruBmc : SdrBmc {
    using SdrBmc::SdrBmc;

    /// Each Read FRU Data as offset and count.
    std::string reads() const
    {
        std::string text;
        for (const Sim::Request& request : bmc.log())
            if (request.cmd == kRead)
                text += std::to_string(request.data.at(1) + 256 * request.data.at(2)) + '+' +
                        std::to_string(request.data.at(3)) + ' ';
        return text;
    }
};

} // namespace FruTest
