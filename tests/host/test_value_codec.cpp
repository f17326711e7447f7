// drvctl's address check and value codec, called directly: what reaches the
// driver, byte for byte, and what is refused with which text.
#include "drvctl/address.h"
#include "drvctl/value_codec.h"

#include <gtest/gtest.h>

namespace {

TEST(AddressCheck, AcceptsOnlyAsciiAreaLettersAndAWholeText)
{
    const struct {
        QString address;
        const char* error; // nullptr: accepted
    } cases[] = {
        {QStringLiteral("HR100"), nullptr},
        {QStringLiteral("hr100"), nullptr},
        {QStringLiteral("FN5DO5"), nullptr},
        {QStringLiteral("HR100.3"), nullptr},
        {QStringLiteral("HR200sw"), nullptr},
        {QStringLiteral("HR65536"), nullptr},
        {QStringLiteral("HR100.15"), nullptr},
        {QStringLiteral("fn6hr7"), nullptr},
        {QStringLiteral("IR3SW"), nullptr},
        // The Kelvin sign folds to K under Unicode case rules; the driver would see another text.
        {QString(QChar(0x212A)) + QStringLiteral("100"),
         "bad address: \u212A100 (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {QStringLiteral("HR\u0661\u0660\u0660"), // Arabic-Indic digits
         "bad address: HR\u0661\u0660\u0660 (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {QStringLiteral("HR1\u017FW"), // long s folds to S
         "bad address: HR1\u017FW (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {QStringLiteral("HR100\n"), "bad address: HR100\n (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {QStringLiteral("HR100 "), "bad address: HR100  (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {QStringLiteral("100"), "bad address: 100 (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {QStringLiteral("HR"), "bad address: HR (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {QStringLiteral("HR1."), "bad address: HR1. (area letters and a number, e.g. HR100, DO5, HR100.3, HR200SW)"},
        {QStringLiteral("HR0"), "bad address: HR0 (numbers run from 1 to 65536)"},
        {QStringLiteral("HR65537"), "bad address: HR65537 (numbers run from 1 to 65536)"},
        {QStringLiteral("HR99999999999999999999999"),
         "bad address: HR99999999999999999999999 (numbers run from 1 to 65536)"},
        {QStringLiteral("HR1.16"), "bad address: HR1.16 (bit numbers run from 0 to 15)"},
        // Only the areas the servo driver serves: it reads input registers for any other letters.
        {QStringLiteral("HD100"), "unknown area 'HD' in HD100 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {QStringLiteral("XX1"), "unknown area 'XX' in XX1 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {QStringLiteral("FN7HR1"), "unknown area 'FN7HR' in FN7HR1 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {QStringLiteral("HRR1"), "unknown area 'HRR' in HRR1 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {QStringLiteral("FN5HR1"), "unknown area 'FN5HR' in FN5HR1 (HR, IR, DO, DI, FN5DO, FN6HR)"},
        {QStringLiteral("DO1.3"),
         "bad address: DO1.3 (DO, DI and FN5DO are bits already; a .bit is for the registers of HR, IR and FN6HR)"},
        {QStringLiteral("DI2SW"), "bad address: DI2SW (SW orders the words of a dword, which only HR, IR and FN6HR hold)"},
        {QStringLiteral("HR1.3SW"), "bad address: HR1.3SW (SW orders the words of a dword; a .bit address holds bits)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.address.toStdString());
        QString error;
        EXPECT_EQ(checkAddress(c.address, &error), c.error == nullptr);
        EXPECT_EQ(error.toStdString(), c.error ? c.error : "");
    }
}

TEST(ValueCodec, EncodesTheDriversHostOrderAndRefusesOutOfRange)
{
    const struct {
        int dataType;
        QStringList values;
        const char* bytes; // hex, or the error text when it starts with "bad"
    } cases[] = {
        {Word, {"1234", "0xBEEF", "-1"}, "d204efbeffff"},
        {Word, {"65535", "-32768"}, "ffff0080"},
        {DoubleWord, {"0x12345678", "-2"}, "78563412feffffff"},
        {Bit, {"1", "0", "1"}, "010001"},
        {Byte, {"255", "-128", "0x7f"}, "ff807f"},
        {Word, {"010"}, "0a00"}, // a leading zero is not octal
        {Word, {"65536"}, "bad value for word: 65536 (-32768 to 65535)"},
        {Bit, {"2"}, "bad value for bit: 2 (0 to 1)"},
        {DoubleWord, {"0x100000000"}, "bad value: 0x100000000 (decimal or 0x hex)"},
        {Byte, {"0x"}, "bad value: 0x (decimal or 0x hex)"},
        {Word, {"1e3"}, "bad value: 1e3 (decimal or 0x hex)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.values.join(QLatin1Char(' ')).toStdString());
        QByteArray data;
        QString error;
        const bool refused = QByteArray(c.bytes).startsWith("bad");
        EXPECT_EQ(encodeValues(c.dataType, c.values, &data, &error), !refused);
        EXPECT_EQ(refused ? error.toStdString() : data.toHex().toStdString(), c.bytes);
    }
}

TEST(ValueCodec, DecodesWhatTheDataHoldsAndNoMore)
{
    const struct {
        int dataType;
        const char* bytes;
        int count;
        QList<qint64> values;
    } cases[] = {
        {Word, "d204efbe", 2, {1234, 0xBEEF}},
        {Word, "d204ef", 2, {1234}}, // a short reply never reads past its end
        {DoubleWord, "78563412", 1, {0x12345678}},
        {Bit, "11", 9, {1, 0, 0, 0, 1, 0, 0, 0}},
        {BitBlock, "8001", 10, {0, 0, 0, 0, 0, 0, 0, 1, 1, 0}},
        {Byte, "ff00", 2, {255, 0}},
        {Word, "", 3, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(decodeValues(c.dataType, QByteArray::fromHex(c.bytes), c.count), c.values);
    }
}

} // namespace
