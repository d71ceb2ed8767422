// SPDX-License-Identifier: Apache-2.0
// The caller-facing interface: what any thread may ask of a node.
// The names IpmiIfcXxx, lower-case records, lowerCamel members and the texts of log lines are an interface given from
// outside; they do not follow the house's own naming.
#pragma once

#include "ipmi/CmpiTypes.h"
#include "ipmi/Export.h"
#include "ipmi/IpmiEntity.h"
#include "ipmi/IpmiFru.h"
#include "ipmi/IpmiLan.h"
#include "ipmi/IpmiRecords.h"
#include "ipmi/IpmiRepository.h"
#include "ipmi/IpmiSel.h"
#include "ipmi/IpmiSelData.h"
#include "ipmi/IpmiSensor.h"
#include "ipmi/Reference.h"

#include <atomic>
#include <string>
#include <vector>

namespace Ipmi
{

/// Called for a record of the system event log that is new, on the thread that checks for them; with a null record once
/// in each cycle of the polling loop. The record stays the library's: copy what must outlive the call. A handler may
/// call everything in IpmiIfc. An exception ends the check and reaches its caller; events behind it are not handed
/// over.
using SelEventHandler = void (*)(void* argument, IpmiSelData* record);

/// Static members only; each overload without a node means node 0. Every member is safe for any node number: a node
/// outside 0..3 gives the empty result or the error named. Unless a member says otherwise it may be called from any
/// thread, sends nothing, and throws nothing.
class TRX_IPMI_API IpmiIfc
{
public:
    /// State of a node; single bits, so that a wait can name several.
    enum IPMI_STATE : int {
        IPMI_STATE_NONE = 0,     ///< never initialised
        IPMI_STATE_IDLE = 1,     ///< initialised, start-up not begun
        IPMI_STATE_STARTING = 2, ///< opening the device and loading the caches
        IPMI_STATE_RUNNING = 4,  ///< caches loaded; the polling loop runs
        IPMI_STATE_STOPPED = 8,  ///< the polling thread has left
        IPMI_STATE_CLI = 16      ///< used without a polling loop (IpmiIfcInitForCLI)
    };

    /// Kind of cycle that a wake-up of the polling loop asks for.
    enum IPMI_POLL_TYPE : int {
        IPMI_POLL_NONE = 0,    ///< nothing at all
        IPMI_POLL_NORMAL = 1,  ///< as when the interval has passed
        IPMI_POLL_FULL = 2,    ///< everything, whether there are new events or not
        IPMI_POLL_SENSORS = 3, ///< without new events: sensor readings only
        IPMI_POLL_SEL = 4      ///< the event log only, unless there are new events
    };

    /// What a member that returns a number means by it; which ones it has is said there. A number may have two
    /// meanings: they are given.
    enum IPMI_RESULT : int {
        IPMI_RESULT_BAD_NODE = -2, ///< a node outside 0..3
        IPMI_RESULT_OK = 0,
        IPMI_RESULT_NOT_FOUND = 2,
        IPMI_RESULT_ALREADY_THERE = 2,
        IPMI_RESULT_BUSY = 2, ///< the BMC stayed busy
        IPMI_RESULT_NO_RESPONSE = 4,
        IPMI_RESULT_BAD_ARGUMENT = 5,
        IPMI_RESULT_REFUSED = 5 ///< by the BMC
    };

    IpmiIfc() = delete;

    // --- node state

    /// The node's state; 0 for a node outside 0..3.
    static IPMI_STATE getState(int node);
    static IPMI_STATE getState();
    /// Blocks until the state is one of `mask`; returns it. Returns 0 at once for a node outside 0..3.
    static IPMI_STATE waitState(int node, int mask);
    static IPMI_STATE waitState(int mask);
    /// As waitState: seconds and microseconds bound each single wait inside the call and never end it. This is meant.
    static IPMI_STATE timedWaitState(int node, int mask, long seconds, long microseconds);
    static IPMI_STATE timedWaitState(int mask, long seconds, long microseconds);

    // --- a node's life

