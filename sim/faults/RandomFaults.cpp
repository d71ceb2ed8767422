// SPDX-License-Identifier: Apache-2.0
// The kinds of random faults, and how one is drawn.
#include "sim/faults/RandomFaults.h"

#include <algorithm>
#include <array>

namespace Sim
{

namespace
{

using std::chrono::milliseconds;

constexpr unsigned kLongerThanAnyRecordPart = 40;

template <typename T, std::size_t size> T oneOf(const std::array<T, size>& all, Dice& dice)
{
    return all[dice.below(size)];
}

/// A place in an answer: often near its start, where short ones have something too.
std::size_t place(Dice& dice)
{
    return dice.below(1 + dice.below(kLongerThanAnyRecordPart));
}

std::uint16_t recordId(Dice& dice)
{
    const std::array<unsigned, 4> ids{0x0000, 0xffff, dice.below(0x40), dice.below(0x10000)};
    return static_cast<std::uint16_t>(oneOf(ids, dice));
}

std::uint8_t completionCode(Dice& dice)
{
    static constexpr std::array<std::uint8_t, 16> kCodes{0xc0, 0xc3, 0xc5, 0xca, 0xff, 0x80, 0x81, 0xc1,
                                                         0xc7, 0xc8, 0xc9, 0xcb, 0xcc, 0xcd, 0xce, 0xd5};
    return oneOf(kCodes, dice);
}

milliseconds lateness(Dice& dice)
{
    constexpr unsigned kRarely = 50;
    static constexpr std::array<int, 6> kTimes{1, 20, 100, 500, 1000, 3000};
    constexpr milliseconds kPastEveryTimeout{31'000};
    return dice.below(kRarely) == 0 ? kPastEveryTimeout : milliseconds(oneOf(kTimes, dice));
}

FaultAction changedByte(Dice& dice)
{
    const std::size_t offset = place(dice);
    return {.changed = {{offset, static_cast<std::uint8_t>(dice.below(0x100))}}};
}

FaultAction changedRepository(Dice& dice)
{
    static constexpr std::array kChanges{RepositoryChange::touched, RepositoryChange::recordRemoved,
                                         RepositoryChange::recordAdded};
    return {.repository = oneOf(kChanges, dice)};
}

FaultAction changedSel(Dice& dice)
{
    static constexpr std::array kChanges{SelChange::recordAdded, SelChange::recordDeleted, SelChange::askedDeleted,
                                         SelChange::cleared, SelChange::timeBack};
    return {.sel = oneOf(kChanges, dice)};
}

struct Kind {
    std::string_view name;
    FaultAction (*source)(Dice&);
    bool onlyByName = false; ///< not among those that happen when none are named
};

constexpr Kind kKinds[] = {
    {"lost_reservation", [](Dice&) { return FaultAction{.lostReservation = true}; }},
    {"repository", changedRepository},
    {"no_answer", [](Dice&) { return FaultAction{.noAnswer = true}; }},
    {"completion_code", [](Dice& dice) { return FaultAction{.completionCode = completionCode(dice)}; }},
    {"other_record_id", [](Dice& dice) { return FaultAction{.otherRecordId = recordId(dice)}; }},
    {"next_id", [](Dice& dice) { return FaultAction{.nextId = recordId(dice)}; }},
    {"change", changedByte},
    {"lengthen_to", [](Dice&) { return FaultAction{.lengthenTo = kLongerThanAnyRecordPart}; }},
    {"cut_to", [](Dice& dice) { return FaultAction{.cutTo = place(dice)}; }},
    {"delay_ms", [](Dice& dice) { return FaultAction{.delay = lateness(dice)}; }},
    {"sel", changedSel, true},
};

std::vector<FaultSource> allSources()
{
    std::vector<FaultSource> all;
    for (const Kind& kind : kKinds) {
        if (!kind.onlyByName)
            all.emplace_back(kind.source);
    }
    return all;
}

} // namespace

std::uint64_t Dice::next()
{
    state_ += 0x9e3779b97f4a7c15;
    std::uint64_t mixed = state_;
    mixed = (mixed ^ mixed >> 30) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ mixed >> 27) * 0x94d049bb133111eb;
    return mixed ^ mixed >> 31;
}

FaultSource faultSource(std::string_view name)
{
    for (const Kind& kind : kKinds) {
        if (kind.name == name)
            return kind.source;
    }
    return nullptr;
}

std::vector<std::string_view> faultNames()
{
    std::vector<std::string_view> names;
    for (const Kind& kind : kKinds)
        names.push_back(kind.name);
    return names;
}

RandomFaults::RandomFaults(std::uint64_t seed, unsigned perMille) : RandomFaults(seed, perMille, allSources()) {}

RandomFaults::RandomFaults(std::uint64_t seed, unsigned perMille, std::vector<FaultSource> sources)
    : seed_(seed), perMille_(perMille), sources_(std::move(sources)), dice_(seed)
{
}

std::optional<FaultAction> RandomFaults::draw()
{
    constexpr unsigned kMille = 1000;
    ++draws_;
    if (dice_.below(kMille) >= perMille_)
        return std::nullopt;
    return sources_.at(dice_.below(static_cast<unsigned>(sources_.size())))(dice_);
}

std::string RandomFaults::position() const
{
    return "seed " + std::to_string(seed_) + ", request " + std::to_string(draws_);
}

} // namespace Sim
