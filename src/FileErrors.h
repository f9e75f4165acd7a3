// Per-record problems of a file transfer: counted for the exit status and listed by line.
#pragma once

class FileErrors {
public:
    static void AddDuplicateRecord(int lineNumber);
    static void AddEmptyRecord(int lineNumber);
    static void AddBadFormatRecord(int lineNumber);
    // fieldNumber 0 or below: the ECR did not name the field.
    static void AddBadDataRecord(int lineNumber, int fieldNumber);
    static void AddCanNotUpdateRecord(int lineNumber);

    static int GetDuplicateRecordCount() { return m_duplicateRecords; }
    static int GetEmptyRecordCount() { return m_emptyRecords; }
    static int GetBadFormatRecordCount() { return m_badFormatRecords; }
    static int GetRejectedByEcrRecordCount() { return m_badDataRecords + m_canNotUpdateRecord; }

    static void Reset();
    // Writes the non-zero counts to the log.
    static void Log();

private:
    static int m_duplicateRecords;
    static int m_emptyRecords;
    static int m_badFormatRecords;
    static int m_badDataRecords;
    static int m_canNotUpdateRecord;
};

// Prints "Line %-5d - %-30s" for a record with a line number; records of raw and bitmap files
// (line 0) are counted but not listed.
void ShowMessage(const char* msg, int lineNumber);
