// SPDX-License-Identifier: Apache-2.0
// Descriptors whose flags cannot be read or set, on request.
#pragma once

namespace Support
{

/// The nth fcntl(2) of the program, counted from now, fails, and no other one.
void failFcntl(int nth);

} // namespace Support
