// SPDX-License-Identifier: Apache-2.0
// What is kept of a node's SDR repository: its info, its headers, and every record in one list per kind.
#pragma once

#include "ipmi/IpmiRecords.h"
#include "wire/SdrLayout.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Ipmi
{

struct ipmiifc_sensor_reading_list;

/// One record of the repository. Owned, with its data, by the list it is in.
struct ipmiifc_sdr_list {
    ipmiifc_sdr_list* next = nullptr;
    ipmiifc_sensor_reading_list* sreading = nullptr;
    std::uint16_t record_id = 0;
    std::uint8_t record_type = 0;
    std::uint8_t length = 0;      ///< bytes in `data`, header included
    std::uint8_t* data = nullptr; ///< new[]

    /// Byte `index` of the record, or 0 beyond it.
    std::uint8_t at(std::size_t index) const { return index < length ? data[index] : std::uint8_t{0}; }
    /// Two bytes from `index`, LS byte first; bytes beyond the record are 0.
    std::uint16_t le16(std::size_t index) const { return Ipmi::le16(at(index), at(index + 1)); }
};

/// A reading being fetched for a record.
struct ipmiifc_sensor_reading_list {
    ipmiifc_sensor_reading_list* next = nullptr;
    ipmiifc_sdr_list* sdr = nullptr;
    std::uint8_t answer[5] = {}; ///< completion code, reading, flags, state bytes; what was not sent is 0
    std::uint8_t length = 0;     ///< bytes received, at most 5
};

/// The first five bytes of a record, under the id that was requested.
struct ipmiifc_sdr_header {
    std::uint8_t bytes[5] = {};

    std::uint16_t recordId() const { return le16(bytes); }
    std::uint8_t type() const { return bytes[wire::sdr::kType]; }
    std::uint8_t length() const { return bytes[wire::sdr::kLength]; }
};
static_assert(sizeof(ipmiifc_sdr_header) == wire::sdr::kHeaderSize);

/// Guarded as a whole by the node's sdrLock. Lists are newest first: an entry is added at the head. The header array
/// and the lists are replaced by the holder of the node's loadLock only, so a load may let go of sdrLock in between.
struct SdrRepository {
    SdrRepository() = default;
    ~SdrRepository();
    SdrRepository(const SdrRepository&) = delete;
    SdrRepository& operator=(const SdrRepository&) = delete;

    ipmiifc_sdr_info sdr_info;
    std::array<std::uint8_t, 3> sdr_reservation{}; ///< completion code, id LS byte first; id 0: none taken yet
    std::uint32_t header_cnt = 0;                  ///< headers in the array; also its capacity when it is reused
    ipmiifc_sdr_header* sdr_headers = nullptr;     ///< new[]
    std::uint8_t sdr_headers_valid = 0;            ///< set by the first complete walk, never reset

    ipmiifc_sdr_list* sdr_full = nullptr;            ///< 01h
    ipmiifc_sdr_list* sdr_compact = nullptr;         ///< 02h
    ipmiifc_sdr_list* sdr_eventonly = nullptr;       ///< 03h
    ipmiifc_sdr_list* sdr_entity_assoc = nullptr;    ///< 08h, 09h
    ipmiifc_sdr_list* sdr_generic_locator = nullptr; ///< 10h
    ipmiifc_sdr_list* sdr_fru_locator = nullptr;     ///< 11h
    ipmiifc_sdr_list* sdr_mc_locator = nullptr;      ///< 12h
    ipmiifc_sdr_list* sdr_oem = nullptr;             ///< C0h
    ipmiifc_sdr_list* sdr_other = nullptr;           ///< every other type
    std::uint32_t entries = 0;                       ///< entries in all nine lists

    static constexpr std::uint32_t kMostEntries = 16384;

    std::uint16_t reservation() const { return le16(sdr_reservation[1], sdr_reservation[2]); }
    bool full() const { return entries >= kMostEntries; }
    /// Puts `entry`, which the list then owns, at the head of its kind's list.
    void push(ipmiifc_sdr_list* entry);
    /// The records as they were read, in the order of the headers.
    std::vector<std::vector<unsigned char>> rawRecords() const;
    /// Makes room for `count` headers: the array there is, or a new one when there is none or it may be too small.
    /// @return false when memory ran out
    bool makeHeaders(std::uint32_t count);
    /// Drops all records and headers and zeroes everything.
    void reset();
    void dropRecords();
    /// Frees the array and leaves `header_cnt` alone.
    void dropHeaders();
};

/// The entry for the next sensor of a shared record: one number on, one share less. Owned by the caller; null when
/// memory ran out.
ipmiifc_sdr_list* nextShared(const ipmiifc_sdr_list& entry);
/// How many sensors the entry still stands for: the share count of a compact or event-only record, else 0.
unsigned shareCount(const ipmiifc_sdr_list& entry);
void freeEntry(ipmiifc_sdr_list* entry);

} // namespace Ipmi
