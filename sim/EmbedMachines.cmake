# SPDX-License-Identifier: Apache-2.0
# cmake -DOUTPUT=file.cpp -DMACHINES="a.json;b.json" -P EmbedMachines.cmake: machine files as C++ literals.
set(text "#include \"sim/machine/BuiltinMachines.h\"\n\nnamespace Sim\n{\n\nnamespace\n{\n\nconstexpr BuiltinMachine kMachines[] = {\n")
foreach(machine IN LISTS MACHINES)
  get_filename_component(name "${machine}" NAME_WE)
  file(READ "${machine}" hex HEX)
  string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${hex}")
  # One literal per line: no literal may be longer than compilers promise to take.
  string(REGEX REPLACE "(\\\\x0a)" "\\1\"\n     \"" bytes "${bytes}")
  string(APPEND text "    {\"${name}\",\n     \"${bytes}\"},\n")
endforeach()
string(APPEND text "};\n\n} // namespace\n\nstd::span<const BuiltinMachine> builtinMachineFiles()\n{\n    return kMachines;\n}\n\n} // namespace Sim\n")
file(WRITE "${OUTPUT}" "${text}")
