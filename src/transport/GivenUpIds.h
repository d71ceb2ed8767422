// SPDX-License-Identifier: Apache-2.0
// Exchanges that were given up: their answers may still come and must not be taken for others'.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace Ipmi
{

/// The last 64 of them, with repetitions. They count for one opening of the device: the driver drops what is waiting
/// when it is closed.
class GivenUpIds
{
public:
    struct Entry {
        long id = 0;
        std::uint8_t netfn = 0; ///< of the request
        std::uint8_t cmd = 0;
    };

    /// Forgets everything when the device has been opened or closed since the last call.
    void useOpening(unsigned int opening)
    {
        if (opening != opening_)
            count_ = 0;
        opening_ = opening;
    }

    void add(const Entry& entry)
    {
        if (count_ == entries_.size())
            remove(begin());
        entries_[count_++] = entry;
    }

    /// Removes the oldest entry with this id. @return false when there is none
    bool take(long id)
    {
        return takeIf([id](const Entry& entry) { return entry.id == id; });
    }

    /// The same for the oldest entry that is equal in all.
    bool take(const Entry& like)
    {
        return takeIf([&like](const Entry& entry) {
            return entry.id == like.id && entry.netfn == like.netfn && entry.cmd == like.cmd;
        });
    }

private:
    using Entries = std::array<Entry, 64>;

    Entries::iterator begin() { return entries_.begin(); }
    Entries::iterator end() { return entries_.begin() + static_cast<std::ptrdiff_t>(count_); }

    void remove(Entries::iterator entry)
    {
        std::copy(entry + 1, end(), entry);
        --count_;
    }

    template <typename Matches> bool takeIf(Matches matches)
    {
        const auto found = std::find_if(begin(), end(), matches);
        const bool any = found != end();
        if (any)
            remove(found);
        return any;
    }

    Entries entries_{};
    std::size_t count_ = 0;
    unsigned int opening_ = 0;
};

} // namespace Ipmi
