// The whole SDR repository as raw records (IPMI 2.0, section 33).
#pragma once

#include "node/NodeSession.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <span>
#include <vector>

namespace Tool
{

class SdrReader
{
public:
    explicit SdrReader(const NodeSession& session) : session_(session) {}

    /// All records as stored, one after another, in the repository's order. Throws Failure: never half a repository.
    std::vector<std::uint8_t> read();

private:
    using Bytes = std::vector<std::uint8_t>;

    /// Change stamps of the repository, and whether it has records.
    struct Stamp {
        Bytes times;
        bool empty = true;
        bool operator==(const Stamp&) const = default;
    };

    Stamp stamp();
    Bytes walk();
    Bytes record(std::uint16_t id, std::uint16_t& next);
    bool appendPiece(Bytes& record, std::uint16_t id, std::size_t size, std::uint16_t& next);
    void reserve();
    void lostReservation();

    const NodeSession& session_;
    std::uint16_t reservation_ = 0;
    std::size_t piece_ = 16;
    int lost_ = 0;
};

} // namespace Tool
