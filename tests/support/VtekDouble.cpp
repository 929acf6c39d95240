#include "VtekDouble.h"

#include <vtek/vtek.h>

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <new>
#include <stdexcept>
#include <utility>

_EsmIPMICmdIoctlReq IPMIReqBuf;

namespace test {
namespace {

constexpr std::size_t kAnswerAt = 32;

VtekDouble* theDouble = nullptr;

std::string hex(unsigned value) {
    std::ostringstream out;
    out << "0x" << std::hex << value;
    return out.str();
}

/** The bytes in rows of eight, each on a line of its own behind the position of its first byte. */
std::string hexDump(const unsigned char (&bytes)[72]) {
    constexpr std::size_t kPerRow = 8;
    std::ostringstream dump;
    for (std::size_t i = 0; i < std::size(bytes); ++i) {
        if (i % kPerRow == 0) {
            dump << "\n    " << std::dec << std::setfill(' ') << std::setw(2) << i << ':';
        }
        dump << ' ' << std::hex << std::setfill('0') << std::setw(2) << unsigned{bytes[i]};
    }
    return dump.str();
}

}  // namespace

VtekDouble::VtekDouble() {
    if (theDouble != nullptr) {
        throw std::logic_error("a second VtekDouble while one lives");
    }
    theDouble = this;
    std::fill(std::begin(IPMIReqBuf.bytes), std::end(IPMIReqBuf.bytes), static_cast<unsigned char>(0xEE));
}

VtekDouble::~VtekDouble() {
    theDouble = nullptr;
}

VtekDouble& VtekDouble::current() {
    if (theDouble == nullptr) {
        throw std::logic_error("the platform library was called, but no VtekDouble lives");
    }
    return *theDouble;
}

std::vector<std::string> VtekDouble::libraryLogMessages() const {
    std::vector<std::string> messages;
    for (const VtekLogLine& line : libraryLog_) {
        messages.push_back(line.message);
    }
    return messages;
}

void VtekDouble::noteCall(const std::string& call) {
    calls_.push_back(call);
    tell(call);
}

void VtekDouble::noteStringCall(const std::string& call) {
    noteCall(call);
    if (++stringCalls_ == script.failingStringCall) {
        throw std::runtime_error("scripted failure of " + call);
    }
}

void VtekDouble::noteRequest(const std::string& call, const unsigned char (&bytes)[72]) {
    noteCall(call);
    std::array<unsigned char, 72>& request = requests_.emplace_back();
    std::copy(std::begin(bytes), std::end(bytes), request.begin());
    tell("request" + hexDump(bytes));
}

void VtekDouble::noteLogLine(VtekLogLine line) {
    tell("logWyndMsg(" + line.sourceFile + ":" + std::to_string(line.line) + ") " + line.message);
    libraryLog_.push_back(std::move(line));
}

void VtekDouble::tell(const std::string& event) const {
    if (observer) {
        observer(event);
    }
}

}  // namespace test

using test::VtekDouble;

struct secureWynd::Impl {};

secureWynd::secureWynd()
    : isSuccess(VtekDouble::current().script.successAfterConstruction), m_pImpl(nullptr) {
    VtekDouble::current().noteCall("secureWynd()");
    if (VtekDouble::current().script.constructorThrows) {
        throw std::bad_alloc();
    }
}

secureWynd::~secureWynd() {
    VtekDouble::current().noteCall("~secureWynd()");
}

ewyndSupport secureWynd::IsWyndPresent() {
    VtekDouble::current().noteCall("IsWyndPresent()");
    return static_cast<ewyndSupport>(VtekDouble::current().script.kind);
}

void secureWynd::secureWyndInit() {
    VtekDouble::current().noteCall("secureWyndInit()");
    isSuccess = VtekDouble::current().script.successAfterInit;
}

bool secureWynd::QueryTVK(std::stringstream& out, exmlMode mode) {
    VtekDouble::current().noteCall("QueryTVK(" + std::to_string(mode) + ")");
    out << VtekDouble::current().script.inventory;
    return VtekDouble::current().script.queryResult;
}

bool secureWynd::IsPayloadSigned(std::string& path) {
    VtekDouble::current().noteCall("IsPayloadSigned(" + path + ")");
    const test::VtekScript& script = VtekDouble::current().script;
    if (script.payloadSigned) {
        path = script.payloadPath;
    }
    return script.payloadSigned;
}

bool secureWynd::StartCopyFile() {
    VtekDouble::current().noteCall("StartCopyFile()");
    return VtekDouble::current().script.startCopyFile;
}

bool secureWynd::AddFile(std::string source, std::string destination, exmlMode mode) {
    VtekDouble::current().noteCall("AddFile(" + source + ", " + destination + ", " + std::to_string(mode) +
                                   ")");
    return VtekDouble::current().script.addFile;
}

bool secureWynd::CompleteSignedUnzip() {
    VtekDouble::current().noteCall("CompleteSignedUnzip()");
    return VtekDouble::current().script.completeSignedUnzip;
}

bool secureWynd::EndCopyFile() {
    VtekDouble::current().noteCall("EndCopyFile()");
    return VtekDouble::current().script.endCopyFile;
}

int secureWynd::getVTEKError() {
    VtekDouble::current().noteCall("getVTEKError()");
    return VtekDouble::current().script.error;
}

unsigned char OEMIPMIRequest(eOEMIPMIRequestType type, unsigned char value, _EsmIPMICmdIoctlReq* buffer,
                             unsigned short requestLength, unsigned short responseLength) {
    VtekDouble& library = VtekDouble::current();
    std::ostringstream call;
    call << "OEMIPMIRequest(" << test::hex(static_cast<unsigned>(type)) << ", " << unsigned{value} << ", "
         << (buffer == &IPMIReqBuf ? "IPMIReqBuf" : "another buffer") << ", " << requestLength << ", "
         << responseLength << ")";
    library.noteRequest(call.str(), buffer->bytes);
    if (library.script.ipmiAnswer) {
        std::copy(library.script.ipmiAnswer->begin(), library.script.ipmiAnswer->end(),
                  std::begin(buffer->bytes) + test::kAnswerAt);
    }
    return library.script.ipmiCompletion;
}

void logWyndMsg(const char* sourceFile, unsigned int line, const std::string& message) {
    VtekDouble::current().noteLogLine({sourceFile, line, message});
}

std::string CStringUtils::toLowerCase(const std::string& text) {
    VtekDouble::current().noteStringCall("toLowerCase(" + text + ")");
    std::string lower = text;
    for (char& c : lower) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return lower;
}

std::string CStringUtils::trim_string(const std::string& text) {
    VtekDouble::current().noteStringCall("trim_string(" + text + ")");
    const auto isText = [](unsigned char c) { return std::isspace(c) == 0; };
    const auto first = std::find_if(text.begin(), text.end(), isText);
    const auto last = std::find_if(text.rbegin(), std::make_reverse_iterator(first), isText).base();
    return {first, last};
}
