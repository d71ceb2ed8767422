// SPDX-License-Identifier: Apache-2.0
// Tells a person that a slow BMC is still being read.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace Tool
{

/// While it lives, and after the first moment, shows what is done and for how many seconds on standard error. Does
/// nothing unless that is a terminal.
class Progress
{
public:
    explicit Progress(std::string what);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

private:
    void run();

    std::string what_;
    std::mutex lock_;
    std::condition_variable ended_;
    bool end_ = false;
    std::thread thread_;
};

} // namespace Tool
