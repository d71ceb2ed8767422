// SPDX-License-Identifier: Apache-2.0
// The members without a node: each is that of node 0.
#include "ipmi/IpmiIfc.h"

namespace Ipmi
{

std::vector<IpmiEntity> IpmiIfc::getEntities()
{
    return getEntities(0);
}

IpmiEntity IpmiIfc::getEntityParent(unsigned int id, unsigned int instance)
{
    return getEntityParent(0, id, instance);
}

int IpmiIfc::getManufacturerId(unsigned char* id, unsigned char& length)
{
    return getManufacturerId(0, id, length);
}

std::string IpmiIfc::getManufacturerName()
{
    return getManufacturerName(0);
}

int IpmiIfc::getProductId(unsigned short& id)
{
    return getProductId(0, id);
}

int IpmiIfc::getDeviceId(unsigned char& id)
{
    return getDeviceId(0, id);
}

int IpmiIfc::getDeviceRevision(unsigned char& revision)
{
    return getDeviceRevision(0, revision);
}

std::string IpmiIfc::getFirmwareVersion()
{
    return getFirmwareVersion(0);
}

std::string IpmiIfc::getIpmiVersion()
{
    return getIpmiVersion(0);
}

std::string IpmiIfc::getHostOsName()
{
    return getHostOsName(0);
}

std::string IpmiIfc::getHostOsVersion()
{
    return getHostOsVersion(0);
}

int IpmiIfc::getSelfTest(unsigned short& code)
{
    return getSelfTest(0, code);
}

void IpmiIfc::doPoll()
{
    doPoll(0);
}

void IpmiIfc::setPollingInterval(int interval)
{
    setPollingInterval(0, interval);
}

int IpmiIfc::getPollingInterval()
{
    return getPollingInterval(0);
}

void IpmiIfc::start(int interval)
{
    start(0, interval);
}

void IpmiIfc::stop()
{
    stop(0);
}

IpmiIfc::IPMI_STATE IpmiIfc::getState()
{
    return getState(0);
}

IpmiIfc::IPMI_STATE IpmiIfc::waitState(int mask)
{
    return waitState(0, mask);
}

IpmiIfc::IPMI_STATE IpmiIfc::timedWaitState(int mask, long seconds, long microseconds)
{
    return timedWaitState(0, mask, seconds, microseconds);
}

std::string IpmiIfc::getSelfTestText()
{
    return getSelfTestText(0);
}

ipmiifc_sdr_info IpmiIfc::getSdr()
{
    return getSdr(0);
}

std::vector<std::vector<unsigned char>> IpmiIfc::getSdrRecords()
{
    return getSdrRecords(0);
}

ipmiifc_repository IpmiIfc::readRepository()
{
    return readRepository(0);
}

std::vector<TRX::Reference<IpmiSensor>> IpmiIfc::getSensors()
{
    return getSensors(0);
}

TRX::Reference<IpmiSensor> IpmiIfc::getSensor(unsigned int sensorNumber, unsigned int ownerId)
{
    return getSensor(0, sensorNumber, ownerId);
}

TRX::Reference<IpmiSel> IpmiIfc::getSel()
{
    return getSel(0);
}

ipmiifc_sel_info IpmiIfc::getRawSelHeader()
{
    return getRawSelHeader(0);
}

std::vector<TRX::Reference<IpmiSelData>> IpmiIfc::getSelData()
{
    return getSelData(0);
}

int IpmiIfc::clearSel()
{
    return clearSel(0);
}

int IpmiIfc::deleteSelEntry(unsigned short id)
{
    return deleteSelEntry(0, id);
}

unsigned int IpmiIfc::selGetClock()
{
    return selGetClock(0);
}

unsigned short IpmiIfc::getLastProcessedSELEntry()
{
    return getLastProcessedSELEntry(0);
}

void IpmiIfc::setLastProcessedSELEntry(unsigned short id)
{
    setLastProcessedSELEntry(0, id);
}

bool IpmiIfc::generatesMemoryEvents()
{
    return generatesMemoryEvents(0);
}

int IpmiIfc::registerSelEventHandler(SelEventHandler handler, void* argument)
{
    return registerSelEventHandler(0, handler, argument);
}

int IpmiIfc::unRegisterSelEventHandler(SelEventHandler handler)
{
    return unRegisterSelEventHandler(0, handler);
}

IpmiLan* IpmiIfc::getLan()
{
    return getLan(0);
}

unsigned char IpmiIfc::sendCmd(unsigned char cmd, unsigned char netfn, unsigned short dataLen, unsigned char* data,
                               unsigned short* respLen, unsigned char* respData)
{
    return sendCmd(0, cmd, netfn, dataLen, data, respLen, respData);
}

std::vector<TRX::Reference<IpmiFru>> IpmiIfc::getFrus()
{
    return getFrus(0);
}

std::vector<IpmiFruDevice> IpmiIfc::getFruDevices()
{
    return getFruDevices(0);
}

IpmiFruDevice IpmiIfc::readFru(const IpmiFruDevice& device)
{
    return readFru(0, device);
}

IpmiFruImage IpmiIfc::readFruImage(const IpmiFruDevice& device)
{
    return readFruImage(0, device);
}

ipmiifc_fru_info IpmiIfc::getFruDeviceHeader()
{
    return getFruDeviceHeader(0);
}

} // namespace Ipmi
