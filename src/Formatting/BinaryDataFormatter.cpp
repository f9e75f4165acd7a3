#include "Formatting/BinaryDataFormatter.h"

#include <cstring>

#include "Formatting/BinaryDataParser.h"

namespace {

const byte signBit = 0x80;

}

bool BinaryDataFormatter::AddString(const char* str) {
    const size_t length = std::strlen(str);
    if (!HasSpace(length + 1)) {
        return false;
    }
    m_dataBuf[m_dataLen] = BinaryFieldType_Text;
    std::memcpy(m_dataBuf + m_dataLen + 1, str, length);
    m_dataLen = static_cast<uint16>(m_dataLen + length + 1);
    return true;
}

bool BinaryDataFormatter::AddNumber(const Decimal& num) {
    const byte byteCount = num.GetDataByteCount();
    bool isNegative = false;
    byte decimalCount = 0;
    if (num.GetDecimalCount() > 0 || num.IsNegative()) {
        if (!HasSpace(3u + byteCount)) {
            return false;
        }
        byte* field = m_dataBuf + m_dataLen;
        num.Serialize(field + 3, byteCount, isNegative, decimalCount);
        field[0] = BinaryFieldType_Decimal;
        field[1] = byteCount;
        field[2] = static_cast<byte>(decimalCount | (isNegative ? signBit : 0));
        m_dataLen = static_cast<uint16>(m_dataLen + 3 + byteCount);
    } else {
        if (!HasSpace(2u + byteCount)) {
            return false;
        }
        byte* field = m_dataBuf + m_dataLen;
        num.Serialize(field + 2, byteCount, isNegative, decimalCount);
        field[0] = BinaryFieldType_Integer;
        field[1] = byteCount;
        m_dataLen = static_cast<uint16>(m_dataLen + 2 + byteCount);
    }
    return true;
}

bool BinaryDataFormatter::AddBinary(const byte* data, uint16 dataLen) {
    if (!HasSpace(dataLen + 2u)) {
        return false;
    }
    m_dataBuf[m_dataLen] = BinaryFieldType_Binary;
    m_dataBuf[m_dataLen + 1] = static_cast<byte>(dataLen & 0xFF);
    std::memcpy(m_dataBuf + m_dataLen + 2, data, dataLen);
    m_dataLen = static_cast<uint16>(m_dataLen + dataLen + 2);
    return true;
}
