// Every row of the table of errors in docs/stand-in.md, made to happen to the whole program: the call that
// fails and its number, the report's text, and the log's one line with what to do.
#include "DocumentedErrors.h"
#include "HookedProgram.h"
#include "Lab.h"
#include "Process.h"
#include "TempDir.h"
#include "base/Errors.h"
#include "chassis/Lock.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sqlite3.h>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using std::filesystem::perms;
using test::DocumentedError;
using test::Entry;
using test::Format;
using test::kDay;
using test::Lab;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/** What makes an update fail. */
struct Trigger {
    std::function<std::shared_ptr<void>(Lab&)>
        prepare{};                                     ///< what it returns lives until the programs have run
    std::map<std::string, std::string> environment{};  ///< for StepHook, mostly
    bool isRootChanged = false;                        ///< not by the update, but by what makes it fail
    std::string call{};  ///< where a row is about any call: the one that fails here
};

// The ways to make one

Trigger prepared(std::function<void(Lab&)> change) {
    return {.prepare = [change = std::move(change)](Lab& lab) {
        change(lab);
        return nullptr;
    }};
}

Trigger runBefore(const std::string& call, const std::string& command) {
    return {.environment = {{"STEP_BEFORE", call}, {"STEP_RUN", command}}};
}

Trigger failingIn(const std::string& call, const std::string& what) {
    return {.environment = {{"STEP_BEFORE", call}, {"STEP_FAIL", what}}};
}

Trigger withCms(std::function<std::string(Lab&)> makeCms) {
    return prepared([makeCms = std::move(makeCms)](Lab& lab) {
        lab.write(test::makePayload(lab.archive(), makeCms(lab)));
    });
}

Trigger withSigner(const std::function<void(vtek::CertificateRequest&)>& bend) {
    return withCms([bend](Lab& lab) {
        auto request = test::goodSigner(std::time(nullptr));
        bend(request);
        const vtek::Identity signer = test::issue(request, &lab.authority());
        return test::makeCms(lab.archive(), {&signer});
    });
}

Trigger withList(std::time_t from, std::time_t to, bool isSignerRevoked) {
    return prepared([=](Lab& lab) {
        std::vector<const X509*> revoked;
        if (isSignerRevoked) {
            revoked.push_back(lab.signer().certificate.get());
        }
        const std::time_t now = std::time(nullptr);
        lab.trust("list.crl", test::makeList(lab.authority(), now + from, now + to, revoked));
    });
}

Trigger withSetting(const std::string& name, const std::string& value) {
    return prepared([=](Lab& lab) { lab.set(name, value); });
}

Trigger withEntries(const std::vector<Entry>& entries) {
    return prepared([entries](Lab& lab) { lab.sign(lab.archiveOf(Format::Tar, entries)); });
}

