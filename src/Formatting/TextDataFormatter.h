// Writes one CSV line field by field (the field syntax is described in TextDataParser.h). A
// field is written only when one byte of the buffer stays free after it; nothing is
// zero-terminated here.
#pragma once

#include "Formatting/DataFormatter.h"

class TextDataFormatter : public DataFormatter {
public:
    // The delimiter is the first character of the setting "Delimiter" (default ",").
    TextDataFormatter(byte* buf, uint16 bufLen);
    // Writes into buf[0, bufLen) with the given delimiter; the buffer must outlive the formatter.
    TextDataFormatter(byte* buf, uint16 bufLen, char fieldDelimiter);

    // The number as Decimal::ToString writes it, so a non-normalised value keeps its zeros.
    bool AddNumber(const Decimal& num) override;
    // The text in double quotes, every quote inside doubled.
    bool AddString(const char* str) override;
    // "0x" and two lower-case hexadecimal digits per byte.
    bool AddBinary(const byte* data, uint16 dataLen) override;

    // Separates the next field from the previous one; nothing before the first field. A field
    // that then does not fit leaves its delimiter behind: the caller drops the record anyway.
    bool AddDelimiter();

private:
    // Whether `needed` more bytes still leave one byte of the buffer unused.
    bool HasSpace(size_t needed) const { return m_dataLen + needed < m_dataBufLen; }

    char m_fieldDelimiter;
};
