#include <gtest/gtest.h>

#include "FileErrors.h"
#include "Logging.h"
#include "TestSupport.h"

namespace {

TEST(FileErrorsTest, EachRecordProblemIsCountedAndListedByLine) {
    FileErrors::Reset();
    testing::internal::CaptureStdout();
    FileErrors::AddBadDataRecord(12, 0);
    FileErrors::AddBadDataRecord(12, 1);
    FileErrors::AddCanNotUpdateRecord(123456);
    FileErrors::AddBadFormatRecord(1);
    FileErrors::AddEmptyRecord(3);
    FileErrors::AddDuplicateRecord(7);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Line 12    - Some record fields have invalid values\n"
              "Line 12    - Record field 1 has invalid value\n"
              "Line 123456 - Record can not be updated     \n"
              "Line 1     - Record has bad format         \n"
              "Line 3     - Record is empty               \n"
              "Line 7     - Record number is not unique   \n");
    EXPECT_EQ(FileErrors::GetRejectedByEcrRecordCount(), 3);
    FileErrors::Reset();
}

// Raw and bitmap records have no line: their problems are counted, not listed.
TEST(FileErrorsTest, SummaryLogsOnlyTheProblemsThatOccurred) {
    testsupport::TempDir dir;
    testsupport::LoadConfiguration(
        dir.File("none.ini"),
        {{"StandardLog", "1"}, {"DbgErrorLog", "0"}, {"LogFilePath", dir.Path()}});
    StartLogging();
    FileErrors::Reset();
    FileErrors::Log();
    testing::internal::CaptureStdout();
    FileErrors::AddDuplicateRecord(0);
    FileErrors::AddEmptyRecord(0);
    FileErrors::AddBadFormatRecord(0);
    FileErrors::AddCanNotUpdateRecord(0);
    FileErrors::Log();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    StopLogging(false);
    FileErrors::Reset();
    // Each line after its 23-character time stamp and a blank.
    std::string log = testsupport::ReadFile(dir.File("TAVO.log"));
    for (size_t line = 0; line < log.size(); line = log.find('\n', line) + 1) {
        log.erase(line, 24);
    }
    EXPECT_EQ(log, "Found 1 duplicate record(s)\nFound 1 empty record(s)\n"
                   "Found 1 bad format record(s)\n1 record(s) rejected by ECR\n");
}

} // namespace
