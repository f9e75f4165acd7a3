// Converts one record between the PC file's form and the ECR's binary form. A CSV line is
// converted field by field; a raw or bitmap record travels whole as one binary field.
#pragma once

#include "FileIo.h"
#include "Formatting/DataFormatter.h"
#include "Formatting/DataParser.h"

class DataConverter {
public:
    // Chooses the PC form for the transfer that follows.
    static void Initialize(FileType pcFileType);
    // Copies every field; false at the first field that cannot be read or written. The output
    // is not rolled back. An input without fields converts successfully to nothing.
    static bool Convert(DataParser& inData, DataFormatter& outData);

    // The lengths of the converted records; 0 when a record cannot be converted. The buffer
    // lengths are the buffers' true capacities.
    static ushort PcToEcr(const byte* pcData, ushort pcDataLen, byte* ecrBuffer,
                          ushort ecrBufferLen);
    static ushort PcToEcr(DataParser& pcData, byte* ecrBuffer, ushort ecrBufferLen);
    static ushort EcrToPc(const byte* ecrData, ushort ecrDataLen, byte* pcBuffer,
                          ushort pcBufferLen);

private:
    static FileType m_pcFileType;
};
