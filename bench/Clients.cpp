// Whole programs on one simulated BMC that takes 5 ms for each answer: the sample machine's sensors with thresholds, as
// this project's tool, ipmitool and FreeIPMI list them. A program that is not installed is left out.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>

namespace Bench
{

namespace
{

struct Client {
    const char* name;
    const char* command;
};
// FreeIPMI keeps the repository in a file: one that is not there yet, so that it is read here too.
constexpr Client kClients[] = {
    {"trx-ipmi", TRX_IPMI_PROGRAM " sensors"},
    {"ipmitool", "ipmitool -I open sensor list"},
    {"ipmi-sensors", "sh -c 'cache=$(mktemp -d) && ipmi-sensors --driver-type=openipmi --output-sensor-thresholds "
                     "--quiet-cache --sdr-cache-directory=$cache; status=$?; rm -r $cache; exit $status'"},
};

void client(benchmark::State& state)
{
    const Client& client = kClients[state.range(0)];
    state.SetLabel(client.name);
    const std::string program = std::string(client.command).substr(0, std::string(client.command).find(' '));
    const bool shell = program == "sh";
    if (std::system(("command -v " + (shell ? client.name : program) + " >/dev/null").c_str()) != 0) {
        state.SkipWithError("not installed");
        return;
    }
    const std::string line = std::string(TRX_BMCSIM_PROGRAM " exec --machine sample --latency 5 -- ") + client.command;
    for (auto _ : state) {
        if (std::system((line + " >/dev/null 2>&1").c_str()) != 0)
            state.SkipWithError("failed");
    }
}

BENCHMARK(client)->DenseRange(0, 2)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

} // namespace Bench
