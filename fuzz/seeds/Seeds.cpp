// Inputs to start from, written into a folder for each fuzz target: the sample machine's records and description,
// frames that users and drivers really send, a fault plan.
#include "sim/BuiltinMachines.h"
#include "sim/MachineFile.h"
#include "sim/device/Frame.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

namespace
{

using namespace Sim;

std::filesystem::path root;

void write(const char* target, const std::string& name, const std::string& content)
{
    std::filesystem::create_directories(root / target);
    std::ofstream(root / target / name, std::ios::binary) << content;
}

std::string text(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

/// A frame as a piece of an input: its length first.
std::string piece(const Frame::Header& header, const std::string& data = {})
{
    std::string bytes(sizeof header, '\0');
    std::memcpy(bytes.data(), &header, sizeof header);
    bytes += data;
    return static_cast<char>(bytes.size()) + bytes;
}

void records()
{
    std::string all;
    for (const Bytes& record : loadMachine("sample").sdr) {
        write("SensorRecordFuzz", "record-" + std::to_string(record.at(0)), text(record));
        all += text(record);
    }
    write("SensorRecordFuzz", "repository", all);
}

void events()
{
    std::string all;
    for (const SelRecord& record : loadMachine("sample").sel)
        all.append(record.begin(), record.end());
    write("SelRecordFuzz", "log", all);
}

void frames()
{
    constexpr long kFirstMessage = 1445; // of a node
    const Frame::Header hello{.kind = Frame::kHello, .value = 1};
    Frame::Header command{
        .kind = Frame::kCommand, .addressType = Frame::kSystemInterface, .channel = Frame::kBmcChannel};
    command.netfn = 0x06, command.cmd = 0x01;
    Frame::Header satellite = command;
    satellite.addressType = Frame::kIpmb, satellite.channel = 0, satellite.slave = 0x82;
    const Frame::Header events{.kind = Frame::kEvents, .value = 1};
    const std::string step(1, '\1');
    write("DeviceFrameFuzz", "commands", step + piece(command) + step + piece(events) + step + piece(satellite));

    std::string answers = step + piece(hello);
    for (long i = 0; i < 3; ++i) {
        Frame::Header answer = command;
        answer.kind = Frame::kMessage, answer.receiveType = Frame::kResponse, answer.netfn = 0x07;
        answer.msgid = kFirstMessage + i;
        answers += piece(answer, std::string(1, '\0') + "0123456789abcde");
    }
    write("ShimFrameFuzz", "answers", answers);
}

void texts()
{
    for (const BuiltinMachine& machine : builtinMachineFiles())
        write("MachineFileFuzz", std::string(machine.name), std::string(machine.text));
    write("FaultPlanFuzz", "plan", R"({"faults": [
        {"netfn": "0x0a", "cmd": 35, "address": 32, "data": "00 00", "every": 2, "count": 3, "lost_reservation": true},
        {"nth": 1, "no_answer": true}, {"completion_code": "0xc5", "delay_ms": 20},
        {"change": [{"offset": 1, "value": 255}], "lengthen_to": 40, "cut_to": 7}],
        "random": {"seed": 42, "per_mille": 500, "faults": ["next_id", {"repository": "touched", "busy_ms": 5}]}})");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 2;
    }
    root = argv[1];
    records();
    events();
    frames();
    texts();
    write("VmFrameFuzz", "requests", "\xff\x01\xa1\x03\x18\x2e\x01\xb6\xa0\x01\x18\x01\xe6\xa0");
    write("AnswerFuzz", "healthy", std::string(64, '\0'));
    return 0;
}
