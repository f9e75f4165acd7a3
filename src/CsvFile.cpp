#include "CsvFile.h"

#include "AppConfig.h"
#include "FileErrors.h"
#include "Logging.h"

void CsvFileReaderImpl::Open(const std::string& filename) {
    const int count =
        lineIndex.Build(filename, FileErrors::AddEmptyRecord, FileErrors::AddBadFormatRecord);
    if (count == 0) {
        return;
    }
    if (AppConfig::GetParameter("SortInputFileLines", 1) == 0) {
        return;
    }
    // Only the first line may lack a record number (a header with a text first field); any
    // other such line leaves the whole file in its own order.
    if (count < 2 || lineIndex.HasUnkeyedRecord()) {
        return;
    }
    if (!lineIndex.IsSorted()) {
        LogMsg(LogType_Debug, "Input data file sorting started", true);
        lineIndex.SortRange(0, count - 1);
        LogMsg(LogType_Debug, "Input data file sorting finished", true);
    }
    lineIndex.RemoveDuplicates(FileErrors::AddDuplicateRecord);
}

int CsvFileReaderImpl::Read(int recordNumber, char* buffer, int bufferSize) {
    return lineIndex.ReadLine(recordNumber, buffer, bufferSize);
}

void CsvFileReaderImpl::Close() {
    lineIndex.Close();
}

int CsvFileReaderImpl::GetLineNumber(int recordNumber) {
    if (recordNumber < 0 || recordNumber >= lineIndex.GetCount()) {
        return -1;
    }
    return lineIndex.GetEntry(recordNumber).lineNumber;
}

void CsvFileWriter::Write(const char* data, int length) {
    RawFileWriter::Write(data, length);
    RawFileWriter::Write("\r\n", 2);
}
