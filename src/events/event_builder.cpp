#include "events/event_builder.h"

#include "api/error_state.h"
#include "events/event_log_layout.h"
#include "events/znv_event_builder.h"
#include "support/heap_record.h"
#include "support/ini_files.h"
#include "support/log_line.h"
#include "support/trace.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <new>

namespace {

constexpr int kMostEventsDelivered = 64;
constexpr USHORT_INT kNoExternalCode = 0xFFFF;

const char* sectionOf(USHORT_INT eventClass) {
    switch (eventClass) {
    case 0:
        return "Adapter";
    case 1:
        return "VirtualDevice";
    case 2:
        return "PhysicalDevice";
    default:
        return "";
    }
}

void logEvents(const EventMap& events) {
    if (!stg::lout.isActive()) {
        return;
    }
    for (const auto& entry : events) {
        const _Event* const event = entry.second;
        stg::logLine("CEventBuilder::getEventInfo : Seq no: ", event->sequenceNo);
        stg::logLine("CEventBuilder::getEventInfo : Class: ", event->eventClass);
        stg::logLine("CEventBuilder::getEventInfo : Code: ", event->eventCode);
        stg::logLine("CEventBuilder::getEventInfo : Device ID: ", event->deviceId);
        stg::logLine("CEventBuilder::getEventInfo : Timestamp: ", event->timeStamp);
        stg::logLine("CEventBuilder::getEventInfo : Severity: ", event->severity);
        stg::logLine("CEventBuilder::getEventInfo : Event description: ",
                     stg::fieldText(event->description));
    }
}

// Reads one piece of the log area and parses it; a page without a buffer is one without text.
// `limit` becomes the lowest number that there was no memory for, if that is below it.
INTEGER collectPiece(CEventBuilder& builder, EventParser& parser, CZNVEventBuilder& reader,
                     UNSIGNED_INTEGER offset, UNSIGNED_INTEGER length, UNSIGNED_INTEGER& limit) {
    builder.makeIOCTL(&reader, offset, length);
    auto* const text = static_cast<char*>(reader.getZNVEventCommand()->getcdw_6_7());
    try {
        return text == nullptr ? 0 : parser.parseEventBuffer(text, CEventBuilder::events);
    } catch (const EventWithoutMemory& lack) {
        limit = std::min(limit, lack.lowest);
        return lack.added;
    }
}

void removeEventsFrom(EventMap& events, EventMap::iterator first) {
    std::for_each(first, events.end(), [](const auto& entry) { std::free(entry.second); });
    events.erase(first, events.end());
}

// Appends copies of the events above `last`, with their external codes, in rising order up to the
// most that one delivery takes; `last` moves along. Throws what a lookup or the vector throws.
void pushNewEvents(CEventBuilder& builder, std::vector<IObject*>& objects, INTEGER& last) {
    int budget = kMostEventsDelivered;
    for (const auto& entry : *CEventBuilder::events) {
        // ODDITY: compared as signed, so numbers from 0x80000000 on are never above a mark.
        // Pinned by EventDelivery.NumbersAboveTheSignedRangeAreSkipped.
        const auto sequenceNo = static_cast<INTEGER>(entry.second->sequenceNo);
        if (sequenceNo <= last) {
            continue;
        }
        HeapRecord<_Event> copy = stg::tryAllocateZeroed<_Event>();
        if (!copy) {
            stg::recordFailure(ERR_FAIL, std::bad_alloc().what());
            continue;
        }
        *copy = *entry.second;
        builder.mapEventInfo(copy.get());
        if (copy->eventCode == kNoExternalCode) {
            continue;
        }
        objects.push_back(reinterpret_cast<IObject*>(copy.get()));
        static_cast<void>(copy.release());
        stg::logLine("CEventBuilder::getObjectVector: Sequence Number pushed: ", sequenceNo);
        last = sequenceNo;
        if (--budget == 0) {
            break;
        }
    }
}

}  // namespace

EventMap* CEventBuilder::events = nullptr;
std::mutex CEventBuilder::mtx;

CEventBuilder::CEventBuilder() {
    LOG_ENTRY;
    m_pEvent = std::make_unique<CEvent>();
    m_pParser = std::make_unique<EventParser>();
    LOG_EXIT;
}

CEventBuilder::~CEventBuilder() {
    LOG_ENTRY;
    m_pEvent.reset();
    m_pParser.reset();
    LOG_EXIT;
}

VOID_ CEventBuilder::buidInfo(int /*commandId*/) {
    LOG_ENTRY;
    getEventInfo();
    LOG_EXIT;
}

