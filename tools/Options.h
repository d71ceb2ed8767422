// What the command line said.
#pragma once

#include <functional>
#include <string>

namespace Tool
{

struct Options {
    int node = 0;
    bool json = false;
    std::string machine;      ///< of --sim; empty without it
    std::function<int()> run; ///< the chosen verb; gives the exit status, throws Failure
};

} // namespace Tool
