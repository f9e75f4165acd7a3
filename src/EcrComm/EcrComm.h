// The ECR session: choosing and opening the link, authorising, operation requests, record
// transfer in both directions, fiscal commands, and closing the link. Every ECR answer that
// ends the command becomes an exception with a fixed message and exit status.
//
// Process-wide state (connected or not, the channel kind chosen last), without locks. Every
// call that sends raises CommunicationException "ECR is not responding" (exit status 5) when
// the channel does not take the frame. Every call that reads raises it when no answer comes (an
// empty answer counts as none, except in ReadData), and "Garbage received" (5) for a frame of
// another protocol or of a wrong length. Besides, each raises what the channel raises
// (CommChannel.h).
#pragma once

#include <string>

#include "EcrComm/CommBase.h"
#include "EcrComm/CommChannel.h"
#include "EcrComm/Protocols.h"

class Exception;

// First byte of every ECR answer.
enum ResponseCode {
    ResponseCode_OK = 0,             // done
    ResponseCode_UnknownCommand = 1, // unknown request; for a record: the data session has ended
    ResponseCode_Busy = 2,           // busy; in fiscal mode the key lock is in the wrong position
    ResponseCode_BadFrame = 3,       // to a request: the session is not authorised
    ResponseCode_BadData = 4,        // the record or fiscal command has bad data
    ResponseCode_Wait = 5,           // still working: another answer follows
    ResponseCode_CommandFailed = 6,  // not possible in the ECR's current context
    ResponseCode_NotActivated = 7,   // PC communications (or the fiscal protocol) switched off
    ResponseCode_AuthFailed = 8,     // wrong or missing password
};

// Third byte of a standard request: the version of the request record.
const byte StandardRequestVersion = 2;
// Fiscal command codes of the two status reads.
const byte Fiscal_ReadStatusCommand = 100;
const byte Fiscal_ReadEftStatusCommand = 32;

// Operation of a standard request.
enum Action {
    Action_Read = 1,   // send the section's or report's records to the PC
    Action_Write = 2,  // take the records that follow
    Action_Clear = 3,  // clear the section or report
    Action_Init = 4,   // initialise the section
    Action_Delete = 5, // delete the records that the following records name
};

// First byte of an authorisation request.
enum AuthType {
    AuthType_Password = 0, // the password's characters follow
};

// The ECR's verdict on one record sent.
enum SendResult {
    SendResult_OK = 0,           // stored
    SendResult_BadData = 1,      // refused for bad data in the field EndSendData names
    SendResult_CanNotUpdate = 2, // the ECR answered busy: it could not store the record
};

