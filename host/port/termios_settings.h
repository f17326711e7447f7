#ifndef PORT_TERMIOS_SETTINGS_H
#define PORT_TERMIOS_SETTINGS_H

#include "port/line_settings.h"

#include <termios.h>

// Line settings as termios flags and speeds, and back: the simulated line reads
// what its client set on their shared pseudo-terminal.
void applyLineSettings(const LineSettings& line, termios* settings);
// The line type is not in termios; RS485 is assumed.
LineSettings lineSettingsOf(const termios& settings);

#endif
