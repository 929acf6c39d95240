#include "chassis/Settings.h"

#include "base/Text.h"

#include <algorithm>
#include <limits>

namespace vtek {

namespace {

constexpr std::size_t kLongestName = 64;  // bytes of a version or a chassis type
// SQLite and libarchive count bytes with signed 64-bit numbers.
constexpr std::uint64_t kUnbounded = std::numeric_limits<std::int64_t>::max();

template <std::uint64_t Least, std::uint64_t Most>
bool isNumber(std::string_view text) {
    std::uint64_t value = 0;
    return parseNumber(text, Least, Most, value);
}

bool isVersion(std::string_view text) {
    return text.size() <= kLongestName &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
}

bool isName(std::string_view text) {
    return !text.empty() && isVersion(text);
}

bool isNameList(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= ' '; });
}

/** Only the kernel's IPMI devices: a setting must not make a privileged caller open any other file. */
bool isTransport(std::string_view text) {
    constexpr std::string_view kDevice = "/dev/ipmi";
    return text == "simulated" ||
           (text.starts_with(kDevice) && isNumber<0, 255>(text.substr(kDevice.size())));
}

bool isRevocation(std::string_view text) {
    return text == "if-present" || text == "required";
}

std::vector<std::string> splitNames(std::string_view list) {
    std::vector<std::string> names;
    while (!list.empty()) {
        const auto end = std::min(list.find(';'), list.size());
        if (end > 0) {
            names.emplace_back(list.substr(0, end));
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return names;
}

/** Reads settings by name and remembers the first invalid value. */
class Reader {
public:
    explicit Reader(const SettingTexts& changed) : changed_(changed) {}

    std::string text(std::string_view name) {
        const SettingInfo& info = *findSetting(name);
        const std::string value = settingText(changed_, info);
        if (info.accepts(value)) {
            return value;
        }
        if (status_) {
            status_ = Error{ErrorNumber::StateCorrupt,
                            "setting " + std::string(name) + " has the invalid value '" + value + "'"};
        }
        return std::string(info.initial);
    }

    std::uint64_t number(std::string_view name) {
        std::uint64_t value = 0;
        parseNumber(text(name), 0, kUnbounded, value);
        return value;
    }

    int smallNumber(std::string_view name) { return static_cast<int>(number(name)); }

    const Status& status() const { return status_; }

private:
    const SettingTexts& changed_;
    Status status_;
};

}  // namespace

const std::vector<SettingInfo>& settingTable() {
    static const std::vector<SettingInfo> table{
        {"repository-kind", "1", "0 to 3",
         "kind of repository that the platform offers: 0 none, 1 full, 2 lite, 3 liter", isNumber<0, 3>},
        {"chassis-type", "LAB-CHASSIS", "text without blanks",
         "type of this chassis; a payload lists the types it is for", isName},
        {"ipmi-transport", "simulated", "simulated or /dev/ipmiN", "who answers IPMI requests", isTransport},
        {"ipmi-completion", "0", "0 to 255", "completion code of a simulated answer", isNumber<0, 255>},
        {"ipmi-mode", "2", "0 to 255",
         "byte 42 of a simulated answer: 2 if the chassis is managed at the server", isNumber<0, 255>},
        {"ipmi-flag", "1", "0 to 255", "byte 43 of a simulated answer: 1 if shared components may be updated",
         isNumber<0, 255>},
        {"revocation", "if-present", "if-present or required",
         "whether every issuer must have a revocation list", isRevocation},
        {"signer-names", "", "names separated by ';'", "common names of the accepted signers; empty for all",
         isNameList},
        {"minimum-version", "", "a version", "refuse lower versions; empty for no minimum", isVersion},
        {"allow-version", "", "a version", "accept this version once, although it is below the minimum",
         isVersion},
        {"lock-wait", "10", "0 to 3600", "seconds that an update waits for another to finish",
         isNumber<0, 3600>},
        {"unpack-entries", "10000", "1 to 1000000", "most files and folders in an archive",
         isNumber<1, 1000000>},
        {"unpack-depth", "32", "1 to 100", "most folders above an entry of an archive", isNumber<1, 100>},
        {"unpack-bytes", "17179869184", "a number of bytes",
         "most bytes of an archive's files together, unpacked", isNumber<1, kUnbounded>},
        {"unpack-ratio", "200", "1 to 10000", "most unpacked bytes per archive byte, beyond the first MiB",
         isNumber<1, 10000>},
    };
    return table;
}

const SettingInfo* findSetting(std::string_view name) {
    const auto& table = settingTable();
    const auto row =
        std::find_if(table.begin(), table.end(), [&](const SettingInfo& info) { return info.name == name; });
    return row == table.end() ? nullptr : &*row;
}

std::string settingText(const SettingTexts& changed, const SettingInfo& info) {
    const auto found = changed.find(info.name);
    return found == changed.end() ? std::string(info.initial) : found->second;
}

Result<Settings> loadSettings(Store& store) {
    VTEK_ASSIGN(const SettingTexts changed, store.settings());
    Reader reader(changed);
    Settings settings{
        .repositoryKind = reader.smallNumber("repository-kind"),
        .chassisType = reader.text("chassis-type"),
        .ipmiTransport = reader.text("ipmi-transport"),
        .ipmiCompletion = reader.smallNumber("ipmi-completion"),
        .ipmiMode = reader.smallNumber("ipmi-mode"),
        .ipmiFlag = reader.smallNumber("ipmi-flag"),
        .revocation = reader.text("revocation") == "required" ? Revocation::Required : Revocation::IfPresent,
        .signerNames = splitNames(reader.text("signer-names")),
        .minimumVersion = reader.text("minimum-version"),
        .allowedVersion = reader.text("allow-version"),
        .lockWaitSeconds = reader.smallNumber("lock-wait"),
        .unpack = {.entries = reader.number("unpack-entries"),
                   .depth = reader.number("unpack-depth"),
                   .totalBytes = reader.number("unpack-bytes"),
                   .ratio = reader.number("unpack-ratio")},
    };
    VTEK_TRY(reader.status());
    return settings;
}

Status changeSetting(Store& store, std::string_view name, std::string_view value) {
    const SettingInfo* info = findSetting(name);
    if (info == nullptr) {
        return Error{ErrorNumber::InvalidArgument, "there is no setting '" + std::string(name) + "'",
                     "`vtekctl set` lists all settings"};
    }
    if (!info->accepts(value)) {
        return Error{ErrorNumber::InvalidArgument, std::string(name) + " must be " + std::string(info->form)};
    }
    return store.setSetting(name, value);
}

}  // namespace vtek
