// SPDX-License-Identifier: Apache-2.0
// The verbs: what the command line can say to each, and what each does.
#pragma once

#include "fru/FruSelection.h"
#include "sel/SelSelection.h"
#include "sel/SelView.h"
#include "sensors/SensorSelection.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Tool
{

/// What can be said to any verb.
struct Options {
    int node = 0;
    bool nodeGiven = false;
    bool json = false;
    std::string machine; ///< of --sim; empty without it
};

struct SensorsOptions {
    SensorSelection selection;
    std::optional<double> interval; ///< seconds between passes; nothing: look once
    std::optional<unsigned> count;
    bool verbose = false;
};

struct RawCommand {
    std::uint8_t netfn = 0;
    std::uint8_t cmd = 0;
    std::vector<std::uint8_t> data;
};

struct SelOptions {
    SelSelection selection;
    SelForm form;
    std::optional<std::string> save;
    bool follow = false;
    double interval = 2; ///< seconds between two looks that follow
    bool clear = false;
    bool yes = false;
    std::optional<std::uint16_t> erase; ///< the record with this id
};

struct SelDecodeOptions {
    std::string file;
    std::optional<std::string> repository; ///< a file too
    SelSelection selection;
    SelForm form;
};

struct FruOptions {
    FruSelection selection;
    std::optional<std::string> dump; ///< a file
};

struct MonitorOptions {
    double interval = 10; ///< seconds
    std::optional<std::string> nodes;
    bool utc = false;
};

/// Each gives the exit status and throws Failure.
int sensorsVerb(const Options& options, const SensorsOptions& request);
int entitiesVerb(const Options& options);
int infoVerb(const Options& options);
int lanVerb(const Options& options);
int rawVerb(const Options& options, const RawCommand& command);
int sdrDumpVerb(const Options& options, const std::string& path);
int sdrListVerb(const Options& options);
int selVerb(const Options& options, const SelOptions& request);
int selInfoVerb(const Options& options, bool utc);
int selDecodeVerb(const Options& options, const SelDecodeOptions& request);
int fruVerb(const Options& options, const FruOptions& request);
int fruDecodeVerb(const Options& options, const std::string& path);
int monitorVerb(const Options& options, const MonitorOptions& request);

/// NETFN CMD [DATA...] as given. Throws Failure.
RawCommand rawCommandFrom(const std::vector<std::string>& words);

} // namespace Tool
