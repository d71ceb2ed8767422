#include "Summary.h"

#include <cmath>
#include <cstdio>
#include <limits>
#include <unistd.h>

namespace Bench
{

Summary::Summary() : ConsoleReporter(isatty(STDOUT_FILENO) == 1 ? OO_ColorTabular : OO_Tabular) {}

void Summary::ReportRuns(const std::vector<Run>& runs)
{
    for (const Run& run : runs) {
        Counters& counters =
            runs_[run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args)];
        for (const auto& [name, counter] : run.counters)
            counters[name] = counter.value;
        if (!run.error_occurred)
            counters["ms"] = run.GetAdjustedRealTime();
    }
    ConsoleReporter::ReportRuns(runs);
}

double Summary::value(const std::string& run, const std::string& counter) const
{
    const auto found = runs_.find(run);
    if (found == runs_.end() || !found->second.contains(counter))
        return std::numeric_limits<double>::quiet_NaN();
    return found->second.at(counter);
}

void Summary::printLine(const std::string& what, double number, const char* unit, const char* remark) const
{
    if (std::isfinite(number))
        std::printf("%-58s %10.2f %-12s %s\n", what.c_str(), number, unit, remark);
}

void Summary::printScaling(const char* verb) const
{
    const std::string name = verb;
    const double first = value(name + "/50", "cpu_us_per_record");
    for (const char* records : {"50", "500", "5000"}) {
        const std::string run = name + "/" + records, what = name + ", " + records + " records: ";
        const double processor = value(run, "cpu_us_per_record");
        printLine(what + "per record", value(run, "us_per_record"), "us");
        printLine(what + "processor time per record", processor, "us");
        printLine(what + "processor time against 50 records", processor / first, "x", "(1 is linear)");
    }
}

void Summary::printAbsent(const std::string& what, const std::string& run) const
{
    printLine(what + "commands", value(run, "commands"), "");
    printLine(what + "waits", value(run, "timeouts"), "time-outs");
}

void Summary::print() const
{
    std::printf("\n%-58s %10s\n", "Summary", "figure");
    printLine("one exchange, bare send/poll/receive", value("exchange", "bare_us"), "us");
    printLine("one exchange through the library", value("exchange", "library_us"), "us");
    printLine("one exchange, library against bare", value("exchange", "ratio"), "x", "(aim: at most 1.10)");
    printScaling("read");
    printScaling("refresh");
    for (const char* records : {"50", "500", "5000"})
        printLine(std::string("heap, ") + records + " sensors: per sensor",
                  value(std::string("read/") + records, "heap_per_sensor"), "bytes");
    const double calm = value("getSensors/0", "mean_us"), busy = value("getSensors/1", "mean_us");
    printLine("getSensors of 500 from 8 threads, nothing else: mean", calm, "us");
    printLine("getSensors of 500 from 8 threads, during refresh: mean", busy, "us");
    printLine("getSensors, during refresh against nothing else", busy / calm, "x");
    printLine("getSensors of 500 from 8 threads, during refresh: longest", value("getSensors/1", "longest_us"), "us");
    printAbsent("designed refresh, 20 cycles, absent satellite: ", "absentSatellite/0");
    printAbsent("refresh of all, 20 cycles, absent satellite: ", "absentSatellite/1");
    const double own = value("client/0", "ms");
    printLine("trx-ipmi sensors, 5 ms a command", own, "ms");
    printLine("ipmitool sensor list against it", value("client/1", "ms") / own, "x");
    printLine("ipmi-sensors against it", value("client/2", "ms") / own, "x");
}

} // namespace Bench
