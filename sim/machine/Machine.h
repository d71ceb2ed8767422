// SPDX-License-Identifier: Apache-2.0
// The simulated server as data: what it is, its repository, its sensors, its FRU images and its event log.
#pragma once

#include "sim/bus/Message.h"
#include "sim/machine/FruDevice.h"

#include <array>
#include <chrono>
#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sim
{

/// What one controller answers about itself.
struct Identity {
    std::uint8_t deviceId = 0x20;
    std::uint8_t deviceRevision = 1;
    bool providesSdrs = false;       ///< device SDRs, not the repository
    std::uint8_t firmwareMajor = 1;  ///< 0..127
    std::uint8_t firmwareMinor = 0;  ///< 0..99, sent as BCD
    std::uint8_t ipmiVersion = 0x02; ///< as sent: low digit is the major version, 02h is 2.0 and 51h is 1.5
    std::uint8_t supports = 0xbf;    ///< Get Device ID, additional device support
    std::uint32_t manufacturer = 0;  ///< IANA enterprise number, 20 bits
    std::uint16_t product = 0;
    std::optional<std::array<std::uint8_t, 4>> auxiliaryFirmware{}; ///< absent: the answer ends before it
    std::array<std::uint8_t, 2> selfTest{0x55, 0x00};
    std::array<std::uint8_t, 16> guid{};

    /// The answer to Get Device ID, without its completion code.
    Bytes deviceIdAnswer() const;
};

/// Whether and how an address on an IPMB answers.
enum class Presence : std::uint8_t {
    answers,
    silent, ///< what is sent to it is lost
    nak,    ///< nobody takes what is sent to it, and the BMC says so
};

/// A satellite: a controller behind the BMC.
struct Controller {
    Identity identity;
    std::uint8_t channel = 0;
    Presence presence = Presence::answers;
    std::chrono::milliseconds latency{0};
    std::uint64_t busy = 0; ///< of each busy + 1 requests, all but the last are answered "node busy"
};

/// Where a sensor's raw readings come from: a function of how often it was read before, so that every run is the same.
struct RawSource {
    enum class Kind { constant, ramp, sine, noise };
    Kind kind = Kind::constant;
    int low = 0;               ///< raw -128..255, kept in a byte; the only value of a constant
    int high = 0;              ///< raw -128..255, not below low
    std::uint32_t period = 16; ///< readings per ramp or sine wave
    std::uint32_t seed = 1;    ///< of noise

    static RawSource constant(std::uint8_t raw) { return {.low = raw, .high = raw}; }
    /// The raw byte of the n-th reading, counted from 0.
    std::uint8_t at(std::uint64_t reading) const;
};

/// A sensor's address: its owner as the record states it, the owner's LUN, and the number.
struct SensorKey {
    std::uint8_t owner = kBmcAddress;
    std::uint8_t lun = 0;
    std::uint8_t number = 0;
    auto operator<=>(const SensorKey&) const = default;
};

/// Which raw readings are higher: taken from the sensor's full record.
enum class RawFormat : std::uint8_t { isUnsigned = 0, onesComplement = 1, twosComplement = 2, none = 3 };

/// Reading flags, IPMI 2.0, Get Sensor Reading.
inline constexpr std::uint8_t kEventsEnabled = 0x80, kScanningEnabled = 0x40, kReadingUnavailable = 0x20;

/// One sensor as its owner answers for it.
struct Sensor {
    SensorKey key;
    std::uint8_t type = 0;      ///< sensor type code
    std::uint8_t eventType = 0; ///< event/reading type code; 01h compares with thresholds
    RawFormat format = RawFormat::none;
    bool descending = false; ///< the value falls while the raw reading rises (negative M, 1/x)
    RawSource raw;
    std::uint8_t flags = kEventsEnabled | kScanningEnabled;
    std::optional<std::uint16_t> states{}; ///< low 15 bits; absent on threshold sensors: compared with the thresholds
    std::uint8_t readableThresholds = 0;   ///< bits 0..5: LNC LC LNR UNC UC UNR
    std::uint8_t settableThresholds = 0;
    std::array<std::uint8_t, 6> thresholds{}; ///< raw, LNC LC LNR UNC UC UNR
    bool hysteresisReadable = false;
    bool hysteresisSettable = false;
    std::uint8_t positiveHysteresis = 0;
    std::uint8_t negativeHysteresis = 0;
    std::uint16_t assertionEvents = 0;
    std::uint16_t deassertionEvents = 0;
    Bytes factors; ///< M, B, accuracy and exponents: 6 bytes of a full record, for Get Sensor Reading Factors
    std::uint64_t readings = 0;
    bool autoRearm = true;                      ///< false: an event happens once until it is armed again
    std::optional<std::uint16_t> eventStates{}; ///< event offsets that are asserted; absent: not looked at yet
    std::uint16_t assertedEvents = 0;           ///< event status: what was asserted and not armed again
    std::uint16_t deassertedEvents = 0;

    bool hasThresholds() const { return eventType == 0x01; }
    /// Raw reading as a number that can be compared, by format.
    int ordered(std::uint8_t rawReading) const;
    /// The raw byte that was read last, or the one that will be read first.
    std::uint8_t lastRaw() const { return raw.at(readings == 0 ? 0 : readings - 1); }
    /// Threshold comparison bits for a raw reading, readable thresholds only.
    std::uint8_t crossedThresholds(std::uint8_t rawReading) const;
};

inline constexpr std::size_t kSelRecordSize = 16, kMostSelRecords = 0xfffe;
using SelRecord = std::array<std::uint8_t, kSelRecordSize>;

/// Record ids that ask for the first and the last one, of repository and event log.
inline constexpr std::uint16_t kFirstRecord = 0x0000, kLastRecord = 0xffff;

/// A LAN channel: what Get Channel Info and Get Channel Access tell of it, and its configuration parameters.
struct LanChannel {
    std::uint8_t channel = 1;
    std::uint8_t medium = 0x04;                   ///< 04h: 802.3; 06h: another LAN
    std::array<std::uint8_t, 2> access{0x22, 04}; ///< access mode and flags, privilege level limit
    /// By number, the data of each set without its selectors. What is not here is not supported.
    std::map<std::uint8_t, std::vector<Bytes>> parameters{};
};

/// The simulated server. Plain data: a copy is another server.
struct Machine {
    std::string name = "empty";
    Identity identity;
    std::string systemFirmware; ///< Get System Info Parameters 1..5; empty ones are not supported
    std::string systemName;
    std::string primaryOsName;
    std::string osName;
    std::string osVersion;

    std::vector<Bytes> sdr;         ///< whole records as stored, with their own record ids
    std::uint8_t sdrVersion = 0x51; ///< 51h: IPMI 1.5 and 2.0
    std::uint32_t sdrAddTime = 0x60000000;
    std::uint32_t sdrEraseTime = 0x60000000;

    std::map<SensorKey, Sensor> sensors;
    std::map<std::uint8_t, Controller> controllers; ///< satellites by slave address
    std::map<FruKey, FruDevice> fru;                ///< of the BMC and of satellites

    std::vector<SelRecord> sel;     ///< in the order of their addition, with their own record ids
    std::size_t selCapacity = 3639; ///< records that the log has room for, up to kMostSelRecords
    std::uint32_t selAddTime = 0;
    std::uint32_t selEraseTime = 0xffffffff; ///< unspecified
    bool selOverflow = false;
    std::uint64_t selClearAsks = 0;            ///< so many answers say that a clear goes on
    std::chrono::milliseconds selClearTime{0}; ///< for so long it goes on

    std::optional<LanChannel> lan{};

    Sensor* find(const SensorKey& key);
    const Sensor* find(const SensorKey& key) const;
    /// True when a controller has a FRU device.
    bool hasFru(std::uint8_t address) const;
    /// How an address answers: the BMC, even sensor owners and those with FRU devices do on any channel, satellites on
    /// theirs, others never.
    Presence presenceOf(std::uint8_t channel, std::uint8_t address) const;
    /// Where an address is: 0 but for satellites on other channels.
    std::uint8_t channelOf(std::uint8_t address) const;
    /// True when this channel is an IPMB: channel 0, and those where satellites and other sensor owners are.
    bool isIpmb(std::uint8_t channel) const;
    bool isLan(std::uint8_t channel) const { return lan && lan->channel == channel; }
};

/// The repository as one file: whole records one after another.
/// @param bmcOnly  without the sensors of other owners, for a BMC that has no other controllers
Bytes sdrBytes(const Machine& machine, bool bmcOnly = false);

} // namespace Sim
