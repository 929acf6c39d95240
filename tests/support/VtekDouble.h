#pragma once

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace test {

/** The platform library's answers. The defaults are a willing chassis: a full repository, permission to
 * update shared components, an empty inventory, a signed payload and no failing step. */
struct VtekScript {
    bool constructorThrows = false;        // the constructor of secureWynd throws std::bad_alloc
    bool successAfterConstruction = true;  // isSuccess after construction
    bool successAfterInit = true;          // isSuccess after secureWyndInit
    int kind = 1;                          // IsWyndPresent
    bool queryResult = true;               // QueryTVK
    std::string inventory;                 // what QueryTVK writes, whatever its result
    bool payloadSigned = true;             // IsPayloadSigned; the path is written only when true
    std::string payloadPath = "/payloads/firmware.fwp";
    bool startCopyFile = true;
    bool addFile = true;
    bool completeSignedUnzip = true;
    bool endCopyFile = true;
    int error = 0;                     // getVTEKError
    unsigned char ipmiCompletion = 0;  // OEMIPMIRequest
    /** Bytes 32 to 43 of IPMIReqBuf after OEMIPMIRequest; nothing leaves the request's own bytes there. */
    std::optional<std::array<unsigned char, 12>> ipmiAnswer = {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 1}};
    unsigned failingStringCall = 0;  // which call of CStringUtils throws std::runtime_error, from 1; 0: none
};

/** One line of the library's own log. */
struct VtekLogLine {
    std::string sourceFile;
    unsigned int line;
    std::string message;
};

/**
 * The platform library in a test: linked in the place of libvtek.so.0, it answers as `script` says and keeps
 * the calls that it gets.
 *
 * At most one lives at a time, and one must live whenever the code under test calls the library. The script
 * may be changed between calls. IPMIReqBuf holds 0xEE in every byte at the start, so that a test sees
 * which bytes a request set.
 */
class VtekDouble {
public:
    VtekDouble();
    ~VtekDouble();
    VtekDouble(const VtekDouble&) = delete;
    VtekDouble& operator=(const VtekDouble&) = delete;

    VtekScript script;

    /** If set, gets each call and each line of the library's log as it happens: the call as in calls(),
     * the line as "logWyndMsg(SOURCE:LINE) MESSAGE"; a request's 72 bytes follow its call. */
    std::function<void(const std::string& event)> observer;

    /**
     * Every call but those of logWyndMsg, in order, as text with its arguments: "secureWynd()",
     * "QueryTVK(12)", "AddFile(/a/b.fwp, Chassis/b.fwp, 16)", "IsPayloadSigned()" with the path handed in,
     * "OEMIPMIRequest(0xd0, 1, IPMIReqBuf, 10, 12)", "~secureWynd()".
     */
    const std::vector<std::string>& calls() const { return calls_; }

    /** The 72 bytes of each OEMIPMIRequest as the library received them. */
    const std::vector<std::array<unsigned char, 72>>& requests() const { return requests_; }

    /** The library's own log, line by line. */
    const std::vector<VtekLogLine>& libraryLog() const { return libraryLog_; }

    /** The messages of libraryLog(). */
    std::vector<std::string> libraryLogMessages() const;

    // Called by the library's functions, not by tests.
    void noteCall(const std::string& call);
    void noteStringCall(const std::string& call);
    void noteRequest(const std::string& call, const unsigned char (&bytes)[72]);
    void noteLogLine(VtekLogLine line);
    static VtekDouble& current();

private:
    void tell(const std::string& event) const;

    std::vector<std::string> calls_;
    std::vector<std::array<unsigned char, 72>> requests_;
    std::vector<VtekLogLine> libraryLog_;
    unsigned stringCalls_ = 0;
};

}  // namespace test
