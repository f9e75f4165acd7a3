// Converts one record between the PC file's form and the ECR's binary form. A CSV line is
// converted field by field; a raw or bitmap record travels whole as one binary field.
#pragma once

#include "FileIo.h"
#include "Formatting/DataFormatter.h"
#include "Formatting/DataParser.h"

// Process-wide: the PC form chosen by Initialize applies to every conversion until the next.
// The three conversions return the converted record's length, and 0 when it cannot be converted
// and also for a record without fields, which callers treat as a failure. Each zero-fills its
// whole output buffer first; buffer lengths are the buffers' true capacities. Nothing raises.
class DataConverter {
public:
    // Chooses the PC form for the transfer that follows; FileType_CSV until first called.
    static void Initialize(FileType pcFileType);
    // Copies every field; false at the first field that cannot be read or written, that is of
    // unknown kind, or that does not fit the 128-byte field buffer. The output is not rolled
    // back. An input without fields converts successfully to nothing.
    static bool Convert(DataParser& inData, DataFormatter& outData);

    // A CSV line (delimiter from "Delimiter") field by field, or a raw or bitmap record as one
    // binary field, whose length byte holds only the low 8 bits of pcDataLen.
    static uint16 PcToEcr(const byte* pcData, uint16 pcDataLen, byte* ecrBuffer,
                          uint16 ecrBufferLen);
    // The parser's remaining fields, whatever the PC form: a fiscal command line after its
    // command code.
    static uint16 PcToEcr(DataParser& pcData, byte* ecrBuffer, uint16 ecrBufferLen);
    // A CSV line, left unterminated but followed by the zero fill (so at most pcBufferLen - 1
    // characters); or, for a raw or bitmap file, the bytes of a record that must be exactly one
    // binary field.
    static uint16 EcrToPc(const byte* ecrData, uint16 ecrDataLen, byte* pcBuffer,
                          uint16 pcBufferLen);

private:
    static FileType m_pcFileType;
};
