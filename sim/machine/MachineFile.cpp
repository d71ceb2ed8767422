// SPDX-License-Identifier: Apache-2.0
// A machine from its JSON file: identity, controllers, event log; records and FRU devices have files of their own.
#include "sim/machine/MachineFile.h"

#include "sim/machine/BuiltinMachines.h"
#include "sim/machine/FruFile.h"
#include "sim/machine/JsonReader.h"
#include "sim/machine/LanFile.h"
#include "sim/machine/SdrFile.h"

#include <algorithm>
#include <filesystem>

namespace Sim
{

namespace
{

constexpr std::size_t kMostControllers = 127;

/// Exactly N bytes of a field, or what was there before when it is missing.
template <std::size_t N> void parseArray(JsonObject& json, const char* name, std::array<std::uint8_t, N>& into)
{
    if (!json.has(name))
        return;
    const Bytes bytes = json.bytes(name, N, N);
    std::copy_n(bytes.begin(), N, into.begin());
}

Identity parseIdentity(JsonObject& json)
{
    Identity id;
    id.deviceId = json.byte("device_id", id.deviceId);
    id.deviceRevision = static_cast<std::uint8_t>(json.integer("device_revision", 0, 15, id.deviceRevision));
    id.providesSdrs = json.flag("device_sdrs", false);
    id.firmwareMajor = static_cast<std::uint8_t>(json.integer("firmware_major", 0, 127, id.firmwareMajor));
    id.firmwareMinor = static_cast<std::uint8_t>(json.integer("firmware_minor", 0, 99, id.firmwareMinor));
    id.ipmiVersion = json.byte("ipmi_version", id.ipmiVersion);
    id.supports = json.byte("supports", id.supports);
    id.manufacturer = static_cast<std::uint32_t>(json.integer("manufacturer", 0, 0xfffff, 0));
    id.product = json.word("product", 0);
    if (json.has("auxiliary_firmware"))
        parseArray(json, "auxiliary_firmware", id.auxiliaryFirmware.emplace());
    parseArray(json, "self_test", id.selfTest);
    parseArray(json, "guid", id.guid);
    return id;
}

void parseSystemInfo(JsonObject json, Machine& machine)
{
    machine.systemFirmware = json.text("firmware_version", "");
    machine.systemName = json.text("system_name", "");
    machine.primaryOsName = json.text("primary_os_name", "");
    machine.osName = json.text("os_name", "");
    machine.osVersion = json.text("os_version", "");
    json.finish();
}

/// Absent: silent, or refusing what is sent to it; without the field it is there.
Presence parsePresence(JsonObject& json)
{
    if (!json.has("absent"))
        return Presence::answers;
    const std::string how = json.text("absent");
    if (how != "silent" && how != "nak")
        json.fail("absent", "must be \"silent\" or \"nak\"");
    return how == "nak" ? Presence::nak : Presence::silent;
}

Controller parseController(JsonObject& json)
{
    constexpr std::int64_t kLongestLatency = 3'600'000, kMostBusy = 1'000'000;
    Controller controller{.identity = parseIdentity(json)};
    controller.channel = static_cast<std::uint8_t>(json.integer("channel", 0, 11, 0));
    controller.presence = parsePresence(json);
    controller.latency = std::chrono::milliseconds(json.integer("latency_ms", 0, kLongestLatency, 0));
    controller.busy = static_cast<std::uint64_t>(json.integer("busy", 0, kMostBusy, 0));
    json.finish();
    return controller;
}

void parseControllers(JsonObject& json, Machine& machine)
{
    for (JsonObject& controller : json.objects("controllers", kMostControllers)) {
        const std::uint8_t address = controller.byte("address");
        if (address % 2 != 0)
            controller.fail("address", "must be even, an 8-bit slave address");
        if (address == kBmcAddress || machine.controllers.contains(address))
            controller.fail("address", "is the BMC's or another controller's");
        machine.controllers.emplace(address, parseController(controller));
    }
}

/// The log's room, its times, and how long a clear takes.
void parseSelBehaviour(JsonObject& json, Machine& machine)
{
    constexpr std::int64_t kMostAsks = 1'000'000, kLongestClear = 3'600'000;
    const auto present = static_cast<std::int64_t>(machine.sel.size()), most = std::int64_t{kMostSelRecords};
    const auto usual = static_cast<std::int64_t>(machine.selCapacity);
    machine.selCapacity = static_cast<std::size_t>(
        json.integer("sel_capacity", std::max<std::int64_t>(present, 1), most, std::max(present, usual)));
    machine.selOverflow = json.flag("sel_overflow", false);
    machine.selClearAsks = static_cast<std::uint64_t>(json.integer("sel_clear_asks", 0, kMostAsks, 0));
    machine.selClearTime = std::chrono::milliseconds(json.integer("sel_clear_ms", 0, kLongestClear, 0));
    machine.selAddTime = static_cast<std::uint32_t>(json.integer("sel_add_time", 0, 0xffffffff, 0));
    machine.selEraseTime = static_cast<std::uint32_t>(json.integer("sel_erase_time", 0, 0xffffffff, 0xffffffff));
}

/// An event log of 16-byte records in hexadecimal, each with its own id.
void parseSel(JsonObject& json, Machine& machine)
{
    for (const auto& [element, place] : json.elements("sel", kMostSelRecords)) {
        const auto bytes = element->is_string() ? parseHex(element->get_ref<const std::string&>()) : std::nullopt;
        if (!bytes || bytes->size() != kSelRecordSize)
            throw BadFile(place + ": must be a text of 16 hexadecimal bytes");
        SelRecord record{};
        std::copy_n(bytes->begin(), record.size(), record.begin());
        machine.sel.push_back(record);
    }
    parseSelBehaviour(json, machine);
}

} // namespace

std::vector<std::string> builtinMachines()
{
    std::vector<std::string> names;
    for (const BuiltinMachine& machine : builtinMachineFiles())
        names.emplace_back(machine.name);
    std::sort(names.begin(), names.end());
    return names;
}

Machine parseMachine(std::string_view text, const std::string& source)
{
    const nlohmann::json parsed = parseJson(text, source);
    JsonObject json(parsed, source);
    Machine machine;
    machine.name = json.text("name", source);
    if (json.has("identity")) {
        JsonObject identity = json.object("identity");
        machine.identity = parseIdentity(identity);
        identity.finish();
    }
    if (json.has("system_info"))
        parseSystemInfo(json.object("system_info"), machine);
    parseControllers(json, machine);
    parseRepository(json, machine);
    parseFrus(json, std::filesystem::path(source).parent_path().string(), machine);
    parseSel(json, machine);
    parseLan(json, machine);
    json.text("about", ""); // for people
    json.finish();
    return machine;
}

Machine loadMachine(const std::string& nameOrFile)
{
    for (const BuiltinMachine& machine : builtinMachineFiles()) {
        if (machine.name == nameOrFile)
            return parseMachine(machine.text, nameOrFile + ".json");
    }
    Bytes text;
    try {
        text = readFile(nameOrFile);
    } catch (const BadFile& error) {
        std::string known;
        for (const std::string& name : builtinMachines())
            known += (known.empty() ? "" : ", ") + name;
        throw BadFile(std::string(error.what()) + " (built-in machines: " + known + ")");
    }
    return parseMachine({reinterpret_cast<const char*>(text.data()), text.size()}, nameOrFile);
}

} // namespace Sim
