#pragma once

#include "CommandLineParser.h"
#include "DeviceInfo.h"
#include "XMLWriter.h"

#include <memory>
#include <vector>

/** One run of the program: reads the arguments, runs the operations they ask for and has each one reported.
 */
class CQRXManager {
public:
    CQRXManager();
    /** Deletes the records of the last operation, closes the report. */
    ~CQRXManager();
    CQRXManager(const CQRXManager&) = delete;
    CQRXManager& operator=(const CQRXManager&) = delete;

    /**
     * The whole run.
     *
     * @return 1 when every operation asked for produced a device list, also one of failures; 0 after a usage
     *         error or an empty list
     */
    int UpdateInventory(int argc, char** argv);

    /** Runs the inventory and writes its report. False when there is nothing to report. */
    bool inventory();

    /** Runs the update and writes its report. False when there is nothing to report. */
    bool doUpdate();

private:
    std::unique_ptr<CCommandLineParser> m_pCmdLineParser;
    std::unique_ptr<CXMLWriter> m_pXMLWriter;
    /** Records of the last operation, owned. Those of an operation before it live until the process exits. */
    std::vector<CDeviceInfo*> m_vecDevices;
};
