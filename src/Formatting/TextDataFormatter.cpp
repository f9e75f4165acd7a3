#include "Formatting/TextDataFormatter.h"

#include <cstring>

#include "Formatting/TextDataParser.h"
#include "OLVE_Compatibility.h"

namespace {

const char quote = '"';
const char hexDigits[] = "0123456789abcdef";
// Room for any normalised number: sign, 19 digits, point and terminator.
const byte numberBufferSize = 32;

} // namespace

TextDataFormatter::TextDataFormatter(byte* buf, uint16 bufLen)
    : TextDataFormatter(buf, bufLen, TextDataParser::GetConfiguredDelimiter()) {}

TextDataFormatter::TextDataFormatter(byte* buf, uint16 bufLen, char fieldDelimiter)
    : DataFormatter(buf, bufLen), m_fieldDelimiter(fieldDelimiter) {}

bool TextDataFormatter::AddDelimiter() {
    if (m_dataLen == 0) {
        return true;
    }
    if (!HasSpace(1)) {
        return false;
    }
    m_dataBuf[m_dataLen++] = static_cast<byte>(m_fieldDelimiter);
    return true;
}

bool TextDataFormatter::AddString(const char* str) {
    if (!AddDelimiter()) {
        return false;
    }
    const size_t length = std::strlen(str);
    size_t quoteCount = 0;
    for (size_t i = 0; i < length; ++i) {
        if (str[i] == quote) {
            ++quoteCount;
        }
    }
    if (!HasSpace(length + quoteCount + 2)) {
        return false;
    }
    m_dataBuf[m_dataLen++] = quote;
    for (size_t i = 0; i < length; ++i) {
        m_dataBuf[m_dataLen++] = static_cast<byte>(str[i]);
        if (str[i] == quote) {
            m_dataBuf[m_dataLen++] = quote;
        }
    }
    m_dataBuf[m_dataLen++] = quote;
    return true;
}

bool TextDataFormatter::AddNumber(const Decimal& num) {
    if (!AddDelimiter()) {
        return false;
    }
    char text[numberBufferSize];
    if (!DecimalToString(text, sizeof(text), num)) {
        return false;
    }
    const size_t length = std::strlen(text);
    if (!HasSpace(length)) {
        return false;
    }
    std::memcpy(m_dataBuf + m_dataLen, text, length);
    m_dataLen = static_cast<uint16>(m_dataLen + length);
    return true;
}

bool TextDataFormatter::AddBinary(const byte* data, uint16 dataLen) {
    if (!AddDelimiter()) {
        return false;
    }
    if (!HasSpace(2u * dataLen + 2)) {
        return false;
    }
    m_dataBuf[m_dataLen++] = '0';
    m_dataBuf[m_dataLen++] = 'x';
    for (size_t i = 0; i < dataLen; ++i) {
        m_dataBuf[m_dataLen++] = static_cast<byte>(hexDigits[data[i] >> 4]);
        m_dataBuf[m_dataLen++] = static_cast<byte>(hexDigits[data[i] & 0x0F]);
    }
    return true;
}
