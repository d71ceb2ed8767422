// SPDX-License-Identifier: Apache-2.0
// A watched node's threads: the polling loop, the event log, the sensors.
#include "monitor/NodeWatch.h"

#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/CompletionCode.h"
#include "node/NodeSession.h"
#include "terminal/Progress.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <fmt/format.h>
#include <optional>
#include <unistd.h>
#include <utility>

namespace Tool
{

namespace
{

using Ipmi::IpmiIfc;
using Clock = std::chrono::steady_clock;

std::string textOf(const Ipmi::CmpiStatus& status, int node)
{
    constexpr int kNotRoot = 2;
    if (status.rc() == kNotRoot)
        return openFailure(node, EACCES);
    return fmt::format("node {}: the library gave up with code {}; the system log says why", node,
                       static_cast<int>(status.rc()));
}

/// Whether the repository is another one than the library has read; nothing without an answer.
std::optional<bool> hasRepositoryChanged(int node)
{
    const Ipmi::ipmiifc_sdr_info info = IpmiIfc::getSdr(node);
    const std::span<const std::uint8_t> before = std::span(info.bytes).subspan(1); // without the completion code
    const auto now = sendTo(node, Ipmi::wire::kGetSdrInfo);
    if (!now)
        return std::nullopt;
    return now->data.size() >= before.size() && !std::equal(before.begin(), before.end(), now->data.begin());
}

/// True when the last attempts to read them found nobody.
bool isSilent(const Sensors& sensors)
{
    constexpr unsigned int kNoAnswer = 0xffffffff;
    bool isMissed = false;
    for (const auto& sensor : sensors) {
        if (sensor->getLastReading().available())
            return false;
        isMissed = isMissed || sensor->getLastReadResult() == kNoAnswer;
    }
    return isMissed;
}

} // namespace

/// A thread whose failures end the program in good order.
template <typename Work> std::thread NodeWatch::threadOf(Work work)
{
    return std::thread([this, work] {
        try {
            (this->*work)();
        } catch (const Ipmi::CmpiStatus& status) {
            common_.ending.begin(textOf(status, node_));
        } catch (const std::exception& error) {
            common_.ending.begin(error.what());
        }
    });
}

NodeWatch::NodeWatch(int node, const Common& common) : node_(node), common_(common), tail_(node)
{
    loop_ = threadOf(&NodeWatch::runLoop);
    events_ = threadOf(&NodeWatch::watchEvents);
}

NodeWatch::~NodeWatch()
{
    stop();
}

void NodeWatch::stop()
{
    if (!loop_.joinable())
        return;
    IpmiIfc::stop(node_); // commands of the other threads find no answer from here on
    loop_.join();
    events_.join();
    if (sensors_.joinable())
        sensors_.join();
}

void NodeWatch::awaitLoop() const
{
    IpmiIfc::waitState(node_, IpmiIfc::IPMI_STATE_RUNNING | IpmiIfc::IPMI_STATE_STOPPED);
}

/// The loop does no cycles of its own: one that finds new events reads the whole repository again.
void NodeWatch::runLoop()
{
    constexpr int kOnlyWhenTold = 0;
    IpmiIfc::start(node_, kOnlyWhenTold);
    common_.ending.begin(fmt::format("node {} cannot be watched; the system log says why", node_));
}

void NodeWatch::watchEvents()
{
    {
        const Progress progress("Reading the sensors");
        awaitLoop();
    }
    if (IpmiIfc::getState(node_) != IpmiIfc::IPMI_STATE_RUNNING)
        return;
    begin();
    const auto interval = std::chrono::duration_cast<Clock::duration>(common_.interval);
    for (auto next = Clock::now() + interval; common_.ending.sleepUntil(next);
         next = std::max(next + interval, Clock::now())) {
        if (isThere())
            lookAtLog();
    }
}

void NodeWatch::begin()
{
    IpmiIfc::registerSelEventHandler(
        node_,
        [](void* watch, Ipmi::IpmiSelData* record) {
            if (record) // there are calls without one, which only say that a cycle has ended
                static_cast<NodeWatch*>(watch)->onEvent(*record);
        },
        this);
    lookAtLog();        // what is there, if the loop's own first look has not been there
    followRepository(); // start() has read that of node 0 alone
    const Sensors sensors = IpmiIfc::getSensors(node_);
    takeNames(sensors);
    states_ = SensorStates(sensors);
    if (common_.ending.hasBegun())
        return;
    common_.lines.start(node_, common_.interval.count(), sensors.size(), IpmiIfc::getRawSelHeader(node_).entryCount());
    hasBegun_ = true;
    common_.manager.partReady();
    sensors_ = threadOf(&NodeWatch::watchSensors);
}

/// Asks the BMC who it is, and notes what comes of it. @return as note
bool NodeWatch::isThere()
{
    const unsigned int heard = heard_;
    return note(whyLost(), heard);
}

/// Says when the BMC is lost, and why, and when it is there again: when `why` is empty. A loss does not count where
/// another thread has heard the BMC since, as `heard` was before the question. @return whether it is there; false when
/// the end has begun
bool NodeWatch::note(const std::string& why, unsigned int heard)
{
    const std::lock_guard hold(silenceLock_);
    const bool isThere = why.empty();
    if (common_.ending.hasBegun())
        return false;
    if (!isThere && heard != heard_)
        return !isLost_;
    heard_ += isThere ? 1 : 0;
    losses_ += !isThere && !isLost_ ? 1 : 0;
    isLost_ = !isThere;
    if (why != toldSilence_) {
        isThere ? common_.lines.regained(node_) : common_.lines.lost(node_, why);
        ServiceManager::status(fmt::format("node {}: {}", node_, isThere ? "the BMC answers again" : why));
        toldSilence_ = why;
    }
    return isThere;
}

void NodeWatch::lookAtLog()
{
    unsigned short count = 0;
    if (Ipmi::IpmiIfcSelGetInfo(node_, &count) == 0)
        tellNews(tail_.read(count));
}

/// Why the BMC does not say who it is; empty when it does. A command that fails at once may only have been disturbed:
/// another one is sent. Where the BMC is away its driver may answer in its place, with a completion code.
std::string NodeWatch::whyLost() const
{
    constexpr auto kAtOnce = std::chrono::seconds(1);
    constexpr int kTries = 2;
    std::string why;
    const auto begun = Clock::now();
    for (int i = 0; i < kTries && Clock::now() - begun < kAtOnce; ++i) {
        const auto reply = sendTo(node_, Ipmi::wire::kGetDeviceId);
        if (reply && reply->completionCode == 0)
            return "";
        why = reply ? "the BMC answers only with " + completionCodeText(reply->completionCode) : silence();
    }
    return why;
}

std::string NodeWatch::silence() const
{
    const std::string device = fmt::format("/dev/ipmi{}", node_);
    if (::access(device.c_str(), F_OK) == 0)
        return "the BMC does not answer";
    return device + " has gone; the node stays silent until the monitor is started again";
}

/// One that is old is handed over again, where it has no time. What comes before the start has been told is found
/// later.
void NodeWatch::onEvent(const Ipmi::IpmiSelData& record)
{
    if (!hasBegun_)
        return;
    {
        const std::lock_guard hold(newsLock_);
        if (news_.isOld(record))
            return;
    }
    tellNews({});
}

/// Of the records that the library has, and of those of `tail` behind them.
void NodeWatch::tellNews(const SelRecords& tail)
{
    const std::lock_guard hold(newsLock_);
    const Ipmi::ipmiifc_sel_info info = IpmiIfc::getRawSelHeader(node_);
    if (info.version() == 0)
        return; // nobody has told yet
    SelRecords all = IpmiIfc::getSelData(node_);
    const auto read = all.size() >= info.entryCount() ? SelNews::Read::kWhole : SelNews::Read::kInPart;
    all.insert(all.end(), tail.begin(), tail.end());
    for (const auto& record : news_.take(all, read))
        common_.lines.event(node_, *record, names_);
}

void NodeWatch::watchSensors()
{
    const auto interval = std::chrono::duration_cast<Clock::duration>(common_.interval);
    for (auto next = Clock::now() + interval; common_.ending.sleepUntil(next);
         next = std::max(next + interval, Clock::now())) {
        if (isLost_)
            continue;
        if (!followRepository())
            isThere();
        else if (common_.sensors)
            readSensors();
    }
}

/// What is read while the BMC is lost says nothing; nor does a pass in which it was lost and came back.
void NodeWatch::readSensors()
{
    const unsigned int losses = losses_, heard = heard_;
    Ipmi::IpmiIfcSensorRefreshAll(node_);
    const Sensors sensors = IpmiIfc::getSensors(node_);
    if (losses != losses_ || isLost_)
        return;
    if (isSilent(sensors))
        note(silence(), heard);
    else
        compareStates(sensors);
}

/// Reads the repository again when it is another one. @return false when the BMC does not answer
bool NodeWatch::followRepository()
{
    const auto changed = hasRepositoryChanged(node_);
    if (changed == true) {
        Ipmi::IpmiIfcSdrGetInfo(node_);
        takeNames(IpmiIfc::getSensors(node_));
    }
    return changed.has_value();
}

void NodeWatch::takeNames(const Sensors& sensors)
{
    SelSensorNames names(sensors);
    const std::lock_guard hold(newsLock_);
    names_ = std::move(names);
}

/// When the BMC falls silent its sensors lose their readings, which is not told of each.
void NodeWatch::compareStates(const Sensors& sensors)
{
    SensorStates states(sensors);
    const std::vector<SensorChange> changes = states.changesSince(states_);
    const bool someLost =
        std::any_of(changes.begin(), changes.end(), [](const SensorChange& change) { return change.now.code.empty(); });
    if ((someLost && !isThere()) || common_.ending.hasBegun())
        return;
    for (const SensorChange& change : changes)
        common_.lines.sensor(node_, change);
    states_ = std::move(states);
}

} // namespace Tool
