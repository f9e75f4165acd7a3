// The older C-string interface to Decimal, used by the text record encoding with its fixed
// character buffers.
#pragma once

#include "Decimal.h"

// Decimal::FromString of str; the middle argument is not used.
bool StringToDecimal(const char* str, byte, Decimal& dec);
// Copies the text of dec with its terminator when it fits in strLen bytes; otherwise str is
// left untouched and the result is false.
bool DecimalToString(char* str, byte strLen, const Decimal& dec);
// Removes, in place, every leading and trailing character that occurs in charsToTrim.
char* StrTrim(char* str, const char* charsToTrim);