    /// Runs the node in the calling thread: initialises it, identifies the BMC, then polls until stop(). Returns when
    /// the loop has ended, or at once where the device cannot be opened and for a node outside 0..3; the state is then
    /// IPMI_STATE_STOPPED. A node runs once per process. Event handlers registered before are dropped. Each cycle looks
    /// at the event log; new events bring a refresh of everything and the handlers' calls, and without them readings
    /// are refreshed in every eighth cycle.
    /// @param interval  the wait between two cycles in units of 16 seconds; below 1: only wake-ups begin a cycle
    /// Throws CmpiStatus: rc 2 "Only root user allowed"; rc 100 when the signal pipe cannot be made; rc 200 when the
    /// node is starting or running; and what a handler throws during the first look at the event log.
    /// @threads one of the caller's own for each node
    static void start(int node, int interval);
    static void start(int interval);
    /// Ends the node's loop and frees its records, handlers, pipe and device; its sensors and event records stay. Waits
    /// until the loop has ended: what it or another thread waits for, an answer of the BMC or the moment of a retry, is
    /// given up at once, and later commands are refused. Before any start it waits for one.
    /// Throws CmpiStatus rc 200 when it was called before, and in a handler of the node, which changes nothing.
    static void stop(int node);
    static void stop();
    /// Wakes the loop for a cycle; a loop that is busy with one may miss it.
    static void doPoll(int node);
    static void doPoll();
    /// Changes the wait between cycles (units of 16 seconds), and wakes the loop for a cycle.
    static void setPollingInterval(int node, int interval);
    static void setPollingInterval(int interval);
    /// The wait between cycles, in units of 16 seconds; -1 before start and for a node outside 0..3.
    static int getPollingInterval(int node);
    static int getPollingInterval();
    /// Has each of the nodes 0 .. nodeCount-1 (at most four) do one cycle, all at once or one after the other
    /// (`serial`), and waits until they have; a cycle of kind IPMI_POLL_NONE is not waited for. Of nodes whose cycle
    /// would be an eighth one only one does it (nodeCount / 8 + 1 for nine and more), the others an ordinary one. Waits
    /// for loops that have not begun. The first call multiplies SKIP_SDR_STEP and SKIP_FRU_STEP by nodeCount.
    /// @param shutdownRequested  ends the waiting when it becomes true; read once a second; may be null
    /// @return 0; -1 when the shutdown request ended it, and in an event handler, where it does nothing
    static int pollAll(int nodeCount, bool serial, IPMI_POLL_TYPE type, volatile bool* shutdownRequested);

    // --- raw commands

    /// Sends one command to the node's BMC and blocks until it is answered, at most 30 s. Note the order: command
    /// first.
    /// @param respLen   in: room in `respData`; out: bytes stored, completion code first. Untouched unless the result
    /// is 0 or 16. A null `respLen` or `respData` is no room
    /// @return 0; 16 when the answer was longer than the room and has been cut; the BMC's completion code; 0xFF without
    /// an answer
    static unsigned char sendCmd(int node, unsigned char cmd, unsigned char netfn, unsigned short dataLen,
                                 unsigned char* data, unsigned short* respLen, unsigned char* respData);
    static unsigned char sendCmd(unsigned char cmd, unsigned char netfn, unsigned short dataLen, unsigned char* data,
                                 unsigned short* respLen, unsigned char* respData);
    /// Sends an OEM command, one at a time per node, and blocks as sendCmd.
    /// @param flags  bit 0: copy the request into the reply
    /// @return the reply, owned by the caller (IpmiIfcRespDel); null when nothing usable came back
    static ipmiifc_resp* OemIpmiIfcSend(int node, ipmiifc_req* req, int flags);

    // --- BMC identity. A node other than 0 fetches it on the first question: that call sends a command and may block.
    // Node 0 is asked by IpmiIfcInitForCLI and, where that got no answer, on a question too.

    /// IANA enterprise number of the BMC's maker, three bytes, LS byte first.
    /// @param id      room for three bytes
    /// @param length  out: 3, or 0 unless the result is 0
    /// @return 0; 4 when the BMC did not answer; 5 for a null `id`
    static int getManufacturerId(int node, unsigned char* id, unsigned char& length);
    static int getManufacturerId(unsigned char* id, unsigned char& length);
    /// The maker's name; "Unknown (0x......)" with six hexadecimal digits for others; empty without an answer.
    static std::string getManufacturerName(int node);
    static std::string getManufacturerName();
    /// @return 0; 4 when the BMC did not answer, and then the output is 0
    static int getProductId(int node, unsigned short& id);
    static int getProductId(unsigned short& id);
    static int getDeviceId(int node, unsigned char& id);
    static int getDeviceId(unsigned char& id);
    static int getDeviceRevision(int node, unsigned char& revision);
    static int getDeviceRevision(unsigned char& revision);
    /// Firmware version, "major.minor" with the minor in its BCD digits, as "2.30"; empty without an answer.
    static std::string getFirmwareVersion(int node);
    static std::string getFirmwareVersion();
    /// IPMI version, as "2.0"; empty without an answer.
    static std::string getIpmiVersion(int node);
    static std::string getIpmiVersion();
    /// Host operating system as the BMC was told (Get System Info Parameters); empty when unknown.
    static std::string getHostOsName(int node);
    static std::string getHostOsName();
    static std::string getHostOsVersion(int node);
    static std::string getHostOsVersion();
    /// Self test result (IPMI 2.0, 20.4): first byte of the answer in the high byte of `code`, second in the low one.
    /// @return 0; 4 when the BMC did not answer, and then `code` is 0
    static int getSelfTest(int node, unsigned short& code);
    static int getSelfTest(unsigned short& code);
    /// The same as text; empty without an answer.
    static std::string getSelfTestText(int node);
    static std::string getSelfTestText();

