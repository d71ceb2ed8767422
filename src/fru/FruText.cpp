// SPDX-License-Identifier: Apache-2.0
// Counting to a field, and printing an area.
#include "fru/FruText.h"

#include "wire/FruLayout.h"

#include <cstdio>

namespace Ipmi
{

using namespace wire;

bool hasKnownVersion(const IpmiFruOptional& area)
{
    return fru::isKnownVersion(area.at(fru::kVersion));
}

unsigned int fruFieldIndex(const IpmiFruOptional& area, unsigned int first, unsigned int count)
{
    unsigned int index = first;
    for (unsigned int i = 0; i < count; ++i)
        index += 1 + fru::fieldLength(area.at(index));
    return index;
}

bool hasFruFieldsBefore(const IpmiFruOptional& area, unsigned int first, unsigned int count)
{
    if (!hasKnownVersion(area))
        return false;
    for (unsigned int i = 0; i < count; ++i) {
        if (area.at(fruFieldIndex(area, first, i)) == fru::kEndOfFields)
            return false;
    }
    return true;
}

std::string cleanFruField(const IpmiFruOptional& area, unsigned int first, unsigned int count)
{
    if (!hasFruFieldsBefore(area, first, count))
        return {};
    std::string text = area.getFruAreaString(fruFieldIndex(area, first, count));
    return toAsciiAndTrim(text);
}

void printFruArea(const IpmiFruOptional& area, const char* title)
{
    if (area.length() > 0) {
        std::printf("%s\n%s : 0x%02x", std::string(78, '*').c_str(), title, area.length());
        for (unsigned int i = 0; i < area.length(); ++i) {
            if (i % 16 == 0)
                std::printf("\nData 0x%02x:", i);
            std::printf(" 0x%02x", area.at(i));
        }
    }
    std::printf("\n");
}

} // namespace Ipmi
