#include "port/termios_settings.h"

namespace {

const struct {
    int baud;
    speed_t speed;
} Speeds[] = {{300, B300},     {600, B600},     {1200, B1200},     {2400, B2400},
              {4800, B4800},   {9600, B9600},   {19200, B19200},   {38400, B38400},
              {57600, B57600}, {115200, B115200}, {230400, B230400}};

const struct {
    int bits;
    tcflag_t flag;
} CharacterSizes[] = {{5, CS5}, {6, CS6}, {7, CS7}, {8, CS8}};

} // namespace

void applyLineSettings(const LineSettings& line, termios* settings)
{
    settings->c_cflag &= ~(CSIZE | PARENB | PARODD | CSTOPB);
    settings->c_cflag |= CS8;
    for (const auto& size : CharacterSizes) {
        if (size.bits == line.dataBits) {
            settings->c_cflag &= ~CSIZE;
            settings->c_cflag |= size.flag;
        }
    }
    if (line.parity != 'N')
        settings->c_cflag |= PARENB;
    if (line.parity == 'O')
        settings->c_cflag |= PARODD;
    if (line.stopBits == 2)
        settings->c_cflag |= CSTOPB;
    speed_t speed = B0;
    for (const auto& entry : Speeds) {
        if (entry.baud == line.baud)
            speed = entry.speed;
    }
    cfsetispeed(settings, speed);
    cfsetospeed(settings, speed);
}

LineSettings lineSettingsOf(const termios& settings)
{
    LineSettings line;
    line.baud = 0;
    for (const auto& entry : Speeds) {
        if (entry.speed == cfgetospeed(&settings))
            line.baud = entry.baud;
    }
    for (const auto& size : CharacterSizes) {
        if (size.flag == (settings.c_cflag & CSIZE))
            line.dataBits = size.bits;
    }
    line.parity = !(settings.c_cflag & PARENB) ? 'N' : (settings.c_cflag & PARODD) ? 'O' : 'E';
    line.stopBits = (settings.c_cflag & CSTOPB) ? 2 : 1;
    return line;
}
