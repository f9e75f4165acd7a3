#include "EcrComm/CommChannels/Linux/TCP.h"

#include "Exceptions.h"

void TCP::Open() {
    THROW_INTERNAL_ERROR();
}
