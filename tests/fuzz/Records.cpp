#include "Records.h"

#include "Harness.h"
#include "XmlReading.h"
#include "XmlTree.h"

#include <algorithm>

namespace test {
namespace {

int number(char byte) {
    return static_cast<int>(static_cast<signed char>(byte));
}

std::unique_ptr<CDeviceInfo> makeRecord(std::string_view line, const Records::MakeText& makeText) {
    constexpr std::size_t kHeader = 4;
    std::string header(line.substr(0, kHeader));
    header.resize(kHeader, '\0');
    line.remove_prefix(std::min(line.size(), kHeader));
    const auto text = [&line, &makeText] { return makeText(takeUntil(line, '\0')); };

    auto record = std::make_unique<CDeviceInfo>();
    record->setStatus(number(header[0]));
    record->setDeviceType(static_cast<CDeviceInfo::eDeviceType>(static_cast<unsigned char>(header[1]) % 4U));
    record->setMessageID(number(header[2]) * 1'000'003);
    record->setRebootRequired(header[3] == 1);
    record->setComponentID(text());
    record->setDeviceName(text());
    record->setComponentType(text());
    record->setVersion(text());
    record->setErrorMsg(text());
    record->setDisplay(text());
    record->setEnumId(text());
    SPCIInfo identity;
    identity.vendorID = text();
    identity.deviceID = text();
    identity.subVendorID = text();
    identity.subDeviceID = text();
    record->setPCIInfo(identity);
    return record;
}

/** The text with each word replaced by its meaning; the words are in the order of their first occurrence. */
std::string replaceWords(const std::string& text, const std::vector<std::string>& meanings) {
    std::string replaced;
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '{') {
            replaced += text[at++];
            continue;
        }
        const std::size_t end = text.find('}', at);
        replaced += meanings.at(std::stoul(text.substr(at + 1, end - at - 1)));
        at = end + 1;
    }
    return replaced;
}

}  // namespace

Records::Records(std::string_view input, const MakeText& makeText) {
    for (const std::string& line : split(input, '\n')) {
        records_.push_back(makeRecord(line, makeText));
    }
}

std::vector<CDeviceInfo*> Records::pointers() const {
    std::vector<CDeviceInfo*> pointers;
    for (const auto& record : records_) {
        pointers.push_back(record.get());
    }
    return pointers;
}

void requireRawReport(std::string_view input, std::string_view root,
                      const std::function<std::string(const std::vector<CDeviceInfo*>&)>& write) {
    // An empty text stays empty: some writers omit empty texts.
    std::vector<std::string> meanings;
    const Records plain(input, [&meanings](const std::string& raw) {
        meanings.push_back(raw);
        return raw.empty() ? "" : "{" + std::to_string(meanings.size() - 1) + "}";
    });
    const std::string plainReport = write(plain.pointers());
    const XmlDocPtr doc(xmlReadMemory(plainReport.data(), static_cast<int>(plainReport.size()), nullptr,
                                      nullptr, XML_PARSE_HUGE));
    require(isElement(xmlDocGetRootElement(doc.get()), root),
            "plain texts make a document with the report's root");

    const Records raw(input, [](const std::string& text) { return text; });
    const std::string rawReport = write(raw.pointers());
    require(rawReport == replaceWords(plainReport, meanings), "every text is in the report, byte for byte");
    require(rawReport == write(raw.pointers()), "the same report when written again");
}

}  // namespace test
