// Events on their way to the event message buffers of the system interfaces.
#pragma once

#include "sim/Machine.h"

#include <cstdint>
#include <deque>
#include <optional>

namespace Sim
{

/// The last events that happened, each with a number; nobody has to take them.
class EventQueue
{
public:
    void push(const SelRecord& record)
    {
        events_.push_back(record);
        ++count_;
        if (events_.size() > kMost)
            events_.pop_front();
    }

    /// Events that ever happened.
    std::uint64_t count() const { return count_; }
    /// The oldest one that is there still and came after the first `seen`; nullopt: none came.
    std::optional<SelRecord> after(std::uint64_t seen) const
    {
        const std::uint64_t gone = count_ - events_.size(), index = seen < gone ? 0 : seen - gone;
        return index < events_.size() ? std::optional(events_[index]) : std::nullopt;
    }

private:
    static constexpr std::size_t kMost = 64;
    std::deque<SelRecord> events_;
    std::uint64_t count_ = 0;
};

} // namespace Sim
