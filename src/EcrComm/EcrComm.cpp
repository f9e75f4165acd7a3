#include "EcrComm/EcrComm.h"

#include <cstring>

#include "AppConfig.h"
#include "Defaults.h"
#include "EcrComm/IoStatistics.h"
#include "Exceptions.h"
#include "Formatting/BinaryDataParser.h"
#include "Logging.h"
#include "Tools.h"

namespace {

bool ecrConnected = false;
CommChannelType ecrCommChannel = CommChannel_SerialPort;
int ecrCommMaxTime = 0;

const uint16 responseBufSize = commIoBufferSize;
const byte serverDisconnectCommand = 1;
const byte endOfTransmission = 0x04;

bool IsSerial(CommChannelType type) {
    return type == CommChannel_SerialPort || type == CommChannel_SerialPortWithTC;
}

[[noreturn]] void ThrowUnexpectedData() {
    throw new CommunicationException("Unexpected data received");
}

// An ECR answer that ends the command, with what the user is told.
struct AnswerFailure {
    ResponseCode code;
    const char* message;
    ReturnCode returnCode;
};

const AnswerFailure requestFailures[] = {
    {ResponseCode_UnknownCommand, "Unknown command", ReturnCode_UnknownCommand},
    {ResponseCode_Busy, "ECR is busy", ReturnCode_EcrBusy},
    {ResponseCode_CommandFailed, "Command can not be executed in current context",
     ReturnCode_CommandFailed},
    {ResponseCode_NotActivated, "ECR communications are not activated", ReturnCode_NotActivated},
    {ResponseCode_AuthFailed, "Bad or missing password", ReturnCode_BadPassword},
};

// In fiscal mode "busy" means that the key lock is in the wrong position.
const AnswerFailure fiscalFailures[] = {
    {ResponseCode_UnknownCommand, "Unknown command", ReturnCode_UnknownCommand},
    {ResponseCode_Busy, "Incorrect keylock position", ReturnCode_EcrBusy},
    {ResponseCode_BadData, "Command has bad data", ReturnCode_InputFileHasBadRecords},
    {ResponseCode_CommandFailed, "Command failed or can not be executed in current context",
     ReturnCode_CommandFailed},
    {ResponseCode_NotActivated, "ECR fiscal protocol is not activated", ReturnCode_NotActivated},
    {ResponseCode_AuthFailed, "Bad or missing password", ReturnCode_BadPassword},
};

// Returns for OK; throws the listed failure, or "Unexpected data received" for any other code.
template <size_t N> void CheckAnswer(byte code, const AnswerFailure (&failures)[N]) {
    if (code == ResponseCode_OK) {
        return;
    }
    for (const AnswerFailure& failure : failures) {
        if (failure.code == code) {
            throw new ApplicationException(failure.message, failure.returnCode);
        }
    }
    ThrowUnexpectedData();
}

// Reads one frame of any length; an empty frame means the ECR did not answer.
uint16 ReadAnyFrame(byte* buf, uint16 bufLen) {
    uint16 length = 0;
    CommResult result = ReadFrame(buf, bufLen, length);
    if (result == CommResult_OK && length == 0) {
        result = CommResult_ResponseLost;
    }
    ProcessCommResult(result);
    return length;
}

// Field numbers in a bad-data answer count from 0; the user sees them counted from 1.
uint16 BadFieldNumber(const byte* record, uint16 length) {
    BinaryDataParser parser(record, length);
    Decimal number;
    if (!parser.GetNumber(number)) {
        return 0;
    }
    return static_cast<uint16>(number.ToInt64() + 1);
}

// The status read shared by the ECR and the payment terminal.
uint16 ReadFiscalStatus(byte command, byte* status) {
    byte response[responseBufSize];
    uint16 responseLen = 0;
    SendWithResponse(&command, 1, response, sizeof(response), responseLen);
    switch (response[0]) {
    case ResponseCode_OK:
        std::memcpy(status, response + 1, responseLen - 1u);
        return static_cast<uint16>(responseLen - 1);
    case ResponseCode_AuthFailed:
        throw new ApplicationException("Bad or missing password", ReturnCode_BadPassword);
    default:
        ThrowUnexpectedData();
    }
}

} // namespace

