#include "HtmlPage.h"

#include "DamagedText.h"
#include "KnownMessages.h"
#include "base/Printable.h"

#include <PageParts.h>  // made from page/ by the build

#include <algorithm>
#include <array>
#include <cctype>
#include <iomanip>
#include <map>
#include <set>

namespace qrxinspect {
namespace {

constexpr std::array kWorstFirst{Report::Outcome::Unreadable, Report::Outcome::Damaged,
                                 Report::Outcome::Failure,    Report::Outcome::NotReached,
                                 Report::Outcome::NotTried,   Report::Outcome::Success};

/** Escapes HTML's five special characters. */
std::string escapeMarkup(std::string_view printable) {
    std::string html;
    html.reserve(printable.size());
    for (const char c : printable) {
        switch (c) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            case '\'':
                html += "&#39;";
                break;
            default:
                html += c;
        }
    }
    return html;
}

void printHead(std::ostream& out) {
    // The policy is the second line of defence after escaping: the page loads and sends nothing, and runs
    // only its own script.
    out << "<!DOCTYPE html>\n"
           "<html lang=\"en\">\n"
           "<head>\n"
           "<meta charset=\"utf-8\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'sha256-"
        << kPageStyleDigest << "'; script-src 'sha256-" << kPageScriptDigest
        << "'; base-uri 'none'; form-action 'none'\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n"
           "<title>Firmware reports</title>\n"
           "<style>"
        << kPageStyle << "</style>\n</head>\n";
}

/** The outcome's name as a class: "not-tried". */
std::string classOf(Report::Outcome outcome) {
    std::string name = nameOf(outcome);
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string classOf(const Column& column) {
    std::string name = column.title;
    name.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(name.front())));
    return name;
}

/** 0 for the worst. */
std::size_t severityOf(Report::Outcome outcome) {
    return static_cast<std::size_t>(std::find(kWorstFirst.begin(), kWorstFirst.end(), outcome) -
                                    kWorstFirst.begin());
}

/** The counts are buttons: each shows its own rows only. */
void printCounts(std::ostream& out, const Overview& overview) {
    const std::map<Report::Outcome, std::size_t> counts = overview.counts();
    const std::string total = overview.total();
    const std::size_t space = total.find(' ');
    out << "<ul class=\"counts\">\n<li><button type=\"button\" data-of=\"\"><b>" << total.substr(0, space)
        << "</b>" << total.substr(space) << "</button></li>\n";
    for (const Report::Outcome outcome : kWorstFirst) {
        if (const auto found = counts.find(outcome); found != counts.end()) {
            out << "<li class=\"" << classOf(outcome) << "\"><button type=\"button\" data-of=\""
                << classOf(outcome) << "\"><b>" << found->second << "</b> " << nameOf(outcome)
                << "</button></li>\n";
        }
    }
    out << "</ul>\n";
}

/** "Made on 2026-11-23 02:00 UTC from 40 files" */
void printOrigin(std::ostream& out, const Overview& overview, std::time_t made) {
    std::tm utc{};
    gmtime_r(&made, &utc);
    out << "<p class=\"made\">Made on " << std::put_time(&utc, "%Y-%m-%d %H:%M UTC") << " from "
        << overview.files << (overview.files == 1 ? " file" : " files") << "</p>\n";
}

/** The path in one line: where it is too long, its folders give way to the file's name. */
std::string pathHtmlOf(const std::string& path) {
    const std::string html = htmlOf(path);
    const std::size_t name = html.rfind('/') + 1;  // 0 without a folder
    return html.empty() ? ""
                        : "<span class=\"path\"><span>" + html.substr(0, name) + "</span><span>" +
                              html.substr(name) + "</span></span>";
}

std::string cureOf(std::size_t place) {
    return "cure-" + std::to_string(place + 1);
}

/** The place of the message whose cure helps; the list's size if none does. */
std::size_t helpFor(const Row& row) {
    return row.outcome == nameOf(Report::Outcome::Success) ? knownMessages().size() : placeOf(row.message);
}

/** The message, with a link to its cure; for a damaged report, its problem and its text. */
std::string messageHtmlOf(const Row& row) {
    const std::string message = htmlOf(row.message);
    if (!row.damagedText.empty()) {
        return "<details><summary>" + message + "</summary><pre>" +
               escapeMarkup(damagedText(row.damagedText, "")) + "</pre></details>";
    }
    const std::size_t place = helpFor(row);
    return place == knownMessages().size() ? message
                                           : "<a href=\"#" + cureOf(place) + "\">" + message + "</a>";
}

