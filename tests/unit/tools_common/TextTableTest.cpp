#include "common/TextTable.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tools {
namespace {

std::string textOf(const TextTable& table) {
    std::ostringstream out;
    table.print(out);
    return out.str();
}

TEST(TextTable, AlignsColumnsUnderTheirHeadings) {
    TextTable table({"A", "LONGER", "C"});
    table.addRow({"wide value", "b", "last"});
    EXPECT_EQ(textOf(table),
              "A           LONGER  C\n"
              "wide value  b       last\n");
}

TEST(TextTable, AlignsFactsWithoutHeadings) {
    TextTable table;
    table.addRow({"Type", "FRMW"});
    table.addRow({"Version", "1"});
    EXPECT_EQ(textOf(table), "Type     FRMW\nVersion  1\n");
}

TEST(TextTable, AlignsRowsOfDifferentLengths) {
    TextTable table;
    table.addRow({"a", "wide", "c"});
    table.addRow({"longer"});
    table.addRow({"b", "d", "e"});
    EXPECT_EQ(textOf(table), "a       wide  c\nlonger\nb       d     e\n");
}

TEST(TextTable, AlignsCharactersOfSeveralBytes) {
    TextTable table;
    table.addRow({"Gehäuse", "x"});
    table.addRow({"Chassis", "y"});
    EXPECT_EQ(textOf(table), "Gehäuse  x\nChassis  y\n");
}

TEST(TextTable, ShowsAnEmptyValueAsADash) {
    TextTable table;
    table.addRow({"Type", ""});
    EXPECT_EQ(textOf(table), "Type  -\n");
}

TEST(TextTable, EscapesControlCharactersAndAlignsWhatIsShown) {
    TextTable table;
    table.addRow({"\x1b", "x"});
    table.addRow({"abcd", "y\nz"});
    EXPECT_EQ(textOf(table), "\\x1b  x\nabcd  y\\nz\n");
}

TEST(TextTable, PadsNoRowToTheWidthOfALongValue) {
    TextTable table;
    table.addRow({std::string(1000, 'a'), "x"});
    table.addRow({"b", "y"});
    EXPECT_EQ(textOf(table), std::string(1000, 'a') + "  x\nb" + std::string(61, ' ') + "y\n");
}

TEST(TextTable, AlignsValuesUpToTheWidestColumn) {
    TextTable table;
    table.addRow({std::string(TextTable::kWidestColumn, 'a'), "x"});
    table.addRow({"b", "y"});
    EXPECT_EQ(textOf(table), std::string(60, 'a') + "  x\nb" + std::string(61, ' ') + "y\n");
}

TEST(TextTable, ShortensLongValuesForATerminal) {
    TextTable table;
    table.addRow({"whole", std::string(200, 'a')});
    table.addRow({"cut", "ä" + std::string(200, 'a')});
    std::ostringstream out;
    table.printShortened(out);
    EXPECT_EQ(out.str(), "whole  " + std::string(200, 'a') + "\ncut    ä" + std::string(199, 'a') + "...\n");
}

TEST(TextTable, PrintsNothingWithoutRows) {
    EXPECT_EQ(textOf(TextTable()), "");
}

}  // namespace
}  // namespace tools