IObject* CEventBuilder::getObject() {
    return reinterpret_cast<IObject*>(m_pEvent.get());
}

VOID_ CEventBuilder::makeIOCTL(ICommandBuilder* builder, UNSIGNED_INTEGER offset,
                               UNSIGNED_INTEGER length) {
    LOG_ENTRY;
    stg::logLine("CEventBuilder::makeIOCTL(): Event data offset:", offset);
    auto* const reader = static_cast<CZNVEventBuilder*>(builder);
    reader->setZNVEventPageLength(length);
    reader->setZNVEventOffset(offset);
    builder->buildCommand();
    builder->execute();
    LOG_EXIT;
}

VOID_ CEventBuilder::getEventInfo() {
    LOG_ENTRY;
    std::unique_lock<std::mutex> lock(mtx);
    // ODDITY: what is thrown is logged and thrown anew, and nothing above catches it: on the
    // polling thread that ends the process. Pinned by
    // EventCollection.ExceptionsLeaveAfterTheErrorIsSet.
    try {
        const auto reader = std::make_unique<CZNVEventBuilder>();
        if (events == nullptr) {
            events = new EventMap;
        }
        UNSIGNED_INTEGER limit = 0xFFFFFFFF;
        for (UNSIGNED_INTEGER offset = 0; offset < kEventAreaSize; offset += kEventPageSize) {
            INTEGER count = collectPiece(*this, *m_pParser, *reader, offset, kEventPageSize, limit);
            if (!m_pParser->getRemainingEvent().empty()) {
                // For the last page this reaches past the area, and is sent all the same.
                count += collectPiece(*this, *m_pParser, *reader, offset + kCarryOffset, kCarrySize,
                                      limit);
            }
            stg::logLine("CEventBuilder::getEventInfo: Number of events in current page: ", count);
            stg::logLine("CEventBuilder::getEventInfo: Total number of events in events map: ",
                         events->size());
        }
        // A delivery must not move the mark past an event that there was no memory for. The next
        // poll brings it, and what is above it.
        removeEventsFrom(*events, events->upper_bound(limit));
        logEvents(*events);
    } catch (const std::bad_alloc& error) {
        stg::recordFailure(ERR_FAIL, error.what());
        throw std::bad_alloc();
    } catch (const std::exception& error) {
        stg::recordFailure(ERR_FAIL, error.what());
        throw std::exception();
    }
    lock.unlock();
    LOG_EXIT;
}

VOID_ CEventBuilder::getObjectVector(std::vector<IObject*>& objects) {
    LOG_ENTRY;
    std::unique_lock<std::mutex> lock(mtx);
    if (events != nullptr) {
        try {
            INTEGER last = VeskNVMeLibrary_Helper::readEventSeqNumberFromINIFile();
            stg::logLine("CEventBuilder::getObjectVector: Read Last processed SEQ number = ", last);
            stg::logLine("CEventBuilder::getObjectVector: Event map size: ", events->size());
            pushNewEvents(*this, objects, last);
            if (VeskNVMeLibrary_Helper::writeLastProcessedEventSeqNumberToINIFile(last) != 0) {
                // The map stays, and the next delivery brings the same events: at least once.
                VeskNVMeLibrary_Error::setErrorCode(ERR_FAIL);
            } else {
                // ODDITY: also what is beyond the 64th goes; the next poll brings it back for as
                // long as the controller holds it. Pinned by
                // EventDelivery.HundredEventsComeInTwoDeliveries.
                destroyEventsInEventsMap();
            }
        } catch (const std::exception& error) {
            // What was pushed is delivered. Mark and map stay, so it comes again with the rest.
            stg::recordFailure(ERR_FAIL, error.what());
        }
    }
    lock.unlock();
    LOG_EXIT;
}

VOID_ CEventBuilder::mapEventInfo(PEvent event) {
    LOG_ENTRY;
    const USHORT_INT code = VeskNVMeLibrary_Helper::readEventCodeFromINIFile(
        sectionOf(event->eventClass), event->eventCode);
    stg::logLine("CEventBuilder::mapEventInfo(): Original Code:  ", event->eventCode);
    event->eventCode = code;
    stg::logLine("CEventBuilder::mapEventInfo(): Mapped Code:  ", event->eventCode);
    LOG_EXIT;
}

VOID_ CEventBuilder::destroyEventsInEventsMap() {
    LOG_ENTRY;
    if (events != nullptr) {
        removeEventsFrom(*events, events->begin());
    }
    LOG_EXIT;
}

VOID_ CEventBuilder::destroyEventsMap() {
    LOG_ENTRY;
    delete events;
    events = nullptr;
    LOG_EXIT;
}
