// SPDX-License-Identifier: Apache-2.0
// The ratios after the runs.
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

void Summary::printAdditions(const std::string& added, const char* aim) const
{
    const auto run = [&added](const char* records) { return std::string("logAdditions/") + records + '/' + added; };
    for (const char* records : {"1000", "10000"}) {
        const std::string what = added + " new in a log of " + records + ": ";
        printLine(what + "commands", value(run(records), "commands"), "", aim);
        printLine(what + "processor time", value(run(records), "cpu_us"), "us");
    }
    printLine(added + " new, 10000 against 1000, processor time",
              value(run("10000"), "cpu_us") / value(run("1000"), "cpu_us"), "x");
}

void Summary::printLog() const
{
    printLine("load of a log of 10000: commands", value("logLoad/10000", "commands"), "");
    printLine("load of a log of 10000", value("logLoad/10000", "ms"), "ms");
    printLine("load of a log, processor time per record", value("logLoad/10000", "cpu_us_per_record"), "us");
    printLine("load of a log, a record against one bare exchange", value("logLoad/10000", "ratio"), "x");
    printAdditions("1", "(aim: at most 6)");
    printAdditions("100", "");
    printLine("heap, log of 10000: per record", value("logHeap/10000", "heap_per_record"), "bytes",
              "(aim: at most 80)");
    printLine("heap, the log 1000 additions later: per record", value("logHeap/10000", "heap_per_record_grown"),
              "bytes", "(aim: at most 80)");
}

void Summary::printEvents(const std::string& records) const
{
    const std::string run = "eventToHandler/" + records, what = "event to handler, log of " + records + ": ";
    printLine(what + "commands", value(run, "commands"), "");
    printLine(what + "whole, median", value(run, "whole_us"), "us");
    printLine(what + "beyond them, median", value(run, "us"), "us", "(aim: below 1000)");
    printLine(what + "beyond them, 99 %", value(run, "us_99"), "us");
}

void Summary::printIdle(const std::string& kind) const
{
    for (const std::string part : {"", "mean_"}) {
        const std::string what = "idle cycle, " + kind + (part.empty() ? ", ordinary: " : ", mean: ");
        const std::string counter = kind + '_' + part;
        printLine(what + "commands", value("idleCycle", counter + "commands"), "");
        printLine(what + "processor time", value("idleCycle", counter + "us"), "us");
        printLine(what + "against bare exchanges", value("idleCycle", counter + "ratio"), "x");
    }
}

void Summary::printFruClient(const std::string& name) const
{
    const auto figure = [&](const char* what) { return value("fruClient", name + '_' + what); };
    const std::string what = "inventory, 5 ms a command, " + name + ": ";
    const double bytes = value("fruClient", "bytes");
    printLine(what + "time by byte", figure("ms") * 1000 / bytes, "us");
    printLine(what + "time against trx-ipmi", figure("ratio"), "x");
    printLine(what + "Get FRU Info", figure("info"), "");
    printLine(what + "Read FRU Data", figure("read"), "");
    printLine(what + "both by byte", (figure("info") + figure("read")) / bytes, "");
    printLine(what + "all commands", figure("commands"), "");
}

void Summary::printInventory() const
{
    printLine("inventory: bytes of headers and areas", value("fruInventory/0", "bytes"), "");
    printLine("inventory: commands", value("fruInventory/0", "commands"), "");
    for (const std::string run : {"fruInventory/0", "fruInventory/1"}) {
        const std::string what = run.back() == '0' ? "inventory: " : "inventory, log lines dropped: ";
        printLine(what + "processor time by byte", value(run, "cpu_us_per_byte"), "us");
        printLine(what + "against as many bare exchanges", value(run, "ratio"), "x");
    }
    printLine("heap, getFrus: per FRU, without its areas", value("fruHeap", "bytes_per_fru"), "bytes");
    printLine("heap, getFruDevices: per device, with its areas", value("fruHeap", "bytes_per_device"), "bytes");
    for (const char* name : {"library", "trx-ipmi", "ipmitool", "ipmi-fru"})
        printFruClient(name);
}

void Summary::printClients(const std::string& run, const char* own, const char* first, const char* second) const
{
    const double time = value(run + "/0", "ms");
    printLine(std::string(own) + ", 5 ms a command", time, "ms");
    printLine(std::string(first) + " against it", value(run + "/1", "ms") / time, "x");
    printLine(std::string(second) + " against it", value(run + "/2", "ms") / time, "x");
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
    printLog();
    for (const char* records : {"1000", "10000"})
        printEvents(records);
    for (const char* kind : {"log", "sensors", "normal"})
        printIdle(kind);
    printInventory();
    printClients("client", "trx-ipmi sensors", "ipmitool sensor list", "ipmi-sensors");
    printClients("logClient", "trx-ipmi sel, 500 records", "ipmitool sel list", "ipmi-sel");
}

} // namespace Bench
