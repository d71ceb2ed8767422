#include "Failure.h"
#include "Json.h"
#include "NodeSession.h"
#include "OutputFile.h"
#include "Progress.h"
#include "SdrReader.h"
#include "Terminal.h"
#include "Verbs.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <memory>

namespace Tool
{

namespace
{

std::size_t countRecords(std::span<const std::uint8_t> all)
{
    constexpr std::size_t kLength = 4, kHeaderSize = 5;
    std::size_t count = 0;
    for (; all.size() >= kHeaderSize; ++count)
        all = all.subspan(std::min(all.size(), kHeaderSize + all[kLength]));
    return count;
}

std::vector<std::uint8_t> readRepository(int node)
{
    const Progress progress("Reading the SDR repository");
    const NodeSession session(node);
    session.requireBmc();
    return SdrReader(session).read();
}

int dump(const Options& options, const std::string& path)
{
    const OutputFile file(path);
    const auto all = readRepository(options.node);
    file.write(all);
    if (!file.isRegular())
        return kExitFine; // it may be standard output itself
    if (options.json) {
        writeOut(jsonDocument({{"file", path}, {"records", countRecords(all)}, {"bytes", all.size()}}));
    } else {
        writeOut(printable(fmt::format("{} records, {} bytes written to {}", countRecords(all), all.size(), path)) +
                 '\n');
    }
    return kExitFine;
}

} // namespace

void addSdrVerb(CLI::App& app, Options& options)
{
    CLI::App* sdr = app.add_subcommand("sdr", "The repository of sensor data records");
    sdr->fallthrough()->group("Verbs");
    CLI::App* verb = sdr->add_subcommand("dump", "Write the repository to a file: raw records one after another");
    auto path = std::make_shared<std::string>();
    verb->add_option("FILE", *path, "File to write; replaced only when all has been read")->required()->type_name("");
    verb->fallthrough()->group("Verbs")->footer("Example:\n  trx-ipmi sdr dump sdr.bin");
    verb->callback([&options, path] { options.run = [&options, path] { return dump(options, *path); }; });
}

} // namespace Tool
