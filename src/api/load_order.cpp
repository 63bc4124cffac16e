// The three static objects of the library that have constructors, in the order in which they are
// made at load; at unload they go in reverse. They stand in one source, as between sources the
// order would be the linker's.
#include "support/ini_files.h"
#include "support/logger.h"
#include "transport/i_device_talker.h"

STDSTR VeskNVMeLibrary_Helper::m_LibPath;
stg::CLogger stg::lout;
std::pair<STDSTR, IZNVDeviceTalker*> IZNVDeviceTalker::OS_OSTYPEPTR_PAIR("", nullptr);
