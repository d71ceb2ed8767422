#include "NodeList.h"

#include "Number.h"
#include "ipmi/IpmiRecords.h"

#include <set>

namespace Tool
{

namespace
{

/// "2" or "0-2". @return false for every other text
bool add(std::string_view part, std::set<int>& nodes)
{
    const auto dash = part.find('-');
    const auto first = byteFrom(part.substr(0, dash));
    const auto last = dash == part.npos ? first : byteFrom(part.substr(dash + 1));
    if (!first || !last || *first > *last || *last >= Ipmi::kNodeCount)
        return false;
    for (int node = *first; node <= *last; ++node)
        nodes.insert(node);
    return true;
}

} // namespace

std::optional<std::vector<int>> nodesFrom(std::string_view text)
{
    std::set<int> nodes;
    for (;;) {
        const auto comma = text.find(',');
        if (!add(text.substr(0, comma), nodes))
            return std::nullopt;
        if (comma == text.npos)
            return std::vector<int>(nodes.begin(), nodes.end());
        text.remove_prefix(comma + 1);
    }
}

} // namespace Tool
