// SPDX-License-Identifier: Apache-2.0
// How a program is found and called.
#include "Client.h"

#include <cstdlib>

namespace Bench
{

bool Client::isInstalled() const
{
    const std::string whole = command;
    return std::system(("command -v " + whole.substr(0, whole.find(' ')) + " >/dev/null").c_str()) == 0;
}

std::string Client::line() const
{
    if (!isFreeIpmi)
        return command;
    return std::string("sh -c 'cache=$(mktemp -d) && ") + command +
           " --driver-type=openipmi --quiet-cache --sdr-cache-directory=$cache; status=$?; rm -r $cache; exit $status'";
}

} // namespace Bench
