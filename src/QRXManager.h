#pragma once

#include "CommandLineParser.h"
#include "DeviceInfo.h"
#include "XMLWriter.h"

#include <memory>
#include <vector>

/** One run of the program: parses the arguments, runs the requested operations and reports each one. */
class CQRXManager {
public:
    CQRXManager();
    /** Deletes the records of the last operation and closes the report. */
    ~CQRXManager();
    CQRXManager(const CQRXManager&) = delete;
    CQRXManager& operator=(const CQRXManager&) = delete;

    /**
     * Runs the program.
     *
     * @return 1 if every requested operation returned devices, even failed ones; 0 after a usage error or an
     *         empty list
     */
    int UpdateInventory(int argc, char** argv);

    /** Runs the inventory and writes its report. False if there is nothing to report. */
    bool inventory();

    /** Runs the update and writes its report. False if there is nothing to report. */
    bool doUpdate();

private:
    std::unique_ptr<CCommandLineParser> m_pCmdLineParser;
    std::unique_ptr<CXMLWriter> m_pXMLWriter;
    /** The records of the last operation, owned. Those of an earlier operation are not freed before exit. */
    std::vector<CDeviceInfo*> m_vecDevices;
};
