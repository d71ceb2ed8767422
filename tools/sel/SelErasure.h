// SPDX-License-Identifier: Apache-2.0
// Taking records out of the event log.
#pragma once

#include "node/NodeSession.h"

#include <cstdint>
#include <string>

namespace Tool
{

/// Asks on the terminal. Throws Failure for every answer but yes.
void confirmClearing(const std::string& question);

/// Throws Failure when the log cannot be cleared.
void clearSel(const NodeSession& session);
/// Deletes one record. Throws Failure.
void deleteSelEntry(const NodeSession& session, std::uint16_t id);

} // namespace Tool
