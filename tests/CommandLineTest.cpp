#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "CommandLine.h"
#include "Exceptions.h"
#include "TestSupport.h"

namespace {

using testsupport::ThrownBy;

TEST(CommandLineTest, DataIsDigitsSaturatingAtIntMax) {
    EXPECT_EQ(ParseData("010"), 10);
    EXPECT_EQ(ParseData(""), 0);
    EXPECT_EQ(ParseData("99999999999999999999999"), INT_MAX);
    for (const char* bad : {"x1", "-1", "+1", " 1", "1 ", "0x10", "1.5"}) {
        EXPECT_EQ(ThrownBy([&] { ParseData(bad); }), "1: Unknown data type (use /? for help)")
            << bad;
    }
}

TEST(CommandLineTest, ParametersSplitAtTheFirstSeparator) {
    std::string name;
    std::string value;
    for (const auto& c : std::vector<std::pair<std::string, std::string>>{
             {"-ComNumber:ttyS1", "ComNumber|ttyS1"},
             {"/ComSettings:baud=9600 parity=n", "ComSettings|baud=9600 parity=n"},
             {"/ Name = v ", " Name | v "}, // no trimming
         }) {
        ParseConfigParam(c.first, name, value);
        EXPECT_EQ(name + "|" + value, c.second);
    }
    for (const char* bad : {"/ComNumber", "/=5", "/ComNumber=", "ComNumber=5", "", "/:", "-"}) {
        EXPECT_EQ(ThrownBy([&] { ParseConfigParam(bad, name, value); }),
                  std::string("1: Bad command line parameter: ") + bad + " (use /? for help)")
            << bad;
    }
}

TEST(CommandLineTest, MissingArgumentsAreReported) {
    const char* argv[] = {"tavo", "read", "3"};
    for (const int argc : {2, 3}) { // without the data, without the file name
        EXPECT_EQ(ThrownBy([&] { CollectParameters(argc, argv); }),
                  "1: Not enough parameters (use /? for help)")
            << argc;
    }
}

} // namespace
