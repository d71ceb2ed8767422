// SPDX-License-Identifier: Apache-2.0
// The library reads it; here its failures get words.
#include "sdr/Repository.h"

#include "base/Failure.h"
#include "ipmi/IpmiIfc.h"
#include "node/CompletionCode.h"

#include <fmt/format.h>

namespace Tool
{

namespace
{

using Ipmi::ipmiifc_repository;

std::string stepOf(const ipmiifc_repository& repository)
{
    switch (repository.step) {
    case ipmiifc_repository::kInfo:
        return "cannot read the repository's info";
    case ipmiifc_repository::kReservation:
        return "cannot reserve the repository";
    default:
        return fmt::format("cannot read record 0x{:04x}", repository.recordId);
    }
}

std::string failureOf(const ipmiifc_repository& repository)
{
    switch (repository.result) {
    case ipmiifc_repository::kNoAnswer:
        return stepOf(repository) + ": the BMC does not answer; try again, or reset it";
    case ipmiifc_repository::kRefused:
        return stepOf(repository) + ": the BMC refuses: " + completionCodeText(repository.completionCode);
    case ipmiifc_repository::kTooShort:
        return stepOf(repository) + ": the BMC's answer is too short; try again";
    case ipmiifc_repository::kTooLong:
        return stepOf(repository) + ": it is longer than the BMC can be asked for";
    case ipmiifc_repository::kEndless:
        return fmt::format("the repository has no end: record 0x{:04x} comes again", repository.recordId);
    case ipmiifc_repository::kReservationsLost:
        return "the repository's reservation is lost again and again: something else is using it, try later";
    default:
        return "the repository changes while it is read: try again later";
    }
}

} // namespace

std::vector<std::uint8_t> readRepository(const NodeSession& session)
{
    ipmiifc_repository repository = Ipmi::IpmiIfc::readRepository(session.node());
    if (repository.result != ipmiifc_repository::kWhole)
        throw Failure(failureOf(repository));
    return std::move(repository.records);
}

} // namespace Tool
