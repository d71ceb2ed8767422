// SPDX-License-Identifier: Apache-2.0
// Captures into a machine: records, readings, images, events.
#include "sim/machine/RawFiles.h"

#include "sim/machine/InputFile.h"
#include "sim/machine/JsonReader.h"
#include "sim/machine/SdrLayout.h"
#include "sim/machine/SdrSensors.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

namespace Sim
{

namespace
{

std::vector<Bytes> parseSdr(const Bytes& bytes, const std::string& path)
{
    std::vector<Bytes> records;
    for (std::size_t offset = 0; offset < bytes.size();) {
        const std::size_t left = bytes.size() - offset;
        const std::size_t size =
            SdrLayout::kHeaderSize + (left > SdrLayout::kLength ? bytes[offset + SdrLayout::kLength] : 0U);
        if (size > left)
            throw BadFile(path + ": the record at byte " + std::to_string(offset) + " ends after the file");
        const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
        records.emplace_back(from, from + static_cast<std::ptrdiff_t>(size));
        offset += size;
    }
    if (records.empty() || records.size() > SdrLayout::kMostRecords)
        throw BadFile(path + ": " + (records.empty() ? "no records" : "too many records"));
    return records;
}

/// One line of readings: fields up to the bar are the reading, those behind it the thresholds.
struct ReadingLine {
    SensorKey key;
    std::uint8_t raw = 0;
    bool eventsEnabled = true;
    std::optional<std::uint8_t> readable;
    bool settable = false;
    std::array<std::uint8_t, 6> thresholds{}; ///< as commands send them
};

std::optional<std::uint8_t> readByte(std::istream& in, int highest = 0xff)
{
    std::string word;
    in >> word;
    const auto number = parseInteger(word);
    if (!number || *number < 0 || *number > highest)
        return std::nullopt;
    return static_cast<std::uint8_t>(*number);
}

std::optional<std::uint8_t> readMask(std::istream& in)
{
    std::string word;
    in >> word;
    if (word.size() != 6 || word.find_first_not_of("01") != std::string::npos)
        return std::nullopt;
    std::uint8_t mask = 0;
    for (const char bit : word)
        mask = static_cast<std::uint8_t>(mask << 1 | (bit - '0'));
    return mask;
}

bool parseThresholdColumns(std::istream& in, ReadingLine& line)
{
    std::string support;
    if (!(in >> support))
        return true; // none captured
    if (support != "none" && support != "readable" && support != "settable" && support != "fixed")
        return false;
    line.settable = support == "settable";
    line.readable = readMask(in);
    if (!line.readable)
        return false;
    if (support == "none" || support == "fixed")
        line.readable = 0;
    for (std::size_t i = line.thresholds.size(); i-- > 0;) { // written UNR first, sent LNC first
        const auto raw = readByte(in);
        if (!raw)
            return false;
        line.thresholds[i] = *raw;
    }
    return true;
}

std::optional<ReadingLine> parseLine(const std::string& text)
{
    std::istringstream in(text);
    const auto owner = readByte(in), lun = readByte(in, 3), number = readByte(in), raw = readByte(in),
               flag = readByte(in, 1);
    if (!owner || !lun || !number || !raw || !flag)
        return std::nullopt;
    ReadingLine line{.key = {*owner, *lun, *number}, .raw = *raw, .eventsEnabled = *flag != 0, .readable = {}};
    std::string word;
    if (in >> word && (word != "|" || !parseThresholdColumns(in, line)))
        return std::nullopt;
    if (in >> word)
        return std::nullopt;
    return line;
}

/// Raw 00h of a sensor whose events are off means that the capture got no reading.
void applyLine(Sensor& sensor, const ReadingLine& line)
{
    const bool unavailable = line.raw == 0 && !line.eventsEnabled;
    sensor.raw = RawSource::constant(line.raw);
    sensor.flags = static_cast<std::uint8_t>(kScanningEnabled | (line.eventsEnabled ? kEventsEnabled : 0) |
                                             (unavailable ? kReadingUnavailable : 0));
    if (!sensor.hasThresholds() || !line.readable)
        return;
    sensor.readableThresholds = *line.readable;
    sensor.settableThresholds = line.settable ? *line.readable : std::uint8_t{0};
    sensor.thresholds = line.thresholds;
}

void applyReadingsFile(Machine& machine, const std::string& path)
{
    const Bytes bytes = readFile(path);
    std::istringstream in(std::string(bytes.begin(), bytes.end()));
    std::string text;
    for (auto& [key, sensor] : machine.sensors) { // a sensor that has no line was not read
        if (sensor.hasThresholds())
            sensor.flags |= kReadingUnavailable;
    }
    for (std::size_t number = 1; std::getline(in, text); ++number) {
        if (text.empty() || text[0] == '#')
            continue;
        const auto line = parseLine(text);
        if (!line)
            throw BadFile(path + ": line " + std::to_string(number) +
                          " is not \"owner lun sensor raw flag | support mask UNR UC UNC LNR LC LNC\"");
        // A reading without a record (an event-only sensor's) has nothing to be the reading of.
        if (Sensor* sensor = machine.find(line->key))
            applyLine(*sensor, *line);
    }
}

void applySdr(Machine& machine, const std::string& path)
{
    machine.sdr = parseSdr(readFile(path), path);
    machine.sensors = sensorsOf(machine.sdr);
}

void applySel(Machine& machine, const std::string& path)
{
    const Bytes bytes = readFile(path);
    if (bytes.size() % kSelRecordSize != 0)
        throw BadFile(path + ": not a whole number of " + std::to_string(kSelRecordSize) + "-byte records");
    if (bytes.size() > kMostSelRecords * kSelRecordSize)
        throw BadFile(path + ": too many records");
    machine.sel.assign(bytes.size() / kSelRecordSize, {});
    for (std::size_t i = 0; i < machine.sel.size(); ++i)
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(i * kSelRecordSize), kSelRecordSize,
                    machine.sel[i].begin());
    machine.selCapacity = std::max(machine.selCapacity, machine.sel.size());
}

} // namespace

void applyRawFiles(Machine& machine, const RawFiles& files)
{
    Machine changed = machine;
    if (!files.sdr.empty())
        applySdr(changed, files.sdr);
    if (!files.readings.empty())
        applyReadingsFile(changed, files.readings);
    for (const auto& [device, path] : files.fru)
        changed.fru[device].image = readFile(path, kLargestFru);
    if (!files.sel.empty())
        applySel(changed, files.sel);
    machine = std::move(changed);
}

Machine machineFromRaw(const RawFiles& files)
{
    Machine machine;
    machine.name = "capture";
    machine.identity.supports = 0x8f; // chassis, FRU, SEL, SDR repository, sensors
    applyRawFiles(machine, files);
    return machine;
}

} // namespace Sim
