#include "Formatting/BinaryDataParser.h"

#include <cstring>

namespace {

const byte maxMagnitudeBytes = 8;
const byte signBit = 0x80;
const byte decimalCountMask = 0x7F;

bool IsTag(byte value) {
    return value >= BinaryFieldType_Text && value <= BinaryFieldType_Binary;
}

} // namespace

FieldType BinaryDataParser::ToFieldType(BinaryFieldType type) {
    switch (type) {
    case BinaryFieldType_Text:
        return FieldType_String;
    case BinaryFieldType_Integer:
    case BinaryFieldType_Decimal:
        return FieldType_Number;
    case BinaryFieldType_Binary:
        return FieldType_Binary;
    }
    return FieldType_Unknown;
}

FieldType BinaryDataParser::GetFieldType() {
    if (m_position >= m_dataLen) {
        return FieldType_None;
    }
    // Only a tag byte may become a BinaryFieldType: other values are not valid for the type.
    const byte tag = m_dataBuf[m_position];
    return IsTag(tag) ? ToFieldType(static_cast<BinaryFieldType>(tag)) : FieldType_Unknown;
}

uint16 BinaryDataParser::GetStringEndPos(uint16 start) {
    size_t pos = start;
    while (pos < m_dataLen && !IsTag(m_dataBuf[pos])) {
        ++pos;
    }
    return static_cast<uint16>(pos - 1);
}

bool BinaryDataParser::GetString(char* buf, uint16 bufLen) {
    if (GetFieldType() != FieldType_String) {
        return false;
    }
    const size_t start = m_position + 1u;
    const size_t end = static_cast<size_t>(GetStringEndPos(static_cast<uint16>(start))) + 1;
    const size_t count = end - start;
    if (bufLen <= count) {
        return false;
    }
    std::memcpy(buf, m_dataBuf + start, count);
    buf[count] = '\0';
    m_position = static_cast<uint16>(end);
    // A zero byte ends the copied text: only the characters before it are checked, and the
    // caller sees only those.
    return IsValidString(buf);
}

bool BinaryDataParser::GetNumber(Decimal& num) {
    if (GetFieldType() != FieldType_Number) {
        return false;
    }
    const bool isDecimal = m_dataBuf[m_position] == BinaryFieldType_Decimal;
    const size_t headerLength = isDecimal ? 3 : 2;
    if (m_position + headerLength > m_dataLen) {
        return false;
    }
    const byte byteCount = m_dataBuf[m_position + 1];
    if (byteCount > maxMagnitudeBytes) {
        return false;
    }
    const size_t magnitudeStart = m_position + headerLength;
    if (magnitudeStart + byteCount > m_dataLen) {
        return false;
    }
    bool isNegative = false;
    byte decimalCount = 0;
    if (isDecimal) {
        const byte signAndDecimals = m_dataBuf[m_position + 2];
        isNegative = (signAndDecimals & signBit) != 0;
        decimalCount = signAndDecimals & decimalCountMask;
    }
    if (byteCount == 0) {
        num = Decimal(0, decimalCount);
    } else {
        num.Deserialize(m_dataBuf + magnitudeStart, byteCount, isNegative, decimalCount);
    }
    m_position = static_cast<uint16>(magnitudeStart + byteCount);
    return true;
}

bool BinaryDataParser::GetBinary(byte* buf, uint16 bufLen, uint16& dataLen) {
    if (GetFieldType() != FieldType_Binary) {
        return false;
    }
    if (m_position + 2u > m_dataLen) {
        dataLen = 0;
        return false;
    }
    dataLen = m_dataBuf[m_position + 1];
    if (bufLen < dataLen) {
        return false;
    }
    const size_t dataStart = m_position + 2u;
    if (dataStart + dataLen > m_dataLen) {
        return false;
    }
    std::memcpy(buf, m_dataBuf + dataStart, dataLen);
    m_position = static_cast<uint16>(dataStart + dataLen);
    return true;
}
