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
    constexpr std::size_t kLastOffset = 0xff;
    for (int attempts = 0; !into.empty();) {
        const std::size_t count = std::min(size_, into.size());
        const std::size_t before = policy_.fromEnd ? into.size() - count : 0; // of `into`, before this piece
        const Piece piece{reservation_, record, offset + before, count};
        if (piece.offset > kLastOffset)
            return End::kTooFar;
        answer_ = ask(node_, policy_.command, policy_.request(piece));
        if (isGood(piece)) {
            std::ranges::copy(answer_.bytes().subspan(policy_.dataAt, count),
                              into.begin() + static_cast<std::ptrdiff_t>(before));
            offset += policy_.fromEnd ? 0 : count;
            into = policy_.fromEnd ? into.first(before) : into.subspan(count);
            attempts = 0;
            followsGood_ = true;
            continue;
        }
        const int code = codeOf();
        followsGood_ = false;
        const PieceAction action = actionFor(code, piece);
        const bool isFree = action == PieceAction::kShrink && policy_.halves;
        if (action == PieceAction::kShrink)
            size_ = policy_.halves ? count / 2 : std::max<std::size_t>(size_ - 1, 1);
        if (report_)
            report_({record, code, policy_.dataAt + count, size_, answer_.length()});
        if (action == PieceAction::kGiveUp)
            return End::kGivenUp;
        prepare(action);
        attempts += isFree ? 0 : 1;
        if (attempts == policy_.attempts || lost_ >= policy_.mostLost)
            return End::kExpired;
    }
    return End::kRead;
}

bool PieceReader::isGood(const Piece& piece) const
{
    const std::size_t expected = policy_.dataAt + piece.count; // all of it kept, however long the driver says it was
    if (!answer_.good(expected) || (!policy_.takesMore && answer_.length() != static_cast<int>(expected)))
        return false;
    return !policy_.checksRecord || piece.record == wire::kFirstRecord || answer_.le16(policy_.dataAt) == piece.record;
}

/// A time-out right behind a good answer counts as FFh, and is reported as such: this is meant.
int PieceReader::codeOf() const
{
    if (answer_.good())
        return PieceRule::kMisfit;
    return followsGood_ && answer_.timedOut() ? wire::kNoAnswer : answer_.code();
}

PieceAction PieceReader::actionFor(int code, const Piece& piece) const
{
    const auto rule = std::ranges::find(policy_.rules, code, &PieceRule::code);
    if (rule == policy_.rules.end())
        return policy_.otherwise;
    const bool canShrink = !policy_.halves || piece.count > 1;
    return rule->action != PieceAction::kShrink || canShrink ? rule->action : policy_.otherwise;
}

void PieceReader::prepare(PieceAction action)
{
    switch (action) {
    case PieceAction::kBackOff:
        return backOff(node_);
    case PieceAction::kWait:
        return pause(node_, policy_.pause);
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
