#include <gtest/gtest.h>

#include "IniFile.h"
#include "TestSupport.h"

namespace {

using namespace testsupport;

TEST(IniFileTest, LookupFindsTheValueOrGivesTheDefault) {
    TempDir dir;
    const std::string path = dir.File("t.ini");
    const std::string repeated = "[S]\na=1\nb=1\n[T]\na=9\n[s]\na=2\n";
    const std::string huge = "b=" + std::string(10 * 1024 * 1024, 'x') + "\n[unclosed\nc=3\n";
    const struct {
        std::string content;
        const char* section;
        const char* key;
        std::string value;
    } cases[] = {
        {"[Common]\n ComNumber = ttyS0 \n", "COMMON", "comnumber", "ttyS0"},
        {"[ ECR_Shop1 ]\nPassword=\tx y\t\n", "ecr_shop1", "password", "x y"},
        {"[A]\nq=\"quoted\" \\n ; not a comment\n", "A", "q", "\"quoted\" \\n ; not a comment"},
        {"[A]\nurl=a=b:c\n", "A", "url", "a=b:c"},
        {"[S]\ra=1\rb=2\r", "S", "b", "2"},
        {"[S]\fa=1\fb=2\f", "S", "b", "2"},
        {repeated, "S", "a", "2"}, // a repeated heading continues its section, the last key wins
        {repeated, "S", "b", "1"},
        {"ComSettings=baud=9600\n[Common]\n", "", "ComSettings", "baud=9600"},
        {"[S]\n=nokey\n", "S", "", "<default>"},
        {"[S]\nv=" + std::string(300, 'v') + "\n", "S", "v", std::string(255, 'v')},
        // Cut inside the blanks first, then trimmed.
        {"[S]\nv=" + std::string(250, 'p') + "     tail\n", "S", "v", std::string(250, 'p')},
        {"[S]\na=1\n\x1a\na=2\n", "S", "a", "1"},                       // Ctrl-Z ends the file
        {std::string("[S]\na=1\nb=x\0y\n", 14), "S", "a", "<default>"}, // NUL: unreadable
        {huge, "unclosed", "c", "3"}, // after a huge line, and under a heading without ']'
        {std::string(65533, ';') + "\nc=3", "", "c", "3"}, // the file's last read is one byte

    };
    // Each row writes the file again: a lookup must never see an earlier content.
    for (const auto& c : cases) {
        WriteFile(path, c.content);
        IniFile::SetFile(path, false);
        EXPECT_EQ(IniFile::GetString(c.section, c.key, "<default>"), c.value)
            << c.content.substr(0, 40);
    }
}

} // namespace
