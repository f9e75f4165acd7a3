#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "AppConfig.h"
#include "CommandLine.h"
#include "Exceptions.h"
#include "TestSupport.h"

namespace {

// Runs f and returns the display message of the CommandLineException it throws ("" if none).
template <typename F> std::string CommandLineError(F f) {
    try {
        f();
    } catch (Exception* e) {
        const std::string message = e->GetDisplayMessage();
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_CmdLineError);
        delete e;
        return message;
    }
    return "";
}

TEST(CommandLineTest, KeywordsInAnyCaseAndNothingElse) {
    EXPECT_EQ(ParseCommand("read"), Command_Read);
    EXPECT_EQ(ParseCommand("Send"), Command_Send);
    EXPECT_EQ(ParseCommand("DELETE"), Command_Delete);
    EXPECT_EQ(ParseCommand("cLeAr"), Command_Clear);
    EXPECT_EQ(ParseCommand("ReadAndClear"), Command_ReadAndClear);
    EXPECT_EQ(ParseCommand("clearandsend"), Command_ClearAndSend);
    EXPECT_EQ(ParseCommand("Init"), Command_Init);
    EXPECT_EQ(ParseCommand("ExecuteFiscal"), Command_ExecuteFiscal);
    EXPECT_EQ(ParseCommand("ReadFiscalStatus"), Command_ReadFiscalStatus);
    EXPECT_EQ(ParseCommand("ReadEftStatus"), Command_ReadEftStatus);
    EXPECT_EQ(ParseCommand("runserver"), Command_RunServer);
    EXPECT_EQ(ParseCommand("ExecuteServer"), Command_ExecuteServer);
    for (const char* bad : {"rea", "reads", "/HELP", "", " read"}) {
        EXPECT_EQ(CommandLineError([&] { ParseCommand(bad); }), "Unknown command (use /? for help)")
            << bad;
    }
}

TEST(CommandLineTest, DataIsDigitsOnlyAndSaturates) {
    EXPECT_EQ(ParseData("12"), 12);
    EXPECT_EQ(ParseData("007"), 7);
    EXPECT_EQ(ParseData(""), 0);
    EXPECT_EQ(ParseData("2147483647"), INT_MAX);
    EXPECT_EQ(ParseData("2147483648"), INT_MAX);
    EXPECT_EQ(ParseData("99999999999999999999999"), INT_MAX);
    for (const char* bad : {"x1", "-1", "+1", " 1", "1 ", "0x10", "1.5"}) {
        EXPECT_EQ(CommandLineError([&] { ParseData(bad); }), "Unknown data type (use /? for help)")
            << bad;
    }
    EXPECT_TRUE(IsNumber(""));
    EXPECT_FALSE(IsNumber("1a"));
}

TEST(CommandLineTest, ParametersSplitAtTheFirstSeparator) {
    std::string name;
    std::string value;
    ParseConfigParam("/ComNumber=ttyS1", name, value);
    EXPECT_EQ(name, "ComNumber");
    EXPECT_EQ(value, "ttyS1");
    ParseConfigParam("-ComNumber:ttyS1", name, value);
    EXPECT_EQ(name, "ComNumber");
    EXPECT_EQ(value, "ttyS1");
    ParseConfigParam("/ComSettings:baud=9600 parity=n", name, value);
    EXPECT_EQ(name, "ComSettings");
    EXPECT_EQ(value, "baud=9600 parity=n");
    ParseConfigParam("/a=b:c", name, value);
    EXPECT_EQ(name, "a");
    EXPECT_EQ(value, "b:c");
    ParseConfigParam("/ Name = v ", name, value); // no trimming
    EXPECT_EQ(name, " Name ");
    EXPECT_EQ(value, " v ");
    for (const char* bad : {"/ComNumber", "/=5", "/ComNumber=", "ComNumber=5", "", "/:", "-"}) {
        EXPECT_EQ(CommandLineError([&] { ParseConfigParam(bad, name, value); }),
                  std::string("Bad command line parameter: ") + bad + " (use /? for help)")
            << bad;
    }
}

