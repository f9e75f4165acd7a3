// The ECR session end to end: ECR answers and refusals, a silent line, a device or trace file that
// cannot be opened.
#include <gmock/gmock.h>

#include <iterator>
#include <sstream>

#include "SimulatorSupport.h"
#include "Tools.h"

TEST(EcrCommTest, FailedRunsReportTheirCause) {
    const testsupport::TempDir work;
    // Run inside the work directory, where the files the rows name are.
    testsupport::RunOptions inWork;
    inWork.directory = work.Path();
    const auto words = [](const std::string& text) {
        std::istringstream in(text);
        return std::vector<std::string>(std::istream_iterator<std::string>(in), {});
    };
    const std::string silent = "\nCommunication error: ECR is not responding\n";
    const struct {
        const char *simulator, *command, *parameters;
        int status;
        std::string message;          // what precedes "Completed with errors"
        const char* cause;            // a regular expression for standard error
        const char* traced = nullptr; // a line of the trace file, for a run that keeps one
    } cases[] = {
        {"--request-answer 2", "read 3 x", "", 3, "\nECR is busy\n", ""},
        {"--request-answer 6", "read 3 x", "", 4,
         "\nCommand can not be executed in current context\n", ""},
        {"--request-answer 7", "read 3 x", "", 12, "\nECR communications are not activated\n", ""},
        {"--request-answer 1", "read 3 x", "", 15, "\nUnknown command\n", ""},
        {"--password 1", "clear 3", "/Password=2", 11, "\nBad or missing password\n", ""},
        // Without a password the ECR's demand for authorisation cannot be met.
        {"--password 1", "clear 3", "", 5, "\nCommunication error: Unexpected data received\n", ""},
        {"", "executeserver 1", "", 99, "\nDisconnectFromServer command not supported\n", ""},
        // The network channels are not built on this platform.
        {"", "clear 3", "/IpAddress=10.0.0.1", 99, "Internal error\n", ""},
        {"", "clear 3", "/IpAddress=10.0.0.1 /ComNumber=1", 10,
         "Configuration error: Both serial port and ethernet settings are specified\n", ""},
        {"", "clear 3", "/TTY=pts/99999", 50, "System error: Unable to open serial port\n",
         "tavo: /dev/pts/99999: No such file or directory; "
         "(serial devices here:( /dev/[^ ]+)+|no serial device found)\n"},
        // A device that is not a terminal.
        {"", "clear 3", "/TTY=null", 50,
         "System error: Cannot read serial port settings. Please ensure that correct TTY "
         "specified\n",
         "tavo: /dev/null: Inappropriate ioctl for device\n"},
        {"", "clear 3", "/TraceFile=no/trace.txt", 13, "Can't open file 'no/trace.txt'\n",
         "tavo: no/trace.txt: No such file or directory\n"},
        // Every attempt fails on its own; the trace shows each wait for an answer as an empty
        // block.
        {"--ignore-first 1000000", "clear 3",
         "/RetryCount=3 /SerialProtocolRetryCount=2 /SerialProtocolResponseMaxTime=100 "
         "/TraceFile=trace.txt",
         5, silent + silent + silent, "", "PC<-ECR  0 bytes in "},
    };
    for (const auto& c : cases) {
        const testsupport::EcrSimulator sim(words(c.simulator));
        const testsupport::RunResult r =
            testsupport::RunTavoOn(sim, work, words(c.command), words(c.parameters), inWork);
        EXPECT_EQ(r.exitStatus, c.status) << c.message;
        // Captured by a pipe, the output has no progress text before the ECR's answer.
        EXPECT_EQ(r.output,
                  c.message + Format("Completed with errors\nReturn value %d\n", c.status));
        EXPECT_THAT(r.errors, ::testing::MatchesRegex(c.cause));
        if (c.traced != nullptr) {
            EXPECT_THAT(testsupport::ReadFile(work.File("trace.txt")),
                        ::testing::HasSubstr(c.traced));
        }
    }
}
