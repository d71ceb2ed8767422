// The event log as a whole, fact by fact.
#pragma once

#include "Facts.h"
#include "NodeSession.h"

namespace Tool
{

/// Asks the BMC. What it does not say is empty and null. Throws Failure when it has no log, or says nothing at all.
/// @param utc  times; else local
Facts selFacts(const NodeSession& session, bool utc);

} // namespace Tool
