#include "HtmlPage.h"

#include "DamagedText.h"
#include "Printable.h"
#include "Summary.h"

#include <PageParts.h>  // made of page/ by the build

#include <array>

namespace tools {
namespace {

struct Column {
    const char* title;
    const char* cssClass;
};

constexpr std::array<Column, 7> kColumns{{{"Report", "report"},
                                          {"Operation", "operation"},
                                          {"Outcome", "outcome"},
                                          {"Device", "device"},
                                          {"Component", "component"},
                                          {"Version", "version"},
                                          {"Message", "message"}}};

constexpr std::array kOutcomes{Report::Outcome::Success, Report::Outcome::Failure, Report::Outcome::Damaged,
                               Report::Outcome::Unreadable};

/** HTML's five characters; the text is printable already. */
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
    // The policy is the second wall behind the escaping: the page loads nothing, sends nothing, and runs no
    // script but its own.
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

void printCounts(std::ostream& out, const std::vector<Report>& reports) {
    std::map<Report::Outcome, std::size_t> counts = countOutcomes(reports);
    out << "<ul class=\"counts\">\n<li><b>" << reports.size() << "</b> "
        << (reports.size() == 1 ? "report" : "reports") << "</li>\n";
    for (const Report::Outcome outcome : kOutcomes) {
        if (counts[outcome] > 0) {
            out << "<li class=\"" << nameOf(outcome) << "\"><b>" << counts[outcome] << "</b> "
                << nameOf(outcome) << "</li>\n";
        }
    }
    out << "</ul>\n";
}

void printCell(std::ostream& out, const Column& column, const std::string& html) {
    out << "<td class=\"" << column.cssClass << "\" data-label=\"" << column.title << "\">" << html
        << "</td>";
}

/** The message; of a damaged report what is wrong with it, and its text. */
std::string messageHtmlOf(const SummaryRow& row) {
    if (row.outcome != Report::Outcome::Damaged) {
        return htmlOf(row.message);
    }
    return "<details open><summary>" + htmlOf(row.message) + "</summary><pre>" +
           escapeMarkup(damagedText(row.text, "")) + "</pre></details>";
}

void printRow(std::ostream& out, const SummaryRow& row) {
    const std::string outcome = nameOf(row.outcome);
    const std::array<std::string, kColumns.size()> cells{
        htmlOf(row.file),   row.operation,  "<span class=\"pill\">" + outcome + "</span>",
        htmlOf(row.device), htmlOf(row.id), htmlOf(row.version),
        messageHtmlOf(row)};
    out << "<tr class=\"" << outcome << "\">";
    for (std::size_t i = 0; i < cells.size(); ++i) {
        printCell(out, kColumns[i], cells[i]);
    }
    out << "</tr>\n";
}

void printTable(std::ostream& out, const std::vector<Report>& reports) {
    out << "<table id=\"reports\">\n<thead><tr>";
    for (const Column& column : kColumns) {
        out << "<th scope=\"col\" aria-sort=\"none\"><button type=\"button\">" << column.title
            << "</button></th>";
    }
    out << "</tr></thead>\n<tbody>\n";
    for (const SummaryRow& row : summaryOf(reports)) {
        printRow(out, row);
    }
    out << "</tbody>\n</table>\n";
}

}  // namespace

void printHtmlPage(std::ostream& out, const std::vector<Report>& reports) {
    printHead(out);
    out << "<body>\n<header>\n<h1>Firmware reports</h1>\n";
    printCounts(out, reports);
    out << "<input id=\"search\" type=\"search\" placeholder=\"Search\" aria-label=\"Search\" hidden>\n"
           "</header>\n<main>\n";
    printTable(out, reports);
    out << "</main>\n<footer>qrxinspect " QRX_VERSION "</footer>\n<script>" << kPageScript << "</script>\n"
        << "</body>\n</html>\n";
}

std::string htmlOf(std::string_view value) {
    return escapeMarkup(toPrintable(value));
}

}  // namespace tools
