// SPDX-License-Identifier: Apache-2.0
// Reads a file that may be longer than it should be.
#include "files/InputFile.h"

#include "base/Failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <memory>

namespace Tool
{

std::vector<std::uint8_t> readFile(const std::string& path, std::size_t most)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"), std::fclose);
    std::vector<std::uint8_t> content(most + 1);
    const std::size_t size = file ? std::fread(content.data(), 1, content.size(), file.get()) : 0;
    if (!file || std::ferror(file.get()) != 0)
        throw Failure("cannot read " + path + ": " + std::strerror(errno));
    if (size > most)
        throw Failure(fmt::format("{} is too long: at most {} bytes", path, most));
    content.resize(size);
    return content;
}

} // namespace Tool
