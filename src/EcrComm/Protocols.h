// Application protocol identifiers and their mapping to the configured protocol set.
#pragma once

#include <cstdint>

// First byte of every application frame: which dialogue the frame belongs to.
enum ProtocolID : uint8_t {
    Protocol_None = 0,              // no dialogue yet: the current protocol before any connection
    Protocol_Standard = 1,          // standard requests and data records
    Protocol_Fiscal = 3,            // fiscal commands
    Protocol_SessionAuth = 4,       // session authorisation
    Protocol_ServerControl = 5,     // server control, on a network link only
    Protocol_Standard_Set1 = 11,    // Protocol_Standard under "ProtocolSet" 1
    Protocol_Fiscal_Set1 = 13,      // Protocol_Fiscal under "ProtocolSet" 1
    Protocol_SessionAuth_Set1 = 14, // Protocol_SessionAuth under "ProtocolSet" 1
};

// The identifier to send for id under "ProtocolSet", read anew at every call: 0 keeps id;
// 1 (the default) maps the standard, fiscal and session-authorisation identifiers to their Set1
// values and keeps every other. Raises ConfigurationException "Invalid ProtocolSet parameter"
// (exit status 10) for any other value.
ProtocolID GetProtocolIDBySet(ProtocolID id);
