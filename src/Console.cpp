#include "Console.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

void ShowProgress(const std::string& text) {
    static const bool toTerminal = isatty(STDOUT_FILENO) == 1;
    if (!toTerminal && !text.empty() && text.back() == '\r') {
        return;
    }
    std::fputs(text.c_str(), stdout);
    std::fflush(stdout);
}

void ReportCause(const std::string& path, const std::string& reason, const std::string& hint) {
    std::string line = "tavo: " + path + ": " + reason;
    if (!hint.empty()) {
        line += "; " + hint;
    }
    std::fprintf(stderr, "%s\n", line.c_str());
}

void ReportSystemCause(const std::string& path, int errnoValue, const std::string& hint) {
    ReportCause(path, std::strerror(errnoValue), hint);
}