// The channel the settings call for: without "IpAddress" CommChannel_SerialPortWithTC, whatever
// "WithTC" and "ComNumber" say; with "IpAddress" only CommChannel_EthernetWithTC when "WithTC"
// is 1, else CommChannel_Ethernet. Raises ConfigurationException "Both serial port and ethernet
// settings are specified" (exit status 10) when "IpAddress" and "ComNumber" are both set.
CommChannelType GetChannelType();
// When not connected, chooses (GetChannelType), selects and opens the channel and sets its read
// timeout to "EcrOperationMaxTime" (default 2000) + "EcrCommMaxTime" (default 100 on a serial
// link, 10000 on a network link) milliseconds. In every case makes protocol the current one,
// so that a connected session only switches protocols. Raises what GetChannelType and the
// channel's Open and SetReadTimeout raise (ComPort.h; InternalException, 99, for a network
// link); the session then stays unconnected, and DisconnectFromEcr still closes the channel.
void ConnectToEcr(ProtocolID protocol);
// True from a successful ConnectToEcr to the next DisconnectFromEcr.
bool IsEcrConnected();
// False only when the channel chosen last is CommChannel_Ethernet; true before any connection.
bool DefaultKeepConnection();
// Sends the "Password" in an authorisation request under the session-authorisation protocol of
// the current set, then returns to the protocol in use; an empty password sends nothing. Raises
// what SendAuthRequest raises and ConfigurationException "Invalid ProtocolSet parameter" (exit
// status 10); after a failure the authorisation protocol stays current.
void AuthorizeSession();
// Sends a standard request {data (section or report), action, StandardRequestVersion} and
// returns when the ECR answers OK. An answer ResponseCode_BadFrame (not authorised) runs
// AuthorizeSession and sends the request once more as its first two bytes only, expecting a
// one-byte answer: the ECR has always been asked so, and it stays. Raises ApplicationException
// "Unknown command" (exit status 15), "ECR is busy" (3), "Command can not be executed in current
// context" (4), "ECR communications are not activated" (12) or "Bad or missing password" (11)
// for those answers, CommunicationException "Unexpected data received" (5) for any other.
void SendRequest(byte data, byte action);
// Sends one record without waiting for the ECR's verdict (EndSendData collects it, one per
// record, in the order sent). Raises InternalException (exit status 99) above 1021 bytes.
void BeginSendData(const byte* data, uint16 dataLen);
// Reads the ECR's verdict on the oldest record not yet answered: SendResult_OK,
// SendResult_CanNotUpdate for a busy answer, SendResult_BadData with badFieldNumber set to the
// 1-based number of the field the ECR names (0 when it names none); badFieldNumber is left alone
// otherwise. Raises UnknownCommandException "ECR does not waiting transmitted command" (exit
// status 4; spelled so on purpose) for an unknown-command answer, by which the ECR says that it
// ended the data session on its own time-out; CommunicationException "Unexpected data received"
// (5) for any other answer.
SendResult EndSendData(uint16& badFieldNumber);
// BeginSendData, then EndSendData: one record and its verdict. Raises what both raise.
SendResult SendData(const byte* data, uint16 dataLen, uint16& badFieldNumber);
// Sends the empty frame that ends a stream of records; reads no answer.
void SendEndOfData();
// Reads the next record into dataBuf and returns its length; 0 when the ECR has sent all records
// (an empty frame), and also for a record longer than dataBufLen, as it always has been. Skips
// any number of one-byte ResponseCode_Wait answers, each awaited for the read timeout.
uint16 ReadData(byte* dataBuf, uint16 dataBufLen);
// Closes the current channel (if one was ever selected), logs the I/O statistics and pauses
// through Sleep("EcrDisconnectTime", default 200, in 10 ms units), which does not pause for 100
// units or more: the default gives no pause, as it always has. Needs no open session. Raises
// what LogIoStatistics raises (InternalException, exit status 99, with the standard log off).
void DisconnectFromEcr();
// Closes the link after a failure: when ex stands for ReturnCode_CommunicationError, first the
// recovery pause, Sleep("EcrRecoveryTime", default 1000: likewise no pause), then
// DisconnectFromEcr(). ex stays the caller's. REQUIRES: ex is not null.
void DisconnectFromEcr(const Exception* ex);
// Asks the server to drop this client (on CommChannel_EthernetWithTC the byte 04 written
// directly, on CommChannel_Ethernet the two-byte server-control frame), then DisconnectFromEcr().
// Returns 1 when the write succeeded, else 0 (always 0 in this build, whose network channel
// writes nothing). Raises ApplicationException "DisconnectFromServer command not supported"
// (exit status 99) when the channel chosen last is a serial one, as it is before any
// connection, and what GetProtocolIDBySet and DisconnectFromEcr raise.
int Server_DisconnectFromServer();

// Returns for CommResult_OK; raises CommunicationException (exit status 5) "ECR is not
// responding" for CommResult_ResponseLost, "Garbage received" for CommResult_Garbage, "Comm
// layer error" for CommResult_Error, "Unexpected data received" for a value outside the list.
void ProcessCommResult(CommResult result);
// One frame out, one frame back into responseBuf; responseLen is the expected length on entry
// (0 = any) and the length received on return. Raises as ProcessCommResult does (an empty answer,
// or one that does not fit responseBufLen, is "ECR is not responding"), and InternalException
// (exit status 99) for dataLen above 1021.
void SendWithResponse(const byte* data, uint16 dataLen, byte* responseBuf, uint16 responseBufLen,
                      uint16& responseLen);
// Sends an authorisation request with the password's first 1023 characters under the current
// protocol and expects a one-byte answer. Raises ApplicationException "Bad or missing password"
// (exit status 11) when the ECR refuses it, CommunicationException "Unexpected data received"
// (5) for any other answer than OK.
void SendAuthRequest(const std::string& password);

// Fiscal requests, sent under the fiscal protocol of a connected, authorised session.
//
// Sends command with its parameter bytes (the first 1023; data may be null when dataLen is 0)
// and waits through any number of one-byte ResponseCode_Wait answers. Returns on OK. Raises
// ApplicationException "Unknown command" (exit status 15), "Incorrect keylock position" (3),
// "Command has bad data" (14), "Command failed or can not be executed in current context" (4),
// "ECR fiscal protocol is not activated" (12) or "Bad or missing password" (11) for those
// answers, CommunicationException "Unexpected data received" (5) for any other.
void Fiscal_SendCommand(byte command, const byte* data, uint16 dataLen);
// Reads the ECR's status (fiscal command 100), copies its status bytes to status and returns
// their count, 0 for an answer without data. statusLen is not consulted: status must hold 1023
// bytes. Raises ApplicationException "Bad or missing password" (exit status 11),
// CommunicationException "Unexpected data received" (5) for any other answer than OK, a wait
// answer included.
uint16 Fiscal_ReadStatus(byte* status, uint16 statusLen);
// The same for the payment terminal's status (fiscal command 32).
uint16 Fiscal_ReadEftStatus(byte* status, uint16 statusLen);
// Polled after a clear or initialise request: true when the ECR has finished, false while it
// asks to wait. Raises CommunicationException "Unexpected data received" (exit status 5) for
// any other answer, a busy one included.
bool ReadClearStatus();
