// The older C-string interface to Decimal, used by the text record encoding with its fixed
// character buffers.
#pragma once

#include "Decimal.h"

// Decimal::FromString of str: false for text that is not a number, dec then unusable. The
// middle argument is not used (the old interface had it). REQUIRES: str is NUL-terminated.
bool StringToDecimal(const char* str, byte, Decimal& dec);
// Copies the text of dec with its terminator when it fits in strLen bytes; otherwise str is
// left untouched and the result is false.
bool DecimalToString(char* str, byte strLen, const Decimal& dec);
// Removes, in place, every leading and trailing character that occurs in charsToTrim; returns
// str. REQUIRES: str is writable and NUL-terminated.
char* StrTrim(char* str, const char* charsToTrim);
