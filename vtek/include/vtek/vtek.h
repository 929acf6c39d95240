#pragma once

#include <sstream>
#include <string>

/**
 * The face of the platform's systems-management library, libvtek.so.0.
 *
 * Everything that touches the chassis controller goes through these names: the secure firmware repository
 * (WYND), the controller's inventory store (TVK), OEM IPMI requests, the library's own log and its string
 * helpers. The platform's library, the stand-in of this project and the doubles of its tests all implement
 * exactly this header. Nothing here may be called from two threads at once.
 */

/** The kind of repository that the platform offers; a value outside 1..3 means none. */
enum ewyndSupport : int { NO_WYND = 0, WYND_FULL = 1, WYND_LITE = 2, WYND_LITER = 3 };

/** What a repository call is about: the controller's inventory, or the payload of an update. */
enum exmlMode : int { QUERY_INVENTORY = 12, ADD_PAYLOAD = 16 };

/** OEM IPMI requests; the value is the IPMI command byte. */
enum eOEMIPMIRequestType : int { SHARED_COMPONENT_UPDATE = 0xD0 };

/** One OEM IPMI exchange: the request before the call, the answer after it. */
struct _EsmIPMICmdIoctlReq {
    unsigned char bytes[72];
};

/**
 * The secure firmware repository: presence, session, inventory query, and the copy of a signed payload.
 *
 * Order of use: construct, IsWyndPresent, secureWyndInit, then either QueryTVK, or IsPayloadSigned,
 * StartCopyFile, AddFile, CompleteSignedUnzip, EndCopyFile. Destroying the object before EndCopyFile has
 * succeeded discards the copy.
 */
class secureWynd {
public:
    /** Prepares the library; isSuccess tells how that went. May throw std::bad_alloc. */
    secureWynd();
    virtual ~secureWynd();
    secureWynd(const secureWynd&) = delete;
    secureWynd& operator=(const secureWynd&) = delete;

    /** The kind of repository that is reachable; NO_WYND when there is none. */
    ewyndSupport IsWyndPresent();

    /** Opens the session; isSuccess tells afterwards whether it is open. */
    void secureWyndInit();

    /** Appends the controller's whole inventory, an SVMInventory document, to out. True on success. */
    bool QueryTVK(std::stringstream& out, exmlMode mode);

    /** Locates the update's payload, verifies its signature and writes its full path into path. True on
     *  success; path is untouched otherwise. */
    bool IsPayloadSigned(std::string& path);

    /** Opens one copy transaction. True on success. */
    bool StartCopyFile();

    /** Registers one file: source is the payload's path, destination its name below the repository. True on
     *  success. */
    bool AddFile(std::string source, std::string destination, exmlMode mode);

    /** Unpacks the registered payload into the repository. True on success. */
    bool CompleteSignedUnzip();

    /** Commits the transaction; the controller then takes the firmware. True on success. */
    bool EndCopyFile();

    /** The number of the last failure, 0 when nothing has failed. */
    int getVTEKError();

    /** After construction: the library's preparation succeeded. After secureWyndInit: the session is open. */
    bool isSuccess;

private:
    struct Impl;
    [[maybe_unused]] Impl* m_pImpl;
};

/** Request and answer of OEMIPMIRequest; owned by the library. */
extern _EsmIPMICmdIoctlReq IPMIReqBuf;

/**
 * Sends one OEM IPMI request to the server's management controller and waits for the answer.
 *
 * @param buffer          request in, answer out, both from byte 32 on
 * @param requestLength   length of the request in bytes
 * @param responseLength  length of the answer in bytes
 * @return the completion value, 0 on success
 */
unsigned char OEMIPMIRequest(eOEMIPMIRequestType type, unsigned char value, _EsmIPMICmdIoctlReq* buffer,
                             unsigned short requestLength, unsigned short responseLength);

/** Writes one line to the library's own log, with the caller's source file and line. */
void logWyndMsg(const char* sourceFile, unsigned int line, const std::string& message);

/** The library's string helpers. */
class CStringUtils {
public:
    /** text with its ASCII letters in lower case. */
    static std::string toLowerCase(const std::string& text);
    /** text without the white space at its two ends. */
    static std::string trim_string(const std::string& text);
};
