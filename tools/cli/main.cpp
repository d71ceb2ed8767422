// SPDX-License-Identifier: Apache-2.0
// trx-ipmi: looks at a server's BMC from the command line.
#include "base/Failure.h"
#include "cli/CommandLine.h"
#include "ipmi/CmpiStatus.h"
#include "terminal/Terminal.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <fmt/format.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace Tool
{

namespace
{

int give(const std::string& line, int exitStatus)
{
    complain(line);
    return exitStatus;
}

std::string ownPath()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    if (length <= 0 || length == static_cast<ssize_t>(sizeof path))
        throw Failure("cannot find this program's own file: is /proc mounted?");
    return {path, static_cast<std::size_t>(length)};
}

/// The simulator beside this program, or its bare name, to be found on PATH.
std::string simulator(const std::string& self)
{
    const std::string beside = self.substr(0, self.rfind('/') + 1) + "trx-bmcsim";
    return ::access(beside.c_str(), X_OK) == 0 ? beside : "trx-bmcsim";
}

bool isSimOption(std::string_view word)
{
    return word == "--sim" || word.starts_with("--sim=");
}

/// --sim: replaces this process by trx-bmcsim, which runs the same command line without --sim on a simulated BMC.
/// @param machine  its name or file
[[noreturn]] void runOnSimulator(const std::string& machine, int argc, char** argv)
{
    const std::string self = ownPath();
    std::vector<std::string> words{simulator(self), "exec", "--machine", machine};
    words.insert(words.end(), {"--", self});
    bool onlyOperands = false;
    for (int i = 1; i < argc; ++i) {
        onlyOperands = onlyOperands || std::string_view(argv[i]) == "--";
        if (onlyOperands || !isSimOption(argv[i]))
            words.emplace_back(argv[i]);
    }
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    ::execvp(pointers[0], pointers.data());
    if (errno == ENOENT)
        throw Failure("--sim needs trx-bmcsim beside trx-ipmi or on PATH: install it");
    throw Failure("cannot run " + words[0] + ": " + std::strerror(errno));
}

int run(int argc, char** argv)
{
    const auto line = commandLineFrom(argc, argv);
    if (!line)
        return kExitFine;
    const Options& options = line->options;
    if (!line->run)
        throw Failure(
            "no verb: give sensors, entities, info, lan, raw, sdr list, sdr dump, sel, fru or monitor (trx-ipmi --help "
            "shows how)");
    if (!options.machine.empty() && options.node != 0)
        throw Failure("--sim simulates node 0 only: leave --node out");
    if (!options.machine.empty())
        runOnSimulator(options.machine, argc, argv);
    return line->run(options);
}

} // namespace

} // namespace Tool

int main(int argc, char** argv)
{
    try {
        return Tool::run(argc, argv);
    } catch (const Tool::Failure& failure) {
        return Tool::give(failure.what(), failure.exitStatus());
    } catch (const Ipmi::CmpiStatus& status) {
        return Tool::give(
            fmt::format("the library gave up with code {}; the system log says why", static_cast<int>(status.rc())),
            Tool::kExitMistake);
    } catch (const std::exception& error) {
        return Tool::give(error.what(), Tool::kExitMistake);
    }
}
