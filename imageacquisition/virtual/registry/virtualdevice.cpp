#include "virtualdevice.h"

#include "virtualcamera.h"
#include "virtualunit.h"
#include "virtualusbbus.h"

#include <imageacquisition/kelvane.h>

#include <cstdio>

namespace ImageAcquisition {

VirtualDevice::VirtualDevice(std::shared_ptr<VirtualUnit> unit)
    : m_unit(std::move(unit)), m_vendor(kKelvaneUsbVendorId), m_serialLinked(m_unit->hasSerialLink())
{
    const std::string number = std::to_string(m_unit->number());
    m_name = "Kelvane KVC-1080 (virtual " + number + ")";
    m_systemName = "virtual" + number;
    m_busInfo = "platform:virtual-camera-" + number;
    char vendor[8];
    std::snprintf(vendor, sizeof vendor, "%04x", m_vendor);
    m_vendorId = vendor;
    m_serial = m_unit->serialNumber();
    m_serialLine = m_unit->serialLinePath();
}

VirtualDevice::~VirtualDevice() = default;

bool VirtualDevice::isKelvaneDevice() const
{
    return m_vendor == kKelvaneUsbVendorId && m_serialLinked;
}

UsbBandwidth::Bus VirtualDevice::bus() const
{
    return VirtualUsbBus::instance().state(m_unit.get());
}

IStreamingCamera* VirtualDevice::open() const
{
    if (!m_unit->isPlugged())
        return nullptr;
    return new VirtualCamera(m_unit);
}

} // namespace ImageAcquisition
