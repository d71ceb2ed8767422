// SPDX-License-Identifier: Apache-2.0
// One sensor: its record, its last reading, and what both mean.
#pragma once

#include "ipmi/Export.h"
#include "ipmi/IpmiEntity.h"
#include "ipmi/IpmiSdrRecord.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace Ipmi
{

struct SensorAccess;

/// A sensor of a node, made from its full, compact or event-only record. Held through TRX::Reference<IpmiSensor>; lives
/// as long as one handle does. Its record never changes; its reading, thresholds and hysteresis change with every
/// refresh, and each of them is replaced as a whole: no thread sees half of two answers. After a new read of the
/// repository a handle taken before stays valid but is no longer refreshed.
///
/// Unless a member says otherwise it may be called from any thread and sends nothing.
class TRX_IPMI_API IpmiSensor
{
public:
    virtual ~IpmiSensor();
    IpmiSensor(const IpmiSensor&) = delete;
    IpmiSensor& operator=(const IpmiSensor&) = delete;

    virtual bool isDiscrete() const = 0;

    /// The state as text. A threshold sensor: "ok", or the worst crossed threshold ("lower non-critical", "lower
    /// critical", "lower non-recoverable", "upper non-critical", "upper critical", "upper non-recoverable"). A discrete
    /// sensor: the asserted offsets as decimal numbers, comma-separated, or "none". Empty when there is no reading.
    /// @param refresh  reads the sensor first: sends one command and blocks until it is answered. The first evaluation
    ///                 of a full or compact sensor that was never read does so too.
    virtual std::string getState(bool refresh) = 0;
    /// Reads the sensor now and gives its state word: threshold comparison bits 5..0, or discrete state bits 14..0
    /// (IPMI 2.0, 35.14). Sends one command and blocks until it is answered; a sensor owned by system software is never
    /// asked.
    /// @return 0, the BMC's completion code, or -1 without an answer; `state` is 0 unless the result is 0 and the BMC
    ///         has a reading
    virtual int getSensorState(int& state) = 0;
    virtual std::uint16_t getAssertionEventMask() const = 0;
    virtual std::uint16_t getDeassertionEventMask() const = 0;
    /// Re-arm Sensor Events (IPMI 2.0, 35.12) for the events in the two masks; all events when both are 0. Sends one
    /// command and blocks until it is answered.
    /// @return 0, the BMC's completion code, or -1 without an answer
    virtual int rearmEvents(unsigned short assertions, unsigned short deassertions) const = 0;
    /// Get Sensor Event Enable (IPMI 2.0, 35.11): the flags byte (bit 7 all event messages, bit 6 scanning) and the
    /// enabled assertion and deassertion events. Sends one command and blocks; result as for rearmEvents, outputs 0
    /// unless it is 0.
    virtual int getEventEnable(unsigned char& flags, unsigned short& assertions,
                               unsigned short& deassertions) const = 0;
    /// Set Sensor Event Enable (IPMI 2.0, 35.10): `flags` bits 7..4 as in the command, and the event masks. Sends one
    /// command and blocks; result as for rearmEvents.
    virtual int setEventEnable(unsigned char flags, unsigned short assertions, unsigned short deassertions) const = 0;

    unsigned char getSensorNumber() const { return sensorNumber_; }
    unsigned short getSensorRecordNumber() const { return recordId_; }
    /// Slave address of the controller that owns the sensor; bit 0 set for system software.
    unsigned char getOwnerId() const;
    unsigned char getLun() const;
    unsigned char getChannel() const;
    unsigned char getSensorType() const;
    unsigned char getEventReadingType() const;
    unsigned char getRateUnit() const;
    unsigned char getModifierUnitUse() const;
    unsigned char getBaseUnit() const;
    unsigned char getModifierUnit() const;
    /// Direction code; 0 for full records even where their direction bits are set: this is meant.
    unsigned char getSensorDirection() const;
    unsigned char getHysteresisSupport() const;
    unsigned char getThresholdAccessSupport() const;
    /// Event message support code; FFh for event-only records.
    unsigned char getEventMessageSupport() const;
    /// Initialisation, capability and unit bits of the record, gathered in one word (kFlag...).
    unsigned short getFlags() const;
    static constexpr unsigned short kFlagInitScanning = 0x0001, kFlagInitEvents = 0x0002, kFlagInitHysteresis = 0x0008,
                                    kFlagInitType = 0x0010, kFlagScanningEnabled = 0x0020, kFlagEventsEnabled = 0x0040,
                                    kFlagIgnore = 0x0080, kFlagAutoRearm = 0x0100, kFlagPercentage = 0x1000;
    /// False for every full record, whatever its linearisation says: this is meant.
    bool isLinear() const;
    bool isAnalog() const;
    /// True when readings convert to units: a full record with an analog data format.
    bool isConvertible() const;
    IpmiEntity getEntity() const;
    int getNode() const { return node_; }
    /// Manufacturer id of the sensor's BMC, as IpmiIfc::getManufacturerId; may send a command.
    int getManufacturerId(unsigned char* id, unsigned char& length) const;
    /// First byte of the record; valid as long as the sensor.
    const unsigned char* getSdr() const { return record_.bytes; }
    /// First byte and number of bytes of the record; valid as long as the sensor.
    void RawRecord(const unsigned char*& bytes, int& length) const;

    /// The sensor's identifier from its record (IPMI 2.0, 43.15), the instance of a shared record appended. UTF-8
    /// without control characters or blanks at the end; empty when the record has none.
    std::string getSensorIdString() const;
    /// The identifier, made unique within the node where several sensors share it; "Sensor 0x12" where it is empty.
    /// Given when the node's sensors are built, the same for the same repository, and kept for the sensor's life.
    std::string getName() const;
    /// A key for the sensor that survives restarts and new reads of the repository: node, owner, channel, LUN, number
    /// and kind of record, as "node0-owner20-channel0-lun0-sensor01-full".
    std::string getDeviceId() const;
    /// What the sensor is, for people: "CPU Temp: Temperature of Processor 1 (node 0)"; "[Device]" stands for a full
    /// record's missing identifier. Texts of their own for OEM records and for records that say too little.
    std::string getDescription() const;
    /// Name of the event/reading type: "threshold", "sensor-discrete" ...; empty for other than sensor records.
    std::string getEventReadingTypeString() const;
    /// Name of the sensor type (DescFromType); empty for other than sensor records.
    std::string getSensorTypeString() const;
    /// Name of the sensor direction (DescFromDirection), for full records too; empty for other than sensor records.
    std::string getSensorDirectionString() const;
    /// Name of the base unit; empty for event-only records and unknown units. On a node opened for the command line
    /// (IpmiIfcInitForCLI), a compact sensor without modifier unit gives its event/reading type instead: this is meant.
    std::string getBaseUnitString() const;
    /// Name of the modifier unit; empty for event-only records and unknown units.
    std::string getModifierUnitString() const;
    /// Unit of converted readings, composed from percentage, base unit, modifier unit and rate (IPMI 2.0, 43.17):
    /// "degrees C", "percent", "Joules/second", "megabit per second" ... Empty for a sensor that is not convertible,
    /// and for an unknown base unit.
    std::string getUnitsString() const;

    /// Value of a raw reading or threshold in the sensor's units (IPMI 2.0, 36.3).
    /// @param raw  one byte as the BMC sends it, 0..255
    /// @return     the value; 0.0 when the record is not a full one or has no analog format (both logged at LOG_ERR);
    ///             not finite where the arithmetic of the record's factors is not
    double convertRawValue(unsigned int raw) const;
    /// The raw value for a value in the sensor's units; callers use its low byte. Not an exact inverse of
    /// convertRawValue: 0.0 is always raw 0, and 1/x and log2 sensors are not undone. What is no 32-bit number becomes
    /// the smallest one.
    int convertToRawValue(double value) const;
    /// As convertRawValue.
    double getReading(unsigned int raw) const { return convertRawValue(raw); }

    /// The last answer to Get Sensor Reading, taken as a whole.
    struct Reading {
        std::uint8_t cc = 0;     ///< completion code
        std::uint8_t raw = 0;    ///< raw reading
        std::uint8_t flags = 0;  ///< bit 6 scanning enabled, bit 5 reading/state unavailable
        std::uint8_t state1 = 0; ///< threshold comparison bits, or discrete states 7..0
        std::uint8_t state2 = 0; ///< discrete states 14..8
        bool valid = false;      ///< the last attempt succeeded
        bool present = false;    ///< the BMC did not say that the sensor is not present
        std::uint8_t length = 0; ///< bytes received, at most 5

        /// True when `raw` is a reading: the last attempt succeeded, scanning is on, and the BMC does not say that the
        /// reading is unavailable.
        bool available() const { return valid && length > 1 && !(flags & 0x20) && (flags & 0x40); }
    };
    Reading getLastReading() const;
    /// The last answer to Get Sensor Thresholds, taken as a whole; all zero before the first.
    struct Thresholds {
        std::uint8_t cc = 0;
        std::uint8_t readable = 0; ///< bit n: raw[n] can be read
        std::uint8_t raw[6] =
            {}; ///< lower non-critical, critical, non-recoverable, upper non-critical, critical, non-recoverable
    };
    Thresholds getLastThresholds() const;
    /// True if the last read attempt failed, or the BMC says that reading and state are unavailable.
    bool readingStateUnavailable() const;
    /// True if the last read attempt succeeded and scanning is disabled.
    bool scanningDisabled() const;
    bool hasReadingTime() const;
    /// Time of the last good reading, UTC, "2026-01-31T23:59:59Z".
    void getReadingTime(std::string& text) const;
    /// How long ago the last good reading was, in milliseconds, whatever happened to the system's time since; -1:
    /// never.
    std::int64_t getReadingAge() const;
    /// Result of the last fetch: 0, a completion code, or FFFFFFFFh without an answer.
    unsigned int getLastReadResult() const { return lastReadResult_; }
    /// How many times in a row that result has come back.
    unsigned int getReadResultRepeats() const { return readResultRepeats_; }

    /// Get Sensor Hysteresis (IPMI 2.0, 35.7), raw values.
    /// @param refresh  false: the cached values; true, or an empty cache: sends one command and blocks
    /// @return 0, the BMC's completion code, or -1 without an answer or for a sensor without readable hysteresis
    int getHysteresis(unsigned char& positive, unsigned char& negative, bool refresh);

    /// Stores a Get Sensor Reading answer, completion code first, as the last and valid reading, and stamps it with the
    /// current time. `answer` stays the caller's; null is ignored.
    /// @param length  bytes in `answer`; of more than 5 the first 5 count, of fewer the rest are 0
    void setReading(const unsigned char* answer, unsigned int length = 5);
    /// Stores a Get Sensor Thresholds answer: 8 bytes, completion code first; null is ignored.
    void setThresholdReading(const unsigned char* answer);

    /// Prints the record to standard output.
    void dump() const;

protected:
    IpmiSensor(int len, const unsigned char* sdr, int node);

    /// Get Sensor Reading, now, stored in this sensor. @return 0, a completion code or -1
    int readNow();
    /// Reads the sensor when `refresh` says so, or when this is the `first` evaluation and it was never read.
    void prepareState(bool refresh, std::atomic<bool>& first);
    bool isFullOrCompact() const;
    /// Two record bytes from `index`, LS byte first; 0 unless the record is a full or compact one.
    std::uint16_t mask(unsigned int index) const;

    IpmiSdrRecord record_;
    std::atomic<bool> firstDiscreteState_{true};
    std::atomic<bool> firstThresholdState_{true};

private:
    friend struct SensorAccess;

    std::atomic<std::uint64_t> reading_{0};
    std::atomic<std::uint64_t> thresholds_{0};
    std::atomic<std::uint64_t> readingTime_{0};
    std::atomic<std::int64_t> readAt_{0}; ///< the same, on the steady clock, in milliseconds
    std::atomic<std::uint32_t> hysteresis_{0};
    std::atomic<std::uint32_t> lastReadResult_{0};
    std::atomic<std::uint32_t> readResultRepeats_{0};
    int node_ = 0;
    unsigned char sensorNumber_ = 0;
    unsigned short recordId_ = 0;
    bool lastOfShare_ = false; ///< the last sensor of a shared record, whose share count 1 looks like an unshared one's
    std::string name_;
};

} // namespace Ipmi
