// SPDX-License-Identifier: Apache-2.0
// Whole programs on one simulated BMC that takes 5 ms for each answer: the sample machine's sensors with thresholds,
// and a log of 500 records, as this project's tool, ipmitool and FreeIPMI list them. A program that is not installed is
// left out.
#include "Client.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>

namespace Bench
{

namespace
{

constexpr Client kSensorClients[] = {
    {"trx-ipmi", TRX_IPMI_PROGRAM " sensors"},
    {"ipmitool", "ipmitool -I open sensor list"},
    {.name = "ipmi-sensors", .command = "ipmi-sensors --output-sensor-thresholds", .isFreeIpmi = true},
};
constexpr Client kLogClients[] = {
    {"trx-ipmi", TRX_IPMI_PROGRAM " sel", 1},
    {"ipmitool", "ipmitool -I open sel list"},
    {.name = "ipmi-sel", .command = "ipmi-sel", .headings = 1, .isFreeIpmi = true},
};

/// Runs it on the sample machine. @return how many lines it has printed, -1 when it failed
int linesOf(const Client& client, const std::string& options)
{
    const std::string line = TRX_BMCSIM_PROGRAM " exec --machine sample --latency 5 " + options + " -- ";
    std::FILE* output = popen((line + client.line() + " 2>/dev/null").c_str(), "r");
    if (output == nullptr)
        return -1;
    int lines = 0;
    for (int c = std::getc(output); c != EOF; c = std::getc(output))
        lines += c == '\n' ? 1 : 0;
    return pclose(output) == 0 ? lines : -1;
}

void client(benchmark::State& state)
{
    const Client& client = kSensorClients[state.range(0)];
    state.SetLabel(client.name);
    if (!client.isInstalled())
        return state.SkipWithError("not installed");
    for (auto _ : state) {
        if (linesOf(client, "") < 0)
            state.SkipWithError("failed");
    }
}

/// A file with so many events, one a minute.
class LogFile
{
public:
    explicit LogFile(unsigned records)
    {
        if (const int fd = mkstemp(path_); fd >= 0)
            ::close(fd);
        std::ofstream file(path_, std::ios::binary);
        for (unsigned i = 0; i < records; ++i) {
            const unsigned time = 0x65000000 + 60 * i, id = i + 1;
            for (const unsigned byte :
                 {id, id >> 8, 2U, time, time >> 8, time >> 16, time >> 24, 0x20U, 0U, 4U, 1U, 0U, 1U, 0x57U, 90U, 85U})
                file.put(static_cast<char>(byte & 0xff));
        }
    }
    ~LogFile() { ::unlink(path_); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    const char* path() const { return path_; }

private:
    char path_[32] = "/tmp/trx-bench-XXXXXX";
};

void logClient(benchmark::State& state)
{
    constexpr int kRecords = 500;
    const Client& client = kLogClients[state.range(0)];
    state.SetLabel(client.name);
    if (!client.isInstalled())
        return state.SkipWithError("not installed");
    const LogFile log(kRecords);
    for (auto _ : state) {
        if (linesOf(client, std::string("--sel ") + log.path()) != client.headings + kRecords)
            state.SkipWithError("failed, or lists another number of records");
    }
}

BENCHMARK(client)->DenseRange(0, 2)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(logClient)->DenseRange(0, 2)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

} // namespace Bench
