// SPDX-License-Identifier: Apache-2.0
// Which controller a thread's exchanges go to.
#pragma once

#include <cstdint>

namespace Ipmi
{

/// The controller that an exchange goes to; address 0 or the node's own: the BMC itself.
struct Target {
    unsigned int address = 0;
    std::uint8_t lun = 0;
    std::uint8_t channel = 0;
};

/// While it lives, this thread's exchanges on `node` go to another controller; other threads' keep the node's base
/// target. Scopes nest; the innermost one for a node counts.
class TargetScope
{
public:
    TargetScope(int node, std::uint8_t address, std::uint8_t lun, std::uint8_t channel);
    ~TargetScope();
    TargetScope(const TargetScope&) = delete;
    TargetScope& operator=(const TargetScope&) = delete;

    /// Where the calling thread's exchanges on `node` go.
    static Target current(int node);

private:
    int node_;
    Target target_;
    const TargetScope* before_;
};

} // namespace Ipmi
