// Reads the two INI files of the library and rewrites the one number that survives a restart.
//
// Nothing is cached: every lookup opens the file and scans it from the top. No locks: the alert
// mapping file is read and written under CEventBuilder::mtx, the configuration by the thread that
// needs it.
#pragma once

#include "VeskNvme.h"

class VeskNVMeLibrary_Helper {
public:
    // Finds the folder of the INI files and sets m_LibPath to it; leaves m_LibPath alone, and so
    // the working directory in force, where neither folder holds a configuration file.
    static VOID_ getLinuxINIPath();

    // 0 stops logging, 1 starts it, 2 starts it if the configuration says so.
    static VOID_ setDebugLevel(INTEGER level);

    // The value of `key` in [`section`] of the file, or `defaultValue` where file, section or key
    // is missing. Throws std::out_of_range for a line that holds the key and nothing behind it,
    // std::ios_base::failure where the file cannot be read on, std::bad_alloc without memory.
    static STDSTR readPropertyFromFile(STDSTR path, STDSTR section, STDSTR key,
                                       STDSTR defaultValue);

    // The external code of a controller's event code: 65535 if there is none, 0 for a bad value.
    // This and the next throw what readPropertyFromFile throws.
    static USHORT_INT readEventCodeFromINIFile(STDSTR section, USHORT_INT code);

    // The number of the last event that was delivered: 0 if there is none, and for a bad value.
    static INTEGER readEventSeqNumberFromINIFile();

    // Seconds between two polls: 50 if none is given, for a bad value, and where the file cannot be
    // read. Throws std::out_of_range as readPropertyFromFile does.
    static INTEGER readPollingIntervalFromINIFile();

    // Puts `number` behind the last "=" of the file, in place. 0 done, 1 failed.
    static USHORT_INT writeSEQNumberToFile(STDSTR path, STDSTR number);

    static USHORT_INT writeLastProcessedEventSeqNumberToINIFile(INTEGER number);

    static STDSTR m_LibPath;      // folder of the INI files with its closing slash, or empty
    static INTEGER m_DebugValue;  // 1 once logging was started, 0 once it was stopped
};
