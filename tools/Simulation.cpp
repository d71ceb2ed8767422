#include "Simulation.h"

#include "Failure.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace Tool
{

namespace
{

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

} // namespace

void runOnSimulator(const std::string& machine, int argc, char** argv)
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

} // namespace Tool
