// SPDX-License-Identifier: Apache-2.0
// What the simulator's tests share.
#pragma once

#include "sim/bmc/Bmc.h"
#include "sim/bus/SystemInterface.h"
#include "sim/machine/MachineFile.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>

namespace Sim
{

/// "06 01" as bytes.
inline Bytes hex(const std::string& text)
{
    Bytes bytes;
    std::istringstream words(text);
    for (unsigned byte = 0; words >> std::hex >> byte;)
        bytes.push_back(static_cast<std::uint8_t>(byte));
    return bytes;
}

/// Bytes as "06 01"; only those whose number is in `which`, when some are.
template <class Some> std::string text(const Some& bytes, std::initializer_list<std::size_t> which = {})
{
    std::string text;
    for (std::size_t i = 0; i < (which.size() != 0 ? which.size() : bytes.size()); ++i) {
        char digits[4];
        std::snprintf(digits, sizeof digits, " %02x", bytes.at(which.size() != 0 ? which.begin()[i] : i));
        text += digits + (i == 0 ? 1 : 0);
    }
    return text;
}

/// A machine's BMC behind its system interface, and time in the test's hands.
struct World {
    explicit World(const Machine& machine) : bmc(machine, [this] { return time; })
    {
        bmc.state()->clock.set(0x10000000);
        bmc.state()->log.keepJournal(true);
    }

    /// One request: network function, command and data in hexadecimal; before them, for another than the BMC,
    /// "@address/lun/channel". @return the answer's bytes, and its delay as "+70"; "-" when there is none
    std::string ask(const std::string& request)
    {
        unsigned address = kBmcAddress, lun = 0, channel = 0;
        const bool placed = std::sscanf(request.c_str(), "@%x/%x/%x", &address, &lun, &channel) > 0;
        const Bytes bytes = hex(request.substr(placed ? request.find(' ') : 0));
        const Answer answer = driver.handle({.channel = static_cast<std::uint8_t>(placed ? channel : 0x0f),
                                             .address = static_cast<std::uint8_t>(address),
                                             .lun = static_cast<std::uint8_t>(lun),
                                             .netfn = bytes.at(0),
                                             .cmd = bytes.at(1),
                                             .data = {bytes.begin() + 2, bytes.end()}});
        const std::string late = answer.delay.count() != 0 ? " +" + std::to_string(answer.delay.count()) : "";
        return (answer.answered ? text(answer.bytes) : "-") + late;
    }
    /// What was logged since it was asked last: generator id, sensor, direction and type, event data; ", " between
    /// them.
    std::string logged()
    {
        std::string all;
        const auto state = bmc.state();
        for (const SelJournalEntry& entry : state->log.journal())
            all += (all.empty() ? "" : ", ") + text(entry.record, {7, 8, 11, 12, 13, 14, 15});
        state->log.clear();
        state->log.keepJournal(true);
        return all;
    }
    /// Steps with '|' between them: "request > answer", "log > events", where ".." ends what may go on; "+300": so many
    /// milliseconds pass; "{...}": the one rule of the fault plan from now on.
    void converse(const std::string& steps)
    {
        std::istringstream all(steps);
        for (std::string step; std::getline(all >> std::ws, step, '|');) {
            if (step[0] == '+')
                time += std::chrono::milliseconds(std::stoi(step));
            else if (step[0] == '{')
                bmc.setFaults(parseFaultPlan("{\"faults\": [" + step + "]}", "plan"));
            else
                exchange(step);
        }
    }

    std::chrono::milliseconds time{1000};
    Bmc bmc;
    SystemInterface driver{bmc, [this] { return time; }};

private:
    void exchange(const std::string& step)
    {
        const std::size_t arrow = step.find('>');
        const std::string request = step.substr(0, arrow);
        const std::string got = request.starts_with("log") ? logged() : ask(request);
        std::string wanted = arrow == std::string::npos ? ".." : step.substr(arrow + 1);
        wanted.erase(0, wanted.find_first_not_of(' '));
        wanted.erase(wanted.find_last_not_of(' ') + 1);
        if (wanted.ends_with(".."))
            EXPECT_EQ(got.substr(0, wanted.size() - 2) + "..", wanted) << request << "at " << time.count() << " ms";
        else
            EXPECT_EQ(got, wanted) << request << "at " << time.count() << " ms";
    }
};

/// Holds each of the rows "name: steps;".
template <class Hold> void forEachRow(const std::string& rows, Hold hold)
{
    std::istringstream all(rows);
    for (std::string name, steps; std::getline(std::getline(all >> std::ws, name, ':'), steps, ';');) {
        SCOPED_TRACE(name);
        hold(steps);
    }
}

/// The same, each with a BMC of its own.
inline void converse(const Machine& machine, const std::string& rows)
{
    forEachRow(rows, [&](const std::string& steps) { World(machine).converse(steps); });
}

/// What is wrong with what `read` reads; or "taken".
template <class Read> std::string complaint(Read read)
{
    try {
        read();
        return "taken";
    } catch (const BadFile& error) {
        return error.what();
    }
}

/// Lines "text => message", where ".." ends a message that goes on: each text is refused so.
template <class Parse> void expectRefused(const std::string& lines, Parse parse)
{
    std::istringstream all(lines);
    for (std::string line; std::getline(all >> std::ws, line);) {
        const std::string file = line.substr(0, line.find("=>")), wanted = line.substr(file.size() + 3);
        const std::string got = complaint([&] { parse(file, "file"); });
        EXPECT_EQ(wanted.ends_with("..") ? got.substr(0, wanted.size() - 2) + ".." : got, wanted) << file;
    }
}

/// A file that is gone with the test.
class ScratchFile
{
public:
    explicit ScratchFile(std::string_view content) : file_(std::tmpfile(), &std::fclose)
    {
        std::fwrite(content.data(), 1, content.size(), file_.get());
        std::fflush(file_.get());
    }
    std::string path() const { return "/proc/self/fd/" + std::to_string(::fileno(file_.get())); }

private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
};

} // namespace Sim