    /// Firmware version of node 0's BMC, major and minor (BCD), and whether its maker is the one whose early firmware
    /// lists unusable I/O module sensors. Set from its Get Device ID answer.
    static std::atomic<int> maj;
    static std::atomic<int> min;
    static std::atomic<bool> hpe_bmc;

    // --- SDR repository and sensors

    /// The repository info last read; all zero before.
    static ipmiifc_sdr_info getSdr(int node);
    static ipmiifc_sdr_info getSdr();
    /// The raw records that the last read of the repository brought, in the repository's order: none before, and what
    /// could not be read is left out.
    static std::vector<std::vector<unsigned char>> getSdrRecords(int node);
    static std::vector<std::vector<unsigned char>> getSdrRecords();
    /// Reads the repository as it stands in the BMC now, whole or not at all, and leaves what is known of it as it was:
    /// for a copy of all records, or to learn why they cannot be read. Sends a command for every 16 bytes and blocks.
    static ipmiifc_repository readRepository(int node);
    static ipmiifc_repository readRepository();
    /// The node's sensors, in the order built; the handles are shared. Waits while the sensors are being rebuilt.
    static std::vector<TRX::Reference<IpmiSensor>> getSensors(int node);
    static std::vector<TRX::Reference<IpmiSensor>> getSensors();
    /// The first sensor with this number, the low byte of `ownerId` as owner, and channel and LUN 0; an empty handle if
    /// none.
    static TRX::Reference<IpmiSensor> getSensor(int node, unsigned int sensorNumber, unsigned int ownerId);
    static TRX::Reference<IpmiSensor> getSensor(unsigned int sensorNumber, unsigned int ownerId);

    // --- system event log. The cache is filled by the polling loop, or by IpmiIfcSelGetInfo.

    /// Has `handler` called with `argument` for each new event from now on; those registered last are called first.
    /// What is registered before IpmiIfc::start is dropped by it.
    /// @return 0; 2 when the function is registered already (whatever its argument, which stays); 5 for null, and for a
    /// node outside 0..3
    static int registerSelEventHandler(int node, SelEventHandler handler, void* argument);
    static int registerSelEventHandler(SelEventHandler handler, void* argument);
    /// The handler is not called for any further record. A call for the record that another thread hands over just now
    /// may still begin or run: a check of one's own (IpmiIfcSelGetInfo) waits for it.
    /// @return 0; 2 when it is not registered; 5 for null, and for a node outside 0..3
    static int unRegisterSelEventHandler(int node, SelEventHandler handler);
    static int unRegisterSelEventHandler(SelEventHandler handler);
    /// The log's summary as last read; an empty handle before the first.
    static TRX::Reference<IpmiSel> getSel(int node);
    static TRX::Reference<IpmiSel> getSel();
    /// The answer that the summary was made from.
    static ipmiifc_sel_info getRawSelHeader(int node);
    static ipmiifc_sel_info getRawSelHeader();
    /// The records read so far, oldest first; the handles are shared and the records never change.
    static std::vector<TRX::Reference<IpmiSelData>> getSelData(int node);
    static std::vector<TRX::Reference<IpmiSelData>> getSelData();
    /// Id of the record that software processed last (IPMI 2.0, 30.5); 0 for none, and without a good answer. Sends a
    /// command and blocks.
    static unsigned short getLastProcessedSELEntry(int node);
    static unsigned short getLastProcessedSELEntry();
    /// Tells the BMC which record that is (IPMI 2.0, 30.4); a failure is logged only. Sends a command and blocks.
    static void setLastProcessedSELEntry(int node, unsigned short id);
    static void setLastProcessedSELEntry(unsigned short id);
    /// True when the repository last read has a memory sensor that can report events.
    static bool generatesMemoryEvents(int node);
    static bool generatesMemoryEvents();
    /// The log's clock (IPMI 2.0, 31.10) in seconds; 0 without a good answer. Sends a command and blocks.
    static unsigned int selGetClock(int node);
    static unsigned int selGetClock();
    /// Clears the log (IPMI 2.0, 31.9) and looks at it again, which empties the cache; inside a handler the cache
    /// follows with the next check. An erasure in progress is a success and is not waited for. Sends commands and
    /// blocks, at most about half a minute on a busy BMC that answers.
    /// @return 0; -2 for a node outside 0..3; 2 when the BMC stayed busy or its erasure status makes no sense; 4 when
    /// it did not answer; 5 when it refused
    static int clearSel(int node);
    static int clearSel();
    /// Deletes one record under a reservation (IPMI 2.0, 31.4 and 31.8) and looks at the log again, as clearSel.
    /// @return 0; -2 for a node outside 0..3; 2 when the BMC stayed busy or took its reservations back; 4 when it did
    /// not answer; 5 when it refused, as for a record that is not there
    static int deleteSelEntry(int node, unsigned short id);
    static int deleteSelEntry(unsigned short id);

