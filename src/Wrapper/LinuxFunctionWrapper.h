// Bounded string and file functions under the names and argument orders the code calls.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdio>

// Copies at most size - 1 characters and a NUL; null without copying when size is 0.
char* strcpy_s(char* dest, size_t size, const char* src);
// strncpy of count characters, never past size; returns 0.
int strncpy_s(char* dest, size_t size, const char* src, size_t count);
// Formats into dest, never writing more than size bytes; returns the full formatted length.
int vsprintf_s(char* dest, size_t size, const char* format, va_list args);
// Stores fopen's result (null on failure); always returns 0.
int fopen_s(FILE** file, const char* path, const char* mode);
