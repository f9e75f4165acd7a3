// Writes the ECR's binary record (field layout in BinaryDataParser.h). A field may fill the
// buffer exactly.
#pragma once

#include "Formatting/DataFormatter.h"

class BinaryDataFormatter : public DataFormatter {
public:
    BinaryDataFormatter(byte* buf, ushort bufLen) : DataFormatter(buf, bufLen) {}

    // Integer form for whole non-negative values, Decimal form otherwise.
    bool AddNumber(const Decimal& num) override;
    bool AddString(const char* str) override;
    // The length byte holds the low 8 bits of dataLen; callers keep fields within 255 bytes.
    bool AddBinary(const byte* data, ushort dataLen) override;

private:
    bool HasSpace(size_t needed) const { return needed <= size_t(m_dataBufLen - m_dataLen); }
};
