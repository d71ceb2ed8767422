// SPDX-License-Identifier: Apache-2.0
// The library reads them; here its failures get words.
#include "fru/FruReader.h"

#include "base/Failure.h"
#include "files/InputFile.h"
#include "fru/FruView.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "sensors/SensorReader.h"

#include <fmt/format.h>
#include <utility>

namespace Tool
{

FruDevices readFruDevices(const NodeSession& session, std::string& trouble)
{
    session.requireBmc();
    try {
        readSensors(session); // with the repository, which the inventory starts from
    } catch (const Failure& failure) {
        trouble = std::string("FRU devices may be missing: ") + failure.what();
    }
    Ipmi::IpmiIfcFruInstantiateAll(session.node());
    return Ipmi::IpmiIfc::getFruDevices(session.node());
}

std::vector<std::uint8_t> readFruImage(const NodeSession& session, const Ipmi::IpmiFruDevice& device)
{
    Ipmi::IpmiFruImage image = Ipmi::IpmiIfc::readFruImage(session.node(), device);
    const std::string trouble = fruTrouble(device, image);
    if (!trouble.empty())
        throw Failure(fmt::format("cannot read {}: {} ({} of {} bytes read)", fruTitle(device), trouble,
                                  image.bytes.size(), image.size));
    if (image.bytes.empty() || image.bytes.size() != image.size)
        throw Failure(
            fmt::format("cannot read {}: it gives {} of {} bytes", fruTitle(device), image.bytes.size(), image.size));
    return std::move(image.bytes);
}

std::vector<std::uint8_t> readFruFile(const std::string& path)
{
    constexpr std::size_t kMostBytes = 0x10000;
    return readFile(path, kMostBytes);
}

} // namespace Tool