class CollectParametersTest : public ::testing::Test {
protected:
    BaseCommandParameters Collect(std::vector<std::string> args) {
        args.insert(args.begin(), "tavo");
        args.push_back("/ConfigFilePath=" + m_dir.File("none.ini"));
        std::vector<const char*> argv;
        for (const std::string& arg : args) {
            argv.push_back(arg.c_str());
        }
        return CollectParameters(static_cast<int>(argv.size()), argv.data());
    }
    std::string Error(const std::vector<std::string>& args) {
        // Without the trailing /ConfigFilePath the argument counts are what the test gives.
        std::vector<const char*> argv = {"tavo"};
        for (const std::string& arg : args) {
            argv.push_back(arg.c_str());
        }
        return CommandLineError(
            [&] { CollectParameters(static_cast<int>(argv.size()), argv.data()); });
    }
    testsupport::TempDir m_dir;
};

TEST_F(CollectParametersTest, ArgumentsFollowTheCommand) {
    BaseCommandParameters p = Collect({"read", "12", "a.csv"});
    EXPECT_EQ(p.command, Command_Read);
    EXPECT_EQ(p.data, 12);
    EXPECT_EQ(p.filePath, "a.csv");
    EXPECT_FALSE(p.isFiscalCommand);

    p = Collect({"clear", "3"});
    EXPECT_EQ(p.command, Command_Clear);
    EXPECT_EQ(p.data, 3);
    EXPECT_EQ(p.filePath, "");

    p = Collect({"init", ""});
    EXPECT_EQ(p.data, 0);

    p = Collect({"executefiscal", "receipt.txt", "/RetryCount=3"});
    EXPECT_TRUE(p.isFiscalCommand);
    EXPECT_EQ(p.filePath, "receipt.txt");
    EXPECT_EQ(p.data, 0);
    EXPECT_EQ(AppConfig::GetParameter("RetryCount", 1), 3);

    p = Collect({"send", "3", "/tmp/plu.csv"}); // a file name may look like a parameter
    EXPECT_EQ(p.filePath, "/tmp/plu.csv");

    p = Collect({"runserver"});
    EXPECT_EQ(p.command, Command_RunServer);
    p = Collect({"executeserver", "2"});
    EXPECT_EQ(p.data, 2);
    EXPECT_EQ(p.filePath, "");
    EXPECT_TRUE(Collect({"readeftstatus", "s.csv"}).isFiscalCommand);
}

TEST_F(CollectParametersTest, MissingArgumentsAreReported) {
    const std::string notEnough = "Not enough parameters (use /? for help)";
    EXPECT_EQ(Error({"read", "3"}), notEnough);
    EXPECT_EQ(Error({"clear"}), notEnough);
    EXPECT_EQ(Error({"readfiscalstatus"}), notEnough);
    EXPECT_EQ(Error({"executeserver"}), notEnough);
    EXPECT_EQ(Error({"read", "x1", "a.csv"}), "Unknown data type (use /? for help)");
    EXPECT_EQ(Error({"clear", "3", "extra"}),
              "Bad command line parameter: extra (use /? for help)");
    EXPECT_EQ(Error({"/HELP"}), "Unknown command (use /? for help)");
}

TEST_F(CollectParametersTest, LaterParametersWinAndTheDelimiterIsFixed) {
    Collect({"clear", "3", "/Password=1", "-Password:2"});
    EXPECT_EQ(AppConfig::GetParameter("Password", ""), "2");
    EXPECT_EQ(AppConfig::GetParameter("Delimiter", "?"), ",");

    testsupport::WriteFile(m_dir.File("d.ini"), "[Common]\nDelimiter=;\n");
    const std::string config = "/ConfigFilePath=" + m_dir.File("d.ini");
    const char* argv[] = {"tavo", "clear", "3", config.c_str()};
    CollectParameters(4, argv);
    EXPECT_EQ(AppConfig::GetParameter("Delimiter", "?"), ";");
}

TEST(CommandLineTest, CommandLineForTheLogQuotesOnlyTheProgram) {
    const char* argv[] = {"/usr/bin/tavo", "send", "3", "my file.csv", "/TTY=ttyS0"};
    EXPECT_EQ(GetCommandLine(5, argv), "\"/usr/bin/tavo\" send 3 my file.csv /TTY=ttyS0");
    EXPECT_EQ(GetCommandLine(1, argv), "\"/usr/bin/tavo\"");
}

} // namespace
