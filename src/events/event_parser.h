// Turns the controller's event log, a text, into event records.
//
// The log comes in pages of 4096 bytes: 40 bytes that are not scanned (the first 8 may hold the end
// of a cut line), then lines that end in a line feed, then NUL bytes. A line is a row of tags,
// "[KEY]value", in any order. No locks: a parser belongs to
// the thread that uses it, the map to whoever holds its lock.
#pragma once

#include "events/event_record.h"

#include <new>
#include <string>
#include <string_view>

// There was no memory for new records of a page. The others are in the map.
class EventWithoutMemory : public std::bad_alloc {
public:
    EventWithoutMemory(UNSIGNED_INTEGER lowestMissing, INTEGER newRecords)
        : lowest(lowestMissing), added(newRecords) {}

    UNSIGNED_INTEGER lowest;  // of the sequence numbers that are missing
    INTEGER added;            // number of records that were new
};

class EventParser {
public:
    EventParser();

    // One for the process, made on first use. The event path uses parsers of its own.
    static EventParser& getInstance();

    // Adds the records of one page to the map and returns how many were new; a sequence number that
    // is there already keeps its record. A line that the page's end cuts is kept as remaining text;
    // the next call then takes `page` as a carry read of 16 bytes, whose last 8 may complete the
    // line, and drops it if they do not.
    //
    // Throws EventWithoutMemory behind a page whose records could not all be had.
    INTEGER parseEventBuffer(char* page, EventMap* events);

    STDSTR getRemainingEvent();
    VOID_ setRemainingEvent(STDSTR text);

    // Fills the zeroed record from one line. 0 good, 1 bad.
    RESULT parseEvent(std::string line, PEvent event);
    // Fills in one tag. 1 for a sequence number that is none, 0 for all else, unknown keys
    // included.
    RESULT addToEventStruct(PEvent event, std::string key, std::string value);
    // Class, severity and description out of the value of "MSG".
    VOID_ parseMSG(PEvent event, std::string key, std::string value);
    UCHAR_ mapSeverity(std::string name);
    USHORT_INT mapClassName(std::string name);

private:
    std::string m_remaining;
};
