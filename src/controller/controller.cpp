// The record of the controller, which VeskNvme.h declares.
#include "VeskNvme.h"

#include "controller/adapter_data.h"
#include "controller/kept_firmware_version.h"
#include "support/log_line.h"
#include "support/trace.h"
#include "transport/pcie_link_info.h"

#include <cstring>

// Aligned to be moved as one number.
alignas(8) _PackageVersion CController::firwareVer = {0, 0, 0, 0};

CController::CController() {
    LOG_ENTRY;
    // All of it goes to the host, the reserved bytes too: none of them may show old memory.
    std::memset(static_cast<void*>(this), 0, sizeof(*this));
    LOG_EXIT;
}

CController::~CController() {
    LOG_ENTRY_LABEL("libVeskNvme: CController::~CController()");
    LOG_EXIT_LABEL("libVeskNvme: CController::~CController()");
}

VOID_ CController::setVendorID(USHORT_INT value) {
    m_vendorId = value;
}

USHORT_INT CController::getVendorID() const {
    return m_vendorId;
}

VOID_ CController::setSubVendorID(USHORT_INT value) {
    m_subVendorId = value;
}

USHORT_INT CController::getSubVendorID() const {
    return m_subVendorId;
}

VOID_ CController::setDeviceID(USHORT_INT value) {
    m_deviceId = value;
}

USHORT_INT CController::getDeviceID() const {
    return m_deviceId;
}

VOID_ CController::setSubDeviceID(USHORT_INT value) {
    m_subDeviceId = value;
}

USHORT_INT CController::getSubDeviceID() const {
    return m_subDeviceId;
}

VOID_ CController::setLinkSpeed(UCHAR_ value) {
    m_linkSpeed = value;
}

UCHAR_ CController::getLinkSpeed() const {
    return m_linkSpeed;
}

VOID_ CController::setLinkWidth(UCHAR_ value) {
    m_linkWidth = value;
}

UCHAR_ CController::getLinkWidth() const {
    return m_linkWidth;
}

VOID_ CController::setMaxSpeed(UCHAR_ value) {
    m_maxSpeed = value;
}

UCHAR_ CController::getMaxSpeed() const {
    return m_maxSpeed;
}

VOID_ CController::setMaxLinkWidth(UCHAR_ value) {
    m_maxLinkWidth = value;
}

UCHAR_ CController::getMaxLinkWidth() const {
    return m_maxLinkWidth;
}

VOID_ CController::setPortCount(UCHAR_ value) {
    m_portCount = value;
}

UCHAR_ CController::getPortCount() const {
    return m_portCount;
}

VOID_ CController::setVDCount(UCHAR_ value) {
    m_vdCount = value;
}

UCHAR_ CController::getVDCount() const {
    return m_vdCount;
}

VOID_ CController::setPDCount(UCHAR_ value) {
    m_pdCount = value;
}

UCHAR_ CController::getPDCount() const {
    return m_pdCount;
}

VOID_ CController::setMaxBufSize(USHORT_INT value) {
    m_maxBufSize = value;
}

USHORT_INT CController::getMaxBufSize() const {
    return m_maxBufSize;
}

VOID_ CController::setSlotNo(UNSIGNED_INTEGER value) {
    m_slotNo = value;
}

UNSIGNED_INTEGER CController::getSlotNo() const {
    return m_slotNo;
}

VOID_ CController::setFirmwareVersion(_PackageVersion value) {
    m_firmwareVersion = value;
}

_PackageVersion CController::getFirmwareVersion() const {
    return m_firmwareVersion;
}

VOID_ CController::setBDF(_BDF address) {
    LOG_ENTRY;
    m_SystemIOBusNumber = static_cast<UNSIGNED_INTEGER>(address.function) |
                          (static_cast<UNSIGNED_INTEGER>(address.device) << 8) |
                          (static_cast<UNSIGNED_INTEGER>(address.bus) << 16);
    stg::logLine("CController::setBDF: m_SystemIOBusNumber: ", m_SystemIOBusNumber);
    LOG_EXIT;
}

_BDF CController::getBDF() const {
    return _BDF{static_cast<UCHAR_>(m_SystemIOBusNumber & 0xFF),
                static_cast<UCHAR_>((m_SystemIOBusNumber >> 8) & 0xFF),
                static_cast<UCHAR_>((m_SystemIOBusNumber >> 16) & 0xFF)};
}

VOID_ CController::setAttributes(_AdapaterData* adapter) {
    LOG_ENTRY;
    setFirmwareVersion(adapter->firmwareVersion);
    stg::keepFirmwareVersion(adapter->firmwareVersion);
    setVendorID(adapter->vendorId);
    setSubVendorID(adapter->subVendorId);
    setDeviceID(adapter->deviceId);
    setSubDeviceID(adapter->subDeviceId);
    setPortCount(adapter->portCount);
    setMaxBufSize(adapter->maxBufSize);
    setVDCount(adapter->vdCount);
    setPDCount(adapter->pdCount);
    setBDF(adapter->bdf);
    LOG_EXIT;
}

VOID_ CController::setAttributes(_VESKPCIInfo* link) {
    LOG_ENTRY;
    setLinkSpeed(link->negotiatedLinkSpeed);
    setLinkWidth(link->negotiatedLinkWidth);
    setMaxSpeed(link->maxLinkSpeed);
    setMaxLinkWidth(link->maxLinkWidth);
    LOG_EXIT;
}
