// Writes the ECR's binary record (field layout in BinaryDataParser.h). A field may fill the
// buffer exactly.
#pragma once

#include "Formatting/DataFormatter.h"

class BinaryDataFormatter : public DataFormatter {
public:
    // Writes into buf[0, bufLen); the buffer must outlive the formatter and is not cleared.
    BinaryDataFormatter(byte* buf, uint16 bufLen) : DataFormatter(buf, bufLen) {}

    // Integer form for whole non-negative values, Decimal form otherwise, with as few magnitude
    // bytes as the value needs (none for zero).
    bool AddNumber(const Decimal& num) override;
    // A Text field of the characters before the terminator, written as they are. The bytes 11
    // to 14 would read back as new fields; text taken from a CSV line never holds them, as
    // control characters are refused there.
    bool AddString(const char* str) override;
    // The length byte holds the low 8 bits of dataLen; callers keep fields within 255 bytes.
    bool AddBinary(const byte* data, uint16 dataLen) override;

private:
    bool HasSpace(size_t needed) const { return needed <= size_t(m_dataBufLen - m_dataLen); }
};
