// SPDX-License-Identifier: Apache-2.0
// What a board info area says.
#include "ipmi/IpmiFruBoard.h"

#include "fru/FruFields.h"
#include "fru/FruText.h"
#include "wire/FruLayout.h"

#include <ctime>

namespace Ipmi
{

using namespace wire;

namespace
{

enum BoardField : unsigned int { kBoardMaker, kBoardName, kBoardSerial, kBoardPart };
constexpr FruFieldName kBoardFieldNames[] = {{"Board Manufacturer"},
                                             {"Board Product Name"},
                                             {"Board Serial Number", true},
                                             {"Board Part Number"},
                                             {"FRU File ID"}};

/// Minutes since 1996; 0 is unspecified.
unsigned int manufacturingMinutes(const IpmiFruBoard& board)
{
    return le16(board.at(fru::kBoardMinutes), board.at(fru::kBoardMinutes + 1)) |
           static_cast<unsigned int>(board.at(fru::kBoardMinutes + 2)) << 16;
}

std::string iso8601(unsigned int minutes)
{
    const std::time_t seconds = minutes * std::int64_t{60} + fru::kEpoch;
    std::tm utc{};
    char text[24];
    if (gmtime_r(&seconds, &utc) == nullptr)
        return {};
    return {text, std::strftime(text, sizeof text, "%FT%T", &utc)};
}

} // namespace

std::vector<IpmiFruField> IpmiFruBoard::fields() const
{
    const unsigned char language = at(fru::kLanguage);
    std::vector<IpmiFruField> fixed{fruLanguage(language)};
    if (const unsigned int minutes = manufacturingMinutes(*this); minutes != 0)
        fixed.push_back({"Mfg. Date / Time", iso8601(minutes) + 'Z', IpmiFruField::kTime});
    return fruAreaFields(*this, std::move(fixed), fru::kBoardFields, language, kBoardFieldNames);
}

std::string IpmiFruBoard::getManufacturer() const
{
    std::string text = cleanFruField(*this, fru::kBoardFields, kBoardMaker);
    return text.empty() ? kFruNotAvailable : text;
}

std::string IpmiFruBoard::getName() const
{
    return cleanFruField(*this, fru::kBoardFields, kBoardName);
}

std::string IpmiFruBoard::getSerialNumber() const
{
    std::string text = cleanFruField(*this, fru::kBoardFields, kBoardSerial);
    return text.empty() && hasFruFieldsBefore(*this, fru::kBoardFields, kBoardSerial) ? kFruNotAvailable : text;
}

std::string IpmiFruBoard::getPartNumber() const
{
    return cleanFruField(*this, fru::kBoardFields, kBoardPart);
}

CmpiDateTime IpmiFruBoard::getMfgDateTime() const
{
    const unsigned int minutes = hasKnownVersion(*this) ? manufacturingMinutes(*this) : 0;
    if (minutes == 0)
        return CmpiDateTime::Unknown();
    return {minutes * 1000ULL, CmpiDateTime::kPointInTime}; // neither scaled nor counted from 1996: this is meant
}

std::string IpmiFruBoard::getMfgDateTime8601() const
{
    return hasKnownVersion(*this) ? iso8601(manufacturingMinutes(*this)) : "N/A"; // in capitals: this is meant
}

void IpmiFruBoard::dump() const
{
    printFruArea(*this, "Board Info Area");
}

} // namespace Ipmi
