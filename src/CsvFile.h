// CSV files: one record per text line. Reading goes through an index of the lines by record
// number, sorted and without repeated record numbers unless "SortInputFileLines" is 0; writing
// ends every record with CR LF.
#pragma once

#include "FileIo.h"
#include "RawFile.h"
#include "TextFileLineIndex.h"

class CsvFileReaderImpl : public CsvFileReader {
public:
    // Always FileType_CSV.
    FileType GetType() override { return FileType_CSV; }
    // Indexes the file, counting empty and malformed lines as file errors; then, unless
    // "SortInputFileLines" is 0, sorts by record number and keeps the last line of each number,
    // counting the others as duplicates (not when a line after the first has no record number).
    // Raises FileIoException (exit status 13) as TextFileLineIndex::Build does.
    void Open(const std::string& filename) override;
    // Record recordNumber is the line of index entry recordNumber, without its line end and
    // trailing blanks: at most bufferSize - 1 characters and a terminator. Returns the length;
    // 0 for no such record or a failed read.
    int Read(int recordNumber, char* buffer, int bufferSize) override;
    // Empties the index and closes the file.
    void Close() override;
    // The 1-based file line of record recordNumber; -1 for a record that does not exist.
    int GetLineNumber(int recordNumber) override;

private:
    TextFileLineIndex lineIndex;
};

// Writes one record per line; Open and Close as RawFileWriter.
class CsvFileWriter : public RawFileWriter {
public:
    // Always FileType_CSV.
    FileType GetType() override { return FileType_CSV; }
    // Writes the record and CR LF. Raises FileIoException "File '<name>' write error" (exit
    // status 13), the cause on standard error.
    void Write(const char* data, int length) override;
};
