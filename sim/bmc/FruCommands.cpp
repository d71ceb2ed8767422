// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0: FRU inventory device commands, of the BMC and of satellites.
#include "sim/bmc/BmcCommand.h"

#include <algorithm>

namespace Sim
{

namespace
{

constexpr std::size_t kOffset = 1, kCount = 3, kWritten = 3; ///< in requests; the first byte is the device id

/// The device that a request names; null where there is none.
FruDevice* deviceOf(BmcState& state, const Request& request)
{
    const auto found = state.machine.fru.find({request.data[0], request.address, request.lun});
    return found == state.machine.fru.end() ? nullptr : &found->second;
}

/// A satellite without any FRU device does not know the commands.
Bytes noDevice(const BmcState& state, const Request& request)
{
    const bool knowsFru = request.address == kBmcAddress || state.machine.hasFru(request.address);
    return {knowsFru ? kNotPresent : kInvalidCommand};
}

Bytes getFruInventoryAreaInfo(BmcState& state, const Request& request)
{
    const FruDevice* device = deviceOf(state, request);
    if (device == nullptr)
        return noDevice(state, request);
    Bytes answer{kOk};
    putWord(answer, device->claimedSize.value_or(std::min(device->image.size(), kLargestFru)));
    answer.push_back(device->access == FruAccess::bytes ? 0 : 1);
    return answer;
}

/// A piece of an image, in bytes.
struct Piece {
    std::size_t offset;
    std::size_t count;
};

/// One Read or Write FRU Data, as far as both are alike.
Bytes withDevice(BmcState& state, const Request& request, Bytes (*carryOut)(FruDevice&, const Request&, std::size_t))
{
    FruDevice* device = deviceOf(state, request);
    if (device == nullptr)
        return noDevice(state, request);
    if (device->busyFor > 0) {
        --device->busyFor;
        return {kFruBusy};
    }
    const std::size_t most = request.address == kBmcAddress ? state.limits.fru : kMostFruBytes;
    return carryOut(*device, request, std::min(most, device->readLimit));
}

/// What is left of a piece inside the image.
std::size_t countWithin(const FruDevice& device, Piece piece)
{
    return std::min(piece.count, std::min(device.image.size(), kLargestFru) - piece.offset);
}

bool isOutside(const FruDevice& device, std::size_t offset)
{
    return offset >= std::min(device.image.size(), kLargestFru);
}

/// A last word of which there is only a half is filled up with a zero.
Bytes readPiece(FruDevice& device, const Request& request, std::size_t most)
{
    const Piece piece{wordAt(request.data, kOffset) * device.offsetUnit(), request.data[kCount] * device.countUnit()};
    if (isOutside(device, piece.offset))
        return {kOutOfRange};
    if (piece.count > most)
        return {device.refusal};
    const std::size_t unit = device.countUnit(), count = countWithin(device, piece);
    const auto from = device.image.begin() + static_cast<std::ptrdiff_t>(piece.offset);
    Bytes answer{kOk, static_cast<std::uint8_t>((count + unit - 1) / unit)};
    answer.insert(answer.end(), from, from + static_cast<std::ptrdiff_t>(count));
    answer.resize(2 + (count + unit - 1) / unit * unit);
    return answer;
}

/// What goes past the end is not written, as the count in the answer says.
Bytes writePiece(FruDevice& device, const Request& request, std::size_t)
{
    const Piece piece{wordAt(request.data, kOffset) * device.offsetUnit(), request.data.size() - kWritten};
    if (piece.count % device.countUnit() != 0)
        return {kInvalidLength};
    if (isOutside(device, piece.offset))
        return {kOutOfRange};
    if (piece.offset < device.protectedBytes)
        return {kWriteProtected};
    const std::size_t unit = device.countUnit(), count = countWithin(device, piece);
    std::copy_n(request.data.begin() + kWritten, count,
                device.image.begin() + static_cast<std::ptrdiff_t>(piece.offset));
    return {kOk, static_cast<std::uint8_t>((count + unit - 1) / unit)};
}

Bytes readFruData(BmcState& state, const Request& request)
{
    return withDevice(state, request, readPiece);
}

Bytes writeFruData(BmcState& state, const Request& request)
{
    return withDevice(state, request, writePiece);
}

constexpr BmcCommand kFruCommands[] = {
    {kStorageNetfn, 0x10, 1, 1, getFruInventoryAreaInfo, true},
    {kStorageNetfn, 0x11, 4, 4, readFruData, true},
    {kStorageNetfn, 0x12, kWritten + 1, kWritten + kMostFruBytes, writeFruData, true},
};

} // namespace

std::span<const BmcCommand> fruCommands()
{
    return kFruCommands;
}

} // namespace Sim
