// SPDX-License-Identifier: Apache-2.0
// The repository as raw records: those of the last load, and a reading of its own that is whole or nothing.
#include "ipmi/IpmiIfc.h"
#include "node/IpmiNode.h"
#include "sdr/SdrReading.h"
#include "transport/SignalPipe.h"
#include "wire/AnswerLayout.h"
#include "wire/SdrLayout.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <optional>

namespace Ipmi
{

namespace
{

constexpr std::chrono::milliseconds kBetweenAttempts{100};
constexpr int kReadings = 3; ///< of a repository that is changed meanwhile
constexpr int kMostLost = 101;

constexpr PieceRule kForwardRules[] = {
    {wire::cc::kReservationLost, PieceAction::kGiveUp}, // what was read of the record may be of another one now
    {wire::cc::kTooManyBytes, PieceAction::kShrink},
    {wire::cc::kInvalidLength, PieceAction::kShrink},
};

constexpr PiecePolicy kForwardPolicy{
    .command = wire::kGetSdr,
    .request = PiecePolicy::recordRequest,
    .dataAt = wire::record_piece::kData,
    .largest = 16,
    .attempts = kSdrAttempts,
    .mostLost = kMostLost,
    .halves = true,
    .pause = kBetweenAttempts,
    .otherwise = PieceAction::kWait,
    .rules = kForwardRules,
};

/// One reading of a node's whole repository.
class RepositoryReading
{
public:
    explicit RepositoryReading(int node)
        : node_(node), reader_(node, kForwardPolicy, 0, lost_, [] { return std::uint16_t{0}; })
    {
    }

    ipmiifc_repository run();

private:
    using Repository = ipmiifc_repository;
    /// What changes when the repository does.
    struct Stamp {
        std::array<std::uint8_t, wire::repository_info::kTimesSize> times{};
        bool isEmpty = true;
        bool operator==(const Stamp&) const = default;
    };

    std::optional<Stamp> stamp();
    bool walk();
    bool readRecord(std::uint16_t id);
    PieceReader::End readWhole(std::uint16_t id, std::vector<std::uint8_t>& bytes);
    bool reserve();
    Answer insist(wire::Command command, Repository::Step step, std::size_t size);
    bool fail(Repository::Result why);
    bool failFor(const Answer& answer);

    int node_;
    int lost_ = 0;
    PieceReader reader_;
    Repository result_;
};

ipmiifc_repository RepositoryReading::run()
{
    std::optional<Stamp> before = stamp();
    for (int i = 0; before && !before->isEmpty && i < kReadings; ++i) {
        if (!walk())
            return std::move(result_);
        const std::optional<Stamp> after = stamp();
        if (after == before) {
            result_.result = Repository::kWhole;
            return std::move(result_);
        }
        before = after;
        result_.records.clear();
    }
    if (before && before->isEmpty)
        result_.result = Repository::kWhole;
    else if (before)
        fail(Repository::kChanging);
    return std::move(result_);
}

std::optional<RepositoryReading::Stamp> RepositoryReading::stamp()
{
    using namespace wire::repository_info;
    const Answer answer = insist(wire::kGetSdrInfo, Repository::kInfo, kTimes + kTimesSize);
    if (!answer.good(kTimes + kTimesSize))
        return std::nullopt;
    Stamp stamp{.isEmpty = answer.le16(kCount) == 0};
    std::copy_n(answer.bytes().begin() + kTimes, kTimesSize, stamp.times.begin());
    return stamp;
}

/// Along the chain of next ids.
bool RepositoryReading::walk()
{
    constexpr std::size_t kMostRecords = 16384;
    if (!reserve())
        return false;
    std::bitset<0x10000> seen;
    for (std::uint16_t id = wire::kFirstRecord; id != wire::kLastRecord; id = reader_.nextId()) {
        result_.recordId = id;
        if (seen.test(id) || seen.count() >= kMostRecords)
            return fail(Repository::kEndless);
        seen.set(id);
        if (!readRecord(id))
            return false;
    }
    return true;
}

bool RepositoryReading::readRecord(std::uint16_t id)
{
    result_.step = Repository::kRecord;
    for (;;) {
        std::vector<std::uint8_t> bytes;
        switch (readWhole(id, bytes)) {
        case PieceReader::End::kRead:
            result_.records.insert(result_.records.end(), bytes.begin(), bytes.end());
            return true;
        case PieceReader::End::kTooFar:
            return fail(Repository::kTooLong);
        case PieceReader::End::kExpired:
            return failFor(reader_.answer());
        case PieceReader::End::kGivenUp:
            if (++lost_ >= kMostLost)
                return fail(Repository::kReservationsLost);
            if (!reserve())
                return false;
            result_.step = Repository::kRecord;
        }
    }
}

/// The header, and then as much more as it says.
PieceReader::End RepositoryReading::readWhole(std::uint16_t id, std::vector<std::uint8_t>& bytes)
{
    bytes.resize(wire::sdr::kHeaderSize);
    const PieceReader::End end = reader_.read(id, 0, bytes);
    if (end != PieceReader::End::kRead)
        return end;
    bytes.resize(wire::sdr::kHeaderSize + bytes[wire::sdr::kLength]);
    return reader_.read(id, wire::sdr::kHeaderSize, std::span(bytes).subspan(wire::sdr::kHeaderSize));
}

bool RepositoryReading::reserve()
{
    const Answer answer = insist(wire::kReserveSdr, Repository::kReservation, wire::reservation::kSize);
    reader_.setReservation(answer.le16(wire::reservation::kId));
    return answer.good(wire::reservation::kSize);
}

/// The first good answer of at least `size` bytes, or the last of the attempts.
Answer RepositoryReading::insist(wire::Command command, Repository::Step step, std::size_t size)
{
    result_.step = step;
    Answer answer;
    for (int attempt = 0; attempt < kSdrAttempts; ++attempt) {
        answer = ask(node_, command);
        if (answer.good(size))
            return answer;
        pause(node_, kBetweenAttempts);
    }
    failFor(answer);
    return answer;
}

bool RepositoryReading::fail(Repository::Result why)
{
    result_.result = why;
    result_.records.clear();
    return false;
}

bool RepositoryReading::failFor(const Answer& answer)
{
    result_.completionCode = answer.answered() ? answer.codeOrNoAnswer() : std::uint8_t{0};
    return fail(!answer.answered() ? Repository::kNoAnswer
                : answer.good()    ? Repository::kTooShort
                                   : Repository::kRefused);
}

} // namespace

std::vector<std::vector<unsigned char>> IpmiIfc::getSdrRecords(int node)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReadLock lock(self.sdrLock);
    return self.repository.rawRecords();
}

ipmiifc_repository IpmiIfc::readRepository(int node)
{
    if (!isNode(node))
        return {};
    TRX::ReentrantLock load(g_IpmiNode[node].loadLock); // a load's reservation and this one's would end each other
    return RepositoryReading(node).run();
}

} // namespace Ipmi
