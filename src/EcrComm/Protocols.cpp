#include "EcrComm/Protocols.h"

#include "AppConfig.h"
#include "Exceptions.h"

ProtocolID GetProtocolIDBySet(ProtocolID id) {
    switch (AppConfig::GetParameter("ProtocolSet", 1)) {
    case 0:
        return id;
    case 1:
        switch (id) {
        case Protocol_Standard:
            return Protocol_Standard_Set1;
        case Protocol_Fiscal:
            return Protocol_Fiscal_Set1;
        case Protocol_SessionAuth:
            return Protocol_SessionAuth_Set1;
        default:
            return id;
        }
    default:
        throw new ConfigurationException("Invalid ProtocolSet parameter");
    }
}
