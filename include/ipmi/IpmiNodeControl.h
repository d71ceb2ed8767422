// SPDX-License-Identifier: Apache-2.0
// Loading a node without a polling loop: what a program that looks once and leaves calls.
//
//     if (Ipmi::IpmiIfcOpenIpmiOpen(0) < 0 || Ipmi::IpmiIfcInitForCLI(0) != 0) ...;
//     Ipmi::IpmiIfcSdrGetInfo(0);
//     for (auto& sensor : Ipmi::IpmiIfc::getSensors(0)) ...
//     Ipmi::IpmiIfcCloseForCLI(0);
#pragma once

#include "ipmi/Export.h"

#include <atomic>

namespace Ipmi
{

/// Opens /dev/ipmi<node> for reading and writing.
/// @return the descriptor (owned by the node); -1 when it cannot be opened (logged, errno set); -2 for a node outside
/// 0..3
/// @threads one per node, before any other use of the node
TRX_IPMI_API int IpmiIfcOpenIpmiOpen(int node);

/// Prepares an opened node for use without IpmiIfc::start and its polling loop: signal pipe, own address, driver timing
/// (CIM_IPMI_RETRIES, CIM_IPMI_RETRY_TIME). Sends Get Device ID on node 0 and blocks until it is answered.
/// @return 0; -1 when the signal pipe cannot be made; -2 when the driver refuses the own address or for a node outside
/// 0..3. Throws CmpiStatus rc 200 on a node whose polling loop starts or runs, and leaves that alone.
/// @threads as IpmiIfcOpenIpmiOpen
TRX_IPMI_API int IpmiIfcInitForCLI(int node);

/// Undoes IpmiIfcInitForCLI and IpmiIfcOpenIpmiOpen: closes pipe and device, drops the node's records and sensors.
/// Handles taken before stay valid.
/// @return 0; -2 for a node outside 0..3
/// @threads one, when no other uses the node any more
TRX_IPMI_API int IpmiIfcCloseForCLI(int node);

/// Reads the repository info (IPMI 2.0, Get SDR Repository Info), then the whole repository, and rebuilds the node's
/// sensors with their first readings and thresholds, and its entities. Sends some commands per record and blocks until
/// all are answered.
/// @return 0 when the info was answered with completion code 00h, whatever became of the rest; else -1
/// @threads any; whole loads of one node run one at a time
TRX_IPMI_API int IpmiIfcSdrGetInfo(int node);

/// Refreshes readings and thresholds of the node's sensors, in order. Ends at the first sensor that gets no answer (a
/// sensor owned by system software included: this is meant). Sends up to three commands per sensor and blocks.
/// @return 0
/// @threads any
TRX_IPMI_API int IpmiIfcSensorUpdateReading(int node);

/// Refreshes readings and thresholds of the node's sensors, each for itself: one that cannot be read costs no other its
/// turn. A sensor that fails again and again is asked on every second pass, every fourth, up to every 32nd, until it
/// succeeds. When a controller no longer answers, its sensors are without a reading at once and it alone is asked, as
/// rarely, until it answers this or any other command of the library. Sensors of system software are left out. Sends up
/// to three commands per sensor and blocks; a controller behind the BMC that falls silent costs two time-outs of the
/// driver, a silent BMC two of 30 s, and each later pass at most one.
/// @return how many sensors are without a reading, those left out not counted; -1 for a node outside 0..3
/// @threads any; passes of one node run one at a time
TRX_IPMI_API int IpmiIfcSensorRefreshAll(int node);

/// Makes the node's hardware inventory anew (IPMI 2.0, section 34): reads every logical FRU device that its repository
/// names, and device 0. Sends a command for every 23 bytes and some for each area, and blocks.
/// @return 0
/// @threads any; whole inventories and loads of one node run one at a time
TRX_IPMI_API int IpmiIfcFruInstantiateAll(int node);

/// Asks for the state of the system event log (IPMI 2.0, Get SEL Info) and takes over what changed: where only records
/// were added it reads those, where the log was erased all of it, and then has each new event handled. A node without a
/// polling loop reads the whole log each time and has nothing handled. Sends two commands per record read and blocks.
/// @param count  out, may be null: the low byte of the entry count, so that a log of 256 entries gives 0 (this is
/// meant);
///               untouched unless the result is 0
/// @return 0 when the info was answered, whatever became of the records; -1 when not; -2 for a node outside 0..3.
/// Throws what a handler throws.
/// @threads any; checks of one node run one at a time, and one inside a handler changes nothing
TRX_IPMI_API int IpmiIfcSelGetInfo(int node, unsigned short* count);

/// How many records the process's first load of a whole log keeps, the newest; the environment variable
/// CIM_IPMI_SEL_ENTRIES (1 to 2000) replaces it then. Below 0 counts as 0. The jump to the newest takes record ids to
/// be consecutive.
TRX_IPMI_API extern std::atomic<int> KEEP_SEL_NUMBER;

} // namespace Ipmi
