#include "CommandLineParser.h"

#include <iostream>
#include <string_view>

namespace {

// Fixed to the byte. "-debug" stands for "-d".
constexpr std::string_view kUsage =
    "\n"
    "Usage: -h\n"
    "\tProvides detailed help information\n"
    "\n"
    "Usage: -i [-o <output filename>] [-debug]\n"
    "\tProvides inventory information of all identified devices.\n"
    "\t-o Specifies the output filename.\n"
    "\t-d Specifies to create a debug log file.\n"
    "\n"
    "Usage: -u [-s <image folder>] [-f] [-o <output filename>] [-debug [filename]]\n"
    "===========================================================================\n";

}  // namespace

CCommandLineParser::CCommandLineParser()
    : m_strDebugFileName("debug.log"),
      m_bForce(false),
      m_bDebug(false),
      m_bInventory(false),
      m_bUpdate(false),
      m_bVerify(false),
      m_nArgIndex(1) {}  // after the program's name

CCommandLineParser::~CCommandLineParser() = default;

int CCommandLineParser::parseCLI(int argc, char** argv) {
    if (argc < 2 || argv == nullptr) {
        printUsage();
        return 0;
    }
    while (m_nArgIndex < argc) {
        switch (readOption(argc, argv)) {
            case eOutcome::DONE:
                return 1;
            case eOutcome::FAILED:
                printUsage();
                return 0;
            case eOutcome::READ_ON:
                ++m_nArgIndex;
        }
    }
    return 1;
}

CCommandLineParser::eOutcome CCommandLineParser::readOption(int argc, char** argv) {
    const std::string_view option = argv[m_nArgIndex];
    if (option == "-u") {
        m_bUpdate = true;
    } else if (option == "-h") {
        printUsage();
        return eOutcome::DONE;
    } else if (option == "-o") {
        return readOutputFileName(argc, argv);
    } else if (option == "-i") {
        m_bInventory = true;
    } else if (option == "-f") {
        m_bForce = true;
    } else if (option == "-d") {
        m_bDebug = true;
        readDebugFileName(argc, argv);
    } else if (option == "-v") {
        m_bVerify = true;
    } else {
        return eOutcome::FAILED;
    }
    return eOutcome::READ_ON;
}

CCommandLineParser::eOutcome CCommandLineParser::readOutputFileName(int argc, char** argv) {
    if (++m_nArgIndex >= argc) {
        return eOutcome::FAILED;
    }
    m_strOutputFileName = argv[m_nArgIndex];
    return eOutcome::READ_ON;
}

void CCommandLineParser::readDebugFileName(int argc, char** argv) {
    // The name is optional: an argument that starts with '-' is the next option.
    if (m_nArgIndex + 1 < argc && argv[m_nArgIndex + 1][0] != '-') {
        m_strDebugFileName = argv[++m_nArgIndex];
    }
}

void CCommandLineParser::printUsage() {
    std::cout << kUsage;
}

std::string CCommandLineParser::getDebugFilename() {
    return m_strDebugFileName;
}

std::string CCommandLineParser::getOutputFileName() {
    return m_strOutputFileName;
}

bool CCommandLineParser::isForceMode() {
    return m_bForce;
}

bool CCommandLineParser::isDebug() {
    return m_bDebug;
}

bool CCommandLineParser::isInventory() {
    return m_bInventory;
}

bool CCommandLineParser::isUpdate() {
    return m_bUpdate;
}

bool CCommandLineParser::isVerify() {
    return m_bVerify;
}
