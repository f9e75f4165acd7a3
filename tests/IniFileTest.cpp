#include <gtest/gtest.h>

#include "Exceptions.h"
#include "IniFile.h"
#include "TestSupport.h"

namespace {

using testsupport::TempDir;
using testsupport::WriteFile;

class IniFileTest : public ::testing::Test {
protected:
    void Use(const std::string& content) {
        WriteFile(m_dir.File("t.ini"), content);
        IniFile::SetFile(m_dir.File("t.ini"), true);
    }
    std::string Get(const std::string& section, const std::string& key) {
        return IniFile::GetString(section, key, "<default>");
    }
    TempDir m_dir;
};

TEST_F(IniFileTest, SectionsAndKeysIgnoreCaseAndBlanks) {
    Use("[Common]\n ComNumber = ttyS0 \n[ ECR_Shop1 ]\nPassword=\tx y\t\n");
    EXPECT_EQ(Get("common", "comnumber"), "ttyS0");
    EXPECT_EQ(Get("COMMON", "COMNUMBER"), "ttyS0");
    EXPECT_EQ(Get("ecr_shop1", "password"), "x y");
    EXPECT_EQ(Get("Common", "Password"), "<default>");
    EXPECT_EQ(Get("Missing", "ComNumber"), "<default>");
}

TEST_F(IniFileTest, ValuesAreLiteralAndEmptyValuesAreNotDefaults) {
    Use("[A]\nq=\"quoted\" \\n ; not a comment\nempty=\nurl=a=b:c\n");
    EXPECT_EQ(Get("A", "q"), "\"quoted\" \\n ; not a comment");
    EXPECT_EQ(Get("A", "empty"), "");
    EXPECT_EQ(Get("A", "url"), "a=b:c");
    EXPECT_FALSE(IniFile::ContainsKey("A", "empty"));
    EXPECT_TRUE(IniFile::ContainsKey("A", "url"));
}

TEST_F(IniFileTest, AllLineEndsGiveTheSameValues) {
    for (const std::string end : {"\n", "\r\n", "\r", "\f"}) {
        Use("[S]" + end + "a=1" + end + "b=2" + end);
        EXPECT_EQ(Get("S", "a"), "1") << "line end " << static_cast<int>(end[0]);
        EXPECT_EQ(Get("S", "b"), "2") << "line end " << static_cast<int>(end[0]);
    }
}

TEST_F(IniFileTest, RepeatedHeadingsContinueAndRepeatedKeysKeepTheLast) {
    Use("[S]\na=1\nb=1\n[T]\na=9\n[s]\na=2\n");
    EXPECT_EQ(Get("S", "a"), "2");
    EXPECT_EQ(Get("S", "b"), "1");
    EXPECT_EQ(Get("T", "a"), "9");
}

TEST_F(IniFileTest, KeysBeforeTheFirstHeadingFormTheUnnamedSection) {
    Use("ComSettings=baud=9600\n[Common]\nx=1\n");
    EXPECT_EQ(Get("", "ComSettings"), "baud=9600");
    EXPECT_EQ(Get("Common", "ComSettings"), "<default>");
    EXPECT_EQ(IniFile::GetString("ComSettings", ""), "baud=9600"); // no section made current
}

TEST_F(IniFileTest, ValuesAreCutTo255CharactersBeforeTrimming) {
    const std::string value300(300, 'v');
    const std::string padded = std::string(250, 'p') + "     tail";
    Use("[S]\nlong=" + value300 + "\npadded=" + padded + "\nexact=" + std::string(255, 'e') + "\n");
    EXPECT_EQ(Get("S", "long"), std::string(255, 'v'));
    EXPECT_EQ(Get("S", "padded"), std::string(250, 'p')); // cut inside the blanks, then trimmed
    EXPECT_EQ(Get("S", "exact"), std::string(255, 'e'));
}

TEST_F(IniFileTest, CtrlZEndsTheFileAndNulMakesItUnreadable) {
    Use("[S]\na=1\n\x1a\nb=2\n");
    EXPECT_EQ(Get("S", "a"), "1");
    EXPECT_EQ(Get("S", "b"), "<default>");

    Use(std::string("[S]\na=1\nb=x\0y\n", 14));
    EXPECT_EQ(Get("S", "a"), "<default>");
    EXPECT_EQ(IniFile::GetNumber("S", "a", 42), 42);
}

TEST_F(IniFileTest, HugeLinesAndLinesWithoutKeysAreHarmless) {
    Use("[S]\nbig=" + std::string(10 * 1024 * 1024, 'x') + "\njust text\n[broken\nc=3\n=nokey\n");
    EXPECT_EQ(Get("S", "big"), std::string(255, 'x'));
    EXPECT_EQ(Get("broken", "c"), "3");
    EXPECT_EQ(Get("S", ""), "<default>");
}

TEST_F(IniFileTest, EditsBetweenLookupsAreSeen) {
    Use("[S]\na=1\n");
    EXPECT_EQ(Get("S", "a"), "1");
    WriteFile(m_dir.File("t.ini"), "[S]\na=2\n");
    EXPECT_EQ(Get("S", "a"), "2");
}

TEST_F(IniFileTest, MissingFilesAndSectionsFailOnlyWhenChecked) {
    IniFile::SetFile(m_dir.File("missing.ini"), false);
    EXPECT_EQ(Get("S", "a"), "<default>");
    try {
        IniFile::SetFile(m_dir.File("missing.ini"), true);
        FAIL() << "missing file accepted";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetReturnCode(), ReturnCode_ConfigError);
        EXPECT_EQ(e->GetDisplayMessage(),
                  "Configuration error: INI-file '" + m_dir.File("missing.ini") + "' not found");
        delete e;
    }
    Use("[Present]\n");
    IniFile::SetSection("present", true);
    EXPECT_EQ(IniFile::GetSection(), "present");
    try {
        IniFile::SetSection("Absent", true);
        FAIL() << "missing section accepted";
    } catch (Exception* e) {
        EXPECT_EQ(e->GetLogMessage(), "INI-file section [Absent] not found");
        delete e;
    }
    IniFile::SetSection("", false);
}

TEST_F(IniFileTest, NumbersAndTheWriteThatDoesNothing) {
    Use("[S]\nn= 42 \nneg=-7\n");
    EXPECT_EQ(IniFile::GetNumber("s", "N", 0), 42);
    EXPECT_EQ(IniFile::GetNumber("S", "neg", 0), -7);
    EXPECT_EQ(IniFile::GetNumber("S", "none", 5), 5);
    IniFile::SetString("S", "n", "1");
    EXPECT_EQ(testsupport::ReadFile(m_dir.File("t.ini")), "[S]\nn= 42 \nneg=-7\n");
}

} // namespace
