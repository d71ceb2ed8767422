// SPDX-License-Identifier: Apache-2.0
// A file that appears whole or not at all.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace Tool
{

class OutputFile
{
public:
    /// Checks, without changing anything, that `path` can be written. Throws Failure.
    explicit OutputFile(std::string path);

    /// False for a pipe, a terminal, a device.
    bool isRegular() const { return regular_; }

    /// Writes the whole content under another name and renames it; into what is no regular file (a pipe, a terminal) it
    /// writes as it stands. Throws Failure.
    void write(std::span<const std::uint8_t> content) const;

private:
    void replace(std::span<const std::uint8_t> content) const;

    std::string path_; ///< the file itself, where the user named a link to it
    std::string shownPath_;
    bool regular_ = true;
};

} // namespace Tool
