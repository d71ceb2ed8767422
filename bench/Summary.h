// SPDX-License-Identifier: Apache-2.0
// What the measurements say together: a table with ratios after the runs.
#pragma once

#include <benchmark/benchmark.h>
#include <map>
#include <string>
#include <vector>

namespace Bench
{

/// Prints the runs as they come and keeps their counters.
class Summary final : public benchmark::ConsoleReporter
{
public:
    Summary();
    void ReportRuns(const std::vector<Run>& runs) override;
    /// The table of what was run.
    void print() const;

private:
    using Counters = std::map<std::string, double>;

    /// A counter, or no number where that was not run.
    double value(const std::string& run, const std::string& counter) const;
    void printLine(const std::string& what, double value, const char* unit, const char* remark = "") const;
    void printAbsent(const std::string& what, const std::string& run) const;
    void printScaling(const char* verb) const;
    void printAdditions(const std::string& added, const char* aim) const;
    void printLog() const;
    void printEvents(const std::string& records) const;
    void printIdle(const std::string& kind) const;
    void printInventory() const;
    void printFruClient(const std::string& name) const;
    void printClients(const std::string& run, const char* own, const char* first, const char* second) const;

    std::map<std::string, Counters> runs_;
};

} // namespace Bench
