// SPDX-License-Identifier: Apache-2.0
// The library's log lines, kept instead of sent to syslog.
#pragma once

#include "base/Log.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <ostream>
#include <string>
#include <vector>

namespace Support
{

struct LogLine {
    int priority;
    std::string text;
    bool operator==(const LogLine&) const = default;
};

/// For gtest's messages.
inline void PrintTo(const LogLine& line, std::ostream* out)
{
    *out << line.priority << " \"" << line.text << '"';
}

/// Collects while it lives; one at a time. Any thread may log.
class LogCapture
{
public:
    LogCapture()
    {
        clear();
        TRX::setLogSink(keep);
    }
    ~LogCapture() { TRX::setLogSink(nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> lines() const
    {
        const std::lock_guard lock(mutex_);
        return captured_;
    }
    /// Lines at LOG_WARNING or worse.
    std::vector<LogLine> complaints() const
    {
        auto all = lines();
        std::erase_if(all, [](const LogLine& line) { return line.priority > LOG_WARNING; });
        return all;
    }
    /// How many lines are exactly this text at this priority.
    int count(int priority, const std::string& text) const
    {
        return static_cast<int>(std::ranges::count(lines(), LogLine{priority, text}));
    }
    bool has(int priority, const std::string& text) const { return count(priority, text) > 0; }
    void clear()
    {
        const std::lock_guard lock(mutex_);
        captured_.clear();
        untilThrow_ = 0;
    }

    /// The nth line of a function IpmiIfc... throws std::bad_alloc, counted from now.
    void throwAt(int nth)
    {
        const std::lock_guard lock(mutex_);
        untilThrow_ = nth;
    }

private:
    static void keep(int priority, const char* text)
    {
        const std::lock_guard lock(mutex_);
        captured_.push_back({priority, text});
        if (captured_.back().text.starts_with("IpmiIfc") && --untilThrow_ == 0)
            throw std::bad_alloc();
    }

    static inline std::mutex mutex_;
    static inline std::vector<LogLine> captured_;
    static inline int untilThrow_ = 0;
};

} // namespace Support
