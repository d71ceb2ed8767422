// SPDX-License-Identifier: Apache-2.0
// A whole program that asks a BMC, this project's own or another one.
#pragma once

#include <string>

namespace Bench
{

struct Client {
    const char* name;
    const char* command;
    int headings = 0; ///< lines before the first record
    bool isFreeIpmi = false;

    bool isInstalled() const;
    /// For a shell. FreeIPMI keeps the repository in a file: one that is not there yet, so that it is read here too.
    std::string line() const;
};

} // namespace Bench
