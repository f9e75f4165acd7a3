// Writes one CSV line field by field (the field syntax is described in TextDataParser.h). A
// field is written only when one byte of the buffer stays free after it; nothing is
// zero-terminated here.
#pragma once

#include "Formatting/DataFormatter.h"

class TextDataFormatter : public DataFormatter {
public:
    // The delimiter is the first character of the setting "Delimiter" (default ",").
    TextDataFormatter(byte* buf, ushort bufLen);
    TextDataFormatter(byte* buf, ushort bufLen, char fieldDelimiter);

    bool AddNumber(const Decimal& num) override;
    bool AddString(const char* str) override;
    bool AddBinary(const byte* data, ushort dataLen) override;

    // Separates the next field from the previous one; nothing before the first field. A field
    // that then does not fit leaves its delimiter behind: the caller drops the record anyway.
    bool AddDelimiter();

private:
    // Whether `needed` more bytes still leave one byte of the buffer unused.
    bool HasSpace(size_t needed) const { return m_dataLen + needed < m_dataBufLen; }

    char m_fieldDelimiter;
};
