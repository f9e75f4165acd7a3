// Appending fields to a record in the caller's buffer, whatever its encoding.
#pragma once

#include "Decimal.h"

// Every operation checks the free space first and returns false when the field does not fit;
// the caller then abandons the whole record. Nothing throws.
class DataFormatter {
public:
    // Writes into buf[0, bufLen); the buffer must outlive the formatter and is not cleared.
    DataFormatter(byte* buf, uint16 bufLen) : m_dataBuf(buf), m_dataBufLen(bufLen), m_dataLen(0) {}
    virtual ~DataFormatter() = default;

    // Appends one field of the kind; false when it does not fit (or cannot be written).
    virtual bool AddNumber(const Decimal& num) = 0;
    virtual bool AddString(const char* str) = 0;
    virtual bool AddBinary(const byte* data, uint16 dataLen) = 0;
    // Bytes written so far.
    virtual uint16 GetLength() { return m_dataLen; }

protected:
    byte* m_dataBuf;
    uint16 m_dataBufLen;
    uint16 m_dataLen;
};
