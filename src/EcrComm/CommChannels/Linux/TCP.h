// The network channel. This build has no network support: opening it fails with an internal
// error, so an Ethernet setting fails when the connection is made.
#pragma once

#include "EcrComm/CommChannel.h"

class TCP : public ICommChannel {
public:
    TCP() : m_readTimeoutMs(0) {}

    void Open() override;
    void Close() override {}
    void SetReadTimeout(unsigned int) override {}
    void GetReadTimeout(unsigned int&) override {}
    bool Read(byte*, unsigned int) override { return false; }
    bool Write(const byte*, unsigned int) override { return false; }
    bool WriteDirect(const byte*, unsigned int) override { return false; }
    unsigned int ReadUnknownSize(byte*, unsigned int, byte) override { return 0; }

private:
    // Kept for the day the channel is implemented; nothing reads it yet.
    [[maybe_unused]] uint32_t m_readTimeoutMs;
};
