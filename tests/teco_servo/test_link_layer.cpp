// Request frames and the CRC byte for byte, the judgement of a reply's first 5 bytes, and address texts.
#include "teco_test.h"
#include "teco_servo/modbus_address.h"

namespace {

bool crcMatches(QByteArray frame)
{
    return ModbusRTUSlaveCheckCRC(reinterpret_cast<unsigned char*>(frame.data()), static_cast<unsigned int>(frame.size()));
}

TEST(RequestFrames, AreExactOnTheWire)
{
    const struct { QByteArray built; const char* expected; } frames[] = {
        {ModbusRTUSlaveBuildReadDevicesRequest(1, 3, 0, 10), "01 03 00 00 00 0a c5 cd"},
        {ModbusRTUSlaveBuildFn6Request(1, 1, hex("0003")), "01 06 00 01 00 03 98 0b"},
        {ModbusRTUSlaveBuildFn16Request(1, 1, 2, hex("000A0102")), "01 10 00 01 00 02 04 00 0a 01 02 92 30"},
        {ModbusRTUSlaveBuildFn5Request(1, 0x00AC, true), "01 05 00 ac ff 00 4c 1b"},
        {ModbusRTUSlaveBuildFn15Request(1, 0x0013, 10, hex("CD01")), "01 0f 00 13 00 0a 02 cd 01 72 cb"}};
    for (const auto& f : frames)
        EXPECT_EQ(shown(f.built), f.expected);
}

// The lookup tables against the bitwise definition (polynomial 0xA001 reflected, start 0xFFFF,
// no final XOR, low byte sent first) on every single-byte run, so that no table entry goes unchecked.
TEST(ModbusCrc, TablesAgreeWithTheBitwiseDefinition)
{
    for (int b = 0; b < 256; ++b) {
        unsigned short crc = 0xFFFF ^ b;
        for (int k = 0; k < 8; ++k)
            crc = (crc & 1) ? static_cast<unsigned short>((crc >> 1) ^ 0xA001) : static_cast<unsigned short>(crc >> 1);
        ASSERT_EQ(withCrc(QByteArray(1, char(b))).mid(1), QByteArray(1, char(crc & 0xFF)).append(char(crc >> 8))) << b;
    }
}

TEST(ModbusCrc, CheckComparesTheLastTwoBytes)
{
    const struct { const char* frame; bool matches; } checks[] = {
        {"010304000A01025A60", true}, {"010304000A0102605A", false}, {"018302C0F1", true},
        {"FFFF", true}, {"FFFE", false}};
    for (const auto& c : checks)
        EXPECT_EQ(crcMatches(hex(c.frame)), c.matches) << c.frame;
    for (int i = 0; i < 9; ++i) {
        QByteArray bad = hex("010304000A01025A60");
        bad[i] = static_cast<char>(bad.at(i) ^ 0x01);
        EXPECT_FALSE(crcMatches(bad)) << "byte " << i;
    }
}

TEST(FirstFiveBytes, ArePassedOrRefusedWithTheirMessage)
{
    const struct { unsigned char function; int received; const char* bytes; const char* message; } replies[] = {
        {3, 0, "", "PLC no response"},                   {3, -1, "", "PLC no response"},
        {3, 3, "010314", "received bytes < 5"},          {3, 6, "010314000A00", "received bytes < 5"},
        {3, 5, "020314000A", "invalid slave id:2"},      {3, 5, "018302C0F1", "exception code:0x02"},
        {3, 5, "01830B00F7", "exception code:0x0B"},     {16, 5, "0190044DC3", "exception code:0x04"},
        {3, 5, "0183020000", "CRC error"},               {3, 5, "010414000A", "invalid response"},
        {3, 5, "010314000A", ""}};
    for (const auto& r : replies) {
        const QByteArray buffer = hex(r.bytes) + QByteArray(8, '\0');
        DriverTecoServo driver;
        const bool passed = driver.checkMinADU(1, buffer.constData(), r.received) &&
                            driver.checkException(buffer.constData(), r.function);
        EXPECT_EQ(passed, r.message[0] == '\0') << r.bytes;
        EXPECT_EQ(driver.hasError(), !passed) << r.bytes;
        EXPECT_EQ(driver.getLastError().toStdString(), r.message) << r.bytes;
    }
}

TEST(AddressParse, SplitsTheTextIntoAreaAddressAndBit)
{
    const int Unchanged = 0xA5; // the bit value the caller passes in, left alone without a point
    const struct { const char* text; const char* prefix; unsigned short address; int bit; } texts[] = {
        {"HR100", "HR", 99, Unchanged},     {"hr1", "hr", 0, Unchanged},          {"FN6HR200", "FN6HR", 199, Unchanged},
        {"fn5do7", "fn5do", 6, Unchanged},  {"DO5", "DO", 4, Unchanged},          {"DI12", "DI", 11, Unchanged},
        {"HR100.3", "HR", 99, 3},           {"HR100.15x", "HR", 99, 15},          {"HR100.300", "HR", 99, 44},
        {"HR200SW", "HR", 199, Unchanged},  {"HR", "HR", 0xFFFF, Unchanged},      {"HR.3", "HR", 0xFFFF, 3},
        {"HR0", "HR", 0xFFFF, Unchanged},   {"HR65536", "HR", 65535, Unchanged},  {"HR65537", "HR", 0, Unchanged},
        {"HR-5", "HR", 0xFFFF, Unchanged},  {"F12HR5", "F12HR", 4, Unchanged},    {"FN", "FN", 0xFFFF, Unchanged},
        {"", "", 0xFFFF, Unchanged},        {"100", "", 99, Unchanged},           {"HR7.", "HR", 6, 0}};
    for (const auto& t : texts) {
        QByteArray prefix;
        unsigned short address = 0x1234;
        unsigned char bit = Unchanged;
        ModbusRTUSlaveParseAddress(QString::fromLatin1(t.text), prefix, address, bit);
        EXPECT_EQ(prefix, QByteArray(t.prefix)) << '"' << t.text << '"';
        EXPECT_EQ(address, t.address) << '"' << t.text << '"';
        EXPECT_EQ(bit, t.bit) << '"' << t.text << '"';
    }
}

// Area and word order come out of the one parse; "SW" counts anywhere, in any case, also in
// letters after the area's and after a bit number, and non-ASCII text is folded as Qt folds it.
TEST(AddressParse, CarriesAreaAndWordOrder)
{
    const struct { const char* utf8; AreaKind area; bool highWordFirst; } texts[] = {
        {"HR200SW", AreaKind::HoldingRegisters, true},      {"hr200sw", AreaKind::HoldingRegisters, true},
        {"HR200", AreaKind::HoldingRegisters, false},       {"HRSW1", AreaKind::HoldingRegisters, true},
        {"fN6hR1", AreaKind::HoldingRegistersWithFN6, false}, {"FN5DO1sW", AreaKind::CoilsWithFN5, true},
        {"do1", AreaKind::Coils, false},                    {"DIX5", AreaKind::DiscreteInputs, false},
        {"FSW1", AreaKind::Other, true},                    {"SWX1", AreaKind::Other, true},
        {"HR1.2sw", AreaKind::HoldingRegisters, true},      {"HR1S W", AreaKind::HoldingRegisters, false},
        {"IR1", AreaKind::Other, false},                    {"", AreaKind::Other, false},
        {"H\u0280100", AreaKind::Other, false},            {"HR1\u017fW", AreaKind::HoldingRegisters, true}};
    for (const auto& t : texts) {
        const QString text = QString::fromUtf8(t.utf8);
        const ParsedAddress parsed = parseDeviceAddress(text);
        EXPECT_EQ(parsed.area, t.area) << t.utf8;
        EXPECT_EQ(parsed.highWordFirst, t.highWordFirst) << t.utf8;
        EXPECT_EQ(parsed.highWordFirst, text.contains(QLatin1String("SW"), Qt::CaseInsensitive)) << t.utf8;
    }
}

} // namespace
