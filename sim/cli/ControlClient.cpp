// SPDX-License-Identifier: Apache-2.0
// One line to the control socket, one line back.
#include "sim/cli/ControlClient.h"

#include "sim/cli/SocketFolder.h"
#include "sim/cli/UserMistake.h"
#include "sim/control/ControlServer.h"

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <array>
#include <cstdlib>

namespace Sim
{

namespace
{

constexpr std::size_t kLongestAnswer = 64U << 20;

std::string servedFolder(const std::string& given)
{
    const char* used = std::getenv("TRX_BMCSIM_DIR"); // the simulator that this shell's programs use
    if (!given.empty())
        return given;
    return used && *used ? used : usualFolder();
}

Descriptor connectTo(const std::string& folder)
{
    constexpr timeval kPatience{10, 0};
    const std::string path = folder + kControlSocket;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    for (const int option : {SO_RCVTIMEO, SO_SNDTIMEO})
        ::setsockopt(socket.get(), SOL_SOCKET, option, &kPatience, sizeof kPatience);
    if (path.size() >= sizeof address.sun_path ||
        ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw UserMistake("no simulator serves in " + folder + "; start one: trx-bmcsim serve");
    return socket;
}

std::string exchangeLine(const Descriptor& socket, const std::string& line)
{
    std::string answer;
    std::array<char, 4096> room;
    ssize_t got = ::send(socket.get(), line.data(), line.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(line.size());
    while (got > 0 && !answer.ends_with('\n') && answer.size() < kLongestAnswer) {
        got = ::recv(socket.get(), room.data(), room.size(), 0);
        answer.append(room.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    return answer;
}

} // namespace

nlohmann::json askSimulator(const std::string& folder, const nlohmann::json& request)
{
    using nlohmann::json;
    const std::string line = request.dump(-1, ' ', true, json::error_handler_t::replace) + '\n';
    if (line.size() > ControlServer::kLongestLine)
        throw UserMistake("that is too much for one request, of at most 64 KB");
    const std::string answer = exchangeLine(connectTo(servedFolder(folder)), line);
    json parsed = json::parse(answer, nullptr, false);
    if (!parsed.is_object())
        throw UserMistake("the simulator in " + servedFolder(folder) + " does not answer");
    if (parsed.contains("error"))
        throw UserMistake(parsed["error"].is_string() ? parsed["error"].get<std::string>() : parsed["error"].dump());
    return parsed;
}

} // namespace Sim
