#include "node/RecordExchange.h"

namespace Ipmi
{

void RecordExchange::send(std::uint16_t recordId, std::size_t offset, std::size_t count)
{
    const auto low = [](std::size_t value) { return static_cast<std::uint8_t>(value); };
    const std::uint8_t request[] = {
        low(reservation_), low(reservation_ >> 8u), low(recordId), low(recordId >> 8), low(offset), low(count)};
    sendCommand(node_, kStorage, cmd_, request, answer_);
}

std::span<const std::uint8_t> RecordExchange::record() const
{
    const auto bytes = answer_ ? answer_.bytes() : std::span<const std::uint8_t>{};
    return bytes.size() > kRecord ? bytes.subspan(kRecord) : std::span<const std::uint8_t>{};
}

} // namespace Ipmi
