// Gathers the controller's record: identity by a device command, PCIe link from the host's files.
#pragma once

#include "api/i_builder.h"

#include <memory>

class CControllerBuilder : public IBuilder {
public:
    CControllerBuilder();
    ~CControllerBuilder() override;

    // Runs both reads for command 3, nothing for any other.
    VOID_ buidInfo(int commandId) override;
    IObject* getObject() override;  // a CController, which stays the builder's

    // The two reads. What fails shows in the log and as fields that stay 0.
    VOID_ getAdapterInfo();
    VOID_ getPCIeInfo();

    VOID_ setAdapterID(UCHAR_ adapterId);
    UCHAR_ getAdapterID();

private:
    std::unique_ptr<CController> m_pController;
    static UCHAR_ m_AdapterID;
};
