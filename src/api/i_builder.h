// The information builders: objects that gather the data of one command and hand them out.
#pragma once

#include "VeskNvme.h"

#include <vector>

// What builders hand out. It has no operations and no definition: the receiver knows from the
// command what is behind the pointer.
class IObject;

class IBuilder {
public:
    virtual ~IBuilder();

    // Gathers the data for the command id. (The name is spelled so in all classes, and in the log.)
    virtual VOID_ buidInfo(int commandId) = 0;
    // The gathered object, which stays the builder's.
    virtual IObject* getObject() = 0;
    // Appends gathered objects, which are the caller's from then on.
    virtual VOID_ getObjectVector(std::vector<IObject*>& objects);
    // Copies the gathered data of the command into the caller's record.
    virtual VOID_ getSpecificObject(UNSIGNED_INTEGER commandId, VOIDPTR record);
    // Takes the parameters of the command from the caller's record.
    virtual VOID_ setSpecificParams(UCHAR_ commandId, VOIDPTR record);
};
