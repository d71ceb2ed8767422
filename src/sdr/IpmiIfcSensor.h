// SPDX-License-Identifier: Apache-2.0
// Building a node's sensors from its records and keeping them fresh (IPMI 2.0, section 35).
#pragma once

#include "ipmi/IpmiNodeControl.h"
#include "ipmi/IpmiSensor.h"
#include "ipmi/Reference.h"
#include "sdr/SdrRepository.h"

namespace Ipmi
{

/// Drops the node's sensors and makes new ones, with first readings and thresholds, holding sdrLock for writing all
/// the while: nothing that it calls takes that lock again. @return 0
int IpmiIfcSensorInstantiateAll(int node);
/// Get Sensor Reading from the record's owner, into `entry`. @return 0, a completion code, -1 without an answer (an
/// owner that is system software is not asked), -2 without a record
int IpmiIfcSensorGetReading(int node, ipmiifc_sensor_reading_list* entry);
/// Get Sensor Thresholds from the record's owner, into `sensor`; then its hysteresis. On failure `sensor` keeps what it
/// had.
void IpmiIfcSensorGetThresholds(int node, ipmiifc_sdr_list* sdr, TRX::Reference<IpmiSensor> sensor);

} // namespace Ipmi
