// SPDX-License-Identifier: Apache-2.0
// A FRU device's areas, each read and checked by itself.
#include "base/Log.h"
#include "fru/IpmiIfcFru.h"
#include "node/IpmiNode.h"
#include "wire/Bits.h"
#include "wire/FruLayout.h"

#include <algorithm>
#include <span>

namespace Ipmi
{

namespace
{

using Area = TRX::Reference<IpmiFruOptional>;

/// One of the three info areas: where the header names it, and what the log is told of it.
struct InfoArea {
    std::size_t pointer;
    IpmiFruArea::Kind kind;
    const char *invalidOffset, *noLength, *length, *notRead, *checksum;
};

constexpr InfoArea kChassis{
    wire::fru::kChassisOffset,
    IpmiFruArea::kChassis,
    "IpmiIfcFruChassis: invalid offset.",
    "IpmiIfcFruChassis: Reading FRU Chassis Info Area length for 0x%x FAILED",
    "IpmiIfcFruChassis: Get FRU Chassis Info Area length 0x%x at offset 0x%x",
    "IpmiIfcFruChassis: Reading FRU Chassis Info details for 0x%x FAILED cc=0x%x",
    "IpmiIfcFruChassis: checksum of record failed. Checksum = %d",
};
constexpr InfoArea kBoard{
    wire::fru::kBoardOffset,
    IpmiFruArea::kBoard,
    "IpmiIfcFruBoard: invalid offset.",
    "IpmiIfcFruBoard: Reading FRU Board Info Area length for 0x%x FAILED",
    "IpmiIfcFruBoard: Get FRU Board Info Area length  0x%x at offset 0x%x",
    "IpmiIfcFruBoard: Reading FRU Board Info details for 0x%x FAILED cc=0x%x",
    "IpmiIfcFruBoard: checksum of record failed. Checksum = %d",
};
constexpr InfoArea kProduct{
    wire::fru::kProductOffset,
    IpmiFruArea::kProduct,
    "IpmiIfcFruProduct: invalid offset.",
    "IpmiIfcFruProduct: Reading FRU product Info Area length for 0x%x FAILED",
    "IpmiIfcFruProduct: Get FRU product Info Area length 0x%x at offset 0x%x",
    "IpmiIfcFruProduct: Reading FRU product Info details for 0x%x FAILED cc=0x%x",
    "IpmiIfcFruProduct: checksum of record failed. Checksum = %d",
};

/// Keeps what was read of an area beside the other areas of the device. The caller holds fruLock.
const IpmiFruArea& keep(int node, IpmiFruArea::Kind kind, unsigned int offset,
                        std::span<const unsigned char> bytes) TRX_NO_THREAD_SAFETY_ANALYSIS
{
    std::vector<IpmiFruArea>& areas = g_IpmiNode[node].fru.device.areas;
    areas.push_back(makeFruArea(kind, offset, bytes.data(), bytes.size()));
    return areas.back();
}

/// The node and the device that the reply is of, and the offset that the header names.
struct Place {
    Place(const fru_header* header, const ipmiifc_resp* info, std::size_t pointer)
        : node(info ? info->node : -1), device(info ? fruDeviceOf(*info) : -1),
          offset(header ? header->bytes[pointer] * wire::fru::kUnit : 0)
    {
        isGood = isNode(node) && device >= 0 && header;
    }

