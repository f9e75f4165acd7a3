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
    virtual FileType GetType() = 0;
    // Raises FileIoException "Unable to open file '<name>'" when the file cannot be opened.
    virtual void Open(const std::string& filename) = 0;
    // Copies record recordNumber into buffer and returns its length; 0 when there is no such
    // record, which ends the data.
    virtual int Read(int recordNumber, char* buffer, int bufferSize) = 0;
    virtual void Close() = 0;
};

// A reader of text files, whose records can name the line they came from.
class CsvFileReader : public FileReader {
public:
    // The 1-based file line of record recordNumber; -1 for a record that does not exist.
    virtual int GetLineNumber(int recordNumber) = 0;
};

// Objects come from CreateFileWriter; deleting one completes and closes the file.
class FileWriter {
public:
    virtual ~FileWriter() = default;
    virtual FileType GetType() = 0;
    // Creates or truncates the file; raises FileIoException "Unable to open file '<name>'".
    virtual void Open(const std::string& filename) = 0;
    virtual void Write(const char* data, int length) = 0;
    virtual void Close() = 0;
};

// The setting "FileType" (BMP, RAW or CSV, any case) decides when given; otherwise sections 195
// and 202 are always raw, and the file name's extension decides: BMP is a bitmap, BIN is raw,
// anything else is CSV. Raises ConfigurationException "Unsupported file type" for any other
// setting.
FileType DetectFileType(const std::string& filename, int dataType);

// A new, not yet opened reader or writer of the kind; InternalException for an invalid kind.
FileReader* CreateFileReader(FileType fileType);
FileWriter* CreateFileWriter(FileType fileType);
