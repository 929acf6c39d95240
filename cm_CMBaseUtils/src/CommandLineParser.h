#pragma once

#include <string>

/** Turns the arguments of the process into the flags and file names of one run. */
class CCommandLineParser {
public:
    CCommandLineParser();
    virtual ~CCommandLineParser();

    /**
     * Reads the arguments. Options are compared whole and case-sensitively, in any order, and may repeat.
     * "-h" prints the usage text and ends the reading at once. A further call resumes after the last argument
     * read.
     *
     * @param argc  number of arguments, the program's name included
     * @param argv  the arguments; null counts as none
     * @return 1 when they were read; 0 when there are none, one is unknown, or "-o" lacks its value: the
     * usage text has then been printed
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
