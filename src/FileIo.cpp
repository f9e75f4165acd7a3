#include "FileIo.h"

#include "AppConfig.h"
#include "BmpFile.h"
#include "CsvFile.h"
#include "Exceptions.h"
#include "Path.h"
#include "RawFile.h"
#include "Tools.h"

namespace {

// These two sections are exchanged as raw binary unless the setting "FileType" says otherwise.
bool IsRawSection(int dataType) {
    return dataType == 195 || dataType == 202;
}

} // namespace

FileType DetectFileType(const std::string& filename, int dataType) {
    const std::string configured = ToUpper(AppConfig::GetParameter("FileType", ""));
    if (!configured.empty()) {
        if (configured == "BMP") {
            return FileType_BMP;
        }
        if (configured == "RAW") {
            return FileType_RAW;
        }
        if (configured == "CSV") {
            return FileType_CSV;
        }
        throw new ConfigurationException("Unsupported file type");
    }
    if (IsRawSection(dataType)) {
        return FileType_RAW;
    }
    // Only the setting knows the word RAW; only the extension knows BIN.
    const std::string extension = ToUpper(Path::GetExtension(filename));
    if (extension == "BMP") {
        return FileType_BMP;
    }
    if (extension == "BIN") {
        return FileType_RAW;
    }
    return FileType_CSV;
}

FileReader* CreateFileReader(FileType fileType) {
    switch (fileType) {
    case FileType_BMP:
        return new BmpFileReader();
    case FileType_RAW:
        return new RawFileReader();
    case FileType_CSV:
        return new CsvFileReaderImpl();
    }
    THROW_INTERNAL_ERROR();
}

FileWriter* CreateFileWriter(FileType fileType) {
    switch (fileType) {
    case FileType_BMP:
        return new BmpFileWriter();
    case FileType_RAW:
        return new RawFileWriter();
    case FileType_CSV:
        return new CsvFileWriter();
    }
    THROW_INTERNAL_ERROR();
}
