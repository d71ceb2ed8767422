// A BMC whose events can be told apart, and node 0 running on it without its polling loop.
#pragma once

#include "base/Clock.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiNode.h"
#include "sim/Bmc.h"
#include "sim/SelLayout.h"
#include "support/SimNode.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace SelTest
{

using Records = std::vector<Sim::SelRecord>;

struct RunningBmc : Sim::Responder {
    Sim::Bmc bmc;
    std::function<void(const Sim::Request&)> before{}; ///< called before each request
    Support::SimNode sim{*this};

    explicit RunningBmc(Sim::Bmc::Now now) : bmc({}, std::move(now))
    {
        EXPECT_GT(Ipmi::IpmiIfcOpenIpmiOpen(0), 0);
        EXPECT_EQ(Ipmi::IpmiIfcInitForCLI(0), 0);
        Ipmi::_setState(0, Ipmi::IpmiIfc::IPMI_STATE_RUNNING);
    }
    ~RunningBmc() override { Ipmi::IpmiIfcCloseForCLI(0); }

    Sim::Answer handle(const Sim::Request& request) override
    {
        if (before)
            before(request);
        return bmc.handle(request);
    }

    /// Logs an event that carries this number.
    void addEvent(std::size_t serial)
    {
        Sim::SelRecord record{};
        record[Sim::SelLayout::kType] = Sim::SelLayout::kSystemEvent;
        for (std::size_t i = Sim::SelLayout::kData; i < record.size(); ++i, serial >>= 8)
            record[i] = static_cast<std::uint8_t>(serial);
        EXPECT_NE(bmc.addEvent(record), 0);
    }
    static std::size_t serialOf(const std::uint8_t* record)
    {
        constexpr std::size_t kAt = Sim::SelLayout::kData;
        return record[kAt] | static_cast<std::size_t>(record[kAt + 1]) << 8 |
               static_cast<std::size_t>(record[kAt + 2]) << 16;
    }
    static Records cached()
    {
        Records records;
        for (const auto& record : Ipmi::IpmiIfc::getSelData(0))
            std::ranges::copy(record->rawRecord().bytes, records.emplace_back().begin());
        return records;
    }
};

} // namespace SelTest
