// One event as ZT_EVT_GetEvent delivers it; VeskNvme.h declares the class.
#include "VeskNvme.h"

#include "support/trace.h"

CEvent::CEvent() {
    LOG_ENTRY;
    LOG_EXIT;
}

CEvent::~CEvent() {
    LOG_ENTRY;
    LOG_EXIT;
}

// ODDITY: copying copies no field: a record is moved as bytes, and the class only lends its getters
// to such bytes. Pinned by EventRecord.CopiesCarryNothing.
CEvent::CEvent(const CEvent& /*copyObject*/) {
    LOG_ENTRY_LABEL("libVeskNvme: CEvent::CEvent(copyObject)");
    LOG_EXIT_LABEL("libVeskNvme: CEvent::CEvent(copyObject)");
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is assigned
CEvent& CEvent::operator=(CEvent& /*copyObject*/) {
    LOG_ENTRY_LABEL("libVeskNvme: CEvent::operator=(copyObject)");
    LOG_EXIT_LABEL("libVeskNvme: CEvent::operator=(copyObject)");
    return *this;
}

USHORT_INT CEvent::getClass() {
    return m_eventClass;
}

VOID_ CEvent::setClass(USHORT_INT eventClass) {
    m_eventClass = eventClass;
}

USHORT_INT CEvent::getCode() {
    return m_eventCode;
}

VOID_ CEvent::setCode(USHORT_INT code) {
    m_eventCode = code;
}

UNSIGNED_INTEGER CEvent::getSequenceNo() {
    return m_sequenceNo;
}

VOID_ CEvent::setSequenceNo(UNSIGNED_INTEGER sequenceNo) {
    m_sequenceNo = sequenceNo;
}
