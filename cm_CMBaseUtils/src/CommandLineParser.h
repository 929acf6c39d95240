#pragma once

#include <string>

/** Parses the command line into the flags and file names of one run. */
class CCommandLineParser {
public:
    CCommandLineParser();
    virtual ~CCommandLineParser();

    /**
     * Parses the arguments. Options are matched whole and case-sensitively, come in any order, and may
     * repeat. "-h" prints the usage text and stops parsing. A further call resumes after the last argument
     * that was read.
     *
     * @param argc  number of arguments, including the program's name
     * @param argv  the arguments; null counts as none
     * @return 1 if they were parsed; 0, with the usage text printed, if there are none, one is unknown, or
     *         "-o" lacks its value
     */
    int parseCLI(int argc, char** argv);

    /** Writes the usage text to standard output. */
    void printUsage();

    std::string getDebugFilename();
    std::string getOutputFileName();
    bool isForceMode();
    bool isDebug();
    bool isInventory();
    bool isUpdate();
    bool isVerify();

private:
    enum class eOutcome { READ_ON, DONE, FAILED };

    eOutcome readOption(int argc, char** argv);
    eOutcome readOutputFileName(int argc, char** argv);
    void readDebugFileName(int argc, char** argv);

    std::string m_strDebugFileName;
    std::string m_strOutputFileName;
    bool m_bForce;
    bool m_bDebug;
    bool m_bInventory;
    bool m_bUpdate;
    bool m_bVerify;
    int m_nArgIndex;
};
