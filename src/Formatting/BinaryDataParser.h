// The ECR's binary record: a concatenation of tagged fields with no header or terminator.
//   Text    0B chars...                  (ends before the next tag byte 11..14 or the record)
//   Integer 0C n magnitude[n]            (n 0..8, least significant byte first)
//   Decimal 0D n sign|decimals magnitude[n]  (bit 7 of the third byte is the sign)
//   Binary  0E L bytes[L]
#pragma once

#include "Formatting/DataParser.h"

// The tag byte that opens a field.
enum BinaryFieldType {
    BinaryFieldType_Text = 11,    // text up to the next tag byte
    BinaryFieldType_Integer = 12, // a whole number of 0 or more
    BinaryFieldType_Decimal = 13, // a signed number with decimals
    BinaryFieldType_Binary = 14,  // up to 255 raw bytes
};

class BinaryDataParser : public DataParser {
public:
    // Reads data[0, dataLen); the buffer is not copied and must outlive the parser.
    BinaryDataParser(const byte* data, uint16 dataLen) : DataParser(data, dataLen) {}

    // An Integer or Decimal field; a magnitude of 0 bytes is 0 with the field's decimals. False
    // when n is above 8 or the field runs past the record. The value is not normalised.
    bool GetNumber(Decimal& num) override;
    // A Text field, so never one holding the bytes 11 to 14. A zero byte ends the copied text:
    // only the characters before it are checked and seen. After a false for a control
    // character the position is past the field.
    bool GetString(char* buf, uint16 bufLen) override;
    // A Binary field; false when it runs past the record or L is above bufLen.
    bool GetBinary(byte* buf, uint16 bufLen, uint16& dataLen) override;
    // FieldType_Unknown when the next byte is not a tag byte.
    FieldType GetFieldType() override;

    // The FieldType a tag stands for; FieldType_Unknown for a value that is no tag.
    static FieldType ToFieldType(BinaryFieldType type);
    // Index of the last character of a Text field whose characters begin at start: the byte
    // before the next tag byte, or the record's last byte (start - 1 for an empty text).
    // REQUIRES: start >= 1.
    uint16 GetStringEndPos(uint16 start);
};
