#include "Formatting/DataParser.h"

bool DataParser::IsValidString(const char* str) {
    for (const char* p = str; *p != '\0'; ++p) {
        if (static_cast<unsigned char>(*p) < 31) {
            return false;
        }
    }
    return true;
}
