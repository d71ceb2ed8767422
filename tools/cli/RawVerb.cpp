// SPDX-License-Identifier: Apache-2.0
// raw: one command out, the answer's bytes in.
#include "base/Failure.h"
#include "base/Json.h"
#include "base/Number.h"
#include "cli/Verbs.h"
#include "node/CompletionCode.h"
#include "node/NodeSession.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <string>
#include <vector>

namespace Tool
{

namespace
{

constexpr std::size_t kMostData = 255;
constexpr unsigned kLargestNetfn = 0x3f;

std::uint8_t byteOf(const std::string& word)
{
    if (const auto byte = byteFrom(word))
        return *byte;
    throw Failure("\"" + printable(word) + "\" is no byte: give 0 to 255, or 0x00 to 0xff");
}

Reply exchange(int node, const RawCommand& command)
{
    const Progress progress("Waiting for the BMC");
    const NodeSession session(node);
    if (auto reply = session.send({command.netfn, command.cmd}, command.data))
        return *reply;
    throw Failure(fmt::format("the BMC behind /dev/ipmi{} gave no answer (or completion code 0xff, unspecified error): "
                              "try again, or reset it",
                              node));
}

void printJson(const RawCommand& command, const Reply& reply)
{
    writeOut(jsonDocument({{"netfn", command.netfn},
                           {"cmd", command.cmd},
                           {"data", command.data},
                           {"completion_code", reply.completionCode},
                           {"completion", completionCodeName(reply.completionCode)},
                           {"answer", reply.data},
                           {"maybe_cut", reply.maybeCut}}));
}

void print(const RawCommand& command, const Reply& reply)
{
    if (reply.completionCode != 0)
        throw Failure(fmt::format("the BMC refuses command 0x{:02x} of network function 0x{:02x}: {}", command.cmd,
                                  command.netfn, completionCodeText(reply.completionCode)),
                      kExitRefused);
    writeOut(fmt::format("{:02x}\n", fmt::join(reply.data, " ")));
    if (reply.maybeCut)
        complain("as long as an answer can be here: there may have been more of it");
}

} // namespace

int rawVerb(const Options& options, const RawCommand& command)
{
    const Reply reply = exchange(options.node, command);
    options.json ? printJson(command, reply) : print(command, reply);
    return reply.completionCode == 0 ? kExitFine : kExitRefused;
}

RawCommand rawCommandFrom(const std::vector<std::string>& words)
{
    if (words.size() > kMostData + 2)
        throw Failure(fmt::format("too many data bytes: at most {}", kMostData));
    RawCommand command;
    for (const std::string& word : words)
        command.data.push_back(byteOf(word));
    command.netfn = command.data.at(0);
    command.cmd = command.data.at(1);
    command.data.erase(command.data.begin(), command.data.begin() + 2);
    if (command.netfn > kLargestNetfn || command.netfn % 2 != 0)
        throw Failure(fmt::format("network function 0x{:02x} is no request: requests have even ones, 0x00 to 0x3e",
                                  command.netfn));
    return command;
}

} // namespace Tool