void execute(const Lab& lab, const char* sql) {
    sqlite3* connection = nullptr;
    sqlite3_open((lab.rootPath() / "state.db").c_str(), &connection);
    EXPECT_EQ(sqlite3_exec(connection, sql, nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(connection);
}

/** Locks the whole database file; unlike SQLite's own locks, this one outlives other looks at the file. */
std::shared_ptr<void> locked(Lab& lab) {
    const auto path = (lab.rootPath() / "state.db").string();
    auto file = std::make_shared<vtek::UniqueFd>(vtek::openAt(vtek::kWorkingFolder, path, O_RDWR));
    struct flock lock {};
    lock.l_type = F_WRLCK;
    EXPECT_EQ(fcntl(file->get(), F_OFD_SETLK, &lock), 0);
    return file;
}

/** A zip that begins with a manifest which its directory does not know. */
std::string archiveOfTwoManifests(const Lab& lab) {
    auto other = lab.manifest();
    other.version = "3.00";
    const std::string first = test::makeArchive(Format::ZipStored, {{"manifest.xml", formatManifest(other)}});
    return first.substr(0, first.find("PK\1\2")) + lab.archive(Format::ZipStored);
}

std::string plainData() {
    const vtek::BioPtr content(BIO_new_mem_buf("data", 4));
    const vtek::CmsPtr cms(CMS_data_create(content.get(), CMS_BINARY));
    std::string der(static_cast<std::size_t>(i2d_CMS_ContentInfo(cms.get(), nullptr)), '\0');
    auto* cursor = reinterpret_cast<unsigned char*>(der.data());
    i2d_CMS_ContentInfo(cms.get(), &cursor);
    return der;
}

/** By number: one real cause for each. */
std::map<int, Trigger> triggers() {
    std::map<int, Trigger> all;

    all[101] = {.environment = {{"VTEK_ROOT", "/nowhere/at/all"}}};
    all[102] = prepared([](Lab& lab) {
        std::filesystem::permissions(lab.rootPath(), perms::others_write, std::filesystem::perm_options::add);
    });
    all[111] = prepared([](Lab& lab) { std::filesystem::remove(lab.rootPath() / "state.db"); });
    all[112] =
        prepared([](Lab& lab) { test::writeFile(lab.rootPath() / "state.db", std::string(8192, 'x')); });
    all[113] = prepared([](Lab& lab) { execute(lab, "PRAGMA user_version = 2"); });
    all[114] = {.prepare = locked};
    // The program looks for a repository before it opens a session, and the look reports no number.
    all[115] = runBefore("secureWyndInit", QRX_VTEKCTL " set repository-kind 0");
    all[115].isRootChanged = true;

    all[201] = prepared([](Lab& lab) { std::filesystem::remove(lab.payload()); });
    all[202] = prepared([](Lab& lab) { test::writeFile(lab.package() / "other.fwp", "other"); });
    all[203] = prepared([](Lab& lab) {
        std::filesystem::rename(lab.payload(), lab.aside() / "fw.fwp");
        std::filesystem::create_symlink(lab.aside() / "fw.fwp", lab.payload());
    });
    all[204] = prepared([](Lab& lab) { lab.write("no payload at all"); });
    all[211] = prepared([](Lab& lab) { std::filesystem::remove(lab.rootPath() / "trust/authority.pem"); });
    all[221] = withCms([](Lab&) { return "not a signature"; });
    all[222] = withCms([](Lab&) { return plainData(); });
    all[223] = withCms([](Lab& lab) { return test::makeCms(lab.archive(), {}); });
    all[224] =
        withCms([](Lab& lab) { return test::makeCms("content", {&lab.signer()}, {.attached = true}); });
    all[225] = withCms([](Lab& lab) { return test::makeCms("another file", {&lab.signer()}); });
    all[231] = withCms([](Lab& lab) {
        const auto stranger = test::issue(test::goodSigner(std::time(nullptr)), nullptr);
        return test::makeCms(lab.archive(), {&stranger});
    });
    all[232] = withSigner([](auto& request) { request.validFrom = std::time(nullptr) + kDay; });
    all[233] = withSigner([](auto& request) { request.validTo = std::time(nullptr) - 1; });
    all[234] = withList(-kDay, kDay, true);
    all[235] = withSetting("revocation", "required");
    all[236] = withList(-2 * kDay, -kDay, false);
    all[237] = withSigner([](auto& request) { request.extendedKeyUsage = "serverAuth"; });
    all[238] = withSetting("signer-names", "Somebody Else");
    all[239] = withCms(
        [](Lab& lab) { return test::makeCms(lab.archive(), {&lab.signer()}, {.digest = EVP_sha1()}); });

    all[301] = prepared([](Lab& lab) {
        lab.sign(test::makeArchive(Format::Tar, {{"manifest.xml", "<VtekManifest/>"}}));
    });
    all[302] = prepared([](Lab& lab) {
        auto manifest = lab.manifest();
        manifest.componentId = "99999";
        lab.sign(test::makeArchive(Format::Tar, {{"manifest.xml", formatManifest(manifest)}}));
    });
    all[303] = withSetting("chassis-type", "OTHER");
    all[304] = withSetting("minimum-version", "2.01");
    all[305] = prepared([](Lab& lab) { std::filesystem::remove(lab.package() / "package.xml"); });
    all[306] =
        prepared([](Lab& lab) { test::writeFile(lab.package() / "package.xml", "<SoftwareComponent/>"); });

    all[401] = {.prepare = [](Lab& lab) -> std::shared_ptr<void> {
        lab.set("lock-wait", "0");
        const auto root = std::make_shared<vtek::Root>(lab.root());
        auto lock = vtek::Lock::acquire(*root, std::chrono::milliseconds(0));
        return std::make_shared<vtek::Lock>(std::move(*lock));
    }};
    all[402] = prepared([](Lab& lab) { std::filesystem::remove(lab.rootPath() / "staging"); });
    all[403] = failingIn("StartCopyFile", "space");

    all[502] =
        prepared([](Lab& lab) { std::filesystem::rename(lab.payload(), lab.package() / "gr\xC3\xBCn.fwp"); });
    all[503] = failingIn("IsPayloadSigned", "size");

    all[601] = prepared([](Lab& lab) { lab.sign(lab.archive().substr(0, 50000)); });
    all[602] = withEntries({{"../outside", "x"}});
    all[603] = withEntries({{"link", "", 'l', "/etc/passwd"}});
    all[604] = withEntries({{"twice", "1"}, {"TWICE", "2"}});
    all[605] = withSetting("unpack-bytes", "50000");
    all[606] = failingIn("CompleteSignedUnzip", "size");
    all[607] = prepared([](Lab& lab) { lab.sign(archiveOfTwoManifests(lab)); });

    all[701] = failingIn("EndCopyFile", "fsync");
    all[702] = failingIn("EndCopyFile", "pwrite");
    all[703] = runBefore("EndCopyFile", "printf ' ' >> package.xml");
    all[704] = runBefore("EndCopyFile", QRX_VTEKCTL " inventory remove 25227");
    all[704].isRootChanged = true;

    all[801] = {.environment = {{"STEP_SKIP", "StartCopyFile"}}, .call = "AddFile"};
    all[802] = {.call = "set lock-wait never"};
    all[803] = {.call = "rollback"};
    all[899] = failingIn("CompleteSignedUnzip", "memory");
    all[899].call = "CompleteSignedUnzip";
    all[901] = withSetting("ipmi-transport", "/dev/ipmi255");
    all[902] = withSetting("ipmi-mode", "3");
    all[902].call = "verify --plan .";
    return all;
}

std::vector<std::string> linesWith(const std::string& part, const std::string& text) {
    std::vector<std::string> found;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.find(part) != std::string::npos) {
            found.push_back(line);
        }
    }
    return found;
}

