// SPDX-License-Identifier: Apache-2.0
// The loop over pieces.
#include "transport/PieceReader.h"

#include "transport/SignalPipe.h"
#include "wire/AnswerLayout.h"

#include <algorithm>
#include <utility>

namespace Ipmi
{

wire::Writer PiecePolicy::recordRequest(const Piece& piece)
{
    wire::Writer request;
    request.le16(piece.reservation).le16(piece.record);
    return request.u8(static_cast<unsigned int>(piece.offset)).u8(static_cast<unsigned int>(piece.count));
}

PieceReader::PieceReader(int node, const PiecePolicy& policy, std::uint16_t reservation, int& lost,
                         std::function<std::uint16_t()> reserve, std::function<void(const Failure&)> report)
    : node_(node), policy_(policy), reservation_(reservation), lost_(lost), reserve_(std::move(reserve)),
      report_(std::move(report)), size_(policy.largest)
{
}

PieceReader::End PieceReader::read(std::uint16_t record, std::size_t offset, std::span<std::uint8_t> into)
{
    int attempts = policy_.insistsOnceBegun ? policy_.attempts - 1 : 0, empty = 0;
    for (left_ = into.size(); left_ > 0;) {
        const std::size_t count = std::min(size_, left_);
        const std::size_t at = policy_.fromEnd ? left_ - count : into.size() - left_; // in `into`
        if (offset + at > policy_.lastOffset)
            return End::kTooFar;
        ask(record, offset + at, count);
        const std::optional<std::size_t> got = brought();
        if (!got) {
            const std::optional<End> end = insist(attempts);
            followsGood_ = false;
            if (end)
                return *end;
            empty = 0;
            continue;
        }
        followsGood_ = true;
        if (*got > 0) {
            std::ranges::copy(answer_.bytes().subspan(policy_.dataAt, *got),
                              into.begin() + static_cast<std::ptrdiff_t>(at));
            left_ -= *got;
            attempts = empty = 0;
        } else if (++empty == policy_.mostEmpty) {
            return End::kGivenUp;
        }
    }
    return End::kRead;
}

void PieceReader::ask(std::uint16_t record, std::size_t offset, std::size_t count)
{
    piece_ = {reservation_, record, offset, count};
    answer_ = Ipmi::ask(node_, policy_.command, policy_.request(piece_));
}

/// How many bytes of the piece a good answer has; none for a bad one.
std::optional<std::size_t> PieceReader::brought() const
{
    const std::size_t count = policy_.countAt ? answer_.at(*policy_.countAt) : piece_.count;
    if (count > piece_.count || !isWholeAnswer(policy_.dataAt + count))
        return std::nullopt;
    const bool isOf =
        !policy_.checksRecord || piece_.record == wire::kFirstRecord || answer_.le16(policy_.dataAt) == piece_.record;
    return isOf ? std::optional(count) : std::nullopt;
}

/// All of it kept, however long the driver says it was.
bool PieceReader::isWholeAnswer(std::size_t size) const
{
    return answer_.good(size) && (policy_.takesMore || answer_.length() == static_cast<int>(size));
}

/// After a bad answer. @return how the reading ends, when it does
std::optional<PieceReader::End> PieceReader::insist(int& attempts)
{
    const int code = codeOf();
    const PieceAction action = actionFor(code);
    const bool isFree = action == PieceAction::kShrink && (policy_.halves || policy_.shrinksFreely);
    attempts += isFree ? 0 : 1;
    if (action == PieceAction::kShrink)
        size_ = policy_.halves ? piece_.count / 2 : std::max<std::size_t>(size_ - 1, 1);
    if (report_)
        report_({piece_.record, code, policy_.dataAt + piece_.count, size_, answer_.length(), action, attempts});
    if (action == PieceAction::kGiveUp)
        return End::kGivenUp;
    prepare(action, attempts);
    if (attempts == policy_.attempts || lost_ >= policy_.mostLost)
        return End::kExpired;
    return std::nullopt;
}

/// A time-out right behind a good answer counts as FFh, and is reported as such: this is meant.
int PieceReader::codeOf() const
{
    if (answer_.good())
        return PieceRule::kMisfit;
    return followsGood_ && answer_.timedOut() ? wire::kNoAnswer : answer_.code();
}

PieceAction PieceReader::actionFor(int code) const
{
    const auto rule = std::ranges::find(policy_.rules, code, &PieceRule::code);
    if (rule == policy_.rules.end())
        return policy_.otherwise;
    const bool canShrink =
        policy_.halves ? piece_.count > std::max<std::size_t>(policy_.smallest, 1) : size_ != policy_.smallest;
    return rule->action != PieceAction::kShrink || canShrink ? rule->action : policy_.otherwise;
}

void PieceReader::prepare(PieceAction action, int attempts)
{
    switch (action) {
    case PieceAction::kBackOff:
        return backOff(node_);
    case PieceAction::kWait:
        return pause(node_, policy_.pause);
    case PieceAction::kWaitLonger:
        return attempts < policy_.attempts ? pause(node_, policy_.pause * attempts) : void();
    case PieceAction::kRenew:
        return renew();
    default:
        return;
    }
}

void PieceReader::renew()
{
    if (++lost_ >= policy_.mostLost)
        return;
    backOff(node_);
    reservation_ = reserve_();
    if (policy_.backsOffTwice)
        backOff(node_);
}

std::uint16_t PieceReader::nextId() const
{
    return answer_.le16(wire::record_piece::kNextId);
}

} // namespace Ipmi
