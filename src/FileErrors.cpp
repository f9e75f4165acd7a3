#include "FileErrors.h"

#include <cstdio>
#include <string>

#include "Logging.h"
#include "Tools.h"

int FileErrors::m_duplicateRecords = 0;
int FileErrors::m_emptyRecords = 0;
int FileErrors::m_badFormatRecords = 0;
int FileErrors::m_badDataRecords = 0;
int FileErrors::m_canNotUpdateRecord = 0;

void ShowMessage(const char* msg, int lineNumber) {
    if (lineNumber <= 0) {
        return;
    }
    const std::string text = Format("Line %-5d - %-30s\n", lineNumber, msg);
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
    LogMsg(LogType_Debug, text, true);
}

void FileErrors::AddDuplicateRecord(int lineNumber) {
    ++m_duplicateRecords;
    ShowMessage("Record number is not unique", lineNumber);
}

void FileErrors::AddEmptyRecord(int lineNumber) {
    ++m_emptyRecords;
    ShowMessage("Record is empty", lineNumber);
}

void FileErrors::AddBadFormatRecord(int lineNumber) {
    ++m_badFormatRecords;
    ShowMessage("Record has bad format", lineNumber);
}

void FileErrors::AddBadDataRecord(int lineNumber, int fieldNumber) {
    ++m_badDataRecords;
    if (fieldNumber >= 1) {
        ShowMessage(Format("Record field %d has invalid value", fieldNumber).c_str(), lineNumber);
    } else {
        ShowMessage("Some record fields have invalid values", lineNumber);
    }
}

void FileErrors::AddCanNotUpdateRecord(int lineNumber) {
    ++m_canNotUpdateRecord;
    ShowMessage("Record can not be updated", lineNumber);
}

void FileErrors::Reset() {
    m_duplicateRecords = 0;
    m_emptyRecords = 0;
    m_badFormatRecords = 0;
    m_badDataRecords = 0;
    m_canNotUpdateRecord = 0;
}

void FileErrors::Log() {
    if (m_duplicateRecords > 0) {
        LogMsg(LogType_Both, Format("Found %d duplicate record(s)", m_duplicateRecords), true);
    }
    if (m_emptyRecords > 0) {
        LogMsg(LogType_Both, Format("Found %d empty record(s)", m_emptyRecords), true);
    }
    if (m_badFormatRecords > 0) {
        LogMsg(LogType_Both, Format("Found %d bad format record(s)", m_badFormatRecords), true);
    }
    if (GetRejectedByEcrRecordCount() > 0) {
        LogMsg(LogType_Both, Format("%d record(s) rejected by ECR", GetRejectedByEcrRecordCount()),
               true);
    }
}
