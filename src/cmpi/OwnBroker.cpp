// SPDX-License-Identifier: Apache-2.0
// The small broker inside the library: date-times for programs that have no CIM broker.
#include "cmpi/Broker.h"
#include "cmpi/DateTimeText.h"

#include <array>
#include <cstring>
#include <memory>
#include <new>

namespace Ipmi
{

namespace
{

/// A date-time with its text. The CMPI objects inside it are what callers hold: hdl points back to it, or to the text.
struct OwnDateTime {
    _CMPIDateTime object{};
    _CMPIString string{};
    DateTimeValue value;
    DateTimeText text{};
};

/// A string that was cloned.
struct OwnString {
    _CMPIString object{};
    DateTimeText text{};
};

_CMPIStatus status(_CMPIrc rc)
{
    _CMPIStatus result{};
    result.rc = rc;
    return result;
}

/// Reports `rc` where the caller asked for it and passes `result` on.
template <typename T> T report(_CMPIStatus* out, _CMPIrc rc, T result)
{
    if (out)
        *out = status(rc);
    return result;
}

template <typename T> auto* mutableHandle(T* handle)
{
    return const_cast<std::remove_const_t<T>*>(handle); // headers before CMPI 2.1 have no const here
}

// --- strings

_CMPIStatus keepString(_CMPIString* string)
{
    return status(string ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE); // belongs to its date-time
}

_CMPIStatus releaseString(_CMPIString* string);
_CMPIString* cloneString(const _CMPIString* string, _CMPIStatus* out);

const char* characters(const _CMPIString* string, _CMPIStatus* out)
{
    if (!string)
        return report<const char*>(out, CMPI_RC_ERR_INVALID_HANDLE, nullptr);
    return report(out, CMPI_RC_OK, static_cast<const char*>(string->hdl));
}

constexpr _CMPIStringFT stringTable(_CMPIStatus (*release)(_CMPIString*))
{
    _CMPIStringFT table{};
    table.ftVersion = 100;
    table.release = release;
    table.clone = cloneString;
    table.getCharPtr = characters;
    return table;
}

constinit _CMPIStringFT keptStrings = stringTable(keepString);
constinit _CMPIStringFT clonedStrings = stringTable(releaseString);

_CMPIStatus releaseString(_CMPIString* string)
{
    if (!string)
        return status(CMPI_RC_ERR_INVALID_HANDLE);
    delete reinterpret_cast<OwnString*>(string); // its first member
    return status(CMPI_RC_OK);
}

_CMPIString* cloneString(const _CMPIString* string, _CMPIStatus* out)
{
    const char* text = characters(string, out);
    if (!text)
        return nullptr;
    auto* copy = new (std::nothrow) OwnString;
    if (!copy)
        return report<_CMPIString*>(out, CMPI_RC_ERROR_SYSTEM, nullptr);
    std::memcpy(copy->text.data(), text, kDateTimeLength);
    copy->object.hdl = copy->text.data();
    copy->object.ft = &clonedStrings;
    return &copy->object;
}

// --- date-times

const OwnDateTime* own(const _CMPIDateTime* dateTime)
{
    return dateTime ? static_cast<const OwnDateTime*>(dateTime->hdl) : nullptr;
}

_CMPIStatus keepDateTime(_CMPIDateTime* dateTime)
{
    return status(dateTime ? CMPI_RC_OK : CMPI_RC_ERR_INVALID_HANDLE); // belongs to its thread
}

_CMPIStatus releaseDateTime(_CMPIDateTime* dateTime)
{
    if (!dateTime)
        return status(CMPI_RC_ERR_INVALID_HANDLE);
    delete own(dateTime);
    return status(CMPI_RC_OK);
}

_CMPIDateTime* cloneDateTime(const _CMPIDateTime* dateTime, _CMPIStatus* out);

CMPIUint64 binaryFormat(const _CMPIDateTime* dateTime, _CMPIStatus* out)
{
    if (!own(dateTime))
        return report(out, CMPI_RC_ERR_INVALID_HANDLE, CMPIUint64{0});
    return report(out, CMPI_RC_OK, CMPIUint64{own(dateTime)->value.microseconds});
}

_CMPIString* stringFormat(const _CMPIDateTime* dateTime, _CMPIStatus* out)
{
    if (!own(dateTime))
        return report<_CMPIString*>(out, CMPI_RC_ERR_INVALID_HANDLE, nullptr);
    return report(out, CMPI_RC_OK, mutableHandle(&own(dateTime)->string));
}

CMPIBoolean isInterval(const _CMPIDateTime* dateTime, _CMPIStatus* out)
{
    if (!own(dateTime))
        return report(out, CMPI_RC_ERR_INVALID_HANDLE, CMPIBoolean{0});
    return report(out, CMPI_RC_OK, CMPIBoolean{own(dateTime)->value.interval});
}

constexpr _CMPIDateTimeFT dateTimeTable(_CMPIStatus (*release)(_CMPIDateTime*))
{
    _CMPIDateTimeFT table{};
    table.ftVersion = 100;
    table.release = release;
    table.clone = cloneDateTime;
    table.getBinaryFormat = binaryFormat;
    table.getStringFormat = stringFormat;
    table.isInterval = isInterval;
    return table;
}

constinit _CMPIDateTimeFT keptDateTimes = dateTimeTable(keepDateTime);
constinit _CMPIDateTimeFT clonedDateTimes = dateTimeTable(releaseDateTime);

_CMPIDateTime* fill(OwnDateTime& dateTime, DateTimeValue value, const DateTimeText& text, _CMPIDateTimeFT& table)
{
    dateTime.value = value;
    dateTime.text = text;
    dateTime.string.hdl = dateTime.text.data();
    dateTime.string.ft = &keptStrings;
    dateTime.object.hdl = &dateTime;
    dateTime.object.ft = &table;
    return &dateTime.object;
}

_CMPIDateTime* cloneDateTime(const _CMPIDateTime* dateTime, _CMPIStatus* out)
{
    const OwnDateTime* original = own(dateTime);
    if (!original)
        return report<_CMPIDateTime*>(out, CMPI_RC_ERR_INVALID_HANDLE, nullptr);
    auto* copy = new (std::nothrow) OwnDateTime;
    if (!copy)
        return report<_CMPIDateTime*>(out, CMPI_RC_ERROR_SYSTEM, nullptr);
    return report(out, CMPI_RC_OK, fill(*copy, original->value, original->text, clonedDateTimes));
}

/// The date-times of one thread: the oldest makes room for the newest.
class Ring
{
public:
    OwnDateTime& next() { return dateTimes_[made_++ % dateTimes_.size()]; }

private:
    std::array<OwnDateTime, 64> dateTimes_;
    std::size_t made_ = 0;
};

_CMPIDateTime* make(DateTimeValue value, const DateTimeText& text, _CMPIStatus* out)
{
    thread_local std::unique_ptr<Ring> ring;
    if (!ring)
        ring.reset(new (std::nothrow) Ring);
    if (!ring)
        return report<_CMPIDateTime*>(out, CMPI_RC_ERROR_SYSTEM, nullptr);
    return report(out, CMPI_RC_OK, fill(ring->next(), value, text, keptDateTimes));
}

_CMPIDateTime* fromBinary(const _CMPIBroker*, CMPIUint64 microseconds, CMPIBoolean interval, _CMPIStatus* out)
{
    const DateTimeValue value{microseconds, interval != 0};
    const auto text = formatDateTime(value);
    if (!text)
        return report<_CMPIDateTime*>(out, CMPI_RC_ERR_INVALID_PARAMETER, nullptr);
    return make(value, *text, out);
}

_CMPIDateTime* fromChars(const _CMPIBroker*, const char* characters, _CMPIStatus* out)
{
    const std::string_view text =
        characters ? std::string_view(characters, strnlen(characters, kDateTimeLength + 1)) : std::string_view();
    const auto value = parseDateTime(text);
    if (!value)
        return report<_CMPIDateTime*>(out, CMPI_RC_ERR_INVALID_PARAMETER, nullptr);
    DateTimeText kept{};
    text.copy(kept.data(), kDateTimeLength); // with the UTC offset that it was given
    return make(*value, kept, out);
}

struct OwnBroker {
    OwnBroker()
    {
        functions.ftVersion = 100;
        functions.newDateTimeFromBinary = fromBinary;
        functions.newDateTimeFromChars = fromChars;
        broker.hdl = this;
        broker.eft = &functions;
    }
    _CMPIBrokerEncFT functions{};
    _CMPIBroker broker{};
};

} // namespace

const _CMPIBroker* ownBroker()
{
    static OwnBroker own;
    return &own.broker;
}

} // namespace Ipmi
