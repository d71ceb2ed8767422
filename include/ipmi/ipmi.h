// SPDX-License-Identifier: Apache-2.0
// All of the library.
#pragma once

#include "ipmi/CmpiDateTime.h"
#include "ipmi/CmpiObject.h"
#include "ipmi/CmpiStatus.h"
#include "ipmi/CmpiTypes.h"
#include "ipmi/IpmiDiscreteSensor.h"
#include "ipmi/IpmiEntity.h"
#include "ipmi/IpmiEventNames.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiLan.h"
#include "ipmi/IpmiLanStatus.h"
#include "ipmi/IpmiNodeControl.h"
#include "ipmi/IpmiRecords.h"
#include "ipmi/IpmiRepository.h"
#include "ipmi/IpmiSdrRecord.h"
#include "ipmi/IpmiSel.h"
#include "ipmi/IpmiSelData.h"
#include "ipmi/IpmiSensor.h"
#include "ipmi/IpmiSensorNames.h"
#include "ipmi/IpmiThresholdSensor.h"
#include "ipmi/Reference.h"
