// SPDX-License-Identifier: Apache-2.0
// Policies that the readers of the repository share.
#pragma once

#include "transport/PieceReader.h"
#include "wire/AnswerLayout.h"

namespace Ipmi
{

inline constexpr int kSdrAttempts = 4;               ///< on one header, and on one piece of a record
inline constexpr int kMostLostSdrReservations = 100; ///< in one walk over headers or records

/// Takes a new reservation, whose failure leaves the old one. @return the id that counts now
std::uint16_t renewSdrReservation(int node);

} // namespace Ipmi
