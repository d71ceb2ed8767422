// SPDX-License-Identifier: Apache-2.0
// Records of the event log that the library does not see yet.
#pragma once

#include "sel/SelView.h"

namespace Tool
{

/// The library sees by the second of the newest record that there are more: those of that same second it reads together
/// with the next one. Here the number of records tells, and they are read one by one.
class SelTail
{
public:
    explicit SelTail(int node) : node_(node) {}

    /// After a look of the library's: the records behind its last one, oldest first. Sends one command for each when
    /// there are more than before.
    /// @param count  as IpmiIfcSelGetInfo gives it
    const SelRecords& read(unsigned short count);

private:
    void walk();

    int node_;
    unsigned short count_ = 0; ///< of the last walk
    SelRecords records_;
};

} // namespace Tool
