// SPDX-License-Identifier: Apache-2.0
// The machine files of sim/machines, inside the program; the source file is made by the build.
#pragma once

#include <span>
#include <string_view>

namespace Sim
{

struct BuiltinMachine {
    std::string_view name; ///< the file's name without .json
    std::string_view text;
};

std::span<const BuiltinMachine> builtinMachineFiles();

} // namespace Sim