std::string cellHtmlOf(const Row& row, const Column& column) {
    if (column.value == &Row::message) {
        return messageHtmlOf(row);
    }
    if (column.value == &Row::report) {
        return pathHtmlOf(row.report);
    }
    const std::string html = htmlOf(row.*column.value);
    return column.value == &Row::outcome ? "<span class=\"pill\">" + html + "</span>" : html;
}

/** Attributes of a cell: a path's whole text on hover, an outcome's place when sorted. */
std::string attributesOf(const Row& row, const Column& column) {
    if (column.value == &Row::report) {
        return " title=\"" + htmlOf(row.report) + "\"";
    }
    if (column.value != &Row::outcome) {
        return "";
    }
    const auto* const outcome =
        std::find_if(kWorstFirst.begin(), kWorstFirst.end(),
                     [&](Report::Outcome each) { return nameOf(each) == row.outcome; });
    return " data-sort=\"" + std::to_string(outcome - kWorstFirst.begin()) + "\"";
}

void printRow(std::ostream& out, const std::vector<Column>& columns, const Row& row) {
    std::string outcome = row.outcome;
    std::replace(outcome.begin(), outcome.end(), ' ', '-');
    out << "<tr class=\"" << outcome << "\" data-of=\"" << classOf(row.ofWhole) << "\">";
    for (const Column& column : columns) {
        out << "<td class=\"" << classOf(column) << "\" data-label=\"" << column.title << "\""
            << attributesOf(row, column) << ">" << cellHtmlOf(row, column) << "</td>";
    }
    out << "</tr>\n";
}

void printRows(std::ostream& out, const Overview& overview) {
    const std::vector<Column> columns = columnsOf(overview.view);
    out << "<table id=\"reports\">\n<thead><tr>";
    for (const Column& column : columns) {
        out << "<th scope=\"col\" aria-sort=\"none\"><button type=\"button\">" << column.title
            << "</button></th>";
    }
    out << "</tr></thead>\n<tbody>\n";
    std::vector<Row> rows = overview.rows;
    std::stable_sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
        return severityOf(a.ofWhole) < severityOf(b.ofWhole);
    });
    for (const Row& row : rows) {
        printRow(out, columns, row);
    }
    out << "</tbody>\n</table>\n<p id=\"empty\" hidden>No row matches.</p>\n"
           "<button id=\"more\" type=\"button\" hidden>Show more</button>\n";
}

/** What to do about each known message of the page. */
void printCures(std::ostream& out, const std::vector<Row>& rows) {
    std::set<std::size_t> places;
    for (const Row& row : rows) {
        places.insert(helpFor(row));
    }
    places.erase(knownMessages().size());
    if (places.empty()) {
        return;
    }
    out << "<section id=\"cures\">\n<h2>What to do</h2>\n<dl>\n";
    for (const std::size_t place : places) {
        const KnownMessage& known = knownMessages()[place];
        out << "<dt id=\"" << cureOf(place) << "\">" << htmlOf(known.text) << "</dt><dd>"
            << htmlOf(known.cause) << "</dd><dd>" << htmlOf(known.cure) << "</dd>\n";
    }
    out << "</dl>\n</section>\n";
}

}  // namespace

void printHtmlPage(std::ostream& out, const Overview& overview, std::time_t made) {
    printHead(out);
    out << "<body>\n<header>\n<h1>Firmware reports</h1>\n";
    printCounts(out, overview);
    out << "<input id=\"search\" type=\"search\" placeholder=\"Search\" aria-label=\"Search\" hidden>\n"
           "</header>\n<main>\n";
    printOrigin(out, overview, made);
    out << "<p id=\"hits\" role=\"status\"></p>\n";
    printRows(out, overview);
    printCures(out, overview.rows);
    out << "</main>\n<footer>qrxinspect " QRX_VERSION "</footer>\n<script>" << kPageScript << "</script>\n"
        << "</body>\n</html>\n";
}

std::string htmlOf(std::string_view value) {
    return escapeMarkup(vtek::toPrintable(value));
}

}  // namespace qrxinspect
