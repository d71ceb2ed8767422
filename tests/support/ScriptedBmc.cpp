// SPDX-License-Identifier: Apache-2.0
// Comparing requests with the script.
#include "support/ScriptedBmc.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <sstream>

namespace Support
{

namespace
{

constexpr std::uint8_t kSystemInterface = 0x0f;

std::string text(const Sim::Request& request)
{
    std::ostringstream out;
    out << std::hex << std::setfill('0');
    out << "channel " << int{request.channel} << " address " << int{request.address} << " lun " << int{request.lun}
        << ": " << std::setw(2) << int{request.netfn} << '/' << std::setw(2) << int{request.cmd};
    for (const std::uint8_t byte : request.data)
        out << ' ' << std::setw(2) << int{byte};
    return out.str();
}

} // namespace

ScriptedBmc::Step& ScriptedBmc::expect(const Bytes& request, const Bytes& answer)
{
    const std::lock_guard lock(mutex_);
    Step& step = steps_.emplace_back();
    step.request.netfn = request.at(0);
    step.request.cmd = request.at(1);
    step.request.data.assign(request.begin() + 2, request.end());
    step.answer.bytes = answer;
    return step;
}

void ScriptedBmc::done()
{
    const std::lock_guard lock(mutex_);
    for (const Step& step : steps_)
        ADD_FAILURE() << "never asked: " << text(step.request) << " (" << step.count << " times)";
    steps_.clear();
}

int ScriptedBmc::handled() const
{
    const std::lock_guard lock(mutex_);
    return handled_;
}

Sim::Answer ScriptedBmc::handle(const Sim::Request& request)
{
    std::unique_lock lock(mutex_);
    ++handled_;
    const std::string asked = text(request), expected = steps_.empty() ? "nothing" : text(steps_.front().request);
    if (request.channel != kSystemInterface && asked == lastSilent_)
        return {.answered = false, .bytes = {}}; // the driver sends it again
    if (asked != expected) {
        ADD_FAILURE() << "asked " << asked << "\nexpected " << expected;
        return {.bytes = {0xc1}};
    }
    const Step step = steps_.front();
    if (--steps_.front().count <= 0)
        steps_.pop_front();
    lastSilent_ = step.answer.answered ? "" : asked;
    lock.unlock();
    if (step.action)
        step.action();
    return step.answer;
}

} // namespace Support
