// SPDX-License-Identifier: Apache-2.0
// Clears the log, or deletes a record, and says what went wrong.
#include "sel/SelErasure.h"

#include "base/Failure.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"

#include <cstdio>
#include <fmt/format.h>
#include <iostream>

namespace Tool
{

namespace
{

/// @param result  of IpmiIfc::clearSel or IpmiIfc::deleteSelEntry
void require(int result, const std::string& what, const std::string& whyRefused)
{
    constexpr int kDone = 0, kBusy = 2, kNoAnswer = 4, kRefused = 5;
    switch (result) {
    case kDone:
        return;
    case kBusy:
        throw Failure(what + ": the BMC stays busy, or its answer makes no sense; try again later");
    case kNoAnswer:
        throw Failure(what + ": the BMC does not answer; try again, or reset it");
    case kRefused:
        throw Failure(what + ": the BMC refuses" + whyRefused);
    default:
        throw Failure(fmt::format("{}: result {}", what, result));
    }
}

} // namespace

void confirmClearing(const std::string& question)
{
    std::fputs((question + " [y/N] ").c_str(), stderr);
    std::string answer;
    std::getline(std::cin, answer);
    if (answer != "y" && answer != "Y" && answer != "yes")
        throw Failure("nothing cleared");
}

void clearSel(const NodeSession& session)
{
    session.requireBmc();
    require(Ipmi::IpmiIfc::clearSel(session.node()), "cannot clear the log", "");
}

void deleteSelEntry(const NodeSession& session, std::uint16_t id)
{
    session.requireBmc();
    Ipmi::KEEP_SEL_NUMBER = 0; // the library's look at the log afterwards need not read it
    require(Ipmi::IpmiIfc::deleteSelEntry(session.node(), id), fmt::format("cannot delete record 0x{:04x}", id),
            ": is there such a record?");
}

} // namespace Tool
