// A node's signal pipe: a byte in it wakes the exchange that is waiting for an answer.
#pragma once

namespace Ipmi
{

/// Makes the pipe of a node in 0..3. Throws CmpiStatus rc 100, and then leaves no end open.
void openSignalPipe(int node);

/// Puts a byte into it where there is one; a failure is logged in the name of `function`.
void signalPipe(int node, const char* function);

/// Closes both ends where they are open.
void closeSignalPipe(int node);

} // namespace Ipmi
