// SPDX-License-Identifier: Apache-2.0
// Self test results in words (IPMI 2.0, 20.4).
#include "node/IpmiNode.h"

#include <cstdio>

namespace Ipmi
{

namespace
{

constexpr unsigned int kPassed = 0x55, kNotImplemented = 0x56, kCorrupted = 0x57, kFatal = 0x58;

/// What each bit of the detail of result 57h says, bit 7 first.
constexpr const char* kFaults[] = {
    "cannot access SEL device",
    "cannot access SDR repository",
    "cannot access BMC FRU device",
    "IPMB signal lines do not respond",
    "SDR repository empty",
    "internal use area of BMC FRU corrupted",
    "controller update boot block firmware corrupted",
    "controller operational firmware corrupted",
};
static_assert(std::size(kFaults) == 8);

std::string faults(unsigned int detail)
{
    std::string text;
    for (unsigned int i = 0; i < std::size(kFaults); ++i) {
        if (detail & (0x80U >> i))
            text += (text.empty() ? ": " : ", ") + std::string(kFaults[i]);
    }
    return "corrupted or inaccessible data or devices" + text;
}

std::string withCode(const char* format, unsigned int result, unsigned int detail)
{
    char text[64];
    std::snprintf(text, sizeof text, format, result, detail);
    return text;
}

} // namespace

std::string IpmiIfc::getSelfTestText(int node)
{
    unsigned short code;
    if (getSelfTest(node, code) != 0)
        return {};
    const unsigned int result = code >> 8, detail = code & 0xff;
    switch (result) {
    case kPassed:
        return "passed";
    case kNotImplemented:
        return "not implemented";
    case kCorrupted:
        return faults(detail);
    case kFatal:
        return withCode("fatal hardware error (0x%02x%02x)", result, detail);
    default:
        return withCode("device-specific failure (0x%02x%02x)", result, detail);
    }
}

} // namespace Ipmi
