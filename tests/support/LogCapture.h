// The library's log lines, kept instead of sent to syslog.
#pragma once

#include <string>
#include <vector>

namespace Support
{

struct LogLine {
    int priority;
    std::string text;
    bool operator==(const LogLine&) const = default;
};

/// Collects while it lives; one at a time. Any thread may log.
class LogCapture
{
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> lines() const;
    /// Lines at LOG_WARNING or worse.
    std::vector<LogLine> complaints() const;
    /// How many lines are exactly this text at this priority.
    int count(int priority, const std::string& text) const;
    bool has(int priority, const std::string& text) const { return count(priority, text) > 0; }
    void clear();
};

/// For gtest's messages.
void PrintTo(const LogLine& line, std::ostream* out);

} // namespace Support
