// Several nodes as users write them.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace Tool
{

/// "0", "0,2" or "0-3", in any order and mix; ascending, each once. Nothing for every other text, and for a node that
/// there cannot be.
std::optional<std::vector<int>> nodesFrom(std::string_view text);

} // namespace Tool
