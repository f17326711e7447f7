// Device address texts split into area letters, wire address and bit.
#include <QByteArray>
#include <QString>
#include <gtest/gtest.h>
#include <ostream>

#include "teco_servo/modbus_address.h"

namespace {

const int Unchanged = -1;
// A bit value that no parse produces, to see whether the parse touched it.
const unsigned char Sentinel = 0xA5;

struct ParseCase {
    const char* text;
    const char* prefix;
    unsigned short address;
    int bit;  // Unchanged: the caller's value must stay
};

void PrintTo(const ParseCase& c, std::ostream* os) { *os << '"' << c.text << '"'; }

class AddressParse : public testing::TestWithParam<ParseCase> {};

TEST_P(AddressParse, SplitsTheText)
{
    const ParseCase& c = GetParam();
    QByteArray prefix;
    unsigned short address = 0x1234;
    unsigned char bit = Sentinel;
    ModbusRTUSlaveParseAddress(QString::fromLatin1(c.text), prefix, address, bit);
    EXPECT_EQ(prefix, QByteArray(c.prefix));
    EXPECT_EQ(address, c.address);
    EXPECT_EQ(bit, c.bit == Unchanged ? Sentinel : c.bit);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, AddressParse,
    testing::Values(ParseCase{"HR100", "HR", 99, Unchanged}, ParseCase{"hr1", "hr", 0, Unchanged},
                    ParseCase{"FN6HR200", "FN6HR", 199, Unchanged}, ParseCase{"fn5do7", "fn5do", 6, Unchanged},
                    ParseCase{"DO5", "DO", 4, Unchanged}, ParseCase{"DI12", "DI", 11, Unchanged},
                    ParseCase{"HR100.3", "HR", 99, 3}, ParseCase{"HR100.15x", "HR", 99, 15},
                    ParseCase{"HR100.300", "HR", 99, 44}, ParseCase{"HR200SW", "HR", 199, Unchanged},
                    ParseCase{"HR", "HR", 0xFFFF, Unchanged}, ParseCase{"HR.3", "HR", 0xFFFF, 3},
                    ParseCase{"HR0", "HR", 0xFFFF, Unchanged}, ParseCase{"HR65536", "HR", 65535, Unchanged},
                    ParseCase{"HR65537", "HR", 0, Unchanged}, ParseCase{"HR-5", "HR", 0xFFFF, Unchanged},
                    ParseCase{"F12HR5", "F12HR", 4, Unchanged}, ParseCase{"FN", "FN", 0xFFFF, Unchanged},
                    ParseCase{"", "", 0xFFFF, Unchanged}, ParseCase{"100", "", 99, Unchanged},
                    // A point without digits still resets the bit.
                    ParseCase{"HR7.", "HR", 6, 0}));

} // namespace
