// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0: FRU inventory device commands.
#include "sim/bmc/BmcCommand.h"

#include <algorithm>

namespace Sim
{

namespace
{

constexpr std::size_t kLargestImage = 0xffff;

const Bytes* imageOf(const BmcState& state, std::uint8_t device)
{
    const auto found = state.machine.fru.find(device);
    return found == state.machine.fru.end() ? nullptr : &found->second;
}

Bytes getFruInventoryAreaInfo(BmcState& state, const Request& request)
{
    const Bytes* image = imageOf(state, request.data[0]);
    if (image == nullptr)
        return {kNotPresent};
    Bytes answer{kOk};
    putWord(answer, static_cast<unsigned>(std::min(image->size(), kLargestImage)));
    answer.push_back(0); // accessed by bytes
    return answer;
}

Bytes readFruData(BmcState& state, const Request& request)
{
    const Bytes* image = imageOf(state, request.data[0]);
    if (image == nullptr)
        return {kNotPresent};
    const std::size_t offset = wordAt(request.data, 1), size = std::min(image->size(), kLargestImage);
    if (offset >= size)
        return {kOutOfRange};
    const std::size_t count = std::min<std::size_t>(request.data[3], size - offset);
    if (count > state.limits.fru)
        return {kTooManyBytes};
    Bytes answer{kOk, static_cast<std::uint8_t>(count)};
    const auto from = image->begin() + static_cast<std::ptrdiff_t>(offset);
    answer.insert(answer.end(), from, from + static_cast<std::ptrdiff_t>(count));
    return answer;
}

constexpr BmcCommand kFruCommands[] = {
    {kStorageNetfn, 0x10, 1, 1, getFruInventoryAreaInfo},
    {kStorageNetfn, 0x11, 4, 4, readFruData},
};

} // namespace

std::span<const BmcCommand> fruCommands()
{
    return kFruCommands;
}

} // namespace Sim
