#include "DataConverter.h"

#include <cstring>

#include "Formatting/BinaryDataFormatter.h"
#include "Formatting/BinaryDataParser.h"
#include "Formatting/TextDataFormatter.h"
#include "Formatting/TextDataParser.h"

namespace {

// A text or binary field of a CSV line holds at most 128 characters, so no field in transit
// needs more.
const uint16 fieldBufferSize = 128;

} // namespace

FileType DataConverter::m_pcFileType = FileType_CSV;

void DataConverter::Initialize(FileType pcFileType) {
    m_pcFileType = pcFileType;
}

bool DataConverter::Convert(DataParser& inData, DataFormatter& outData) {
    byte field[fieldBufferSize];
    for (;;) {
        switch (inData.GetFieldType()) {
        case FieldType_None:
            return true;
        case FieldType_String:
            if (!inData.GetString(reinterpret_cast<char*>(field), fieldBufferSize) ||
                !outData.AddString(reinterpret_cast<const char*>(field))) {
                return false;
            }
            break;
        case FieldType_Number: {
            Decimal number;
            if (!inData.GetNumber(number) || !outData.AddNumber(number)) {
                return false;
            }
            break;
        }
        case FieldType_Binary: {
            uint16 length = 0;
            if (!inData.GetBinary(field, fieldBufferSize, length) ||
                !outData.AddBinary(field, length)) {
                return false;
            }
            break;
        }
        case FieldType_Unknown:
        default:
            return false;
        }
    }
}

uint16 DataConverter::PcToEcr(const byte* pcData, uint16 pcDataLen, byte* ecrBuffer,
                              uint16 ecrBufferLen) {
    std::memset(ecrBuffer, 0, ecrBufferLen);
    BinaryDataFormatter formatter(ecrBuffer, ecrBufferLen);
    bool converted = false;
    switch (m_pcFileType) {
    case FileType_CSV: {
        TextDataParser parser(pcData, pcDataLen);
        converted = Convert(parser, formatter);
        break;
    }
    case FileType_BMP:
    case FileType_RAW:
        converted = formatter.AddBinary(pcData, pcDataLen);
        break;
    default:
        return 0;
    }
    return converted ? formatter.GetLength() : 0;
}

uint16 DataConverter::PcToEcr(DataParser& pcData, byte* ecrBuffer, uint16 ecrBufferLen) {
    std::memset(ecrBuffer, 0, ecrBufferLen);
    BinaryDataFormatter formatter(ecrBuffer, ecrBufferLen);
    return Convert(pcData, formatter) ? formatter.GetLength() : 0;
}

uint16 DataConverter::EcrToPc(const byte* ecrData, uint16 ecrDataLen, byte* pcBuffer,
                              uint16 pcBufferLen) {
    std::memset(pcBuffer, 0, pcBufferLen);
    BinaryDataParser parser(ecrData, ecrDataLen);
    switch (m_pcFileType) {
    case FileType_CSV: {
        // The zero fill terminates the line.
        TextDataFormatter formatter(pcBuffer, pcBufferLen);
        return Convert(parser, formatter) ? formatter.GetLength() : 0;
    }
    case FileType_BMP:
    case FileType_RAW: {
        uint16 dataLen = 0;
        if (!parser.GetBinary(pcBuffer, pcBufferLen, dataLen) ||
            parser.GetFieldType() != FieldType_None) {
            return 0;
        }
        return dataLen;
    }
    default:
        return 0;
    }
}
