// Changes a terminal's settings with the single system call the kernel needs. The C library's
// tcsetattr reads the settings back around every change to check the control flags, which
// triples the cost of the timeout changes made around every acknowledgement wait; the port
// checks its settings once, when it opens the device, and then changes only the timeouts.
#pragma once

// A terminal's settings in plain types, so that this header depends on neither the C
// library's nor the kernel's struct termios (the two cannot meet in one source file).
struct TerminalModes {
    unsigned int inputFlags;
    unsigned int outputFlags;
    unsigned int controlFlags;
    unsigned int localFlags;
    unsigned char lineDiscipline;
    // Indexed as termios::c_cc, which the C library lays out as the kernel does.
    const unsigned char* controlChars;
    unsigned int controlCharCount;
};

// Applies the settings at once, as tcsetattr with TCSANOW does, but without reading them back.
// Control characters beyond what the kernel keeps are ignored. Returns false with errno set
// when the device refuses them.
bool SetTerminalModesNow(int fd, const TerminalModes& modes);
