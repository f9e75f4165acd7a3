// One CSV line read field by field. The kind of a field is recognised from its first
// characters: a double-quote opens text (a quote inside is doubled), "0x" opens hexadecimal
// binary data, a digit or "-" opens a number. Blanks and tabs around a field are ignored, and a
// field may take at most 128 characters of the line.
#pragma once

#include "Formatting/DataParser.h"

class TextDataParser : public DataParser {
public:
    // The delimiter is the first character of the setting "Delimiter" (default ",").
    TextDataParser(const byte* data, ushort dataLen);
    // For callers that parse many lines with a delimiter they have already looked up.
    TextDataParser(const byte* data, ushort dataLen, char fieldDelimiter);

    bool GetNumber(Decimal& num) override;
    bool GetString(char* buf, ushort bufLen) override;
    bool GetBinary(byte* buf, ushort bufLen, ushort& dataLen) override;
    FieldType GetFieldType() override;

    // Copies the next field as it stands, quotes included, trimmed of blanks and tabs. With peek
    // the position stays where it is. A field that needs bufLen characters or more is an error.
    GetFieldResult GetField(char* buf, ushort bufLen, bool peek);

    // The delimiter the constructor without one would use.
    static char GetConfiguredDelimiter();

private:
    // A field as read with the 128-character limit. The kind of the next field is asked for
    // before every read, so the field is scanned once and kept for both.
    struct ScannedField {
        char text[129];
        GetFieldResult result;
        ushort position; // where the field starts
        ushort next;     // where the field after it starts
        bool valid;
    };

    GetFieldResult ScanField(char* buf, ushort bufLen, ushort& next) const;
    const ScannedField& CurrentField();
    // The text of the current field, moving past it.
    const char* TakeCurrentField();

    char m_fieldDelimiter;
    ScannedField m_field;
};
