// One CSV line read field by field. The kind of a field is recognised from its first
// characters: a double-quote opens text (a quote inside is doubled), "0x" opens hexadecimal
// binary data, a digit or "-" opens a number. Blanks and tabs around a field are ignored, and a
// field may take at most 128 characters of the line.
#pragma once

#include "Formatting/DataParser.h"

class TextDataParser : public DataParser {
public:
    // The delimiter is the first character of the setting "Delimiter" (default ","), looked up
    // at every construction.
    TextDataParser(const byte* data, uint16 dataLen);
    // For callers that parse many lines with a delimiter they have already looked up.
    TextDataParser(const byte* data, uint16 dataLen, char fieldDelimiter);

    // The field read strictly by Decimal::FromString, so normalised; false for "12a" or "1.2.3".
    bool GetNumber(Decimal& num) override;
    // The characters between the field's first and last characters, which are taken as the
    // quotes whatever the last one is; doubled quotes come back single. False for a lone
    // quote, for text of bufLen characters or more, or for text with a control character.
    bool GetString(char* buf, uint16 bufLen) override;
    // Two hexadecimal digits per byte after "0x"; false for an odd field length or more than
    // bufLen bytes. Digits are not validated: a pair is read as "%2x" would read it, and 0 when
    // that reads nothing; the ECR has always been sent such fields so.
    bool GetBinary(byte* buf, uint16 bufLen, uint16& dataLen) override;
    // The kind by the trimmed field's first characters; FieldType_Unknown for any other start,
    // an empty field included, and for a field longer than 128 characters.
    FieldType GetFieldType() override;

    // Copies the next field as it stands, quotes included, trimmed of blanks and tabs. With peek
    // the position stays where it is. A field that needs bufLen characters or more is an error.
    GetFieldResult GetField(char* buf, uint16 bufLen, bool peek);

    // The delimiter the constructor without one would use: the first character of "Delimiter",
    // or ',' when that is empty.
    static char GetConfiguredDelimiter();

private:
    // A field as read with the 128-character limit. The kind of the next field is asked for
    // before every read, so the field is scanned once and kept for both.
    struct ScannedField {
        char text[129];
        GetFieldResult result;
        uint16 position; // where the field starts
        uint16 next;     // where the field after it starts
        bool valid;
    };

    GetFieldResult ScanField(char* buf, uint16 bufLen, uint16& next) const;
    const ScannedField& CurrentField();
    // The text of the current field, moving past it.
    const char* TakeCurrentField();

    char m_fieldDelimiter;
    ScannedField m_field;
};
