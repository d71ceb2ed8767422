#include "CompletionCode.h"
#include "Failure.h"
#include "Json.h"
#include "NodeSession.h"
#include "Number.h"
#include "Progress.h"
#include "Terminal.h"
#include "Verbs.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <string>
#include <vector>

namespace Tool
{

namespace
{

constexpr std::size_t kMostData = 255;
constexpr unsigned kLargestNetfn = 0x3f;

struct Command {
    std::vector<std::string> words; ///< as given: NETFN CMD [DATA...]

    std::uint8_t netfn = 0;
    std::uint8_t cmd = 0;
    std::vector<std::uint8_t> data;
};

std::uint8_t byteOf(const std::string& word)
{
    if (const auto byte = byteFrom(word))
        return *byte;
    throw Failure("\"" + printable(word) + "\" is no byte: give 0 to 255, or 0x00 to 0xff");
}

void parse(Command& command)
{
    if (command.words.size() > kMostData + 2)
        throw Failure(fmt::format("too many data bytes: at most {}", kMostData));
    for (const std::string& word : command.words)
        command.data.push_back(byteOf(word));
    command.netfn = command.data[0];
    command.cmd = command.data[1];
    command.data.erase(command.data.begin(), command.data.begin() + 2);
    if (command.netfn > kLargestNetfn || command.netfn % 2 != 0)
        throw Failure(fmt::format("network function 0x{:02x} is no request: requests have even ones, 0x00 to 0x3e",
                                  command.netfn));
}

Reply exchange(int node, const Command& command)
{
    const Progress progress("Waiting for the BMC");
    const NodeSession session(node);
    if (auto reply = session.send(command.netfn, command.cmd, command.data))
        return *reply;
    throw Failure(fmt::format("the BMC behind /dev/ipmi{} gave no answer (or completion code 0xff, unspecified error): "
                              "try again, or reset it",
                              node));
}

void printJson(const Command& command, const Reply& reply)
{
    writeOut(jsonDocument({{"netfn", command.netfn},
                           {"cmd", command.cmd},
                           {"data", command.data},
                           {"completion_code", reply.completionCode},
                           {"completion", completionCodeName(reply.completionCode)},
                           {"answer", reply.data},
                           {"maybe_cut", reply.maybeCut}}));
}

void print(const Command& command, const Reply& reply)
{
    if (reply.completionCode != 0)
        throw Failure(fmt::format("the BMC refuses command 0x{:02x} of network function 0x{:02x}: {}", command.cmd,
                                  command.netfn, completionCodeText(reply.completionCode)),
                      kExitRefused);
    writeOut(fmt::format("{:02x}\n", fmt::join(reply.data, " ")));
    if (reply.maybeCut)
        complain("as long as an answer can be here: there may have been more of it");
}

int run(const Options& options, const Command& command)
{
    const Reply reply = exchange(options.node, command);
    options.json ? printJson(command, reply) : print(command, reply);
    return reply.completionCode == 0 ? kExitFine : kExitRefused;
}

} // namespace

void addRawVerb(CLI::App& app, Options& options)
{
    CLI::App* verb = app.add_subcommand("raw", "Send one command and print the answer's bytes");
    auto command = std::make_shared<Command>();
    verb->add_option("BYTES", command->words, "NETFN CMD [DATA...]: decimal, or hexadecimal with 0x")
        ->required()
        ->expected(2, -1)
        ->type_name("");
    verb->fallthrough()->group("Verbs")->footer("Examples:\n  trx-ipmi raw 6 1              Get Device ID\n  trx-ipmi "
                                                "raw 0x04 0x2d 0x01   Get Sensor Reading of sensor 1");
    verb->callback([&options, command] {
        parse(*command);
        options.run = [&options, command] { return run(options, *command); };
    });
}

} // namespace Tool
