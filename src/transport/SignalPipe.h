// SPDX-License-Identifier: Apache-2.0
// A node's signal pipe: a byte in it wakes whoever waits, for an answer or before a retry.
#pragma once

#include <chrono>

namespace Ipmi
{

/// Makes the pipe of a node in 0..3. Throws CmpiStatus rc 100, and then leaves no end open.
void openSignalPipe(int node);

/// Puts a byte into it where there is one; a failure is logged in the name of `function`.
void signalPipe(int node, const char* function);

/// The end that is readable once the node is being stopped; -1 where there is none.
int signalEnd(int node);

/// Waits so long; the node's stop ends it at once.
void pause(int node, std::chrono::milliseconds duration);

/// Back-off before a retry: a pause of 0 to 3 whole seconds.
void backOff(int node);

/// Closes both ends where they are open.
void closeSignalPipe(int node);

} // namespace Ipmi
