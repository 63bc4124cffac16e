// Collects the controller's events into one map of the process, and delivers from it.
#pragma once

#include "api/i_builder.h"
#include "events/event_parser.h"
#include "transport/i_command_builder.h"

#include <memory>
#include <mutex>

// The polling thread collects (buidInfo), host threads deliver (getObjectVector); both hold mtx for
// the whole of it. One object serves one command.
class CEventBuilder : public IBuilder {
public:
    CEventBuilder();
    ~CEventBuilder() override;

    VOID_ buidInfo(int commandId) override;  // collects, whatever the command
    IObject* getObject() override;           // a CEvent of no content, which stays the builder's
    // Appends up to 64 new events in rising order, records from calloc that are the caller's from
    // then on; stores the mark and empties the map. Without a poll before it, it touches nothing.
    VOID_ getObjectVector(std::vector<IObject*>& objects) override;

    // Reads the whole log area into the map; if there was no memory for a record, without those
    // above it. Throws a new std::bad_alloc or std::exception for what else is thrown below it,
    // after logging and ERR_FAIL.
    VOID_ getEventInfo();
    VOID_ makeIOCTL(ICommandBuilder* builder, UNSIGNED_INTEGER offset, UNSIGNED_INTEGER length);
    // Replaces the code by the external one; 65535 if there is none.
    VOID_ mapEventInfo(PEvent event);

    // Neither takes the lock: the first runs under it, or with the second after the thread is gone.
    static VOID_ destroyEventsInEventsMap();
    static VOID_ destroyEventsMap();

    static EventMap* events;  // null until the first poll
    static std::mutex mtx;    // guards events, and the stored sequence number

private:
    std::unique_ptr<CEvent> m_pEvent;
    std::unique_ptr<EventParser> m_pParser;
};
