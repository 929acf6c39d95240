#include "HtmlPage.h"

#include "DamagedText.h"
#include "Summary.h"
#include "base/Printable.h"

#include <PageParts.h>  // made from page/ by the build

#include <array>
#include <cctype>

namespace qrxinspect {
namespace {

constexpr std::array kOutcomes{Report::Outcome::Success, Report::Outcome::Failure, Report::Outcome::Damaged,
                               Report::Outcome::Unreadable};

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

std::string classOf(const Column& column) {
    std::string name = column.title;
    name.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(name.front())));
    return name;
}

/** The message; for a damaged report, its problem and its text. */
std::string messageHtmlOf(const Row& row) {
    if (row.damagedText.empty()) {
        return htmlOf(row.message);
    }
    return "<details open><summary>" + htmlOf(row.message) + "</summary><pre>" +
           escapeMarkup(damagedText(row.damagedText, "")) + "</pre></details>";
}

std::string cellHtmlOf(const Row& row, const Column& column) {
    if (column.value == &Row::message) {
        return messageHtmlOf(row);
    }
    const std::string html = htmlOf(row.*column.value);
    return column.value == &Row::outcome ? "<span class=\"pill\">" + html + "</span>" : html;
}

void printRow(std::ostream& out, const std::vector<Column>& columns, const Row& row) {
    out << "<tr class=\"" << row.outcome << "\">";
    for (const Column& column : columns) {
        out << "<td class=\"" << classOf(column) << "\" data-label=\"" << column.title << "\">"
            << cellHtmlOf(row, column) << "</td>";
    }
    out << "</tr>\n";
}

void printRows(std::ostream& out, const std::vector<Report>& reports) {
    const std::vector<Column> columns = columnsOf(View::Reports);
    out << "<table id=\"reports\">\n<thead><tr>";
    for (const Column& column : columns) {
        out << "<th scope=\"col\" aria-sort=\"none\"><button type=\"button\">" << column.title
            << "</button></th>";
    }
    out << "</tr></thead>\n<tbody>\n";
    for (const Row& row : summaryOf(reports)) {
        printRow(out, columns, row);
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
    printRows(out, reports);
    out << "</main>\n<footer>qrxinspect " QRX_VERSION "</footer>\n<script>" << kPageScript << "</script>\n"
        << "</body>\n</html>\n";
}

std::string htmlOf(std::string_view value) {
    return escapeMarkup(vtek::toPrintable(value));
}

}  // namespace qrxinspect
