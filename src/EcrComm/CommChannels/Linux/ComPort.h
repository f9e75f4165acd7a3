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
    // A closed port; no line settings until Open (GetByteTimeoutMs is 0).
    ComPort();
    // Closes the port as Close does.
    ~ComPort() override;
    // Not copyable: it owns the device.
    ComPort(const ComPort&) = delete;
    ComPort& operator=(const ComPort&) = delete;

    // Opens "/dev/" + the "TTY" setting, takes an exclusive lock on it unless
    // "SkipInstanceChecking" is non-zero, and applies the default line settings followed by the
    // INI file's "ComSettings". Raises ConfigurationException "Bad or missing tty name" (exit
    // status 10); ApplicationException "Another application is working now with ECR" (16) when
    // another program holds the device, which is closed again; SystemException (50) "Unable to
    // open serial port", "Cannot read serial port settings. Please ensure that correct TTY
    // specified", "Cannot set serial port settings", or as ComPort_Setup. A device that opened
    // stays open after a later failure, until Close. REQUIRES: the port is closed.
    void Open() override;
    // Flushes, restores the settings the device had before Open, closes it and forgets bytes
    // kept for the next read; failures are ignored. Does nothing when closed. Raises nothing.
    void Close() override;
    // First-byte timeout of later reads: VMIN 0, VTIME ms / 100, so under 100 ms a read returns
    // at once when nothing waits. Raises as ComPort_SetSerialPortTimeoutSettings.
    void SetReadTimeout(unsigned int ms) override;
    // The first-byte timeout in force, in 100 ms steps, from the settings held: the device is
    // not asked. Raises nothing.
    void GetReadTimeout(unsigned int& ms) override;
    // Reads size bytes, the first within the read timeout (worker ReadUnknownSize below); true
    // when exactly size came. Raises as the worker.
    bool Read(byte* data, unsigned int size) override;
    // One write call, logged as a block; a partial write returns false and is not continued.
    // Raises InternalException (exit status 99) for size 0 or null data, SystemException
    // "Serial port write error" (50).
    bool Write(const byte* data, unsigned int size) override;
    // The same as Write: the serial port has no framing.
    bool WriteDirect(const byte* data, unsigned int size) override;
    // Reads until endByte (stored too), size bytes or silence, timed as Read; returns the count.
    // Raises as the worker ReadUnknownSize below.
    unsigned int ReadUnknownSize(byte* data, unsigned int size, byte endByte) override;

    // Parses a settings string such as "baud=9600 parity=n data=8 stop=1" into the settings
    // to apply, and works out the per-byte timeout: "ComByteTimeMult" (default 100) character
    // times at that speed, at least 100 ms. Each key counts at its first occurrence anywhere;
    // absent keys take baud=38400, parity=o, data=8, stop=1, whatever an earlier string said.
    // "rts=", "dtr=" and "octs=" are not read: hardware flow control is always on. An empty
    // string changes nothing. Nothing is applied to the device here. Raises SystemException
    // "Bad serial port setup parameters" (exit status 50) for a speed but 4800, 9600, 19200,
    // 38400, 57600 or 115200, data but 7 or 8, stop but 1 or 2, or parity but e, n or o (or
    // capital).
    void ComPort_Setup(const std::string& settings);
    // Sets VMIN and VTIME (timeoutMs in 100 ms steps; VTIME is one byte, so above 25599 ms it
    // wraps) and applies them, unless the device is known to hold them already. Raises
    // SystemException (exit status 50) "Cannot read serial port timeouts" when the device cannot
    // be read (only asked when its settings are in doubt) and "Cannot set serial port timeouts"
    // when it refuses the change, the cause on standard error.
    void ComPort_SetSerialPortTimeoutSettings(byte minBytes, unsigned int timeoutMs);
    // ComPort_SetSerialPortTimeoutSettings with the arguments swapped into place; nothing in
    // the program calls it.
    void ComPort_SetInterByteReadTimeout(unsigned int timeoutMs, byte minBytes);
    // Reads until size bytes are stored, the end byte (when used) has arrived, or nothing
    // arrives within firstByteTimeoutMs. Once the first byte is in, the port waits for the
    // rest (VMIN 1), nextByteTimeoutMs only bounding the gaps within one delivery, and gives
    // up when the line stays silent longer than "SerialProtocolByteMaxTime" (0: never).
    // Returns the count; the read timeout in force is restored, the bytes are logged as a block,
    // and bytes that came after the end byte are kept for the next read. Raises
    // InternalException (exit status 99) for size 0 or null data, SystemException "Serial port
    // read error" (50), the cause on standard error, or as ComPort_SetSerialPortTimeoutSettings.
    unsigned int ReadUnknownSize(byte* data, unsigned int size, unsigned int firstByteTimeoutMs,
                                 unsigned int nextByteTimeoutMs, bool useEndByte, byte endByte);

    // The settings the last ComPort_Setup made, with the timeouts set since.
    const termios& GetCurrentSettings() const { return currentSettings; }
    // The per-byte timeout the last ComPort_Setup worked out, in milliseconds; 0 before any.
    int GetByteTimeoutMs() const { return byteTimeoutMs; }

protected:
    // Lets go of the device without closing it: the descriptor stays open, in its current
    // settings, until the process ends.
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

// Stores the termios speed of a line speed in baud (4800, 9600, 19200, 38400, 57600 or 115200)
// and returns true; false, speed untouched, for a speed the port does not offer.
bool BaudRateToSpeed(long baud, speed_t& speed);
