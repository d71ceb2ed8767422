// SPDX-License-Identifier: Apache-2.0
// A machine from its options.
#include "sim/cli/MachineOptions.h"

#include "sim/cli/UserMistake.h"
#include "sim/machine/MachineFile.h"
#include "sim/machine/RawFiles.h"

#include <charconv>

namespace Sim
{

namespace
{

constexpr const char* kSampleMachine = "sample";

/// "N=FILE" with N decimal or 0x...
std::pair<std::uint8_t, std::string> fruFile(const std::string& option)
{
    const std::size_t equals = option.find('=');
    const bool hex = option.starts_with("0x");
    const char* first = option.data() + (hex ? 2 : 0);
    const char* last = option.data() + (equals == std::string::npos ? 0 : equals);
    unsigned int id = 0;
    const auto [end, error] = first < last ? std::from_chars(first, last, id, hex ? 16 : 10)
                                           : std::from_chars_result{first, std::errc::invalid_argument};
    if (error != std::errc() || end != last || id > 0xff || equals + 1 == option.size())
        throw UserMistake("--fru " + option +
                          ": give a FRU device id from 0 to 255 and a file, as in --fru 0=fru-00.bin");
    return {static_cast<std::uint8_t>(id), option.substr(equals + 1)};
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
