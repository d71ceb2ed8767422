// A node's signal pipe: a byte in it wakes the exchange that is waiting for an answer.
#pragma once

namespace Ipmi
{

/// Makes the pipe of a node in 0..3. Throws CmpiStatus rc 100, and then leaves no end open.
void openSignalPipe(int node);

/// Closes both ends where they are open.
void closeSignalPipe(int node);

} // namespace Ipmi
