// The raw serial channel on a terminal device. Reads are timed with the terminal's VMIN and
// VTIME: the first byte gets the read timeout, every later byte the per-byte timeout derived
// from the line speed, and "SerialProtocolByteMaxTime" bounds the silence within a block.
// Every device failure also writes its cause (the device path and the system's reason) to
// standard error.
#pragma once

#include <string>
#include <termios.h>
#include <vector>

#include "EcrComm/CommChannel.h"

class ComPort : public ICommChannel {
public:
    ComPort();
    ~ComPort() override;
    ComPort(const ComPort&) = delete;
    ComPort& operator=(const ComPort&) = delete;

    // Opens "/dev/" + the "TTY" setting and applies the default line settings followed by
    // "ComSettings". Throws ConfigurationException (exit status 10) without a device name,
    // ApplicationException (16) when another program holds the device, SystemException (50)
    // when the device cannot be opened or set up.
    void Open() override;
    // Restores the settings the device had before Open.
    void Close() override;
    void SetReadTimeout(unsigned int ms) override;
    // The first-byte timeout in force, in 100 ms steps.
    void GetReadTimeout(unsigned int& ms) override;
    bool Read(byte* data, unsigned int size) override;
    // One write call; a partial write returns false and is not continued.
    bool Write(const byte* data, unsigned int size) override;
    bool WriteDirect(const byte* data, unsigned int size) override;
    unsigned int ReadUnknownSize(byte* data, unsigned int size, byte endByte) override;

    // Parses a settings string such as "baud=9600 parity=n data=8 stop=1" into the settings
    // to apply; keys that are absent take their defaults. An empty string changes nothing.
    void ComPort_Setup(const std::string& settings);
    // Sets VMIN and VTIME (timeoutMs in 100 ms steps) and applies them, unless the device is
    // known to hold them already. Throws SystemException (50) when the device cannot be read
    // (only asked when its settings are in doubt) or refuses the change.
    void ComPort_SetSerialPortTimeoutSettings(byte minBytes, unsigned int timeoutMs);
    void ComPort_SetInterByteReadTimeout(unsigned int timeoutMs, byte minBytes);
    // Reads until size bytes are stored, the end byte (when used) has arrived, or nothing
    // arrives within firstByteTimeoutMs. Once the first byte is in, the port waits for the
    // rest (VMIN 1), nextByteTimeoutMs only bounding the gaps within one delivery, and gives
    // up when the line stays silent longer than "SerialProtocolByteMaxTime" (0: never).
    // Returns the count; the read timeout in force is restored.
    unsigned int ReadUnknownSize(byte* data, unsigned int size, unsigned int firstByteTimeoutMs,
                                 unsigned int nextByteTimeoutMs, bool useEndByte, byte endByte);

    const termios& GetCurrentSettings() const { return currentSettings; }
    int GetByteTimeoutMs() const { return byteTimeoutMs; }

protected:
    void Abandon() override;

private:
    void OpenDevice();
    void LockDevice();
    void RequestLowLatency();
    bool ApplySettings(int when);
    bool ApplyTimeouts();
    // Writes the cause of a device failure to standard error and throws SystemException with
    // the message; errno is the cause.
    [[noreturn]] void Fail(const char* message);
    // The loop of ReadUnknownSize: reads until size bytes, the end byte or silence.
    unsigned int ReceiveBlock(byte* data, unsigned int size, unsigned int nextByteTimeoutMs,
                              bool useEndByte, byte endByte);
    unsigned int ReceiveBytes(byte* data, unsigned int maxSize);
    bool WaitForNextByte();
    void KeepForNextRead(const byte* data, unsigned int size);

    int handle;
    termios initialSettings;
    termios currentSettings;
    int byteTimeoutMs;
    std::string devicePath;
    // The device holds currentSettings: set when they were applied, cleared when the device
    // failed since, so that a timeout change that would change nothing can be skipped.
    bool settingsApplied;
    // The longest silence within a block, in milliseconds; 0 or less waits without limit.
    int byteMaxTimeMs;
    // Bytes received beyond the end byte of a read, in line order, for the next read.
    std::vector<byte> readAhead;
};

// The termios speed of a line speed in baud; false for a speed the port does not offer.
bool BaudRateToSpeed(long baud, speed_t& speed);
