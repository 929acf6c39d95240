#include "Lab.h"

#include "base/Errors.h"
#include "chassis/Store.h"
#include "trust/Digest.h"

#include <fcntl.h>
#include <unistd.h>

#include <ostream>
#include <stdexcept>
#include <utility>

namespace test {

namespace {

constexpr const char* kPackage = R"(<SoftwareComponent vendorVersion="2.00">
  <ComponentType value="FRMW"/>
  <SupportedDevices>
    <Device componentID="25227"><Display>Chassis controller firmware</Display></Device>
  </SupportedDevices>
</SoftwareComponent>
)";

template <class Outcome>
void require(const Outcome& outcome) {
    if (!outcome) {
        throw std::runtime_error(outcome.error().message);
    }
}

vtek::Store openStore(const vtek::Root& root, vtek::Store::Mode mode) {
    auto store = vtek::Store::open(root, mode);
    require(store);
    return std::move(*store);
}

}  // namespace

void PrintTo(const UpdateOutcome& outcome, std::ostream* out) {
    *out << outcome.step << ' ' << static_cast<int>(outcome.number);
}

Lab::Lab(std::time_t now)
    : authority_(makeAuthority("Test Authority", now)), signer_(issue(goodSigner(now), &authority_)) {
    std::filesystem::create_directory(package());
    std::filesystem::create_directory(aside());
    writeFile(package() / "package.xml", kPackage);
    const auto made = vtek::Root::create(rootPath().string(), geteuid());
    require(made);
    require(vtek::Store::create(*made));
    auto store = openStore(*made, vtek::Store::Mode::Write);
    require(vtek::Inventory(store.database()).add({"25227", "QRX", {{"FRMW", "1.00", "QRX firmware"}}}));
    trust("authority.pem", vtek::toPem(authority_.certificate.get()));
    sign(archive());
}

vtek::Root Lab::root() const {
    auto opened = vtek::Root::open(rootPath().string(), geteuid());
    require(opened);
    return std::move(*opened);
}

vtek::Manifest Lab::manifest() const {
    return {"25227", "2.00", {"LAB-CHASSIS"}, vtek::digestOfText(kPackage)};
}

std::string Lab::archive(Format format) const {
    return archiveOf(format,
                     {{"main.bin", std::string(100000, 'm')}, {"sub", "", 'd'}, {"sub/readme.txt", "hello"}});
}

std::string Lab::archiveOf(Format format, std::vector<Entry> entries) const {
    entries.insert(entries.begin(), {"manifest.xml", formatManifest(manifest())});
    return makeArchive(format, entries);
}

void Lab::sign(const std::string& archive) const {
    write(makePayload(archive, makeCms(archive, {&signer_})));
}

void Lab::write(const std::string& payload) const {
    writeFile(this->payload(), payload);
}

void Lab::trust(const std::string& name, const std::string& pem) const {
    writeFile(rootPath() / "trust" / name, pem);
}

void Lab::set(const std::string& name, const std::string& value) const {
    const vtek::Root opened = root();
    auto store = openStore(opened, vtek::Store::Mode::Write);
    require(changeSetting(store, name, value));
}

UpdateOutcome Lab::update(const std::function<void(const std::string&)>& before, std::time_t now) const {
    const vtek::Root opened = root();
    const vtek::UniqueFd folder =
        vtek::openAt(vtek::kWorkingFolder, package().string(), O_RDONLY | O_DIRECTORY);
    vtek::Update update(opened, folder.get(), now);
    const std::pair<const char*, std::function<vtek::Status()>> steps[] = {
        {"check",
         [&]() -> vtek::Status {
             auto name = update.check();
             return name ? vtek::Status() : vtek::Status(name.error());
         }},
        {"start", [&] { return update.start(); }},
        {"add", [&] { return update.add("Chassis/fw.fwp"); }},
        {"unpack", [&] { return update.unpack(); }},
        {"commit", [&] { return update.commit(); }},
    };
    for (const auto& [name, step] : steps) {
        if (before) {
            before(name);
        }
        if (const vtek::Status status = step(); !status) {
            return {name, status.error().number};
        }
    }
    return {"done"};
}

std::string Lab::version() const {
    const vtek::Root opened = root();
    auto store = openStore(opened, vtek::Store::Mode::Read);
    auto version = vtek::Inventory(store.database()).version("25227");
    require(version);
    return version->value_or("gone");
}

std::vector<vtek::HistoryEntry> Lab::history() const {
    const vtek::Root opened = root();
    auto store = openStore(opened, vtek::Store::Mode::Read);
    auto entries = store.history();
    require(entries);
    return std::move(*entries);
}

Snapshot Lab::snapshot() const {
    Snapshot found;
    for (const auto& item : std::filesystem::recursive_directory_iterator(rootPath())) {
        const std::string name = item.path().lexically_relative(rootPath()).string();
        if (name == "lock" || name.starts_with("log/")) {
            continue;
        }
        const bool regular = std::filesystem::is_regular_file(item.symlink_status());
        found[name] = regular ? vtek::digestOfText(readFile(item.path())) : "not a regular file";
    }
    return found;
}

}  // namespace test
