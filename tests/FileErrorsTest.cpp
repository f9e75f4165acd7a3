#include <gtest/gtest.h>

#include "FileErrors.h"
#include "Logging.h"
#include "TestSupport.h"

namespace {

// Raw and bitmap records have no line (0): their problems are counted but not listed.
TEST(FileErrorsTest, ProblemsAreListedByLineAndCounted) {
    FileErrors::Reset();
    testing::internal::CaptureStdout();
    FileErrors::AddBadDataRecord(12, 0);
    FileErrors::AddBadDataRecord(123456, 1);
    FileErrors::AddCanNotUpdateRecord(0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Line 12    - Some record fields have invalid values\n"
              "Line 123456 - Record field 1 has invalid value\n");
    EXPECT_EQ(FileErrors::GetRejectedByEcrRecordCount(), 3);
    FileErrors::Reset();
}

TEST(FileErrorsTest, SummaryLogsOnlyTheProblemsThatOccurred) {
    testsupport::TempDir dir;
    testsupport::LoadConfiguration(
        dir.File("none.ini"),
        {{"StandardLog", "1"}, {"DbgErrorLog", "0"}, {"LogFilePath", dir.Path()}});
    StartLogging();
    FileErrors::Reset();
    FileErrors::Log();
    FileErrors::AddCanNotUpdateRecord(0);
    FileErrors::Log();
    StopLogging(false);
    FileErrors::Reset();
    // One line after its 23-character time stamp; the counts that stayed zero are not logged.
    EXPECT_EQ(testsupport::ReadFile(dir.File("TAVO.log")).substr(23),
              " 1 record(s) rejected by ECR\n");
}

} // namespace
