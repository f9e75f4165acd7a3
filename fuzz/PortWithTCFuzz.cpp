// Runs the port with transport control against a line that delivers arbitrary bytes: the ECR
// side of every exchange (acknowledgements, frames, noise, silence) comes from the fuzz input.
// The port must never crash, hang or hand out more than it was asked for.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "AppConfig.h"
#include "EcrComm/CommChannels/PortWithTC.h"
#include "Exceptions.h"

namespace {

// A raw channel whose received bytes are a fixed script; once it is used up the line is
// silent. Everything written is accepted.
class ScriptedLine : public ICommChannel {
public:
    ScriptedLine(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    void Open() override {}
    void Close() override {}
    void SetReadTimeout(unsigned int ms) override { m_timeoutMs = ms; }
    void GetReadTimeout(unsigned int& ms) override { ms = m_timeoutMs; }
    bool Read(byte* data, unsigned int size) override {
        return ReadUnknownSize(data, size, 0, false) == size;
    }
    bool Write(const byte* data, unsigned int size) override {
        if (data == nullptr || size == 0) {
            std::abort();
        }
        m_bytesWritten += size;
        return true;
    }
    bool WriteDirect(const byte* data, unsigned int size) override { return Write(data, size); }
    unsigned int ReadUnknownSize(byte* data, unsigned int size, byte endByte) override {
        return ReadUnknownSize(data, size, endByte, true);
    }

private:
    unsigned int ReadUnknownSize(byte* data, unsigned int size, byte endByte, bool useEndByte) {
        unsigned int count = 0;
        while (count < size && m_pos < m_size) {
            data[count++] = m_data[m_pos++];
            if (useEndByte && data[count - 1] == endByte) {
                break;
            }
        }
        return count;
    }

    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
    unsigned int m_timeoutMs = 0;
    size_t m_bytesWritten = 0;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    AppConfig::Clear();
    AppConfig::SetParameter("ConfigFilePath", "/nonexistent/TAVO.ini", false);
    AppConfig::Initialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* input, size_t inputSize) {
    if (inputSize < 3) {
        return 0;
    }
    // Header: protocol version, retry count, and one bit per operation (read or write).
    AppConfig::SetParameter("SerialProtocolVersion", std::to_string(input[0] % 4), false);
    AppConfig::SetParameter("SerialProtocolRetryCount", std::to_string(input[1] % 4), false);
    AppConfig::SetParameter("SerialProtocolResponseMaxTime", "0", false);
    const uint8_t operations = input[2];

    PortWithTC port(new ScriptedLine(input + 3, inputSize - 3));
    port.Open();
    std::vector<byte> block(1024);
    for (int i = 0; i < 8; ++i) {
        const unsigned int size = 1 + static_cast<unsigned int>((i * 37 + inputSize) % 300);
        try {
            if ((operations >> i) & 1) {
                std::vector<byte> received(size, 0xEE);
                port.Read(received.data(), size);
            } else {
                port.Write(block.data(), size);
            }
        } catch (Exception* e) {
            // Only a frame that cannot be built may fail, and that never happens here.
            delete e;
            std::abort();
        }
    }
    port.Close();
    return 0;
}
