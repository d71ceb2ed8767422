// SPDX-License-Identifier: Apache-2.0
// Loads the log, once more where the library has missed its end.
#include "sel/SelReader.h"

#include "base/Failure.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "wire/AnswerLayout.h"
#include "wire/Cursor.h"

#include <algorithm>
#include <fmt/format.h>
#include <span>

namespace Tool
{

namespace
{

constexpr int kWholeSel = 0xffff; ///< more than any BMC has

/// Throws Failure when the BMC does not say what the log is like.
void load(const NodeSession& session)
{
    if (Ipmi::IpmiIfcSelGetInfo(session.node(), nullptr) != 0)
        throw Failure(fmt::format("the BMC behind /dev/ipmi{} has no event log, or stopped answering", session.node()));
}

/// True when the BMC says that this is the newest record.
bool isNewest(const NodeSession& session, const Ipmi::IpmiSelData& record)
{
    const auto newest = readSelEntry(session.node(), Ipmi::wire::kLastRecord);
    return newest && std::ranges::equal(bytesOf(record), newest->record.bytes);
}

SelContent cached(int node, std::optional<unsigned> last)
{
    SelContent content{Ipmi::IpmiIfc::getSelData(node), Ipmi::IpmiIfc::getRawSelHeader(node).entryCount()};
    content.wanted = std::min<std::size_t>(content.wanted, last.value_or(kWholeSel));
    return content;
}

/// Of a longer log the process's first load reads only so many of the newest records, or as many as
/// CIM_IPMI_SEL_ENTRIES says, and jumps to them as if no id were missing: after deletions it misses the end of the log,
/// or finds nothing. Every later load reads everything.
bool hasMissedTheEnd(const NodeSession& session, const SelContent& content)
{
    const bool jumped = Ipmi::IpmiIfc::getRawSelHeader(session.node()).entryCount() > Ipmi::KEEP_SEL_NUMBER;
    return jumped && (!content.isComplete() || !isNewest(session, *content.records.back()));
}

bool isWorthAnother(const NodeSession& session, const SelContent& content)
{
    return hasMissedTheEnd(session, content) || (!content.isComplete() && hasSelChanged(session) == true);
}

} // namespace

std::optional<SelEntry> readSelEntry(int node, std::uint16_t id)
{
    using namespace Ipmi::wire;
    constexpr std::size_t kNext = record_piece::kNextId - 1, kRecord = record_piece::kData - 1; // in a Reply's data
    const auto reply = sendTo(node, kGetSelEntry, Writer().le16(0).le16(id).u8(0).u8(record_piece::kWhole));
    if (!reply || reply->data.size() < kRecord + kSelRecordSize)
        return std::nullopt;
    SelEntry entry;
    entry.next = Ipmi::le16(&reply->data[kNext]);
    std::copy_n(reply->data.begin() + kRecord, kSelRecordSize, entry.record.bytes);
    return entry;
}

SelContent readSel(const NodeSession& session, std::optional<unsigned> last)
{
    session.requireBmc();
    Ipmi::KEEP_SEL_NUMBER = last ? static_cast<int>(*last) : kWholeSel;
    load(session);
    SelContent content = cached(session.node(), last);
    if (isWorthAnother(session, content)) {
        load(session);
        content = cached(session.node(), last);
    }
    return content;
}

std::optional<bool> hasSelChanged(const NodeSession& session)
{
    const Ipmi::ipmiifc_sel_info info = Ipmi::IpmiIfc::getRawSelHeader(session.node());
    const std::span<const std::uint8_t> before = std::span(info.bytes).subspan(1); // without the completion code
    const auto now = session.send(Ipmi::wire::kGetSelInfo);
    if (!now || now->data.size() < before.size())
        return std::nullopt;
    return !std::equal(before.begin(), before.end(), now->data.begin());
}

void readSelState(const NodeSession& session)
{
    session.requireBmc();
    Ipmi::KEEP_SEL_NUMBER = 0;
    load(session);
}

} // namespace Tool
