// Ten times the elements take about ten times the work: a reader that compared each with each would take a
// hundred.
#include "DeviceInventoryInfo.h"
#include "SoftwareComponentInfo.h"
#include "WorkingDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <ostream>
#include <string>

namespace test {
namespace {

constexpr int kFew = 1000;
constexpr int kMany = 10000;
constexpr double kMostTimesAsMuch = 40;  // room for caches and for a busy machine

/** One kind of question: an element by its number, what stands around all of them, and the question. */
struct Question {
    const char* name;
    const char* start;
    std::string (*element)(const std::string& number);
    const char* end;
    std::function<std::size_t()> ask;  // the number of answers
};

void PrintTo(const Question& question, std::ostream* out) {
    *out << question.name;
}

std::size_t countAndDelete(const std::vector<CDeviceInfo*>& records) {
    for (const CDeviceInfo* record : records) {
        delete record;
    }
    return records.size();
}

std::string cardWithName(const std::string& number) {
    return "<Device componentID=\"" + number + "\"><PCIInfo deviceID=\"" + number + "\"/><Display>" + number +
           "</Display></Device>";
}

std::string dependency(const std::string& number) {
    return "<Dependency componentID=\"1\" path=\"a\\" + number + "\"/>";
}

std::string reportedDevice(const std::string& number) {
    return "<Device componentID=\"" + number + "\"><Application version=\"1\"/></Device>";
}

constexpr const char* kPackageStart = "<SoftwareComponent><SupportedDevices>";
constexpr const char* kPackageEnd = "</SupportedDevices></SoftwareComponent>";

const Question kQuestions[] = {
    {"SupportedDevices", kPackageStart, cardWithName, kPackageEnd,
     [] { return CSoftwareComponentInfo().GetSupportedDevices().size(); }},
    {"Names", kPackageStart, cardWithName, kPackageEnd,
     [] { return CSoftwareComponentInfo().getCompIDMarkNameInfo().size(); }},
    {"Dependencies", "<SoftwareComponent><SupportedDevices><Device>", dependency,
     "</Device></SupportedDevices></SoftwareComponent>",
     [] { return countAndDelete(CSoftwareComponentInfo().getDependencyInfo()); }},
    {"InventoryResult", "<SVMInventory>", reportedDevice, "</SVMInventory>",
     [] { return countAndDelete(CDeviceInventoryInfo("package.xml").GetDeviceInfo()); }},
};

class PackageReaderCost : public ::testing::TestWithParam<Question> {
protected:
    /** The least processor time of a few askings over so many elements. */
    double timeFor(int elements) {
        std::string xml = GetParam().start;
        for (int i = 0; i < elements; ++i) {
            xml += GetParam().element(std::to_string(i));
        }
        writeFile(folder_ / "package.xml", xml + GetParam().end);
        std::clock_t least = 0;
        for (int round = 0; round < 3; ++round) {
            const std::clock_t start = std::clock();
            EXPECT_EQ(GetParam().ask(), static_cast<std::size_t>(elements));
            const std::clock_t taken = std::clock() - start;
            least = round == 0 ? taken : std::min(least, taken);
        }
        return static_cast<double>(least);
    }

    WorkingTempDir folder_;
};

TEST_P(PackageReaderCost, GrowsWithTheNumberOfElements) {
    const double few = timeFor(kFew);
    EXPECT_LT(timeFor(kMany), kMostTimesAsMuch * few);
}

INSTANTIATE_TEST_SUITE_P(Readers, PackageReaderCost, ::testing::ValuesIn(kQuestions),
                         [](const auto& question) { return question.param.name; });

}  // namespace
}  // namespace test
