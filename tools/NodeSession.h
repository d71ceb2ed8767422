// A node in use: opened, prepared, and closed again.
#pragma once

#include "ipmi/IpmiSensor.h"
#include "ipmi/Reference.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Tool
{

/// The BMC's answer to one command.
struct Reply {
    std::uint8_t completionCode = 0;
    std::vector<std::uint8_t> data; ///< without the completion code; empty unless that is 0
    bool maybeCut = false;          ///< as long as the library keeps at most: there may have been more
};

class NodeSession
{
public:
    /// Opens /dev/ipmi<node>. Throws Failure.
    explicit NodeSession(int node);
    ~NodeSession();
    NodeSession(const NodeSession&) = delete;
    NodeSession& operator=(const NodeSession&) = delete;

    int node() const { return node_; }
    /// Throws Failure when the BMC does not say who it is.
    void requireBmc() const;
    /// Reads the repository; all sensors, by owner, LUN and number. Throws Failure.
    std::vector<TRX::Reference<Ipmi::IpmiSensor>> readSensors() const;
    /// One command; nothing without an answer. (The library tells completion code FFh as no answer.)
    std::optional<Reply> send(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data = {}) const;

private:
    int node_;
};

} // namespace Tool
