#include "EcrComm/CommChannels/Linux/TerminalModes.h"

// The kernel's own struct termios; the C library's <termios.h> must stay out of this file.
#include <asm/termbits.h>
#include <cstring>
#include <sys/ioctl.h>

bool SetTerminalModesNow(int fd, const TerminalModes& modes) {
    struct termios kernelModes;
    std::memset(&kernelModes, 0, sizeof(kernelModes));
    kernelModes.c_iflag = modes.inputFlags;
    kernelModes.c_oflag = modes.outputFlags;
    kernelModes.c_cflag = modes.controlFlags;
    kernelModes.c_lflag = modes.localFlags;
    kernelModes.c_line = modes.lineDiscipline;
    const unsigned int count =
        modes.controlCharCount < NCCS ? modes.controlCharCount : static_cast<unsigned int>(NCCS);
    std::memcpy(kernelModes.c_cc, modes.controlChars, count);
    return ioctl(fd, TCSETS, &kernelModes) == 0;
}
