// The simulator's end of the serial line: byte reads with time limits and writes, both with
// optional damage to single bytes. On a pseudo-terminal it can also play the timing of a real
// line, which a pseudo-terminal does not have: bytes pass no faster than the line speed in
// either direction, and every answer starts a fixed turnaround delay after what it answers.
//
// The timing is kept on the line's own clock, not on when this process gets round to a byte:
// a register's UART has no scheduler between it and the line. A received byte is through one
// byte time after it arrived (or after the byte before it was through), and an answer goes
// out from the moment the byte it answers was through. A byte is never handed over before the
// line would have delivered it completely; when this process is late, what is due goes out at
// once, so its own delays do not add up over an exchange.
//
// Every wait of the line returns soon after a stop was requested (RequestStop, the handler of
// SIGINT and SIGTERM), so the simulator can always be ended.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <vector>

#include "EcrComm/CommBase.h"

// The time behaviour of the line.
struct LineTiming {
    int baud = 0;         // bytes per second times bitsPerByte; 0: bytes pass at once
    int bitsPerByte = 10; // start bit, 8 data bits, stop bit
    int turnaroundMs = 0; // delay between what the PC sent and the answer (an adapter's latency)
};

class SimLine {
public:
    // fd is the line, read and written without blocking. unreadSide, when not -1, is the
    // other side of a pseudo-terminal: through it bytes that nobody took can be dropped. The
    // object does not own either descriptor. On a timed line it sets the timer slack of the
    // calling thread to 1 ns, so that its sleeps end on time.
    SimLine(int fd, int unreadSide, const LineTiming& timing, double corruptRate, unsigned seed);

    // The signal handler: asks every wait of the line to return at once.
    static void RequestStop(int signal);
    // True once a stop was requested; every call below then returns false at once.
    static bool StopRequested();

    // One byte within timeoutMs; false when the line stayed silent or a stop was requested. On
    // a timed line a byte is ready only when its transmission time after the previous byte
    // has passed.
    bool ReadByte(byte& value, int timeoutMs);
    // Sends the bytes, which answer what ReadByte last returned (or its silence), after the
    // turnaround delay; on a timed line from when that byte was through (or the wait for it
    // ended) and behind what is still being sent, paced to the line speed. False when a stop
    // was requested before all were sent.
    bool Write(const std::vector<byte>& bytes);
    // Drops what was written but not yet read by the PC, as a real line loses what it sends to
    // a port that nobody reads; stale answers must not greet the next run.
    void DropUnread();
    // Noise that never contains a frame start.
    std::vector<byte> Noise(int count);
    // The time one byte takes on the line, in milliseconds (0 without a line speed).
    double ByteTimeMs() const;

private:
    using Clock = std::chrono::steady_clock;
    struct Arrival {
        byte value;
        Clock::time_point ready;
    };

    byte MaybeDamage(byte value);
    // Waits until the deadline, or until bytes arrive when returnOnInput, taking in what
    // arrives meanwhile. False when a stop was requested.
    bool WaitUntil(Clock::time_point deadline, bool returnOnInput, short events = 0);
    // Sleeps until the deadline without watching the line; when exact, the last stretch is
    // spent watching the clock instead, as a timer fires late. False when a stop was requested.
    bool SleepUntil(Clock::time_point deadline, bool exact);
    // Takes in every byte that is waiting on the line, stamped with when it is ready: one
    // byte time after arrival (the earliest moment this process saw it) or after the byte
    // before it.
    void Collect(Clock::time_point arrival);
    // The paced part of Write: each byte is handed over when the line, starting at start,
    // would have delivered it completely.
    bool WritePaced(const std::vector<byte>& bytes, Clock::time_point start);
    // Writes all bytes as soon as the line takes them; false when a stop was requested.
    bool WriteNow(const byte* data, size_t size);
    // When the byte with this index (from 0) of a block started at start is through.
    Clock::time_point ByteEnd(Clock::time_point start, size_t index) const;

    int m_fd;
    int m_unreadSide;
    LineTiming m_timing;
    double m_corruptRate;
    std::mt19937 m_random;
    std::deque<Arrival> m_input;
    Clock::time_point m_inputFreeAt;  // when the last byte received is through
    Clock::time_point m_outputFreeAt; // when the last byte sent is through
    Clock::time_point m_answerFrom;   // when the last byte read was through, or the wait for
                                      // one ended: the next answer counts from there
};

// Hex dump of bytes for the traffic log: "02 20 41 03".
std::string HexBytes(const std::vector<byte>& bytes);
