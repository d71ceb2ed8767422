// SPDX-License-Identifier: Apache-2.0
// What the monitor writes: a line for each thing that happens, for people or as JSON.
#pragma once

#include "monitor/Ending.h"
#include "monitor/SensorStates.h"
#include "sel/SelView.h"

#include <mutex>
#include <string>

namespace Tool
{

/// Any thread. A line is written whole and at once; when it cannot be, the end begins.
class MonitorLines
{
public:
    struct Form {
        SelForm sel;
        bool json = false;
        bool manyNodes = false; ///< name the node in lines for people
    };

    MonitorLines(const Form& form, Ending& ending) : form_(form), ending_(ending) {}

    void start(int node, double interval, std::size_t sensors, unsigned int records);
    void event(int node, const Ipmi::IpmiSelData& record, const SelSensorNames& names);
    void sensor(int node, const SensorChange& change);
    void lost(int node, const std::string& why);
    void regained(int node);
    void end(int node, const std::string& reason);

private:
    using Cells = std::vector<Table::Cell>;

    void tell(const char* kind, int node, Json facts, Cells cells);
    void tell(const char* kind, int node, Json facts, Cells cells, const std::string& time);
    std::string now() const;
    void write(const std::string& line);

    const Form form_;
    Ending& ending_;
    std::mutex lock_;
};

} // namespace Tool
