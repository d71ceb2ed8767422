// SPDX-License-Identifier: Apache-2.0
// Keeping what fits of a record.
#include "ipmi/IpmiSdrRecord.h"

#include "base/Log.h"

#include <cstring>

namespace Ipmi
{

namespace
{

constexpr unsigned int kept(unsigned int length)
{
    return length < IpmiSdrRecord::kCapacity ? length : IpmiSdrRecord::kCapacity;
}

} // namespace

IpmiSdrRecord::IpmiSdrRecord(unsigned int len, const unsigned char* data)
{
    if (data == nullptr)
        return;
    length = kept(len);
    std::memcpy(bytes, data, length);
}

IpmiSdrRecord::IpmiSdrRecord(const IpmiSdrRecord& other) : length(other.length)
{
    std::memcpy(bytes, other.bytes, kept(length));
}

IpmiSdrRecord& IpmiSdrRecord::operator=(const IpmiSdrRecord& other)
{
    if (this != &other)
        set(other.length, other.bytes);
    return *this;
}

bool IpmiSdrRecord::set(unsigned int len, const unsigned char* data)
{
    std::memset(bytes, 0, sizeof bytes);
    length = len;
    if (len > kCapacity) {
        TRX::log(LOG_ERR, "%s: SDR is too long", "set");
        return true;
    }
    if (data != nullptr)
        std::memcpy(bytes, data, len);
    return false;
}

} // namespace Ipmi
