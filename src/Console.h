// What the tool says beyond its fixed texts: progress on standard output, causes on standard
// error.
#pragma once

#include <string>

// Writes text to standard output and flushes it. A text that ends in "\r" (a running counter,
// or the blanks that erase one) is left out when standard output is not a terminal, so that a
// script or a log that captures the output gets whole lines only. Raises nothing.
void ShowProgress(const std::string& text);

// Writes one line "tavo: <path>: <reason>" to standard error, followed by "; <hint>" when hint
// is not empty. Never throws; the run's messages and exit status are not affected. Callers
// report the cause just before they raise the exception whose fixed text cannot carry it.
void ReportCause(const std::string& path, const std::string& reason,
                 const std::string& hint = std::string());
// ReportCause with the operating system's text for errnoValue (strerror) as the reason.
void ReportSystemCause(const std::string& path, int errnoValue,
                       const std::string& hint = std::string());
