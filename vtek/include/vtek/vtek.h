#pragma once

#include <sstream>
#include <string>

/**
 * The public interface of the platform's systems-management library, libvtek.so.0.
 *
 * Everything that touches the chassis controller goes through these names: the secure firmware repository
 * (WYND), the controller's inventory store (TVK), OEM IPMI requests, the library's own log and its string
 * helpers. The platform's library, this project's stand-in and its test doubles all implement exactly this
 * header. Not thread-safe: only one thread at a time may call the library.
 */

/** The kind of repository that the platform offers; a value outside 1..3 means none. */
enum ewyndSupport : int { NO_WYND = 0, WYND_FULL = 1, WYND_LITE = 2, WYND_LITER = 3 };

/** The subject of a repository call: the controller's inventory, or the payload of an update. */
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
    /** Prepares the library and sets isSuccess. May throw std::bad_alloc. */
    secureWynd();
    virtual ~secureWynd();
    secureWynd(const secureWynd&) = delete;
    secureWynd& operator=(const secureWynd&) = delete;

    /** Returns the kind of the reachable repository, NO_WYND if there is none. */
    ewyndSupport IsWyndPresent();

    /** Opens the session and sets isSuccess. */
    void secureWyndInit();

    /** Appends the controller's whole inventory, an SVMInventory document, to out. True on success. */
    bool QueryTVK(std::stringstream& out, exmlMode mode);

    /** Finds the update's payload, verifies its signature and stores its full path in path. True on success;
     *  path stays unchanged otherwise. */
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

    /** The number of the last failure; 0 if nothing has failed. */
    int getVTEKError();

    /** After construction: the library is prepared. After secureWyndInit: the session is open. */
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
    /** Returns text with its ASCII letters in lower case. */
    static std::string toLowerCase(const std::string& text);
    /** Returns text without leading and trailing white space. */
    static std::string trim_string(const std::string& text);
};
