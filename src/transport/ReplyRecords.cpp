// SPDX-License-Identifier: Apache-2.0
// Memory of the replies that callers own.
#include "transport/ReplyRecords.h"

#include <new>
#include <utility>

namespace Ipmi
{

namespace
{

void freeRequestCopy(ipmiifc_req& req)
{
    delete[] std::exchange(req.addr, nullptr);
    delete[] std::exchange(req.msg.data, nullptr);
}

} // namespace

int IpmiIfcRespNew(ipmiifc_resp** out)
{
    if (!out)
        return -1;
    ipmiifc_resp* made = new (std::nothrow) ipmiifc_resp();
    if (!made)
        return -1;
    *out = made;
    return 0;
}

int IpmiIfcRespReuse(ipmiifc_resp* r)
{
    if (!r)
        return -1;
    freeRequestCopy(r->req);
    return 0;
}

int IpmiIfcRespDel(ipmiifc_resp** r)
{
    if (!r || IpmiIfcRespReuse(*r) != 0)
        return -1;
    delete std::exchange(*r, nullptr);
    return 0;
}

} // namespace Ipmi