/** The first text in back quotes behind a mark; empty when there is none. */
std::string quotedBehind(const std::string& mark, const std::string& cell) {
    const auto at = cell.find(mark + "`");
    if (at == std::string::npos) {
        return "";
    }
    const auto begin = at + mark.size() + 1;
    return cell.substr(begin, cell.find('`', begin) - begin);
}

/** A report's text for an update that fails in a call, as the table has it. */
std::string updateText(const std::string& call) {
    for (const auto& row : test::documentedErrors()) {
        if (row.call == call) {
            const std::string text = quotedBehind("update: ", row.report);
            return text.empty() ? quotedBehind("", row.report) : text;
        }
    }
    return "no row is about " + call;
}

/** One chassis, one trigger, and the programs that meet it. */
class ErrorRow : public testing::TestWithParam<DocumentedError> {
protected:
    ErrorRow() : lab_(std::time(nullptr)), program_(lab_) {}

    void prepare(const Trigger& trigger) {
        if (trigger.prepare) {
            held_ = trigger.prepare(lab_);
        }
        environment_ = trigger.environment;
    }

    test::Outcome run(const char* option) { return program_.run(option, environment_); }

    /** The line of a failure, wherever it was reported. */
    void expectOneLine(const std::string& call, const test::Outcome& outcome) const {
        const auto file = lab_.rootPath() / "log/vtek.log";
        const auto told =
            linesWith(": error ", std::filesystem::exists(file) ? test::readFile(file) : outcome.error);
        ASSERT_EQ(told.size(), 1U) << testing::PrintToString(told);
        const auto& row = GetParam();
        EXPECT_THAT(told[0], HasSubstr(" " + call + ": error " + std::to_string(row.number) + ", " +
                                       row.cause + ": "));
        EXPECT_THAT(told[0], EndsWith("; hint: " + row.remedy));
    }

