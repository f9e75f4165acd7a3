#include "OLVE_Compatibility.h"

#include <cstring>

#include "Wrapper/LinuxFunctionWrapper.h"

bool StringToDecimal(const char* str, byte, Decimal& dec) {
    return dec.FromString(str);
}

bool DecimalToString(char* str, byte strLen, const Decimal& dec) {
    const std::string text = dec.ToString();
    if (text.size() >= strLen) {
        return false;
    }
    strcpy_s(str, strLen, text.c_str());
    return true;
}

char* StrTrim(char* str, const char* charsToTrim) {
    // Works on the buffer itself: the text parser trims every field it reads.
    size_t end = std::strlen(str);
    while (end > 0 && std::strchr(charsToTrim, str[end - 1]) != nullptr) {
        --end;
    }
    size_t start = 0;
    while (start < end && std::strchr(charsToTrim, str[start]) != nullptr) {
        ++start;
    }
    if (start > 0) {
        std::memmove(str, str + start, end - start);
    }
    str[end - start] = '\0';
    return str;
}
