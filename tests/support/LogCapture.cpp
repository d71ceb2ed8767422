#include "support/LogCapture.h"

#include "base/Log.h"

#include <algorithm>
#include <mutex>
#include <ostream>

namespace Support
{

namespace
{
std::mutex mutex;
std::vector<LogLine> captured;

void sink(int priority, const char* text)
{
    const std::lock_guard lock(mutex);
    captured.push_back({priority, text});
}
} // namespace

LogCapture::LogCapture()
{
    clear();
    TRX::setLogSink(sink);
}

LogCapture::~LogCapture()
{
    TRX::setLogSink(nullptr);
}

std::vector<LogLine> LogCapture::lines() const
{
    const std::lock_guard lock(mutex);
    return captured;
}

std::vector<LogLine> LogCapture::complaints() const
{
    auto all = lines();
    std::erase_if(all, [](const LogLine& line) { return line.priority > LOG_WARNING; });
    return all;
}

int LogCapture::count(int priority, const std::string& text) const
{
    const auto all = lines();
    return static_cast<int>(std::count(all.begin(), all.end(), LogLine{priority, text}));
}

void LogCapture::clear()
{
    const std::lock_guard lock(mutex);
    captured.clear();
}

void PrintTo(const LogLine& line, std::ostream* out)
{
    *out << line.priority << " \"" << line.text << '"';
}

} // namespace Support
