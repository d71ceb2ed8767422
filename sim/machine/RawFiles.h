// SPDX-License-Identifier: Apache-2.0
// Machines and their parts from raw captures: SDR, readings, FRU images, event log.
#pragma once

#include "sim/machine/Machine.h"

#include <map>
#include <string>

namespace Sim
{

/// Paths of raw captures; empty ones are not there.
struct RawFiles {
    std::string sdr{};                   ///< whole records one after another
    std::string readings{};              ///< text: owner lun sensor raw flag | support mask UNR UC UNC LNR LC LNC
    std::map<FruKey, std::string> fru{}; ///< images
    std::string sel{};                   ///< 16-byte records

    bool empty() const { return sdr.empty() && readings.empty() && fru.empty() && sel.empty(); }
};

/// Replaces parts of a machine by captures: an SDR file replaces repository and sensors, the others their own part.
/// Throws BadFile; the machine is then unchanged.
void applyRawFiles(Machine& machine, const RawFiles& files);

/// A machine that is nothing but captures (identity: a generic BMC). Throws BadFile.
Machine machineFromRaw(const RawFiles& files);

} // namespace Sim
