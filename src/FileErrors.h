// Per-record problems of a file transfer: counted for the exit status and listed by line.
// Process-wide counters; a transfer resets them when it starts. Each Add counts one record and
// lists it through ShowMessage with the text given below; none throws. AddEmptyRecord and
// AddBadFormatRecord are also the line index's callbacks, so they stay plain functions of the
// line number.
#pragma once

class FileErrors {
public:
    // "Record number is not unique": a line whose record number another line has too.
    static void AddDuplicateRecord(int lineNumber);
    // "Record is empty": a blank line of the input file.
    static void AddEmptyRecord(int lineNumber);
    // "Record has bad format": a line that does not parse or does not convert.
    static void AddBadFormatRecord(int lineNumber);
    // A record the ECR refused as bad data: "Record field <n> has invalid value", or "Some
    // record fields have invalid values" when fieldNumber is 0 or below (no field named).
    static void AddBadDataRecord(int lineNumber, int fieldNumber);
    // "Record can not be updated": a record the ECR could not store (it answered busy).
    static void AddCanNotUpdateRecord(int lineNumber);

    // The counts since the last Reset.
    static int GetDuplicateRecordCount() { return m_duplicateRecords; }
    static int GetEmptyRecordCount() { return m_emptyRecords; }
    static int GetBadFormatRecordCount() { return m_badFormatRecords; }
    // Records the ECR refused: bad data and cannot-update together.
    static int GetRejectedByEcrRecordCount() { return m_badDataRecords + m_canNotUpdateRecord; }

    // Sets every count to 0.
    static void Reset();
    // Writes the non-zero counts to the standard log ("Found <n> duplicate record(s)", "Found <n>
    // empty record(s)", "Found <n> bad format record(s)", "<n> record(s) rejected by ECR").
    // Raises what LogMsg raises: InternalException (exit status 99) with "StandardLog=-1".
    static void Log();

private:
    static int m_duplicateRecords;
    static int m_emptyRecords;
    static int m_badFormatRecords;
    static int m_badDataRecords;
    static int m_canNotUpdateRecord;
};

// Prints "Line %-5d - %-30s" and a newline on standard output for a record with a line number;
// records of raw and bitmap files (line 0) are counted but not listed. Never throws.
void ShowMessage(const char* msg, int lineNumber);
