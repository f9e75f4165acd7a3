// The fixed-width types of the line and of records, one definition for the whole program.
#pragma once

#include <cstdint>

// One byte on the line or in a record.
typedef uint8_t byte;
// Lengths and sizes of frames and records, which never exceed 16 bits.
typedef uint16_t uint16;
