// SPDX-License-Identifier: Apache-2.0
// Starting and ending the simulator, and asking it for its counters.
#include "ServedSimulator.h"

#include <csignal>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace Bench
{

namespace
{

constexpr const char* kFolderName = "TRX_BMCSIM_DIR";

/// All that a shell command writes.
std::string outputOf(const std::string& line)
{
    std::FILE* output = popen(line.c_str(), "r");
    std::string text;
    for (int c = output ? std::getc(output) : EOF; c != EOF; c = std::getc(output))
        text += static_cast<char>(c);
    if (output)
        pclose(output);
    return text;
}

} // namespace

ServedSimulator::ServedSimulator(const std::string& options)
{
    char ready[256];
    if (mkdtemp(folder_) != nullptr)
        output_ = popen(
            ("echo $$; exec " TRX_BMCSIM_PROGRAM " serve --socket " + std::string(folder_) + ' ' + options).c_str(),
            "r");
    if (!output_ || std::fscanf(output_, "%d ", &pid_) != 1 || !std::fgets(ready, sizeof ready, output_)) {
        std::fprintf(stderr, "trx-bench: the simulator does not serve\n");
        std::exit(1);
    }
    setenv(kFolderName, folder_, 1);
}

ServedSimulator::~ServedSimulator()
{
    unsetenv(kFolderName);
    ::kill(pid_, SIGTERM);
    pclose(output_);
}

bool ServedSimulator::run(const std::string& line, const std::string& wanted) const
{
    const std::string environment = std::string("eval \"$(" TRX_BMCSIM_PROGRAM " env --socket ") + folder_ + ")\"; ";
    return outputOf(environment + line + " 2>/dev/null").find(wanted) != std::string::npos;
}

ServedSimulator::Counts ServedSimulator::takeCounts() const
{
    Counts counts;
    const auto answer = nlohmann::json::parse(
        outputOf(std::string(TRX_BMCSIM_PROGRAM " ctl --socket ") + folder_ + " counters --clear --json"));
    for (const auto& command : answer.at("commands"))
        counts[{command.at("netfn"), command.at("cmd")}] = command.at("count");
    return counts;
}

} // namespace Bench
