// SPDX-License-Identifier: Apache-2.0
// Descriptors whose flags cannot be read or set, on request.
#pragma once

namespace Support
{

/// From now on every fcntl(2) with this command (F_GETFL, F_SETFL) on a pipe's end of this access mode (O_RDONLY,
/// O_WRONLY) fails, until the next call; -1 is no command.
void failFcntl(int command, int accessMode = 0);

} // namespace Support
