// The byte channel to the ECR: the interface every channel implements, the channel kinds, and
// the process-wide current channel with the functions through which the program uses it.
#pragma once

#include "EcrComm/CommBase.h"

// The underlying type is fixed so that a value from outside the list (a corrupted setting,
// a programming error) is still a value, which SelectCommChannel refuses.
enum CommChannelType : int {
    CommChannel_SerialPort = 0,
    CommChannel_SerialPortWithTC = 1,
    CommChannel_Ethernet = 2,
    CommChannel_EthernetWithTC = 3,
};

class ICommChannel {
public:
    // Opens the link; failures throw.
    virtual void Open() = 0;
    // Closing a closed channel does nothing.
    virtual void Close() = 0;
    // Time allowed for the first byte of later reads.
    virtual void SetReadTimeout(unsigned int ms) = 0;
    virtual void GetReadTimeout(unsigned int& ms) = 0;
    // True only when exactly size bytes were delivered.
    virtual bool Read(byte* data, unsigned int size) = 0;
    // True when the whole block was delivered (acknowledged, on a channel that acknowledges).
    virtual bool Write(const byte* data, unsigned int size) = 0;
    // Writes the bytes without any framing of the channel.
    virtual bool WriteDirect(const byte* data, unsigned int size) = 0;
    // Reads until endByte has arrived, size bytes are stored or the line is silent, without
    // framing; returns the count.
    virtual unsigned int ReadUnknownSize(byte* data, unsigned int size, byte endByte) = 0;

    virtual ~ICommChannel() = default;

protected:
    // Called just before the owner deletes the channel. Owners free channels without closing
    // them (a channel must be closed explicitly before it is replaced), so a channel that is
    // still open stays open: it lets go of its device here instead of closing it on deletion.
    virtual void Abandon() {}

    friend void DeleteCommChannel(ICommChannel* channel);
};

// Frees a channel as every owner does: without closing it.
void DeleteCommChannel(ICommChannel* channel);

// Replaces the current channel (the old one is freed, not closed) by a new one of the type.
void SelectCommChannel(CommChannelType type);

// Forward to the current channel; a channel must have been selected.
void CommChannel_Open();
void CommChannel_Close();
void CommChannel_SetReadTimeout(int ms);
bool CommChannel_Read(byte* data, unsigned int size);
bool CommChannel_Write(const byte* data, unsigned int size);
bool CommChannel_WriteDirect(const byte* data, unsigned int size);
