// Ten times the elements take about ten times the allocations. A reader that compared each record with each
// other one, whose comparison copies it, would take a hundred times as many. (How long it takes is for the
// benchmarks.)
#include "AllocationWatch.h"
#include "DeviceInventoryInfo.h"
#include "SoftwareComponentInfo.h"
#include "WorkingDirectory.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>

namespace test {
namespace {

constexpr int kFew = 1000;
constexpr int kMany = 10000;
constexpr std::size_t kMostTimesAsMany = 11;  // room for what grows by doubling

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
    // Long enough for a copy of the record to allocate.
    return "<Dependency componentID=\"1\" path=\"a\\folder\\of\\payloads\\" + number + "\"/>";
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
    /** How many allocations one asking takes over so many elements. */
    std::size_t allocationsFor(int elements) {
        std::string xml = GetParam().start;
        for (int i = 0; i < elements; ++i) {
            xml += GetParam().element(std::to_string(i));
        }
        writeFile(folder_ / "package.xml", xml + GetParam().end);
        const std::size_t before = allocationCount();
        EXPECT_EQ(GetParam().ask(), static_cast<std::size_t>(elements));
        return allocationCount() - before;
    }

    WorkingTempDir folder_;
};

TEST_P(PackageReaderCost, GrowsWithTheNumberOfElements) {
    const std::size_t few = allocationsFor(kFew);
    EXPECT_GT(few, 0U);
    EXPECT_LT(allocationsFor(kMany), kMostTimesAsMany * few);
}

INSTANTIATE_TEST_SUITE_P(Readers, PackageReaderCost, ::testing::ValuesIn(kQuestions),
                         [](const auto& question) { return question.param.name; });

}  // namespace
}  // namespace test
