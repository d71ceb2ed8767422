// SPDX-License-Identifier: Apache-2.0
// An image of a FRU device: its areas, every getter and key, every field and record.
#include "ipmi/IpmiFruArea.h"
#include "ipmi/IpmiFruBoard.h"
#include "ipmi/IpmiFruChassis.h"
#include "ipmi/IpmiFruMulti.h"
#include "ipmi/IpmiFruProduct.h"
#include "support/Fuzz.h"

using namespace Ipmi;

namespace
{

void useFields(const std::vector<IpmiFruField>& fields)
{
    for (const IpmiFruField& field : fields) {
        Fuzz::demandClean({field.name, field.value, field.unit});
        Fuzz::demand(encodingName(field.encoding) != nullptr, "an encoding");
    }
}

void use(const IpmiFruBoard& area)
{
    Fuzz::demandClean({area.getManufacturer(), area.getName(), area.getSerialNumber(), area.getPartNumber(),
                       area.getMfgDateTime8601()});
    Fuzz::demand(area.getMfgDateTime().get() != nullptr, "a date");
}

void use(const IpmiFruChassis& area)
{
    Fuzz::demandClean({area.getType(), area.getPartNumber(), area.getSerialNumber()});
}

void use(const IpmiFruProduct& area)
{
    Fuzz::demandClean({area.getManufacturer(), area.getName(), area.getPartNumber(), area.getVersion(),
                       area.getSerialNumber(), area.getAssetTag()});
}

void use(const IpmiFruMulti& area)
{
    for (unsigned int type = 0; type < 7; ++type)
        for (int key = -1; key <= kFruLoadMaximumCurrent + 1; ++key) {
            const auto value = area.getValue(static_cast<unsigned char>(type), static_cast<FruKey>(key));
            Fuzz::demand(value.empty() || area.isMultiRecordTypePresent(static_cast<unsigned char>(type)), "a record");
        }
    for (const IpmiFruRecord& record : area.records())
        useFields(record.fields);
    area.dump();
}

template <typename Area> void useAs(const IpmiFruOptional& area)
{
    if (const auto* its = dynamic_cast<const Area*>(&area))
        use(*its);
}

} // namespace

void Fuzz::use(Span input)
{
    std::string error;
    for (const IpmiFruArea& area : decodeFru(input.data(), input.size(), &error)) {
        demand(area.contents->length() <= input.size(), "no more bytes than there are");
        demand(kindName(area.kind) != nullptr, "a kind");
        useFields(area.contents->fields());
        useAs<IpmiFruBoard>(*area.contents);
        useAs<IpmiFruChassis>(*area.contents);
        useAs<IpmiFruProduct>(*area.contents);
        useAs<IpmiFruMulti>(*area.contents);
    }
    demandClean({error});
}
