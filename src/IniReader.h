// A small reader of one INI file with a C-style interface: open, locate a heading, locate a
// key in it, read the value, close. IniFile documents the dialect.
#pragma once

#include <string>

struct IniHandle;

// Null when the file cannot be opened or holds a NUL byte.
IniHandle* ini_open(const std::string& path);
// Makes the named section current; false when there is no such heading ("" is the unnamed
// section before the first heading).
bool ini_locateHeading(IniHandle* ini, const std::string& section);
// Makes the key current in the current section; false when missing.
bool ini_locateKey(IniHandle* ini, const std::string& key);
// The current key's value (at most 255 characters).
std::string ini_readString(IniHandle* ini);
// The current key's value as a decimal number (strtol rules).
int ini_readInt(IniHandle* ini);
void ini_close(IniHandle* ini);

// Longest value returned; longer values are cut before they are trimmed.
const size_t iniMaxValueLength = 255;
