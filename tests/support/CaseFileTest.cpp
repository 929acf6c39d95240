#include "CaseFile.h"
#include "TempDir.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using test::Case;

class CaseFile : public testing::Test {
protected:
    CaseFile() { write("base", "-- arguments --\n-i\n-- status --\n0\n-- stdout --\nreport\n"); }

    void write(const std::string& name, const std::string& text) {
        test::writeFile(folder_ / (name + ".txt"), text);
    }

    Case read(const std::string& text) {
        write("case", text);
        return test::readCase(folder_ / "case.txt");
    }

    test::TempDir folder_;
};

TEST_F(CaseFile, ReadsEverySection) {
    EXPECT_EQ(read("-- arguments --\n-- library --\nkind 0\n-- inventory.xml --\n<a/>\n-- input/a/b --\nb\n"
                   "-- status --\n1\n-- stdout --\nout\n-- stderr --\nerror\n-- calls --\ncall\n"
                   "-- after/debug.log --\nlog\n"),
              (Case{{"arguments", ""},
                    {"library", "kind 0\n"},
                    {"inventory.xml", "<a/>\n"},
                    {"input/a/b", "b\n"},
                    {"status", "1\n"},
                    {"stdout", "out\n"},
                    {"stderr", "error\n"},
                    {"calls", "call\n"},
                    {"after/debug.log", "log\n"}}));
}

TEST_F(CaseFile, KeepsEveryByteOfASection) {
    const std::string bytes("\n\t \r\n--\n--  --\n-- a\nlike b\n\0\xff\n\n", 31);
    EXPECT_EQ(read("like base\n-- stdout --\n" + bytes).at("stdout"), bytes);
}

TEST_F(CaseFile, DropsTheLastNewlineBeforeTheMark) {
    const Case sections = read(
        "like base\n-- arguments --\n-u\n\\ No newline at end of file\n"
        "-- stdout --\n\n\n\\ No newline at end of file\n");
    EXPECT_EQ(sections.at("arguments"), "-u");
    EXPECT_EQ(sections.at("stdout"), "\n");
}

TEST_F(CaseFile, TakesFromTheOtherCaseWhatItDoesNotSay) {
    EXPECT_EQ(read("like base\nwithout stdout\n\n-- arguments --\n-x\n-- stderr --\nusage\n"),
              (Case{{"arguments", "-x\n"}, {"status", "0\n"}, {"stderr", "usage\n"}}));
}

TEST_F(CaseFile, RefusesWhatIsNotACase) {
    write("derived", "like base\nwithout stdout\n");
    for (const char* text : {
             "",
             "-- arguments --\n",
             "-- status --\n0\n",
             "unlike base\n",
             "like\n",
             "like base other\n",
             "like base\nlike base\n",
             "like nothing\n",
             "like derived\n",
             "like base\nwithout\n",
             "like base\nwithout stderr\n",
             "like base\nwithout stdout stdout\n",
             "like base\nwithout stdout\nwithout stdout\n",
             "like base\nwithout stdout\n-- stdout --\nother\n",
             "like base\nwithout status\n",
             "like base\n-- stdout --\nreport\n",
             "like base\n-- stdout --\na\n-- stdout --\nb\n",
             "like base\n-- expected/stdout --\na\n",
             "like base\n-- stderr --\n\\ No newline at end of file\n",
             "like base\n-- stderr --\na\n\\ No newline at end of file\nb\n",
         }) {
        EXPECT_THROW(read(text), std::runtime_error) << text;
    }
    EXPECT_THROW(test::readCase(folder_ / "missing.txt"), std::runtime_error);
}

}  // namespace
