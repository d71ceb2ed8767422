// SPDX-License-Identifier: Apache-2.0
// What an internal use area is shown as.
#include "ipmi/IpmiFruInternal.h"

#include "fru/FruFields.h"
#include "fru/FruText.h"

namespace Ipmi
{

std::vector<IpmiFruField> IpmiFruInternal::fields() const
{
    if (length() == 0)
        return {};
    return {fruBinary("Internal Use Area", fruBytesOf(*this))};
}

void IpmiFruInternal::dump() const
{
    printFruArea(*this, "Internal Use Area");
}

} // namespace Ipmi
