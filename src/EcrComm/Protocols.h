// Application protocol identifiers and their mapping to the configured protocol set.
#pragma once

#include <cstdint>

enum ProtocolID : uint8_t {
    Protocol_None = 0,
    Protocol_Standard = 1,
    Protocol_Fiscal = 3,
    Protocol_SessionAuth = 4,
    Protocol_ServerControl = 5,
    Protocol_Standard_Set1 = 11,
    Protocol_Fiscal_Set1 = 13,
    Protocol_SessionAuth_Set1 = 14,
};

// "ProtocolSet" 0 keeps id, 1 (default) maps it to its Set1 value; anything else is a
// configuration error.
ProtocolID GetProtocolIDBySet(ProtocolID id);