    void expectRefusedUpdate(const Trigger& trigger) {
        const std::string call = trigger.call.empty() ? GetParam().call : trigger.call;
        const auto before = lab_.snapshot();
        const auto outcome = run("-u");
        EXPECT_EQ(program_.record(), call + " " + std::to_string(GetParam().number) + "\n");
        EXPECT_THAT(outcome.output, HasSubstr("<SPStatus result = \"false\" ><Message id=\"1\">" +
                                              updateText(call) + "</Message></SPStatus>"));
        expectOneLine(call, outcome);
        EXPECT_TRUE(trigger.isRootChanged || lab_.snapshot() == before);
        expectRefusedInventory(quotedBehind("inventory: ", GetParam().report));
    }

    void expectRefusedInventory(const std::string& text) {
        if (!text.empty()) {
            EXPECT_THAT(run("-i").output, HasSubstr(">" + text + "</Message>"));
        }
    }

    void expectPermission() {
        const auto outcome = run("-i");
        EXPECT_EQ(program_.record(), "OEMIPMIRequest 255\n");
        EXPECT_THAT(outcome.output, HasSubstr("<Device  componentID=\"25227\""));
        expectOneLine("OEMIPMIRequest", outcome);
    }

    void expectRefusedCommand(const std::string& arguments) {
        std::vector<std::string> command{QRX_VTEKCTL};
        std::istringstream words(arguments);
        for (std::string word; words >> word;) {
            command.push_back(word);
        }
        const auto outcome = test::run({.arguments = command,
                                        .workingDirectory = lab_.package(),
                                        .environment = {{"VTEK_ROOT", lab_.rootPath().string()}}});
        EXPECT_NE(outcome.exitStatus, 0);
        EXPECT_THAT(outcome.error, HasSubstr(" (error " + std::to_string(GetParam().number) + ")\n"));
        EXPECT_THAT(outcome.error, HasSubstr(GetParam().remedy));
    }

    Lab lab_;
    test::HookedProgram program_;

private:
    std::shared_ptr<void> held_;
    std::map<std::string, std::string> environment_;
};

INSTANTIATE_TEST_SUITE_P(Table, ErrorRow, testing::ValuesIn(test::documentedErrors()));

TEST_P(ErrorRow, HappensAsDocumented) {
    const auto all = triggers();
    const auto trigger = all.find(GetParam().number);
    ASSERT_NE(trigger, all.end()) << "nothing makes this row happen";
#ifdef __SANITIZE_ADDRESS__
    if (GetParam().number == static_cast<int>(vtek::ErrorNumber::Internal)) {
        GTEST_SKIP() << "AddressSanitizer does not outlive a lack of memory";
    }
#endif
    prepare(trigger->second);
    if (GetParam().call == "vtekctl only") {
        expectRefusedCommand(trigger->second.call);
    } else if (GetParam().call.starts_with("OEMIPMIRequest")) {
        expectPermission();
    } else {
        expectRefusedUpdate(trigger->second);
    }
}

class WithoutATrigger : public ErrorRow {};
INSTANTIATE_TEST_SUITE_P(Table, WithoutATrigger, testing::Values(DocumentedError{}));

TEST_P(WithoutATrigger, NothingFails) {
    prepare({});
    EXPECT_THAT(run("-i").output, HasSubstr("version=\"1.00\""));
    EXPECT_EQ(program_.record(), "");
    EXPECT_THAT(run("-u").output, HasSubstr("Update is successful"));
    EXPECT_EQ(program_.record(), "");
    EXPECT_EQ(lab_.version(), "2.00");
}

TEST(ErrorRows, HaveARowForEveryTrigger) {
    std::vector<int> documented;
    for (const auto& row : test::documentedErrors()) {
        documented.push_back(row.number);
    }
    std::vector<int> triggered;
    for (const auto& [number, trigger] : triggers()) {
        triggered.push_back(number);
    }
    EXPECT_EQ(triggered, documented);
}

}  // namespace
