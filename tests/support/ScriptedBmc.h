// SPDX-License-Identifier: Apache-2.0
// A BMC that knows exactly what will be asked. Anything else, or anything left over, fails the test.
#pragma once

#include "sim/bus/Message.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Support
{

class ScriptedBmc final : public Sim::Responder
{
public:
    using Bytes = std::vector<std::uint8_t>;

    /// One expected request and its answer; refine it right after expect().
    class Step
    {
    public:
        /// To another controller, or to another LUN of the BMC.
        Step& to(std::uint8_t address, std::uint8_t lun = 0, std::uint8_t channel = 0)
        {
            return set(request.address, address).set(request.channel, channel).lun(lun);
        }
        Step& lun(std::uint8_t lun) { return set(request.lun, lun); }
        Step& after(std::chrono::milliseconds delay) { return set(answer.delay, delay); }
        /// From then on the driver refuses commands (EBUSY) for so long.
        Step& busy(std::chrono::milliseconds time) { return set(answer.busy, time); }
        /// No answer. The driver's own repetitions to a silent satellite belong to this step.
        Step& silent() { return set(answer.answered, false); }
        /// The same again and again.
        Step& times(int times) { return set(count, times); }
        /// Done when the request has come, before the answer leaves.
        Step& then(std::function<void()> what) { return set(action, std::move(what)); }

    private:
        friend class ScriptedBmc;
        template <typename Field> Step& set(Field& field, std::type_identity_t<Field> value)
        {
            field = std::move(value);
            return *this;
        }

        Sim::Request request;
        Sim::Answer answer;
        int count = 1;
        std::function<void()> action;
    };

    ~ScriptedBmc() override { done(); }

    /// @param request network function, command, data bytes
    /// @param answer  completion code, data bytes
    Step& expect(const Bytes& request, const Bytes& answer);
    /// Fails the test when something expected has not come; forgets it.
    void done();
    /// Requests that came, unexpected ones included.
    int handled() const;

    Sim::Answer handle(const Sim::Request& request) override;

private:
    mutable std::mutex mutex_;
    std::deque<Step> steps_;
    std::string lastSilent_; ///< the last request, if it was not answered
    int handled_ = 0;
};

} // namespace Support
