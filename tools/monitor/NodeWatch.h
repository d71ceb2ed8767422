// SPDX-License-Identifier: Apache-2.0
// One node that is watched: its polling loop, its event log, its sensors.
#pragma once

#include "monitor/Ending.h"
#include "monitor/MonitorLines.h"
#include "monitor/SelNews.h"
#include "monitor/SelTail.h"
#include "monitor/SensorStates.h"
#include "monitor/ServiceManager.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <string>
#include <thread>

namespace Tool
{

class NodeWatch
{
public:
    /// What all watched nodes share; lives longer than they.
    struct Common {
        std::chrono::duration<double> interval;
        bool sensors; ///< their states too
        MonitorLines& lines;
        Ending& ending;
        ServiceManager& manager;
    };

    NodeWatch(int node, const Common& common);
    /// When the end has begun.
    ~NodeWatch();
    NodeWatch(const NodeWatch&) = delete;
    NodeWatch& operator=(const NodeWatch&) = delete;

    int node() const { return node_; }
    /// True when its start has been told.
    bool hasBegun() const { return hasBegun_; }
    /// Waits until its polling loop runs, or could not begin.
    void awaitLoop() const;
    /// When the end has begun: gives up whatever the BMC is being asked, and ends all threads.
    void stop();

private:
    void runLoop();
    void watchEvents();
    void watchSensors();
    void begin();
    std::string whyLost() const;
    std::string silence() const;
    bool isThere();
    bool note(const std::string& why, unsigned int heard);
    bool followRepository();
    void takeNames(const Sensors& sensors);
    void readSensors();
    void compareStates(const Sensors& sensors);
    void onEvent(const Ipmi::IpmiSelData& record);
    void lookAtLog();
    void tellNews(const SelRecords& tail);
    template <typename Work> std::thread threadOf(Work work);

    const int node_;
    const Common common_;
    std::atomic<bool> hasBegun_ = false;

    std::mutex silenceLock_;
    std::string toldSilence_; ///< why it was said to be lost; empty while it answers
    std::atomic<bool> isLost_ = false;
    std::atomic<unsigned int> losses_ = 0; ///< how often it was lost
    std::atomic<unsigned int> heard_ = 0;  ///< how often it said who it is

    SelTail tail_;
    SensorStates states_;

    std::mutex newsLock_; ///< of these two
    SelNews news_;
    SelSensorNames names_;

    std::thread loop_, events_, sensors_;
};

} // namespace Tool
