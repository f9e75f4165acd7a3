// The data files of a transfer: their kinds, how the kind of one run is chosen, and the two
// interfaces through which the commands see any file. A reader hands out records by their
// zero-based number in any order; a writer appends records in the order it gets them. A record
// is at most 1024 bytes.
#pragma once

#include <string>

enum FileType {
    FileType_CSV = 0, // text, one record per line
    FileType_BMP = 1, // monochrome bitmap, one record per pixel row
    FileType_RAW = 2, // binary, fixed 64-byte records
};

// Objects come from CreateFileReader; the caller owns them and deletes them through this class,
// which also closes the file.
class FileReader {
public:
    virtual ~FileReader() = default;
    // The kind of file this reader reads.
    virtual FileType GetType() = 0;
    // Raises FileIoException "Unable to open file '<name>'" (exit status 13), the cause on
    // standard error, when the file cannot be opened or is a directory or a pipe. Some kinds
    // raise more (CsvFile.h, BmpFile.h).
    virtual void Open(const std::string& filename) = 0;
    // Copies record recordNumber into buffer and returns its length; 0 when there is no such
    // record, which ends the data. Raises nothing. REQUIRES: buffer holds bufferSize bytes, and
    // at least 1024 (not every kind consults bufferSize).
    virtual int Read(int recordNumber, char* buffer, int bufferSize) = 0;
    // Releases the file; Read returns 0 afterwards. Raises nothing.
    virtual void Close() = 0;
};

// A reader of text files, whose records can name the line they came from.
class CsvFileReader : public FileReader {
public:
    // The 1-based file line of record recordNumber; -1 for a record that does not exist.
    virtual int GetLineNumber(int recordNumber) = 0;
};

// Objects come from CreateFileWriter; deleting one completes and closes the file without
// reporting errors, so a failed transfer still leaves the records written so far.
class FileWriter {
public:
    virtual ~FileWriter() = default;
    // The kind of file this writer writes.
    virtual FileType GetType() = 0;
    // Creates or truncates the file; raises FileIoException "Unable to open file '<name>'"
    // (exit status 13), the cause on standard error.
    virtual void Open(const std::string& filename) = 0;
    // Appends one record of length bytes. Raises FileIoException "File '<name>' write error"
    // (exit status 13), the cause on standard error.
    virtual void Write(const char* data, int length) = 0;
    // Completes the file, flushes it to the disk and closes it. Raises FileIoException "File
    // '<name>' write error" (exit status 13): only Close can tell that the end of the file
    // never reached the disk, so call it before reporting success.
    virtual void Close() = 0;
};

// The setting "FileType" (BMP, RAW or CSV, any case) decides when given; otherwise sections 195
// and 202 are always raw, and the file name's extension decides: BMP is a bitmap, BIN is raw,
// anything else is CSV. Raises ConfigurationException "Unsupported file type" (exit status 10)
// for any other setting.
FileType DetectFileType(const std::string& filename, int dataType);

// A new, not yet opened reader or writer of the kind; the caller owns it and deletes it on
// every path out. InternalException (exit status 99) for an invalid kind.
FileReader* CreateFileReader(FileType fileType);
FileWriter* CreateFileWriter(FileType fileType);
