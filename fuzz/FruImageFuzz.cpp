// SPDX-License-Identifier: Apache-2.0
// An image of a FRU device: its areas, every getter and key, every field and record.
#include "fru/FruSamples.h"
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

} // namespace

void Fuzz::use(Span input)
{
    std::string error;
    for (const IpmiFruArea& area : decodeFru(input.data(), input.size(), &error)) {
        demand(area.contents->length() <= input.size(), "no more bytes than there are");
        demand(kindName(area.kind) != nullptr, "a kind");
        useFields(area.contents->fields());
        demandClean(FruTest::getters(*area.contents));
        if (const auto* board = dynamic_cast<const IpmiFruBoard*>(area.contents.get()))
            demand(board->getMfgDateTime().get() != nullptr, "a date");
        if (const auto* multi = dynamic_cast<const IpmiFruMulti*>(area.contents.get())) {
            for (const IpmiFruRecord& record : multi->records())
                useFields(record.fields);
            multi->dump();
        }
    }
    demandClean({error});
}
