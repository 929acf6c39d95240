#include "Csv.h"

#include "common/InputFile.h"

#include <csv.h>

#include <algorithm>
#include <utility>

namespace qrxinspect {
namespace {

using Row = std::vector<std::string>;

/** What spreadsheets write before a text in UTF-8. */
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/** Collects the rows that libcsv finds. */
class CsvReader {
public:
    CsvReader() { csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI); }
    ~CsvReader() { csv_free(&parser_); }
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    bool parse(std::string_view text) {
        return csv_parse(&parser_, text.data(), text.size(), endCell, endRow, this) == text.size();
    }
    bool finish() { return csv_fini(&parser_, endCell, endRow, this) == 0; }
    std::string problem() {
        const int error = csv_error(&parser_);
        return error == CSV_EPARSE ? "a quotation mark inside of a value, or without its end"
                                   : csv_strerror(error);
    }

    std::vector<Row> rows;

private:
    static void endCell(void* text, std::size_t size, void* reader) {
        static_cast<CsvReader*>(reader)->row_.emplace_back(static_cast<const char*>(text), size);
    }
    static void endRow(int /*terminator*/, void* reader) {
        auto* const self = static_cast<CsvReader*>(reader);
        self->rows.push_back(std::exchange(self->row_, {}));
    }

    csv_parser parser_{};
    Row row_;
};

vtek::Error errorAt(std::size_t line, const std::string& problem) {
    return tools::inputError("line " + std::to_string(line) + ": " + problem);
}

}  // namespace

vtek::Result<std::vector<Row>> parseCsv(std::string_view text) {
    text.remove_prefix(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
    CsvReader reader;
    std::size_t checked = 0;
    // One line at a time, so that an error can name it.
    for (std::size_t line = 1; !text.empty(); ++line) {
        const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
        const bool isLast = size == text.size();
        if (!reader.parse(text.substr(0, size)) || (isLast && !reader.finish())) {
            return errorAt(line, reader.problem());
        }
        for (; checked < reader.rows.size(); ++checked) {
            if (reader.rows[checked].size() != reader.rows.front().size()) {
                return errorAt(line, std::to_string(reader.rows[checked].size()) + " values below " +
                                         std::to_string(reader.rows.front().size()) + " headings");
            }
        }
        text.remove_prefix(size);
    }
    return std::move(reader.rows);
}

}  // namespace qrxinspect
