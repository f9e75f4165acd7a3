#include <gtest/gtest.h>

#include "FileErrors.h"
#include "Logging.h"
#include "TestSupport.h"

namespace {

TEST(FileErrorsTest, EachRecordProblemIsCountedAndListedByLine) {
    FileErrors::Reset();
    testing::internal::CaptureStdout();
    FileErrors::AddBadDataRecord(12, 0);
    FileErrors::AddBadDataRecord(12, 4);
    FileErrors::AddCanNotUpdateRecord(123456);
    FileErrors::AddCanNotUpdateRecord(0); // raw and bitmap records have no line
    FileErrors::AddBadFormatRecord(-1);
    FileErrors::AddEmptyRecord(3);
    FileErrors::AddDuplicateRecord(7);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Line 12    - Some record fields have invalid values\n"
              "Line 12    - Record field 4 has invalid value\n"
              "Line 123456 - Record can not be updated     \n"
              "Line 3     - Record is empty               \n"
              "Line 7     - Record number is not unique   \n");
    EXPECT_EQ(FileErrors::GetRejectedByEcrRecordCount(), 4);
    EXPECT_EQ(FileErrors::GetBadFormatRecordCount(), 1);
    EXPECT_EQ(FileErrors::GetEmptyRecordCount(), 1);
    EXPECT_EQ(FileErrors::GetDuplicateRecordCount(), 1);
}

TEST(FileErrorsTest, SummaryLogsOnlyWhatOccurred) {
    testsupport::TempDir dir;
    testsupport::LoadConfiguration(
        dir.File("none.ini"),
        {{"StandardLog", "1"}, {"DbgErrorLog", "0"}, {"LogFilePath", dir.Path()}});
    StartLogging();
    FileErrors::Reset();
    FileErrors::Log();
    testing::internal::CaptureStdout();
    FileErrors::AddBadDataRecord(1, 2);
    FileErrors::AddCanNotUpdateRecord(2);
    FileErrors::AddCanNotUpdateRecord(3);
    FileErrors::AddDuplicateRecord(4);
    testing::internal::GetCapturedStdout();
    FileErrors::Log();
    StopLogging(false);
    const std::string log = testsupport::ReadFile(dir.File("TAVO.log"));
    // Two lines, each after a time stamp; no line for the counts that stayed zero.
    EXPECT_EQ(log.size(), 2 * 24 + std::string("Found 1 duplicate record(s)\n"
                                               "3 record(s) rejected by ECR\n")
                                       .size())
        << log;
    EXPECT_NE(log.find(" Found 1 duplicate record(s)\n"), std::string::npos);
    EXPECT_NE(log.find(" 3 record(s) rejected by ECR\n"), std::string::npos);
    FileErrors::Reset();
}

} // namespace
