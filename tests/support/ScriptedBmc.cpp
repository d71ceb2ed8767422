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

bool same(const Sim::Request& a, const Sim::Request& b)
{
    return a.channel == b.channel && a.address == b.address && a.lun == b.lun && a.netfn == b.netfn && a.cmd == b.cmd &&
           a.data == b.data;
}

} // namespace

ScriptedBmc::Step& ScriptedBmc::Step::to(std::uint8_t address, std::uint8_t lun, std::uint8_t channel)
{
    request.address = address;
    request.lun = lun;
    request.channel = channel;
    return *this;
}

ScriptedBmc::Step& ScriptedBmc::Step::lun(std::uint8_t lun)
{
    request.lun = lun;
    return *this;
}

ScriptedBmc::Step& ScriptedBmc::Step::after(std::chrono::milliseconds delay)
{
    answer.delay = delay;
    return *this;
}

ScriptedBmc::Step& ScriptedBmc::Step::busy(std::chrono::milliseconds time)
{
    answer.busy = time;
    return *this;
}

ScriptedBmc::Step& ScriptedBmc::Step::silent()
{
    answer.answered = false;
    return *this;
}

ScriptedBmc::Step& ScriptedBmc::Step::times(int times)
{
    count = times;
    return *this;
}

ScriptedBmc::Step& ScriptedBmc::Step::then(std::function<void()> what)
{
    action = std::move(what);
    return *this;
}

ScriptedBmc::~ScriptedBmc()
{
    done();
}

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
    if (wasSilent_ && request.channel != kSystemInterface && same(request, lastSilent_))
        return {.answered = false, .bytes = {}}; // the driver sends it again
    wasSilent_ = false;
    if (steps_.empty() || !same(steps_.front().request, request)) {
        ADD_FAILURE() << "asked " << text(request) << "\nexpected "
                      << (steps_.empty() ? "nothing" : text(steps_.front().request));
        return {.bytes = {0xc1}};
    }
    const Step step = steps_.front();
    if (--steps_.front().count <= 0)
        steps_.pop_front();
    wasSilent_ = !step.answer.answered;
    lastSilent_ = request;
    lock.unlock();
    if (step.action)
        step.action();
    return step.answer;
}

} // namespace Support
