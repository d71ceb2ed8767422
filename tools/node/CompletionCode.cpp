// SPDX-License-Identifier: Apache-2.0
// The table of completion codes.
#include "node/CompletionCode.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <string_view>

namespace Tool
{

namespace
{

struct Name {
    std::uint8_t code;
    std::string_view text;
};

// IPMI 2.0, table 5-2, Completion Codes
constexpr std::array<Name, 25> kNames{{
    {0x00, "done"},
    {0xc0, "node busy"},
    {0xc1, "invalid command"},
    {0xc2, "invalid command for this LUN"},
    {0xc3, "timeout while processing the command"},
    {0xc4, "out of space"},
    {0xc5, "reservation cancelled or invalid"},
    {0xc6, "request data truncated"},
    {0xc7, "request data length invalid"},
    {0xc8, "request data field length limit exceeded"},
    {0xc9, "parameter out of range"},
    {0xca, "cannot return that many bytes"},
    {0xcb, "requested sensor, data or record not present"},
    {0xcc, "invalid data field in request"},
    {0xcd, "command illegal for this sensor or record type"},
    {0xce, "no response could be provided"},
    {0xcf, "duplicated request"},
    {0xd0, "SDR repository in update mode"},
    {0xd1, "device in firmware update mode"},
    {0xd2, "BMC initialisation in progress"},
    {0xd3, "destination unavailable"},
    {0xd4, "insufficient privilege"},
    {0xd5, "not supported in the present state"},
    {0xd6, "sub-function disabled or unavailable"},
    {0xff, "unspecified error"},
}};
static_assert(std::is_sorted(kNames.begin(), kNames.end(),
                             [](const Name& a, const Name& b) { return a.code < b.code; }));

} // namespace

std::string completionCodeName(std::uint8_t code)
{
    const auto found =
        std::lower_bound(kNames.begin(), kNames.end(), code, [](const Name& a, std::uint8_t c) { return a.code < c; });
    if (found != kNames.end() && found->code == code)
        return std::string(found->text);
    if (code <= 0x7e)
        return "device-specific code";
    return code >= 0x80 && code <= 0xbe ? "command-specific code" : "reserved code";
}

std::string completionCodeText(std::uint8_t code)
{
    return fmt::format("completion code 0x{:02x}, {}", code, completionCodeName(code));
}

} // namespace Tool
