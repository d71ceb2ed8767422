// SPDX-License-Identifier: Apache-2.0
// Prints the parts of the server behind node 0 as a tree: what contains what, and the sensors of each. Run it as root.
#include <ipmi/ipmi.h>

#include <cstdio>
#include <map>
#include <utility>

namespace
{

using Ipmi::IpmiEntity;
using Ipmi::IpmiIfc;

using Key = std::pair<unsigned int, unsigned int>; ///< id and instance
constexpr Key kNone{0, 0};

struct Part {
    IpmiEntity entity;
    Key container;
};
using Parts = std::map<Key, Part>;

Key keyOf(const IpmiEntity& entity)
{
    return {entity.getId(), entity.getInstance()};
}

/// One that contains others and is inside another itself is listed more than once.
Parts readParts()
{
    Parts parts;
    for (const IpmiEntity& entity : IpmiIfc::getEntities(0))
        parts[keyOf(entity)] = {entity, keyOf(entity.getParent())};
    return parts;
}

void printSensors(const IpmiEntity& entity, int indent)
{
    for (const auto& sensor : IpmiIfc::getSensors(0)) {
        if (keyOf(sensor->getEntity()) == keyOf(entity))
            std::printf("%*s- %s: %s\n", indent, "", sensor->getName().c_str(), sensor->getState(false).c_str());
    }
}

/// What is inside `container`, or inside nothing.
void print(const Parts& parts, const Key& container, int level)
{
    constexpr int kDeepest = 8, kIndent = 2;
    for (const auto& [key, part] : parts) {
        if (part.container != container)
            continue;
        std::printf("%*s%s %u (%u.%u)\n", kIndent * level, "", part.entity.getName().c_str(), key.second, key.first,
                    key.second);
        printSensors(part.entity, kIndent * (level + 1));
        if (level < kDeepest && key != kNone)
            print(parts, key, level + 1);
    }
}

} // namespace

int main()
{
    if (Ipmi::IpmiIfcOpenIpmiOpen(0) < 0) {
        std::perror("/dev/ipmi0");
        return 1;
    }
    const bool isLoaded = Ipmi::IpmiIfcInitForCLI(0) == 0 && Ipmi::IpmiIfcSdrGetInfo(0) == 0;
    if (isLoaded)
        print(readParts(), kNone, 0);
    Ipmi::IpmiIfcCloseForCLI(0);
    return isLoaded ? 0 : 1;
}
