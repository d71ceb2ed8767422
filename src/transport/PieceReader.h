// SPDX-License-Identifier: Apache-2.0
// Reading piece by piece: one loop for all readers, and a policy for each (IPMI 2.0, 33.12 Get SDR, 31.5 Get SEL Entry
// and 34.2 Read FRU Data).
#pragma once

#include "transport/Answer.h"
#include "wire/Cursor.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>

namespace Ipmi
{

/// What a BMC is asked for.
struct Piece {
    std::uint16_t reservation, record; ///< of what has no reservations: 0, and the device's id
    std::size_t offset, count;
};

/// What is done about a bad answer before the piece is asked for again.
enum class PieceAction {
    kAgain,      ///< nothing
    kBackOff,    ///< 0 to 3 seconds are let go by
    kWait,       ///< the policy's pause
    kWaitLonger, ///< the policy's pause times the attempts made, unless that was the last
    kShrink,     ///< a smaller piece
    kRenew,      ///< a back-off and a new reservation
    kGiveUp      ///< it is not asked for again
};

struct PieceRule {
    /// For an answer that completed normally and is not what was asked for. A completion code else; Answer::kNone.
    static constexpr int kMisfit = 0x100;

    int code;
    PieceAction action;
};

/// How a reader insists.
struct PiecePolicy {
    wire::Command command;
    wire::Writer (*request)(const Piece& piece);
    std::size_t dataAt;  ///< where an answer's data begin
    std::size_t largest; ///< bytes of a piece
    int attempts;        ///< in a row on one piece
    int mostLost;        ///< reservations in one walk

    bool fromEnd = false;       ///< the last piece first
    bool halves = false;        ///< a smaller piece is half of it, and is no attempt; else one byte less
    bool takesMore = false;     ///< more data than asked for are fine
    bool checksRecord = false;  ///< the first two bytes of every piece are taken for the record's id
    bool backsOffTwice = false; ///< after a new reservation too
    std::optional<std::size_t>
        countAt{};                 ///< where an answer says how many data it has, which may be fewer than asked for
    int mostEmpty = 0;             ///< answers in a row that say none
    bool shrinksFreely = false;    ///< a smaller piece is no attempt
    std::size_t smallest = 0;      ///< piece; a piece of this size is not shrunk
    bool insistsOnceBegun = false; ///< there is one attempt on the first piece of a read
    std::size_t lastOffset = 0xff; ///< that a request can name
    std::chrono::milliseconds pause{0};
    PieceAction otherwise = PieceAction::kAgain; ///< for what no rule names
    std::span<const PieceRule> rules;

    /// The request of the commands that read records.
    static wire::Writer recordRequest(const Piece& piece);
};

/// Reads the records of one walk.
class PieceReader
{
public:
    enum class End {
        kRead,
        kExpired, ///< too many attempts on one piece, or lost reservations in the walk
        kGivenUp, ///< the policy has no further attempt for this answer
        kTooFar   ///< it goes on where an offset does not reach
    };
    /// A bad answer, before anything is done about it.
    struct Failure {
        std::uint16_t record;
        int code;             ///< as in a PieceRule
        std::size_t expected; ///< bytes of the answer
        std::size_t piece;    ///< bytes of the next one
        int received;
        PieceAction action;
        int attempts; ///< on this piece, this one included
    };

    /// @param lost     reservations lost in the walk so far
    /// @param reserve  takes a new reservation and gives its id
    /// @param report   told of each bad answer
    PieceReader(int node, const PiecePolicy& policy, std::uint16_t reservation, int& lost,
                std::function<std::uint16_t()> reserve, std::function<void(const Failure&)> report = nullptr);

    /// Fills `into` with a record's bytes from `offset` on.
    End read(std::uint16_t record, std::size_t offset, std::span<std::uint8_t> into);

    /// The answer that came, or did not, last.
    const Answer& answer() const { return answer_; }
    std::uint16_t nextId() const;
    /// The piece that was asked for last, and how many bytes the last read had still to get when it ended.
    const Piece& piece() const { return piece_; }
    std::size_t left() const { return left_; }
    void setReservation(std::uint16_t reservation) { reservation_ = reservation; }

private:
    void ask(std::uint16_t record, std::size_t offset, std::size_t count);
    std::optional<std::size_t> brought() const;
    bool isWholeAnswer(std::size_t count) const;
    int codeOf() const;
    PieceAction actionFor(int code) const;
    std::optional<End> insist(int& attempts);
    void prepare(PieceAction action, int attempts);
    void renew();

    int node_;
    const PiecePolicy& policy_;
    std::uint16_t reservation_;
    int& lost_;
    std::function<std::uint16_t()> reserve_;
    std::function<void(const Failure&)> report_;
    std::size_t size_; ///< of the next piece; only shrinks
    Piece piece_{};
    std::size_t left_ = 0;
    Answer answer_;
    bool followsGood_ = false; ///< the answer before was good
};

} // namespace Ipmi
