// SPDX-License-Identifier: Apache-2.0
// What an inventory leaves out, read when somebody asks: whole images, internal use areas, devices that count in words.
#include "fru/FruReading.h"
#include "fru/IpmiIfcFru.h"
#include "ipmi/IpmiIfc.h"
#include "transport/Answer.h"
#include "transport/Channel.h"
#include "transport/TargetScope.h"
#include "wire/AnswerLayout.h"
#include "wire/Bits.h"
#include "wire/FruLayout.h"

#include <algorithm>
#include <span>

namespace Ipmi
{

namespace
{

/// Has the thread ask the controller that a device is behind.
TargetScope targetOf(int node, const IpmiFruDevice& device)
{
    return {node, device.controller, device.lun, device.channel};
}

/// Reads `size` bytes from `offset` on, or as many of them as the device gives.
void readBytes(int node, const IpmiFruDevice& device, bool byWords, unsigned int offset, unsigned int size,
               IpmiFruImage& image)
{
    image.bytes.resize(size);
    unsigned int length = size;
    int result = 0;
    if (size > 0)
        result = byWords ? readFruInWords(node, device.id, offset, &length, image.bytes.data())
                         : IpmiIfcReadFru(node, device.id, 0, static_cast<int>(offset), &length, image.bytes.data());
    image.bytes.resize(length);
    noteFruResult(result, image.state, image.completionCode);
}

/// Up to the next area, or to the end of the device.
unsigned int internalSize(const IpmiFruDevice& device)
{
    unsigned int end = device.size;
    for (const IpmiFruArea& area : device.areas) {
        if (area.offset > device.internalOffset)
            end = std::min(end, area.offset);
    }
    return end > device.internalOffset ? end - device.internalOffset : 0;
}

void addInternal(int node, IpmiFruDevice& device)
{
    IpmiFruImage part;
    readBytes(node, device, false, device.internalOffset, internalSize(device), part);
    IpmiFruArea area = makeFruArea(IpmiFruArea::kInternal, device.internalOffset, part.bytes.data(), part.bytes.size());
    area.whole = part.state == IpmiFruDevice::kRead;
    device.areas.insert(device.areas.begin(), std::move(area));
}

} // namespace

IpmiFruImage IpmiIfc::readFruImage(int node, const IpmiFruDevice& device)
{
    using namespace wire::fru_info;
    IpmiFruImage image;
    if (!isNode(node) || !device.isLogical)
        return image;
    const TargetScope target = targetOf(node, device);
    const Answer answer = ask(node, wire::kGetFruInfo, {&device.id, 1});
    noteFruResult(answer.code(), image.state, image.completionCode);
    if (!answer.good())
        return image;
    if (!answer.good(kSize)) {
        image.state = IpmiFruDevice::kNoAnswer;
        return image;
    }
    image.size = answer.le16(kBytes);
    fru_max_req_size = kMostFruBytesAtOnce;
    readBytes(node, device, wire::bit(answer.at(kAccess), kWordsBit), 0, image.size, image);
    return image;
}

IpmiFruDevice IpmiIfc::readFru(int node, const IpmiFruDevice& device)
{
    IpmiFruDevice whole = device;
    const bool isLeftOut = device.state == IpmiFruDevice::kByWords || device.state == IpmiFruDevice::kBadHeader;
    if (isNode(node) && device.isLogical && isLeftOut) {
        const IpmiFruImage image = readFruImage(node, device);
        whole.areas = decodeFru(image.bytes.data(), image.bytes.size(), nullptr);
        if (image.bytes.size() >= wire::fru::kHeaderSize) // what was read of a header by bytes may be another one
            noteFruHeader(std::span(image.bytes).first<wire::fru::kHeaderSize>(), whole);
        if (image.state != IpmiFruDevice::kRead)
            whole.state = image.state;
        whole.completionCode = image.completionCode;
    } else if (isNode(node) && device.state == IpmiFruDevice::kRead && device.internalOffset != 0) {
        const TargetScope target = targetOf(node, device);
        addInternal(node, whole);
    }
    return whole;
}

} // namespace Ipmi
