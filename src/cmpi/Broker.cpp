// SPDX-License-Identifier: Apache-2.0
// Which broker is in use, and what is asked of it.
#include "cmpi/Broker.h"

#include "ipmi/IpmiIfc.h"

#include <atomic>

namespace Ipmi
{

namespace
{
std::atomic<const _CMPIBroker*> handedOver{nullptr};
} // namespace

const _CMPIBroker* broker()
{
    const _CMPIBroker* theirs = handedOver.load();
    return theirs ? theirs : ownBroker();
}

void IpmiIfc::setBroker(const _CMPIBroker* broker)
{
    handedOver.store(broker);
}

} // namespace Ipmi
