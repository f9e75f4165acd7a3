// Reading a record field by field, whatever its encoding (ECR binary or CSV text).
#pragma once

#include "Decimal.h"

// The kind of the next field, common to all encodings.
enum FieldType {
    FieldType_None = 0, // no more fields
    FieldType_String = 1,
    FieldType_Number = 2,
    FieldType_Binary = 3,
    FieldType_Unknown = 4,
};

enum GetFieldResult {
    GetFieldResult_OK = 0,
    GetFieldResult_EndOfData = 1,
    GetFieldResult_Error = 2,
};

// Reads fields one after another from a record held in the caller's buffer. Every operation
// reports a wrong field kind, a too-small buffer or a damaged field by returning false.
class DataParser {
public:
    DataParser(const byte* data, ushort dataLen)
        : m_dataBuf(data), m_dataLen(dataLen), m_position(0) {}
    virtual ~DataParser() = default;

    virtual bool GetNumber(Decimal& num) = 0;
    // Copies the text with a terminator; false when it needs bufLen bytes or more.
    virtual bool GetString(char* buf, ushort bufLen) = 0;
    virtual bool GetBinary(byte* buf, ushort bufLen, ushort& dataLen) = 0;
    virtual FieldType GetFieldType() = 0;

    // True when no character is a control character (byte value below 31); "" is valid.
    static bool IsValidString(const char* str);

protected:
    const byte* m_dataBuf;
    ushort m_dataLen;
    ushort m_position; // first byte of the next field
};
