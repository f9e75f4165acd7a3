// The ECR session: connecting, the dialogue with the ECR and disconnecting.
#pragma once

#include "EcrComm/Protocols.h"

class Exception;

void ConnectToEcr(ProtocolID protocol);
bool IsEcrConnected();
void DisconnectFromEcr();
// Closes the link after a failure; a communication failure first gets the recovery pause.
void DisconnectFromEcr(const Exception* ex);
int Server_DisconnectFromServer();
