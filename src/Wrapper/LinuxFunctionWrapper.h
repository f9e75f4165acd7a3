// Bounded string and file functions under the names and argument orders the code calls.
// None of them checks its pointers; none throws.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>

// Copies at most size - 1 characters and a NUL; returns dest, or null without copying when size
// is 0. A longer src is cut, not refused.
char* strcpy_s(char* dest, size_t size, const char* src);
// strncpy of count characters, never past size: dest is NUL-padded, and not terminated when
// src is that long. Always returns 0.
int strncpy_s(char* dest, size_t size, const char* src, size_t count);
// Formats into dest, never writing more than size bytes (the terminator included); returns the
// full formatted length, which may exceed size - 1 (the text was then cut), or a negative
// value when the format fails.
int vsprintf_s(char* dest, size_t size, const char* format, va_list args);
// Stores fopen's result (null on failure, errno set); always returns 0, so callers test *file.
int fopen_s(FILE** file, const char* path, const char* mode);
