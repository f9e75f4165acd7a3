// The network channel. This build has no network support: opening it fails with an internal
// error, so an Ethernet setting fails when the connection is made.
#pragma once

#include "EcrComm/CommChannel.h"

class TCP : public ICommChannel {
public:
    // A channel that cannot be opened.
    TCP() : m_readTimeoutMs(0) {}

    // Always raises InternalException (exit status 99): this build has no network support.
    void Open() override;
    // Do nothing; GetReadTimeout leaves ms as it is.
    void Close() override {}
    void SetReadTimeout(unsigned int) override {}
    void GetReadTimeout(unsigned int&) override {}
    // Always false, or 0 bytes: nothing is read or written. Raise nothing.
    bool Read(byte*, unsigned int) override { return false; }
    bool Write(const byte*, unsigned int) override { return false; }
    bool WriteDirect(const byte*, unsigned int) override { return false; }
    unsigned int ReadUnknownSize(byte*, unsigned int, byte) override { return 0; }

private:
    // Kept for the day the channel is implemented; nothing reads it yet.
    [[maybe_unused]] uint32_t m_readTimeoutMs;
};
