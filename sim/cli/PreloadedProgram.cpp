// SPDX-License-Identifier: Apache-2.0
// Finding the shim's library, and running a program with it.
#include "sim/cli/PreloadedProgram.h"

#include "sim/cli/UserMistake.h"

#include <climits>
#include <csignal>
#include <cstring>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace Sim
{

namespace
{

constexpr const char* kShimName = "libtrx-bmcsim-shim.so";
constexpr std::string_view kPreload = "LD_PRELOAD=", kFolder = "TRX_BMCSIM_DIR=";

std::string ownFolder()
{
    char path[PATH_MAX];
    const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path);
    const std::string_view self(path, length > 0 ? static_cast<std::size_t>(length) : 0);
    return std::string(self.substr(0, self.rfind('/') == self.npos ? 0 : self.rfind('/')));
}

/// This process's environment with the shim appended to what is preloaded already.
std::vector<std::string> environmentWith(const std::string& folder)
{
    std::vector<std::string> all;
    std::string preload;
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view text(*entry);
        if (text.starts_with(kPreload))
            preload = text.substr(kPreload.size());
        else if (!text.starts_with(kFolder))
            all.emplace_back(text);
    }
    all.push_back(std::string(kPreload) + withShim(preload));
    all.push_back(std::string(kFolder) + folder);
    return all;
}

std::vector<char*> pointers(std::vector<std::string>& words)
{
    std::vector<char*> all;
    for (std::string& word : words)
        all.push_back(word.data());
    all.push_back(nullptr);
    return all;
}

} // namespace

std::string shimLibrary()
{
    const std::string own = ownFolder();
    for (const std::string& folder :
         {own + "/../lib", own + "/../" TRX_INSTALL_LIBDIR, std::string(TRX_INSTALL_FULL_LIBDIR)}) {
        const std::string path = folder + '/' + kShimName;
        if (::access(path.c_str(), R_OK) != 0)
            continue;
        if (path.find_first_of(" :") != path.npos)
            throw UserMistake(path + ": a library under a path with a space or a colon cannot be preloaded; move it");
        return path;
    }
    throw UserMistake(std::string(kShimName) + " is not in " + own +
                      "/../lib: build or install it beside this program");
}

std::string withShim(const std::string& already)
{
    const std::string shim = shimLibrary();
    if ((':' + already + ':').find(':' + shim + ':') != already.npos)
        return already;
    return already.empty() ? shim : already + ':' + shim;
}

PreloadedProgram::PreloadedProgram(const std::vector<std::string>& words, const std::string& folder)
    : signals_({SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGQUIT})
{
    std::vector<std::string> arguments = words;
    std::vector<std::string> environment = environmentWith(folder);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setsigmask(&attributes, &signals_.maskBefore());
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    const int error = ::posix_spawnp(&pid_, words.at(0).c_str(), nullptr, &attributes, pointers(arguments).data(),
                                     pointers(environment).data());
    ::posix_spawnattr_destroy(&attributes);
    if (error != 0)
        throw UserMistake("cannot run " + words[0] + ": " + std::strerror(error));
}

bool PreloadedProgram::serve()
{
    for (bool running = true; running;) {
        const auto signal = signals_.next();
        if (!signal)
            return true;
        // What the terminal sends reaches the program by itself.
        const bool fromTerminal = signal->ssi_code == SI_KERNEL;
        if (signal->ssi_signo == SIGCHLD)
            running = ::waitpid(pid_, &waitStatus_, WNOHANG) == 0;
        else if (!fromTerminal)
            ::kill(pid_, static_cast<int>(signal->ssi_signo));
    }
    return false;
}

int PreloadedProgram::status() const
{
    constexpr int kKilled = 128;
    return WIFSIGNALED(waitStatus_) ? kKilled + WTERMSIG(waitStatus_) : WEXITSTATUS(waitStatus_);
}

} // namespace Sim