CommChannelType GetChannelType() {
    const bool hasEthernetSettings = AppConfig::HasParameter("IpAddress");
    const bool hasSerialPortSettings = AppConfig::HasParameter("ComNumber");
    if (!hasEthernetSettings) {
        // The serial port is always used with transport control.
        return CommChannel_SerialPortWithTC;
    }
    if (hasSerialPortSettings) {
        throw new ConfigurationException("Both serial port and ethernet settings are specified");
    }
    return AppConfig::GetParameter("WithTC", 0) == 1 ? CommChannel_EthernetWithTC
                                                     : CommChannel_Ethernet;
}

void ConnectToEcr(ProtocolID protocol) {
    if (!ecrConnected) {
        ecrCommChannel = GetChannelType();
        ecrCommMaxTime = AppConfig::GetParameter(
            "EcrCommMaxTime",
            IsSerial(ecrCommChannel) ? defaultLocalEcrCommMaxTime : defaultNetworkEcrCommMaxTime);
        SelectCommChannel(ecrCommChannel);
        CommChannel_Open();
        CommChannel_SetReadTimeout(
            AppConfig::GetParameter("EcrOperationMaxTime", defaultEcrOperationMaxTime) +
            ecrCommMaxTime);
        ecrConnected = true;
    }
    SetProtocol(protocol);
}

bool IsEcrConnected() {
    return ecrConnected;
}

bool DefaultKeepConnection() {
    return ecrCommChannel != CommChannel_Ethernet;
}

void ProcessCommResult(CommResult result) {
    switch (result) {
    case CommResult_OK:
        return;
    case CommResult_ResponseLost:
        throw new CommunicationException("ECR is not responding");
    case CommResult_Garbage:
        throw new CommunicationException("Garbage received");
    case CommResult_Error:
        throw new CommunicationException("Comm layer error");
    }
    ThrowUnexpectedData();
}

void SendWithResponse(const byte* data, uint16 dataLen, byte* responseBuf, uint16 responseBufLen,
                      uint16& responseLen) {
    CommResult result = SendFrame(data, dataLen);
    if (result == CommResult_OK) {
        result = ReadFrame(responseBuf, responseBufLen, responseLen);
        if (result == CommResult_OK && responseLen == 0) {
            result = CommResult_ResponseLost;
        }
    }
    ProcessCommResult(result);
}

void SendAuthRequest(const std::string& password) {
    byte request[commIoBufferSize];
    const size_t length = std::min(password.size(), sizeof(request) - 1);
    request[0] = AuthType_Password;
    std::memcpy(request + 1, password.data(), length);
    byte response = 0;
    uint16 responseLen = 1;
    SendWithResponse(request, static_cast<uint16>(length + 1), &response, 1, responseLen);
    if (response == ResponseCode_OK) {
        return;
    }
    if (response == ResponseCode_AuthFailed) {
        throw new ApplicationException("Bad or missing password", ReturnCode_BadPassword);
    }
    ThrowUnexpectedData();
}

void AuthorizeSession() {
    const std::string password = AppConfig::GetParameter("Password", "");
    if (password.empty()) {
        return;
    }
    const ProtocolID previous = GetProtocol();
    SetProtocol(GetProtocolIDBySet(Protocol_SessionAuth));
    LogMsg(LogType_Debug, "-------------- Authorizing session --------------", true);
    SendAuthRequest(password);
    LogMsg(LogType_Debug, "-------------------------------------------------", true);
    SetProtocol(previous);
}

void SendRequest(byte data, byte action) {
    const byte request[] = {data, action, StandardRequestVersion};
    byte response[responseBufSize];
    uint16 responseLen = 0;
    SendWithResponse(request, sizeof(request), response, sizeof(response), responseLen);
    if (response[0] == ResponseCode_BadFrame) {
        // The ECR asks for authorisation; the request is repeated without its version byte.
        AuthorizeSession();
        responseLen = 1;
        SendWithResponse(request, 2, response, 1, responseLen);
    }
    CheckAnswer(response[0], requestFailures);
}

