// SPDX-License-Identifier: Apache-2.0
// The multi-record area of a FRU.
#pragma once

#include "ipmi/IpmiFruOptional.h"

namespace Ipmi
{

/// A value of a record, for IpmiFruMulti::getValue.
enum FruKey : int {
    // Power supply, type 00h.
    kFruOverallCapacity = 0,
    kFruPeakVa = 1,
    kFruInrushCurrent = 2,
    kFruInrushInterval = 3,
    kFruLowInputVoltage1 = 4,
    kFruHighInputVoltage1 = 5,
    kFruLowInputVoltage2 = 6,
    kFruHighInputVoltage2 = 7,
    kFruLowInputFrequency = 8,
    kFruHighInputFrequency = 9,
    kFruDropoutTolerance = 10,
    kFruTachometerPulses = 11,
    kFruHotSwap = 12,
    kFruAutoswitch = 13,
    kFruPowerFactorCorrection = 14,
    kFruPredictiveFailPin = 15,
    kFruHoldUpTime = 16,
    kFruPeakCapacity = 17,
    kFruCombinedVoltage1 = 18,
    kFruCombinedVoltage2 = 19,
    kFruCombinedWattage = 20,
    kFruPredictiveFail = 21,
    // DC output, type 01h.
    kFruOutputStandby = 22,
    kFruOutputNumber = 23,
    kFruOutputNominalVoltage = 24,
    kFruOutputNegativeDeviation = 25,
    kFruOutputPositiveDeviation = 26,
    kFruOutputRipple = 27,
    kFruOutputMinimumCurrent = 28,
    kFruOutputMaximumCurrent = 29,
    // DC load, type 02h.
    kFruLoadNumber = 30,
    kFruLoadNominalVoltage = 31,
    kFruLoadMinimumVoltage = 32,
    kFruLoadMaximumVoltage = 33,
    kFruLoadRipple = 34,
    kFruLoadMinimumCurrent = 35,
    kFruLoadMaximumCurrent = 36,
};

/// A multi-record area (FRU Information Storage Definition, section 16). Members as of IpmiFruOptional. The values of
/// getValue() are raw, in the units of their record (this is meant); records() has physical units.
class TRX_IPMI_API IpmiFruMulti : public IpmiFruOptional
{
public:
    using IpmiFruOptional::IpmiFruOptional;

    /// Logs the bytes at LOG_DEBUG (the other areas print theirs).
    void dump() const override;
    /// The fields of all records(), one after another.
    std::vector<IpmiFruField> fields() const override;
    /// Every record in order: to the end mark; or to one whose header has a wrong checksum or no data, or is cut off,
    /// which is the last one.
    std::vector<IpmiFruRecord> records() const;

    /// Whether there is a record of this type, up to the end mark or a record without data (which is logged).
    bool isMultiRecordTypePresent(unsigned char type) const;
    /// A value of the first record of this type. Empty where there is none, where the type has no such key, and for
    /// all keys of types above 02h.
    std::string getValue(unsigned char type, FruKey key) const;

    /// A value of one record; empty for null and for keys of other types.
    /// @param data  24 bytes of a power supply, 13 of a DC output or load, after the header
    std::string getPowerSupplyValue(const unsigned char* data, FruKey key) const;
    std::string getDCOutputValue(const unsigned char* data, FruKey key) const;
    std::string getDCLoad(const unsigned char* data, FruKey key) const;
    /// Always empty.
    std::string getManagementAccessValue(const unsigned char* data, FruKey key) const;
    std::string getExtendedCompatValue(const unsigned char* data, FruKey key) const;
    std::string getOEMValue(const unsigned char* data, FruKey key) const;
};

} // namespace Ipmi
