// A small reader of one INI file with a C-style interface: open, locate a heading, locate a
// key in it, read the value, close. IniFile documents the dialect. Every function that takes a
// handle, ini_close excepted, REQUIRES one from ini_open.
#pragma once

#include <string>

// The parsed file; opaque to callers.
struct IniHandle;

// Reads and parses the whole file. Null when the file cannot be read, holds a NUL byte before
// any Ctrl-Z end mark, or passes 4 GiB (then "INI file is too large" is printed on standard
// output). The caller owns the handle and frees it with ini_close. Raises nothing.
IniHandle* ini_open(const std::string& path);
// Makes the named section current; false when there is no such heading ("" is the unnamed
// section before the first heading). Either way no key is current afterwards.
bool ini_locateHeading(IniHandle* ini, const std::string& section);
// Makes the key current in the current section; false when missing or no section is current.
bool ini_locateKey(IniHandle* ini, const std::string& key);
// The current key's value (at most 255 characters); "" when no key is current.
std::string ini_readString(IniHandle* ini);
// The current key's value as a decimal number (strtol rules: text without digits, or no
// current key, gives 0).
int ini_readInt(IniHandle* ini);
// Frees the handle; null is allowed.
void ini_close(IniHandle* ini);

// Longest value returned; longer values are cut before they are trimmed.
const size_t iniMaxValueLength = 255;