void BeginSendData(const byte* data, uint16 dataLen) {
    ProcessCommResult(SendFrame(data, dataLen));
}

SendResult EndSendData(uint16& badFieldNumber) {
    byte response[responseBufSize];
    const uint16 length = ReadAnyFrame(response, sizeof(response));
    switch (response[0]) {
    case ResponseCode_OK:
        return SendResult_OK;
    case ResponseCode_UnknownCommand:
        throw new UnknownCommandException("ECR does not waiting transmitted command");
    case ResponseCode_Busy:
        return SendResult_CanNotUpdate;
    case ResponseCode_BadData:
        badFieldNumber = BadFieldNumber(response + 1, static_cast<uint16>(length - 1));
        return SendResult_BadData;
    default:
        ThrowUnexpectedData();
    }
}

SendResult SendData(const byte* data, uint16 dataLen, uint16& badFieldNumber) {
    BeginSendData(data, dataLen);
    return EndSendData(badFieldNumber);
}

void SendEndOfData() {
    ProcessCommResult(SendFrame(nullptr, 0));
}

uint16 ReadData(byte* dataBuf, uint16 dataBufLen) {
    for (;;) {
        uint16 length = 0;
        ProcessCommResult(ReadFrame(dataBuf, dataBufLen, length));
        if (!(length == 1 && dataBuf[0] == ResponseCode_Wait)) {
            return length;
        }
    }
}

void DisconnectFromEcr() {
    CommChannel_Close();
    LogIoStatistics();
    Sleep(AppConfig::GetParameter(defaultEcrDisconnectTimeName, defaultEcrDisconnectTime));
    ecrConnected = false;
}

void DisconnectFromEcr(const Exception* ex) {
    if (ex->GetReturnCode() == ReturnCode_CommunicationError) {
        Sleep(AppConfig::GetParameter(defaultEcrRecoveryTimeName, defaultEcrRecoveryTime));
    }
    DisconnectFromEcr();
}

int Server_DisconnectFromServer() {
    bool written;
    if (ecrCommChannel == CommChannel_EthernetWithTC) {
        written = CommChannel_WriteDirect(&endOfTransmission, 1);
    } else if (ecrCommChannel == CommChannel_Ethernet) {
        const byte frame[] = {static_cast<byte>(GetProtocolIDBySet(Protocol_ServerControl)),
                              serverDisconnectCommand};
        written = CommChannel_Write(frame, sizeof(frame));
    } else {
        throw new ApplicationException("DisconnectFromServer command not supported",
                                       ReturnCode_InternalError);
    }
    DisconnectFromEcr();
    return written;
}

void Fiscal_SendCommand(byte command, const byte* data, uint16 dataLen) {
    byte request[commIoBufferSize];
    const uint16 length = std::min<uint16>(dataLen, sizeof(request) - 1);
    request[0] = command;
    if (length > 0) {
        std::memcpy(request + 1, data, length);
    }
    byte response[responseBufSize];
    uint16 responseLen = 0;
    SendWithResponse(request, static_cast<uint16>(length + 1), response, sizeof(response),
                     responseLen);
    while (response[0] == ResponseCode_Wait) {
        responseLen = 1;
        ProcessCommResult(ReadFrame(response, 1, responseLen));
    }
    CheckAnswer(response[0], fiscalFailures);
}

uint16 Fiscal_ReadStatus(byte* status, uint16) {
    return ReadFiscalStatus(Fiscal_ReadStatusCommand, status);
}

uint16 Fiscal_ReadEftStatus(byte* status, uint16) {
    return ReadFiscalStatus(Fiscal_ReadEftStatusCommand, status);
}

bool ReadClearStatus() {
    byte response[responseBufSize];
    ReadAnyFrame(response, sizeof(response));
    switch (response[0]) {
    case ResponseCode_OK:
        return true;
    case ResponseCode_Wait:
        return false;
    default:
        ThrowUnexpectedData();
    }
}
