#include "Formatting/TextDataParser.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "AppConfig.h"
#include "Defaults.h"
#include "OLVE_Compatibility.h"

namespace {

const char blanks[] = " \t";
const char quote = '"';

int HexDigitValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

// One byte from two characters as "%2x" reads them. The digits are not validated: what scanf
// does not take gives 0.
byte HexPairToByte(const char* pair) {
    const int high = HexDigitValue(pair[0]);
    const int low = HexDigitValue(pair[1]);
    if (high >= 0 && low >= 0) {
        return static_cast<byte>(high * 16 + low);
    }
    const char text[3] = {pair[0], pair[1], '\0'};
    unsigned int value = 0;
    if (std::sscanf(text, "%2x", &value) != 1) {
        value = 0;
    }
    return static_cast<byte>(value);
}

} // namespace

char TextDataParser::GetConfiguredDelimiter() {
    const std::string delimiter = AppConfig::GetParameter("Delimiter", defaultCsvDelimiter);
    return delimiter.empty() ? defaultCsvDelimiter[0] : delimiter[0];
}

TextDataParser::TextDataParser(const byte* data, uint16 dataLen)
    : TextDataParser(data, dataLen, GetConfiguredDelimiter()) {}

TextDataParser::TextDataParser(const byte* data, uint16 dataLen, char fieldDelimiter)
    : DataParser(data, dataLen), m_fieldDelimiter(fieldDelimiter), m_field() {}

GetFieldResult TextDataParser::ScanField(char* buf, uint16 bufLen, uint16& next) const {
    if (bufLen == 0) {
        return GetFieldResult_Error;
    }
    buf[0] = '\0';
    if (m_position >= m_dataLen) {
        return GetFieldResult_EndOfData;
    }
    bool inQuotes = false;
    size_t count = 0;
    size_t pos = m_position;
    for (; pos < m_dataLen; ++pos) {
        const char c = static_cast<char>(m_dataBuf[pos]);
        if (c == m_fieldDelimiter && !inQuotes) {
            break;
        }
        if (c == quote) {
            if (inQuotes && pos + 1 < m_dataLen && m_dataBuf[pos + 1] == quote) {
                ++pos; // a doubled quote inside text stands for one quote
            } else {
                inQuotes = !inQuotes;
            }
        }
        if (count + 1 >= bufLen) {
            buf[0] = '\0';
            return GetFieldResult_Error;
        }
        buf[count++] = c;
    }
    buf[count] = '\0';
    StrTrim(buf, blanks);
    next = static_cast<uint16>(pos < m_dataLen ? pos + 1 : m_dataLen);
    return GetFieldResult_OK;
}

GetFieldResult TextDataParser::GetField(char* buf, uint16 bufLen, bool peek) {
    uint16 next = m_position;
    const GetFieldResult result = ScanField(buf, bufLen, next);
    if (result == GetFieldResult_OK && !peek) {
        m_position = next;
    }
    return result;
}

const TextDataParser::ScannedField& TextDataParser::CurrentField() {
    if (!m_field.valid || m_field.position != m_position) {
        m_field.result = ScanField(m_field.text, sizeof(m_field.text), m_field.next);
        m_field.position = m_position;
        m_field.valid = true;
    }
    return m_field;
}

const char* TextDataParser::TakeCurrentField() {
    const ScannedField& field = CurrentField();
    if (field.result == GetFieldResult_OK) {
        m_position = field.next;
    }
    return field.text;
}

FieldType TextDataParser::GetFieldType() {
    const ScannedField& scanned = CurrentField();
    switch (scanned.result) {
    case GetFieldResult_EndOfData:
        return FieldType_None;
    case GetFieldResult_Error:
        return FieldType_Unknown;
    case GetFieldResult_OK:
        break;
    }
    const char* field = scanned.text;
    if (field[0] == quote) {
        return FieldType_String;
    }
    if (field[0] == '0' && field[1] == 'x') {
        return FieldType_Binary;
    }
    if ((field[0] >= '0' && field[0] <= '9') || field[0] == '-') {
        return FieldType_Number;
    }
    return FieldType_Unknown;
}

bool TextDataParser::GetString(char* buf, uint16 bufLen) {
    if (GetFieldType() != FieldType_String) {
        return false;
    }
    const char* field = TakeCurrentField();
    const size_t fieldLength = std::strlen(field);
    // A lone quote has no closing character to drop.
    if (fieldLength < 2) {
        return false;
    }
    const size_t textLength = fieldLength - 2;
    if (bufLen <= textLength) {
        return false;
    }
    // The first and last characters are taken as the quotes, whatever the last one is.
    std::memcpy(buf, field + 1, textLength);
    buf[textLength] = '\0';
    return IsValidString(buf);
}

bool TextDataParser::GetNumber(Decimal& num) {
    if (GetFieldType() != FieldType_Number) {
        return false;
    }
    return StringToDecimal(TakeCurrentField(), 0, num);
}

bool TextDataParser::GetBinary(byte* buf, uint16 bufLen, uint16& dataLen) {
    if (GetFieldType() != FieldType_Binary) {
        return false;
    }
    const char* field = TakeCurrentField();
    const size_t fieldLength = std::strlen(field);
    if (fieldLength % 2 != 0) {
        return false;
    }
    dataLen = static_cast<uint16>((fieldLength - 2) / 2);
    if (bufLen < dataLen) {
        return false;
    }
    for (size_t i = 0; i < dataLen; ++i) {
        buf[i] = HexPairToByte(field + 2 + 2 * i);
    }
    return true;
}
