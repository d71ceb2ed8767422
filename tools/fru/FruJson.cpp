// SPDX-License-Identifier: Apache-2.0
// A FRU as an object.
#include "fru/FruView.h"
#include "sensors/SensorView.h"

#include <cstdint>
#include <utility>

namespace Tool
{

namespace
{

using Ipmi::IpmiFruArea;
using Ipmi::IpmiFruField;

Json valueOf(const IpmiFruField& field)
{
    if (!field.number || field.encoding == IpmiFruField::kCode)
        return field.value;
    return field.encoding == IpmiFruField::kFlag ? Json(*field.number != 0) : jsonNumber(*field.number);
}

Json jsonOf(const IpmiFruField& field, bool withUnit)
{
    Json result{{"name", field.name}, {"value", valueOf(field)}};
    if (withUnit)
        result["unit"] = field.unit;
    result["encoding"] = encodingName(field.encoding);
    if (field.encoding == IpmiFruField::kCode && field.number)
        result["code"] = static_cast<std::int64_t>(*field.number);
    return result;
}

Json jsonFields(const std::vector<IpmiFruField>& fields, bool withUnits)
{
    Json result = Json::array();
    for (const IpmiFruField& field : fields)
        result.push_back(jsonOf(field, withUnits));
    return result;
}

Json jsonOf(const IpmiFruArea& area)
{
    return {{"kind", kindName(area.kind)},
            {"checksum_ok", area.checksumOk},
            {"fields", jsonFields(fieldsOf(area), false)},
            {"whole", area.whole},
            {"offset", area.offset}};
}

Json jsonOf(const Ipmi::IpmiFruRecord& record)
{
    return {{"type", record.type},
            {"name", record.name},
            {"checksum_ok", record.checksumOk},
            {"fields", jsonFields(record.fields, true)}};
}

/// The multi-record area stands beside the others: its records are what there is to see.
void addContents(Json& to, const FruView& fru)
{
    Json areas = Json::array(), records = Json::array(), multi;
    for (const IpmiFruArea& area : fru.device.areas) {
        if (area.kind != IpmiFruArea::kMulti) {
            areas.push_back(jsonOf(area));
            continue;
        }
        for (const Ipmi::IpmiFruRecord& record : recordsOf(area))
            records.push_back(jsonOf(record));
        multi = {{"checksum_ok", area.checksumOk}, {"whole", area.whole}, {"offset", area.offset}};
    }
    to["areas"] = std::move(areas);
    to["records"] = std::move(records);
    to["error"] = jsonText(fru.trouble);
    to["multi_record"] = std::move(multi);
    to["size"] = fru.device.size != 0 ? Json(fru.device.size) : Json(nullptr);
}

} // namespace

Json jsonOf(const FruView& fru)
{
    const Ipmi::IpmiFruDevice& device = fru.device;
    const auto known = [&fru](Json value) { return fru.isImage ? Json(nullptr) : std::move(value); };
    Json result{{"id", known(device.id)},
                {"name", jsonText(device.name)},
                {"controller", known(device.controller)},
                {"lun", known(device.lun)},
                {"channel", known(device.channel)},
                {"entity", device.hasLocator ? jsonOf(device.entity) : Json(nullptr)}};
    addContents(result, fru);
    result["logical"] = known(device.isLogical);
    result["bus"] = device.isLogical ? Json(nullptr) : Json(device.bus);
    return result;
}

} // namespace Tool
