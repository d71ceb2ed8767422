// SPDX-License-Identifier: Apache-2.0
// Bytes from a virtual machine: its frames, and the BMC's answers to the requests in them, which read back as they
// were.
#include "sim/bmc/Bmc.h"
#include "sim/bus/SystemInterface.h"
#include "sim/machine/MachineFile.h"
#include "sim/vm/VmFrame.h"
#include "support/Fuzz.h"

using namespace Sim;

namespace
{

std::optional<VmFrame> decoded(const Bytes& bytes)
{
    VmDecoder decoder;
    std::optional<VmFrame> frame;
    for (const std::uint8_t byte : bytes)
        frame = decoder.take(byte);
    return frame;
}

} // namespace

void Fuzz::use(Span input)
{
    static Bmc bmc(loadMachine("absent"));
    SystemInterface interface(bmc, [] { return std::chrono::milliseconds(0); });
    VmDecoder decoder;
    for (const std::uint8_t byte : input) {
        const auto frame = decoder.take(byte);
        const auto request = frame ? vmRequest(*frame) : std::nullopt;
        if (!request)
            continue;
        const Bytes answer = interface.handle(request->request).bytes;
        const auto back = decoded(encodeAnswer(*request, answer));
        Fuzz::demand(back && back->bytes.size() == 3 + answer.size(), "an answer that reads back");
        Fuzz::demand(back->bytes[0] == request->sequence, "the request's sequence number");
    }
}
