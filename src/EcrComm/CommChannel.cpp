#include "EcrComm/CommChannel.h"

#include "EcrComm/CommChannels/Linux/ComPort.h"
#include "EcrComm/CommChannels/Linux/TCP.h"
#include "EcrComm/CommChannels/PortWithTC.h"
#include "Exceptions.h"

namespace {
ICommChannel* pCommChannel = nullptr;
} // namespace

void DeleteCommChannel(ICommChannel* channel) {
    if (channel != nullptr) {
        channel->Abandon();
        delete channel;
    }
}

void SelectCommChannel(CommChannelType type) {
    DeleteCommChannel(pCommChannel);
    pCommChannel = nullptr;
    switch (type) {
    case CommChannel_SerialPort:
        pCommChannel = new ComPort();
        break;
    case CommChannel_SerialPortWithTC:
    case CommChannel_EthernetWithTC:
        pCommChannel = new PortWithTC(type);
        break;
    case CommChannel_Ethernet:
        pCommChannel = new TCP();
        break;
    default:
        THROW_INTERNAL_ERROR();
    }
}

void CommChannel_Open() {
    pCommChannel->Open();
}

// A connection that failed before its channel was chosen (a configuration error) is still
// closed by the driver: there is nothing to close then.
void CommChannel_Close() {
    if (pCommChannel != nullptr) {
        pCommChannel->Close();
    }
}

void CommChannel_SetReadTimeout(int ms) {
    pCommChannel->SetReadTimeout(static_cast<unsigned int>(ms));
}

bool CommChannel_Read(byte* data, unsigned int size) {
    return pCommChannel->Read(data, size);
}

bool CommChannel_Write(const byte* data, unsigned int size) {
    return pCommChannel->Write(data, size);
}

bool CommChannel_WriteDirect(const byte* data, unsigned int size) {
    return pCommChannel->WriteDirect(data, size);
}
