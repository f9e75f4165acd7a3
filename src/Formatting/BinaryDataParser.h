// The ECR's binary record: a concatenation of tagged fields with no header or terminator.
//   Text    0B chars...                  (ends before the next tag byte 11..14 or the record)
//   Integer 0C n magnitude[n]            (n 0..8, least significant byte first)
//   Decimal 0D n sign|decimals magnitude[n]  (bit 7 of the third byte is the sign)
//   Binary  0E L bytes[L]
#pragma once

#include "Formatting/DataParser.h"

enum BinaryFieldType {
    BinaryFieldType_Text = 11,
    BinaryFieldType_Integer = 12,
    BinaryFieldType_Decimal = 13,
    BinaryFieldType_Binary = 14,
};

class BinaryDataParser : public DataParser {
public:
    BinaryDataParser(const byte* data, ushort dataLen) : DataParser(data, dataLen) {}

    bool GetNumber(Decimal& num) override;
    bool GetString(char* buf, ushort bufLen) override;
    bool GetBinary(byte* buf, ushort bufLen, ushort& dataLen) override;
    FieldType GetFieldType() override;

    static FieldType ToFieldType(BinaryFieldType type);
    // Index of the last character of a Text field whose characters begin at start: the byte
    // before the next tag byte, or the record's last byte (start - 1 for an empty text).
    ushort GetStringEndPos(ushort start);
};