    // --- LAN settings. The texts are filled by the polling loop, or by IpmiIfcLanInstantiate.

    /// The node's LAN settings: the library's, for as long as it is loaded; null for a node outside 0..3.
    static IpmiLan* getLan(int node);
    static IpmiLan* getLan();

    // --- entities

    /// The node's entities as its repository tells of them (IPMI 2.0, 39.1): each container, behind it what it
    /// contains, then the entities that only sensors name. Rebuilt with every read of the repository; entities of an
    /// earlier one stay until the node is closed.
    static std::vector<IpmiEntity> getEntities(int node);
    static std::vector<IpmiEntity> getEntities();
    /// The entity that contains the one with this id and instance (7 bits); an entity of id 0, instance 0 and node 0
    /// where nothing does.
    static IpmiEntity getEntityParent(int node, unsigned int id, unsigned int instance);
    static IpmiEntity getEntityParent(unsigned int id, unsigned int instance);

    // --- hardware inventory. Made by the polling loop, or by IpmiIfcFruInstantiateAll.

    /// The logical FRU devices of the last inventory, in the repository's order, device 0 of the BMC included where no
    /// record names one; with the areas that passed all checks. The handles are shared. Never waits for the BMC.
    static std::vector<TRX::Reference<IpmiFru>> getFrus(int node);
    static std::vector<TRX::Reference<IpmiFru>> getFrus();
    /// All FRU devices of the last inventory as the public standards have them, those behind private buses and damaged
    /// areas included, from the same reading. Never waits for the BMC.
    static std::vector<IpmiFruDevice> getFruDevices(int node);
    static std::vector<IpmiFruDevice> getFruDevices();
    /// One of these with what an inventory leaves out: the internal use area, the contents of a device that counts in
    /// words, what can be made of one whose header is damaged. Sends commands where there is any of that, and blocks.
    static IpmiFruDevice readFru(int node, const IpmiFruDevice& device);
    static IpmiFruDevice readFru(const IpmiFruDevice& device);
    /// All bytes of a logical device, from the controller that it is behind. Sends a command for every 23 bytes and
    /// blocks.
    static IpmiFruImage readFruImage(int node, const IpmiFruDevice& device);
    static IpmiFruImage readFruImage(const IpmiFruDevice& device);
    /// An area in a line; all empty for a multi-record area and an empty handle.
    static FruPart getFruPart(TRX::Reference<IpmiFruOptional>& area);
    /// The answer to Get FRU Inventory Area Info (IPMI 2.0, 34.1) of the device read last. Waits while a device's areas
    /// are being read.
    static ipmiifc_fru_info getFruDeviceHeader(int node);
    static ipmiifc_fru_info getFruDeviceHeader();

    // --- CIM broker

    /// The broker that makes date-times (CmpiDateTime) from now on; null: the small one inside the library. The broker
    /// stays the caller's and must outlive its use.
    static void setBroker(const _CMPIBroker* broker);

private:
    static void poll(int node);
};

/// Of the cycles that refresh readings (every eighth) each so manyth reads the SDR repository's info instead, and
/// refreshes the FRU inventory. Below 1 counts as 1.
TRX_IPMI_API extern std::atomic<int> SKIP_SDR_STEP;
TRX_IPMI_API extern std::atomic<int> SKIP_FRU_STEP;

} // namespace Ipmi
