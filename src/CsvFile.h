// CSV files: one record per text line. Reading goes through an index of the lines by record
// number, sorted and without repeated record numbers unless "SortInputFileLines" is 0; writing
// ends every record with CR LF.
#pragma once

#include "FileIo.h"
#include "RawFile.h"
#include "TextFileLineIndex.h"

class CsvFileReaderImpl : public CsvFileReader {
public:
    FileType GetType() override { return FileType_CSV; }
    // Indexes the file, counting empty, malformed and duplicate lines as file errors.
    void Open(const std::string& filename) override;
    // Record recordNumber is the line of index entry recordNumber, without its line end.
    int Read(int recordNumber, char* buffer, int bufferSize) override;
    void Close() override;
    int GetLineNumber(int recordNumber) override;

private:
    TextFileLineIndex lineIndex;
};

class CsvFileWriter : public RawFileWriter {
public:
    FileType GetType() override { return FileType_CSV; }
    // Writes the record and CR LF.
    void Write(const char* data, int length) override;
};