    int node, device;
    unsigned int offset;
    bool isGood = false;
    unsigned char id() const { return static_cast<unsigned char>(device); }
};

Area readInfoArea(const InfoArea& area, const fru_header* header, const ipmiifc_resp* info)
{
    const Place place(header, info, area.pointer);
    if (!place.isGood || place.offset < wire::fru::kUnit) {
        TRX::log(LOG_INFO, "%s", area.invalidOffset);
        return {};
    }
    const unsigned char byWords = g_IpmiNode[place.node].fruAccessWord;
    const unsigned int length = IpmiIfruInfoAreaLength(place.node, place.id(), byWords, place.offset);
    if (length == 0) {
        TRX::log(LOG_ERR, area.noLength, place.device);
        keep(place.node, area.kind, place.offset, {});
        return {};
    }
    TRX::log(LOG_INFO, area.length, length, place.offset);
    int result = 0;
    std::vector<unsigned char> bytes = readFruBytes(place.node, place.id(), place.offset, length, result);
    const IpmiFruArea& kept = keep(place.node, area.kind, place.offset, bytes);
    if (result != 0) {
        TRX::log(LOG_ERR, area.notRead, place.device, result);
        return {};
    }
    unsigned char sum = 0;
    if (!IpmiIfcFruChecksum(bytes.data(), &sum, length)) {
        TRX::log(LOG_ERR, area.checksum, sum);
        return {};
    }
    return kept.contents;
}

/// Checks one record at the beginning of `bytes`. @return its size; 0 when it makes the area unusable
std::size_t checkRecord(std::span<unsigned char> bytes, int number)
{
    using namespace wire::fru;
    unsigned char sum = 0;
    if (bytes.size() < kRecordHeaderSize || !IpmiIfcFruChecksum(bytes.data(), &sum, kRecordHeaderSize)) {
        TRX::log(LOG_ERR, "IpmiIfcFruMulti: checksum of header failed. Checksum = 0x%x", sum);
        return 0;
    }
    const unsigned char length = bytes[kRecordLength];
    if (length == 0) {
        TRX::log(LOG_ERR, "IpmiIfcFruMulti: record len is equal to zero, not valid.");
        return 0;
    }
    sum = bytes[kRecordChecksum];
    TRX::log(LOG_DEBUG, "IpmiIfcFruMulti: record %d data checksum=0x%x ", number, sum);
    if (bytes.size() < kRecordHeaderSize + length || !IpmiIfcFruChecksum(&bytes[kRecordHeaderSize], &sum, length)) {
        TRX::log(LOG_ERR, "IpmiIfcFruMulti: checksum of record data failed.  Checksum = %d", sum);
        return 0;
    }
    return kRecordHeaderSize + length;
}

/// @return true when every record up to the end mark is good
bool checkRecords(std::span<unsigned char> bytes)
{
    for (int number = 0;; ++number) {
        const std::size_t size = checkRecord(bytes, number);
        if (size == 0)
            return false;
        if (wire::bit(bytes[wire::fru::kRecordFlags], wire::fru::kEndOfList))
            return true;
        bytes = bytes.subspan(size); // none left: the next header is missed, and there was no end mark
    }
}

} // namespace

bool IpmiIfcFruChecksum(unsigned char* data, unsigned char* sum, unsigned int length)
{
    for (unsigned int i = 0; i < length; ++i) {
        *sum = static_cast<unsigned char>(*sum + data[i]);
        TRX::log(LOG_DEBUG, "IpmiIfcFruChecksum(0x%x):FruData[%d]=0x%x\n", *sum, i, data[i]);
    }
    return *sum == 0;
}

unsigned int IpmiIfruInfoAreaLength(int node, unsigned char deviceId, unsigned char devAccessWord, unsigned int offset)
{
    unsigned char begin[2] = {};
    unsigned int length = sizeof(begin);
    const int result = IpmiIfcReadFru(node, deviceId, devAccessWord, static_cast<int>(offset), &length, begin);
    if (result == 0)
        return begin[wire::fru::kLength] * wire::fru::kUnit;
    TRX::log(LOG_ERR, "IpmiIfruInfoAreaLength: Reading FRU for 0x%x at 0x%x FAILED cc=0x%x", deviceId, offset, result);
    return 0;
}

unsigned int IpmiIfcFruMultiLength(int node, unsigned char deviceId, unsigned int offset)
{
    using namespace wire::fru;
    if (!isNode(node) || offset >= wire::fru::kMostBytes)
        return 0;
    for (unsigned int total = 0;;) {
        unsigned char header[kRecordHeaderSize] = {};
        unsigned int length = kRecordHeaderSize;
        const int result = IpmiIfcReadFru(node, deviceId, g_IpmiNode[node].fruAccessWord,
                                          static_cast<int>(offset + total), &length, header);
        if (result != 0) {
            TRX::log(LOG_ERR,
                     "IpmiIfcFruMultiLength: Reading FRU Multi Record Header for 0x%x at offset 0x%x FAILED cc=0x%x",
                     deviceId, offset + total, result);
            return total;
        }
        if (header[kRecordLength] == 0)
            TRX::log(LOG_INFO, "IpmiIfcFruMultiLength: record len is equal to zero, not valid.");
        total =
            std::min<unsigned int>(total + kRecordHeaderSize + header[kRecordLength], wire::fru::kMostBytes - offset);
        if (header[kRecordLength] == 0 || wire::bit(header[kRecordFlags], kEndOfList) ||
            total == wire::fru::kMostBytes - offset)
            return total;
    }
}

TRX::Reference<IpmiFruOptional> IpmiIfcFruChassis(fru_header* header, ipmiifc_resp* infoResponse)
{
    return readInfoArea(kChassis, header, infoResponse);
}

TRX::Reference<IpmiFruOptional> IpmiIfcFruBoard(fru_header* header, ipmiifc_resp* infoResponse)
{
    return readInfoArea(kBoard, header, infoResponse);
}

TRX::Reference<IpmiFruOptional> IpmiIfcFruProduct(fru_header* header, ipmiifc_resp* infoResponse)
{
    return readInfoArea(kProduct, header, infoResponse);
}

TRX::Reference<IpmiFruOptional> IpmiIfcFruMulti(fru_header* header, ipmiifc_resp* infoResponse)
{
    const Place place(header, infoResponse, wire::fru::kMultiOffset);
    if (!place.isGood || place.offset < wire::fru::kUnit) {
        TRX::log(LOG_ERR, "IpmiIfcFruMulti: invalid offset.");
        return {};
    }
    const unsigned int length = IpmiIfcFruMultiLength(place.node, place.id(), place.offset);
    if (length == 0) {
        TRX::log(LOG_ERR, "IpmiIfcFruMulti: FRU Multirecord len is equal to zero, not valid.");
        keep(place.node, IpmiFruArea::kMulti, place.offset, {});
        return {};
    }
    TRX::log(LOG_INFO, "IpmiIfcFruMulti: FRU device 0x%x Multirecord len = %d", place.device, length);
    int result = 0;
    std::vector<unsigned char> bytes = readFruBytes(place.node, place.id(), place.offset, length, result);
    const IpmiFruArea& kept = keep(place.node, IpmiFruArea::kMulti, place.offset, bytes);
    if (result != 0) {
        TRX::log(LOG_ERR, "IpmiIfcFruMulti: Reading FRU Multi Record for 0x%x FAILED cc=0x%x", place.device, result);
        return {};
    }
    return checkRecords(bytes) ? kept.contents : Area();
}

std::vector<unsigned char> readFruBytes(int node, unsigned char deviceId, unsigned int offset, unsigned int wanted,
                                        int& result)
{
    std::vector<unsigned char> bytes(wanted);
    unsigned int length = wanted;
    result =
        IpmiIfcReadFru(node, deviceId, g_IpmiNode[node].fruAccessWord, static_cast<int>(offset), &length, bytes.data());
    bytes.resize(length);
    return bytes;
}

} // namespace Ipmi
