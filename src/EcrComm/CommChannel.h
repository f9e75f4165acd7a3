// The byte channel to the ECR: the interface every channel implements, the channel kinds, and
// the process-wide current channel with the functions through which the program uses it.
#pragma once

#include "EcrComm/CommBase.h"

// The underlying type is fixed so that a value from outside the list (a corrupted setting,
// a programming error) is still a value, which SelectCommChannel refuses.
enum CommChannelType : int {
    CommChannel_SerialPort = 0,       // a bare ComPort; the settings never choose it
    CommChannel_SerialPortWithTC = 1, // PortWithTC over a ComPort: every serial link
    CommChannel_Ethernet = 2,         // TCP, which this build cannot open
    CommChannel_EthernetWithTC = 3,   // PortWithTC over TCP, which cannot be opened either
};

// A byte channel to the ECR. Whoever creates one owns it and frees it with DeleteCommChannel,
// which does not close it. Once open, line trouble is reported by results (false, a short
// count); only a programming error or a failing device raises.
class ICommChannel {
public:
    // Opens the link. Raises what the channel's Open names: for a serial port
    // ConfigurationException (exit status 10), ApplicationException (16) or SystemException
    // (50), see ComPort.h; for the network channel InternalException (99) always.
    virtual void Open() = 0;
    // Closes the link; closing a closed channel does nothing. Raises nothing.
    virtual void Close() = 0;
    // Time allowed for the first byte of later reads, in milliseconds. A serial port counts
    // whole 100 ms steps and raises SystemException (exit status 50) when the device refuses.
    virtual void SetReadTimeout(unsigned int ms) = 0;
    // Stores the first-byte timeout in force in ms; the network channel leaves ms as it is.
    // Raises nothing.
    virtual void GetReadTimeout(unsigned int& ms) = 0;
    // Reads size bytes into data; true only when exactly size bytes were delivered, false when
    // fewer were (the line fell silent, or a framed channel got no good frame). Raises
    // InternalException (exit status 99) for size 0 or null data, SystemException (50) when the
    // device fails.
    virtual bool Read(byte* data, unsigned int size) = 0;
    // Writes size bytes; true when the whole block was delivered (acknowledged, on a channel
    // that acknowledges). Raises InternalException (exit status 99) for size 0 or null data,
    // SystemException (50) when the device fails.
    virtual bool Write(const byte* data, unsigned int size) = 0;
    // Writes the bytes without any framing of the channel; true when all went out. Raises as
    // Write.
    virtual bool WriteDirect(const byte* data, unsigned int size) = 0;
    // Reads until endByte has arrived (it is stored too), size bytes are stored or the line is
    // silent, without framing; returns the count, 0 when nothing came. Raises as Read.
    virtual unsigned int ReadUnknownSize(byte* data, unsigned int size, byte endByte) = 0;

    // Virtual, so that deleting through the interface runs the channel's own destructor; after
    // Abandon (DeleteCommChannel) that destructor finds nothing to close.
    virtual ~ICommChannel() = default;

protected:
    // Called just before the owner deletes the channel. Owners free channels without closing
    // them (a channel must be closed explicitly before it is replaced), so a channel that is
    // still open stays open: it lets go of its device here instead of closing it on deletion.
    virtual void Abandon() {}

    friend void DeleteCommChannel(ICommChannel* channel);
};

// Frees a channel as every owner does: Abandon, then delete, without closing it. Takes
// ownership; null does nothing. Raises nothing.
void DeleteCommChannel(ICommChannel* channel);

// Replaces the current channel (the old one is freed, not closed) by a new, closed one of the
// type, which this module owns until the next selection. Raises InternalException (exit status
// 99) for a type outside the list; no channel is current then.
void SelectCommChannel(CommChannelType type);

// Forward to the current channel, with its results and exceptions (ICommChannel above).
// REQUIRES: a channel has been selected (CommChannel_Close alone does without).
void CommChannel_Open();
// Does nothing when no channel was ever selected, so that a connection that failed before it
// chose its channel can be closed all the same.
void CommChannel_Close();
// ms is taken as unsigned. REQUIRES: ms >= 0.
void CommChannel_SetReadTimeout(int ms);
bool CommChannel_Read(byte* data, unsigned int size);
bool CommChannel_Write(const byte* data, unsigned int size);
bool CommChannel_WriteDirect(const byte* data, unsigned int size);
