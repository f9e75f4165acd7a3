// Reading a record field by field, whatever its encoding (ECR binary or CSV text).
#pragma once

#include "Decimal.h"

// The kind of the next field, common to all encodings.
enum FieldType {
    FieldType_None = 0,    // no more fields
    FieldType_String = 1,  // text
    FieldType_Number = 2,  // a Decimal
    FieldType_Binary = 3,  // raw bytes
    FieldType_Unknown = 4, // a field that cannot be read: no valid kind, or too long
};

// The outcome of TextDataParser::GetField.
enum GetFieldResult {
    GetFieldResult_OK = 0,        // a field was copied
    GetFieldResult_EndOfData = 1, // no field left
    GetFieldResult_Error = 2,     // the field does not fit the buffer
};

// Reads fields one after another from a record held in the caller's buffer. Every operation
// reports a wrong field kind, a too-small buffer or a damaged field by returning false; after
// a false the position is not to be relied on: the caller abandons the record. Nothing throws.
class DataParser {
public:
    // Reads data[0, dataLen); the buffer is not copied and must outlive the parser.
    DataParser(const byte* data, uint16 dataLen)
        : m_dataBuf(data), m_dataLen(dataLen), m_position(0) {}
    virtual ~DataParser() = default;

    // Reads the next field as a number and moves past it; false unless it is a valid number.
    virtual bool GetNumber(Decimal& num) = 0;
    // Copies the text with a terminator; false when it needs bufLen bytes or more, when the next
    // field is not text, or when the text holds a control character (IsValidString).
    virtual bool GetString(char* buf, uint16 bufLen) = 0;
    // Copies the bytes of a binary field and stores their count in dataLen; false when the next
    // field is not binary, is damaged, or holds more than bufLen bytes.
    virtual bool GetBinary(byte* buf, uint16 bufLen, uint16& dataLen) = 0;
    // The kind of the next field, without moving; FieldType_None at the end of the record.
    virtual FieldType GetFieldType() = 0;

    // True when no character is a control character (byte value below 31); "" is valid.
    static bool IsValidString(const char* str);

protected:
    const byte* m_dataBuf;
    uint16 m_dataLen;
    uint16 m_position; // first byte of the next field
};
