#include "Csv.h"

#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

using Rows = std::vector<std::vector<std::string>>;

Rows rowsIn(std::string_view text) {
    const vtek::Result<Rows> rows = parseCsv(text);
    EXPECT_TRUE(rows) << text << ": " << (rows ? "" : rows.error().message);
    return rows ? *rows : Rows{};
}

std::string problemWith(std::string_view text) {
    const vtek::Result<Rows> rows = parseCsv(text);
    return rows ? "read" : rows.error().message;
}

TEST(Csv, ReadsRowsOfCells) {
    EXPECT_EQ(rowsIn("a,b\nc,\n,d"), (Rows{{"a", "b"}, {"c", ""}, {"", "d"}}));
    EXPECT_EQ(rowsIn(""), Rows{});
}

TEST(Csv, ReadsQuotedValues) {
    EXPECT_EQ(rowsIn("\"a,b\",\"say \"\"no\"\"\"\n\"two\nlines\",\"\"\n"),
              (Rows{{"a,b", "say \"no\""}, {"two\nlines", ""}}));
}

TEST(Csv, ReadsWhatASpreadsheetWrites) {
    EXPECT_EQ(rowsIn("\xEF\xBB\xBF"
                     "a,b\r\n\"1\",2\r\n\r\n"),
              (Rows{{"a", "b"}, {"1", "2"}}));
}

TEST(Csv, NamesTheLineOfAnError) {
    EXPECT_EQ(problemWith("a,b\n1,2\n3\n"), "line 3: 1 values below 2 headings");
    EXPECT_EQ(problemWith("a,b\n1\r1,2\n"), "line 2: 1 values below 2 headings");
    EXPECT_EQ(problemWith("a,b\n\"1\n2\",3\n4,5,6\n"), "line 4: 3 values below 2 headings");
    for (const char* text : {"a\n\"b", "a\nb\"c\n", "a\n\"b\"c\n"}) {
        EXPECT_EQ(problemWith(text), "line 2: a quotation mark inside of a value, or without its end")
            << text;
    }
}

}  // namespace
}  // namespace qrxinspect
