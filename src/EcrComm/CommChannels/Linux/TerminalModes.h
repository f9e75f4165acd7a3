// Changes a terminal's settings with the single system call the kernel needs. The C library's
// tcsetattr reads the settings back around every change to check the control flags, which
// triples the cost of the timeout changes made around every acknowledgement wait; the port
// checks its settings once, when it opens the device, and then changes only the timeouts.
#pragma once

// A terminal's settings in plain types, so that this header depends on neither the C
// library's nor the kernel's struct termios (the two cannot meet in one source file).
struct TerminalModes {
    unsigned int inputFlags;      // termios::c_iflag
    unsigned int outputFlags;     // termios::c_oflag
    unsigned int controlFlags;    // termios::c_cflag
    unsigned int localFlags;      // termios::c_lflag
    unsigned char lineDiscipline; // termios::c_line
    // Indexed as termios::c_cc, which the C library lays out as the kernel does. Not owned:
    // the caller keeps the array for the call.
    const unsigned char* controlChars;
    unsigned int controlCharCount; // entries in controlChars
};

// Applies the settings at once, as tcsetattr with TCSANOW does, but without reading them back.
// Control characters beyond what the kernel keeps are ignored. Returns true when applied, false
// with errno set when the device refuses them. Raises nothing. REQUIRES: controlChars holds
// controlCharCount entries.
bool SetTerminalModesNow(int fd, const TerminalModes& modes);
