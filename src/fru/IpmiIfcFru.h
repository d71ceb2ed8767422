// SPDX-License-Identifier: Apache-2.0
// Reading FRU devices, and the inventory made of them (IPMI 2.0, section 34).
#pragma once

#include "ipmi/IpmiFru.h"
#include "ipmi/IpmiNodeControl.h"
#include "ipmi/IpmiRecords.h"

#include <atomic>
#include <vector>

namespace Ipmi
{

using FruAreas = std::vector<TRX::Reference<IpmiFruOptional>>;

/// Most bytes asked for in one request, on every node. An inventory begins with 23; a BMC that refuses gets fewer.
extern std::atomic<int> fru_max_req_size;
inline constexpr int kMostFruBytesAtOnce = 23;

// All of these send commands and block. None throws anything but std::bad_alloc. What they return are areas that passed
// every check; the node's record (FruReading) has the others too.

/// Reads a FRU device of the thread's target. @return its areas, in the order chassis, board, product, multi-record
FruAreas IpmiIfcFruGetInv(int node, unsigned char fruDeviceId);

/// Reads header and areas after a good answer to Get FRU Inventory Area Info, whose request the reply has. Holds the
/// node's fruLock, pauses included.
/// @return 0; the failing completion code, or -1 without an answer; -2 for another header version
int IpmiIfcRhFruInv(ipmiifc_resp* infoResponse, FruAreas& areas);

/// @param length  in: bytes wanted; out: bytes stored
/// @return 0; the completion code of a refusal; -1 for bad arguments, no answer and an answer that makes no sense
int IpmiIfcReadFru(int node, unsigned char deviceId, unsigned char devAccessWord, int offset, unsigned int* length,
                   unsigned char* buffer);
/// The same of a device that counts offsets in words (IPMI 2.0, 34.2), which the one above does not do.
/// @param offset  even
int readFruInWords(int node, unsigned char deviceId, unsigned int offset, unsigned int* length, unsigned char* buffer);

/// @return bytes of the info area at `offset`; 0 when it cannot be read
unsigned int IpmiIfruInfoAreaLength(int node, unsigned char deviceId, unsigned char devAccessWord, unsigned int offset);
/// Adds bytes to a sum. @return true when it is 0 then
bool IpmiIfcFruChecksum(unsigned char* data, unsigned char* sum, unsigned int length);
/// @return bytes of the multi-record area at `offset`, as far as its headers could be read
unsigned int IpmiIfcFruMultiLength(int node, unsigned char deviceId, unsigned int offset);

// The areas of the device that the reply is of; empty where it has none or it fails a check. The caller holds fruLock.
TRX::Reference<IpmiFruOptional> IpmiIfcFruChassis(fru_header* header, ipmiifc_resp* infoResponse);
TRX::Reference<IpmiFruOptional> IpmiIfcFruBoard(fru_header* header, ipmiifc_resp* infoResponse);
TRX::Reference<IpmiFruOptional> IpmiIfcFruProduct(fru_header* header, ipmiifc_resp* infoResponse);
TRX::Reference<IpmiFruOptional> IpmiIfcFruMulti(fru_header* header, ipmiifc_resp* infoResponse);

/// The device that a reply to Get FRU Inventory Area Info is of, from its copy of the request; -1 without one.
int fruDeviceOf(const ipmiifc_resp& infoResponse);
/// Bytes from `offset` on, at most `wanted`: fewer when `result` (as of IpmiIfcReadFru) is not 0.
std::vector<unsigned char> readFruBytes(int node, unsigned char deviceId, unsigned int offset, unsigned int wanted,
                                        int& result);

} // namespace Ipmi
