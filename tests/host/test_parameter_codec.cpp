// Engineering values to raw registers and back, for every type, scale and word
// order; and what a value outside the type or off the scale's steps is told.
#include "parameters/parameter_codec.h"

#include "fake_parameter_line.h"

#include <gtest/gtest.h>

namespace {

Parameter parameter(const char* address, ValueType type, double scale = 1, int decimals = 0, const char* unit = "")
{
    Parameter p;
    p.name = QStringLiteral("p");
    p.addressText = QLatin1String(address);
    QString error;
    EXPECT_TRUE(parseAddress(p.addressText, &p.address, &error)) << error.toStdString();
    p.type = type;
    p.scale = scale;
    p.decimals = decimals;
    p.unit = QString::fromUtf8(unit);
    p.writable = true;
    return p;
}

TEST(ParameterCodec, EveryTypeAndScaleBothWays)
{
    const struct {
        const char* name;
        Parameter p;
        const char* typed;  // what a user writes
        RawValues raw;      // on the wire, in address order
        const char* shown;  // what read prints
    } cases[] = {
        {"uint16", parameter("HR513", ValueType::UInt16, 1, 0, "rpm"), "3000", {3000}, "3000 rpm"},
        {"uint16 top", parameter("HR513", ValueType::UInt16), "65535", {0xFFFF}, "65535"},
        {"int16 negative", parameter("HR519", ValueType::Int16, 1, 0, "rpm"), "-500", {0xFE0C}, "-500 rpm"},
        {"int16 scale 0.1", parameter("HR518", ValueType::Int16, 0.1, 1, "ms"), "-12.5", {0xFF83}, "-12.5 ms"},
        {"uint16 scale 0.01", parameter("FN6HR771", ValueType::UInt16, 0.01, 2, "ms"), "0.5", {50}, "0.50 ms"},
        {"uint16 scale 10", parameter("HR260", ValueType::UInt16, 10, 0, "W"), "1500", {150}, "1500 W"},
        {"uint32 low word first", parameter("HR1025", ValueType::UInt32), "305419896", {0x5678, 0x1234}, "305419896"},
        {"uint32 SW high word first", parameter("HR1031SW", ValueType::UInt32), "305419896", {0x1234, 0x5678}, "305419896"},
        {"int32 negative", parameter("HR1033", ValueType::Int32, 1, 0, "pulse"), "-2000", {0xF830, 0xFFFF}, "-2000 pulse"},
        {"int32 SW negative", parameter("HR1033SW", ValueType::Int32), "-2", {0xFFFF, 0xFFFE}, "-2"},
        {"int32 scale 0.001", parameter("IR98", ValueType::Int32, 0.001, 3, "mm"), "-70000.5", {0xE08C, 0xFBD3}, "-70000.500 mm"},
        {"float32 low word first", parameter("HR526", ValueType::Float32), "2.5", {0x0000, 0x4020}, "2.5"},
        {"float32 SW", parameter("HR526SW", ValueType::Float32, 1, 0, "°C"), "-1.25", {0xBFA0, 0x0000}, "-1.25 °C"},
        {"float32 scale 0.5", parameter("HR526SW", ValueType::Float32, 0.5), "3", {0x40C0, 0x0000}, "3"},
        {"bool coil on", parameter("DO33", ValueType::Bool), "on", {1}, "1"},
        {"bool coil off", parameter("FN5DO33", ValueType::Bool), "false", {0}, "0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        RawValues written;
        QString error;
        ASSERT_TRUE(encodeParameter(c.p, QLatin1String(c.typed), &written, &error)) << error.toStdString();
        EXPECT_EQ(written, c.raw);
        double value = 0;
        ASSERT_TRUE(decodeParameter(c.p, c.raw, &value));
        EXPECT_EQ(withUnit(formatParameterValue(c.p, value), c.p.unit), QString::fromUtf8(c.shown));
    }
}

TEST(ParameterCodec, ARegisterBitReadsItsBitAndWritesOnlyIt)
{
    const Parameter p = parameter("HR259.4", ValueType::Bool);
    double value = -1;
    ASSERT_TRUE(decodeParameter(p, RawValues{0x0010}, &value));
    EXPECT_EQ(value, 1);
    ASSERT_TRUE(decodeParameter(p, RawValues{0xFFEF}, &value));
    EXPECT_EQ(value, 0);
    EXPECT_EQ(writtenValues(p, RawValues{0x0013}), RawValues{1});
    EXPECT_EQ(writtenValues(parameter("HR259", ValueType::UInt16), RawValues{0x0013}), RawValues{0x13});
    RawValues written;
    QString error;
    ASSERT_TRUE(encodeParameter(p, QStringLiteral("1"), &written, &error));
    EXPECT_EQ(written, RawValues{1});
}

TEST(ParameterCodec, RefusesWhatTheTypeCannotHold)
{
    const struct {
        Parameter p;
        const char* typed;
        const char* error;
    } cases[] = {
        {parameter("HR513", ValueType::UInt16, 1, 0, "rpm"), "70000", "p = 70000 rpm is outside what its uint16 holds: 0 to 65535 rpm"},
        {parameter("HR513", ValueType::UInt16, 1, 0, "rpm"), "-1", "p = -1 rpm is outside what its uint16 holds: 0 to 65535 rpm"},
        {parameter("HR519", ValueType::Int16, 0.1, 1, "ms"), "3276.8", "p = 3276.8 ms is outside what its int16 holds: -3276.8 to 3276.7 ms"},
        {parameter("HR519", ValueType::Int16, -1), "40000", "p = 40000 is outside what its int16 holds: -32767 to 32768"},
        {parameter("HR1025", ValueType::UInt32), "4294967296", "p = 4294967296 is outside what its uint32 holds: 0 to 4294967295"},
        {parameter("HR1025", ValueType::Int32), "-2147483649", "p = -2147483649 is outside what its int32 holds: -2147483648 to 2147483647"},
        {parameter("HR526", ValueType::Float32), "1e39", "p = 1e39 is outside what its float32 holds: -3.402823e+38 to 3.402823e+38"},
        {parameter("HR518", ValueType::UInt16, 0.1, 1, "ms"), "10.05", "p = 10.05 ms is no multiple of its scale 0.1"},
        {parameter("HR513", ValueType::UInt16), "1.5", "p = 1.5 is no multiple of its scale 1"},
        {parameter("HR513", ValueType::UInt16, 1, 0, "rpm"), "fast", "bad value for p: fast (a decimal number in rpm)"},
        {parameter("HR513", ValueType::UInt16), "0x10", "bad value for p: 0x10 (a decimal number in the parameter's units)"},
        {parameter("HR513", ValueType::UInt16), "nan", "bad value for p: nan (a decimal number in the parameter's units)"},
        {parameter("DO5", ValueType::Bool), "2", "bad value for p: 2 (0 or 1, true or false, on or off)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.typed);
        RawValues written;
        QString error;
        EXPECT_FALSE(encodeParameter(c.p, QLatin1String(c.typed), &written, &error));
        EXPECT_EQ(error, QLatin1String(c.error));
    }
}

} // namespace
