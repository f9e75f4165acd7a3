// The ECR session: choosing and opening the link, authorising, operation requests, record
// transfer in both directions, fiscal commands, and closing the link. Every ECR answer that
// ends the command becomes an exception with a fixed message and exit status.
#pragma once

#include <string>

#include "EcrComm/CommBase.h"
#include "EcrComm/CommChannel.h"
#include "EcrComm/Protocols.h"

class Exception;

// First byte of every ECR answer.
enum ResponseCode {
    ResponseCode_OK = 0,
    ResponseCode_UnknownCommand = 1,
    ResponseCode_Busy = 2,
    ResponseCode_BadFrame = 3,
    ResponseCode_BadData = 4,
    ResponseCode_Wait = 5,
    ResponseCode_CommandFailed = 6,
    ResponseCode_NotActivated = 7,
    ResponseCode_AuthFailed = 8,
};

// Third byte of a standard request: the version of the request record.
const byte StandardRequestVersion = 2;
// Fiscal command codes of the two status reads.
const byte Fiscal_ReadStatusCommand = 100;
const byte Fiscal_ReadEftStatusCommand = 32;

// Operation of a standard request.
enum Action {
    Action_Read = 1,
    Action_Write = 2,
    Action_Clear = 3,
    Action_Init = 4,
    Action_Delete = 5,
};

enum AuthType {
    AuthType_Password = 0,
};

// The ECR's verdict on one record sent.
enum SendResult {
    SendResult_OK = 0,
    SendResult_BadData = 1,
    SendResult_CanNotUpdate = 2,
};

CommChannelType GetChannelType();
void ConnectToEcr(ProtocolID protocol);
bool IsEcrConnected();
bool DefaultKeepConnection();
// Sends the "Password" when one is configured; an empty password never authorises.
void AuthorizeSession();
void SendRequest(byte data, byte action);
// Sends one record without waiting for the ECR's verdict (EndSendData collects it).
void BeginSendData(const byte* data, uint16 dataLen);
SendResult EndSendData(uint16& badFieldNumber);
SendResult SendData(const byte* data, uint16 dataLen, uint16& badFieldNumber);
void SendEndOfData();
// Returns the next record's length; 0 when the ECR has sent all records.
uint16 ReadData(byte* dataBuf, uint16 dataBufLen);
void DisconnectFromEcr();
// Closes the link after a failure; a communication failure first gets the recovery pause.
void DisconnectFromEcr(const Exception* ex);
int Server_DisconnectFromServer();

// Throws the communication failure that a result other than CommResult_OK stands for.
void ProcessCommResult(CommResult result);
// One frame out, one frame back; responseLen is the expected length on entry (0 = any).
void SendWithResponse(const byte* data, uint16 dataLen, byte* responseBuf, uint16 responseBufLen,
                      uint16& responseLen);
void SendAuthRequest(const std::string& password);

// Fiscal requests, sent under the fiscal protocol.
void Fiscal_SendCommand(byte command, const byte* data, uint16 dataLen);
uint16 Fiscal_ReadStatus(byte* status, uint16 statusLen);
uint16 Fiscal_ReadEftStatus(byte* status, uint16 statusLen);
// Polled after a clear or initialise request: true when the ECR has finished.
bool ReadClearStatus();
