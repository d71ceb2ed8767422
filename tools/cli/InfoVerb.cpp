// SPDX-License-Identifier: Apache-2.0
// info: who the BMC is.
#include "base/Failure.h"
#include "base/Json.h"
#include "cli/Verbs.h"
#include "ipmi/IpmiIfc.h"
#include "node/NodeSession.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <fmt/format.h>
#include <optional>
#include <string>

namespace Tool
{

namespace
{

using Ipmi::IpmiIfc;

/// What a BMC says of itself; empty where it did not.
struct Identity {
    int node = 0;
    unsigned char deviceId = 0;
    unsigned char deviceRevision = 0;
    unsigned short productId = 0;
    std::optional<unsigned int> manufacturerId;
    std::string manufacturer;
    std::string firmware;
    std::string ipmi;
    std::optional<unsigned short> selfTest;
    std::string selfTestText;
    std::string osName;
    std::string osVersion;
};

Identity readIdentity(int node)
{
    const Progress progress("Asking the BMC");
    const NodeSession session(node);
    session.requireBmc();
    Identity self;
    self.node = node;
    IpmiIfc::getDeviceId(node, self.deviceId);
    IpmiIfc::getDeviceRevision(node, self.deviceRevision);
    IpmiIfc::getProductId(node, self.productId);
    unsigned char id[3] = {};
    unsigned char length = 0;
    if (IpmiIfc::getManufacturerId(node, id, length) == 0 && length == sizeof id)
        self.manufacturerId = Ipmi::le24(id);
    self.manufacturer = IpmiIfc::getManufacturerName(node);
    self.firmware = IpmiIfc::getFirmwareVersion(node);
    self.ipmi = IpmiIfc::getIpmiVersion(node);
    unsigned short selfTest = 0;
    if (IpmiIfc::getSelfTest(node, selfTest) == 0)
        self.selfTest = selfTest;
    self.selfTestText = IpmiIfc::getSelfTestText(node);
    self.osName = IpmiIfc::getHostOsName(node);
    self.osVersion = IpmiIfc::getHostOsVersion(node);
    return self;
}

void printJson(const Identity& self)
{
    writeOut(jsonDocument({{"node", self.node},
                           {"manufacturer", jsonText(self.manufacturer)},
                           {"manufacturer_id", self.manufacturerId ? Json(*self.manufacturerId) : Json(nullptr)},
                           {"product_id", self.productId},
                           {"device_id", self.deviceId},
                           {"device_revision", self.deviceRevision},
                           {"firmware_version", jsonText(self.firmware)},
                           {"ipmi_version", jsonText(self.ipmi)},
                           {"self_test_code", self.selfTest ? Json(*self.selfTest) : Json(nullptr)},
                           {"self_test", jsonText(self.selfTestText)},
                           {"host_os_name", jsonText(self.osName)},
                           {"host_os_version", jsonText(self.osVersion)}}));
}

void print(const Identity& self)
{
    const auto line = [](std::string_view name, const std::string& text) {
        return fmt::format("{:<18}{}\n", name, text.empty() ? "-" : printable(text));
    };
    const std::string maker =
        self.manufacturerId ? fmt::format("{} ({})", self.manufacturer, *self.manufacturerId) : self.manufacturer;
    const std::string test = self.selfTest ? fmt::format("{} (0x{:04x})", self.selfTestText, *self.selfTest) : "";
    writeOut(line("Node", fmt::format("{} (/dev/ipmi{})", self.node, self.node)) + line("Manufacturer", maker) +
             line("Product", fmt::format("{} (0x{:04x})", self.productId, self.productId)) +
             line("Device", fmt::format("0x{:02x}, revision {}", self.deviceId, self.deviceRevision)) +
             line("Firmware", self.firmware) + line("IPMI", self.ipmi) + line("Self test", test) +
             line("Host OS", self.osName) + line("Host OS version", self.osVersion));
}

} // namespace

int infoVerb(const Options& options)
{
    const Identity self = readIdentity(options.node);
    options.json ? printJson(self) : print(self);
    return kExitFine;
}

} // namespace Tool
