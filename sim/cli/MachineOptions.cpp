// SPDX-License-Identifier: Apache-2.0
// A machine from its options.
#include "sim/cli/MachineOptions.h"

#include "sim/cli/UserMistake.h"
#include "sim/machine/MachineFile.h"
#include "sim/machine/RawFiles.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace Sim
{

namespace
{

constexpr const char* kSampleMachine = "sample";

/// All of the text as a byte, decimal or 0x...
std::optional<std::uint8_t> byteOf(std::string_view text)
{
    const bool hex = text.starts_with("0x");
    text.remove_prefix(hex ? 2 : 0);
    unsigned int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, hex ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size() || number > 0xff)
        return std::nullopt;
    return static_cast<std::uint8_t>(number);
}

/// "N=FILE", or "N@ADDRESS=FILE" for a satellite's.
std::pair<FruKey, std::string> fruFile(const std::string& option)
{
    const std::size_t equals = std::min(option.find('='), option.size());
    const std::string_view place = std::string_view(option).substr(0, equals);
    const std::size_t at = std::min(place.find('@'), place.size());
    const auto device = byteOf(place.substr(0, at));
    const auto address = at == place.size() ? std::optional(kBmcAddress) : byteOf(place.substr(at + 1));
    if (!device || !address || equals + 1 >= option.size())
        throw UserMistake("--fru " + option +
                          ": give a FRU device id from 0 to 255 and a file, as in --fru 0=fru-00.bin, or "
                          "--fru 0@0x82=node.bin for a satellite's");
    return {{*device, *address}, option.substr(equals + 1)};
}

} // namespace

Machine MachineOptions::makeMachine() const
{
    RawFiles files{sdr, readings, {}, sel};
    for (const std::string& option : fru)
        files.fru.insert_or_assign(fruFile(option).first, fruFile(option).second);
    if (machine.empty() && !files.empty())
        return machineFromRaw(files);
    Machine made = loadMachine(machine.empty() ? kSampleMachine : machine);
    applyRawFiles(made, files);
    return made;
}

} // namespace Sim
