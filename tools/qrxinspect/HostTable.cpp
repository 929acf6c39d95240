#include "HostTable.h"

#include "Csv.h"
#include "ReportFiles.h"
#include "common/InputFile.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace qrxinspect {
namespace {

using Cells = std::vector<std::string>;

struct HostColumn {
    const char* heading;
    std::string Host::*value;
};

constexpr std::array kColumns{
    HostColumn{"chassis", &Host::chassis}, HostColumn{"host", &Host::host},
    HostColumn{"report", &Host::report},   HostColumn{"before", &Host::before},
    HostColumn{"after", &Host::after},     HostColumn{"outcome", &Host::outcome},
    HostColumn{"cause", &Host::cause},
};

struct Word {
    const char* outcome;
    Report::Outcome meaning;
};

/** The words of the Ansible collection, of its ledger and of Ansible itself. */
constexpr std::array kWords{
    Word{"already", Report::Outcome::Success},        Word{"updated", Report::Outcome::Success},
    Word{"success", Report::Outcome::Success},        Word{"not reached", Report::Outcome::NotReached},
    Word{"unreachable", Report::Outcome::NotReached}, Word{"not tried", Report::Outcome::NotTried},
    Word{"untried", Report::Outcome::NotTried},
};

Host hostOf(const Cells& headings, const Cells& cells) {
    Host host;
    for (const HostColumn& column : kColumns) {
        const auto found = std::find(headings.begin(), headings.end(), column.heading);
        if (found != headings.end()) {
            host.*column.value = cells[static_cast<std::size_t>(found - headings.begin())];
        }
    }
    return host;
}

}  // namespace

vtek::Result<std::vector<Host>> readHostTable(const std::string& path) {
    VTEK_ASSIGN(const std::string text, readReportFile(path));
    VTEK_ASSIGN(const std::vector<Cells> rows, parseCsv(text));
    if (rows.empty() || std::find(rows[0].begin(), rows[0].end(), "host") == rows[0].end()) {
        return tools::inputError("has no column \"host\"");
    }
    if (rows.size() == 1) {
        return tools::inputError("names no host");
    }
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    std::vector<Host> hosts;
    for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
        hosts.push_back(hostOf(rows.front(), *row));
        if (std::string& report = hosts.back().report; !report.empty()) {
            // A table names files, never standard input.
            report = (folder / (report == "-" ? "./-" : report)).string();
        }
    }
    return hosts;
}

Report::Outcome meaningOf(const std::string& outcome) {
    const auto* const word =
        std::find_if(kWords.begin(), kWords.end(), [&](const Word& each) { return each.outcome == outcome; });
    return word == kWords.end() ? Report::Outcome::Failure : word->meaning;
}

}  // namespace qrxinspect
