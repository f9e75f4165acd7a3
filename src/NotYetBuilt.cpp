// The ECR session and the data exchange commands are not part of this build yet. Reaching
// them is an internal error, so a run fails plainly instead of pretending to talk to an ECR.
#include "Commands.h"
#include "EcrComm/EcrComm.h"
#include "Exceptions.h"

void ConnectToEcr(ProtocolID) {
    THROW_INTERNAL_ERROR();
}

// No link can be open while ConnectToEcr cannot open one: there is nothing to close.
bool IsEcrConnected() {
    return false;
}
void DisconnectFromEcr() {}
void DisconnectFromEcr(const Exception*) {}

int Server_DisconnectFromServer() {
    THROW_INTERNAL_ERROR();
}

int Execute_Standard(Command, int, const std::string&) {
    THROW_INTERNAL_ERROR();
}

int Execute_Fiscal(Command, const std::string&) {
    THROW_INTERNAL_ERROR();
}
