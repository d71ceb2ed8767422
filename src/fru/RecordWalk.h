// SPDX-License-Identifier: Apache-2.0
// From one record of a multi-record area to the next.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace Ipmi
{

/// Whether these bytes, added to `sum`, give 0 modulo 256.
bool hasZeroSum(std::span<const std::uint8_t> bytes, std::uint8_t sum = 0);

/// Gives each record as it is found, damaged or not. Ends after the record with the end mark, after one whose length
/// is not to be trusted (a wrong checksum of the header, no data) or that is cut off, and at the end of the bytes.
class RecordWalk
{
public:
    struct Record {
        std::uint8_t type = 0;
        bool last = false;                  ///< it has the end mark
        bool headerOk = false;              ///< checksum of the header
        bool whole = false;                 ///< all of its data are there
        bool dataOk = false;                ///< they are, with the right checksum
        std::span<const std::uint8_t> data; ///< what is there of it
    };

    explicit RecordWalk(std::span<const std::uint8_t> area) : rest_(area), size_(area.size()) {}

    /// @return false at the end
    bool next();
    const Record& record() const { return record_; }
    /// Bytes of all records so far.
    std::size_t position() const { return size_ - rest_.size(); }

private:
    std::span<const std::uint8_t> rest_;
    std::size_t size_;
    Record record_;
    bool ended_ = false;
};

} // namespace Ipmi
