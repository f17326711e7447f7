#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <string>

#include "tools/tx_package.h"

namespace {

std::string hexOf(const QByteArray& bytes)
{
    return bytes.toHex().toStdString();
}

QList<int> tableOf(const TxPackage& package)
{
    QList<int> table;
    for (int i = 0; i < package.numberOfSections(); ++i)
        table.append(package.sectionSize(i));
    return table;
}

TxPackage packageWith(const QList<int>& table, const char* hexBytes)
{
    TxPackage package;
    package.setSectionSize(table);
    package.setData(QByteArray::fromHex(hexBytes));
    return package;
}

} // namespace

TEST(TxPackage, AppendsAddOneSectionEach)
{
    TxPackage package;
    EXPECT_TRUE(package.appendByte(0x01));
    EXPECT_TRUE(package.appendWord(0x1234));
    EXPECT_TRUE(package.appendDWord(0x12345678));
    EXPECT_EQ(hexOf(package.byteArrayData()), "01341278563412");
    EXPECT_EQ(package.totalSize(), 7);
    EXPECT_EQ(package.numberOfSections(), 3);
    EXPECT_EQ(tableOf(package), (QList<int>{1, 2, 4}));
    EXPECT_EQ(package.sectionStartIndex(0), 0);
    EXPECT_EQ(package.sectionStartIndex(2), 3);
    EXPECT_EQ(hexOf(package.dataAt(1)), "3412");
    EXPECT_EQ(hexOf(package.dataAt(2)), "78563412");

    EXPECT_TRUE(package.appendString(QString()));
    EXPECT_TRUE(package.appendString(QStringLiteral("AB")));
    EXPECT_TRUE(package.appendString(QString::fromUtf8("\xC3\xA9\xE2\x82\xAC"))); // e-acute, euro sign
    EXPECT_TRUE(package.appendSection(QByteArray::fromHex("c0ffee")));
    EXPECT_EQ(tableOf(package), (QList<int>{1, 2, 4, 0, 2, 2, 3}));
    EXPECT_EQ(hexOf(package.byteArrayData()), "01341278563412" "4142" "e93f" "c0ffee");
    EXPECT_EQ(package.sectionStartIndex(4), 7);
    EXPECT_EQ(package.sectionStartIndex(6), 11);
    EXPECT_TRUE(package.dataAt(3).isEmpty());

    package.clearAll();
    EXPECT_EQ(package.totalSize(), 0);
    EXPECT_EQ(package.numberOfSections(), 0);
}

TEST(TxPackage, HexCharactersAreTwoUpperCaseDigits)
{
    struct Case {
        unsigned char value;
        const char* ascii;
    };
    const Case cases[] = {{0x0A, "0A"}, {0xFF, "FF"}, {0x00, "00"}, {0x5C, "5C"}, {0xB7, "B7"}, {0x10, "10"}};
    for (const Case& c : cases) {
        TxPackage package;
        EXPECT_TRUE(package.appendByte2Ascii(c.value));
        EXPECT_EQ(package.byteArrayData().toStdString(), c.ascii);
        EXPECT_EQ(tableOf(package), QList<int>{2});
    }
}

TEST(TxPackage, CheckValuesCoverEveryByteSoFar)
{
    struct Case {
        const char* bytes;
        const char* lrcByte;
        const char* lrcAscii;
        const char* fcsAscii;
    };
    const Case cases[] = {
        {"010203", "06", "06", "00"},
        {"ffff", "fe", "FE", "00"},
        {"", "00", "00", "00"},
        {"3a3031", "9b", "9B", "3B"}, // a start character is part of the sums
        {"80808001", "81", "81", "81"},
    };
    for (const Case& c : cases) {
        const QByteArray start = QByteArray::fromHex(c.bytes);
        TxPackage lrcByte;
        TxPackage lrcAscii;
        TxPackage fcsAscii;
        for (TxPackage* package : {&lrcByte, &lrcAscii, &fcsAscii}) {
            if (!start.isEmpty())
                package->appendSection(start);
        }
        EXPECT_TRUE(lrcByte.appendLRCByte());
        EXPECT_TRUE(lrcAscii.appendLRCAscii());
        EXPECT_TRUE(fcsAscii.appendFCSAscii(12345));
        EXPECT_EQ(hexOf(lrcByte.byteArrayData().mid(start.size())), c.lrcByte) << c.bytes;
        EXPECT_EQ(lrcAscii.byteArrayData().mid(start.size()).toStdString(), c.lrcAscii) << c.bytes;
        EXPECT_EQ(fcsAscii.byteArrayData().mid(start.size()).toStdString(), c.fcsAscii) << c.bytes;
        EXPECT_EQ(lrcByte.sectionSize(lrcByte.numberOfSections() - 1), 1);
        EXPECT_EQ(lrcAscii.sectionSize(lrcAscii.numberOfSections() - 1), 2);
        EXPECT_EQ(fcsAscii.sectionSize(fcsAscii.numberOfSections() - 1), 2);
    }
}

TEST(TxPackage, CalculateFcsLeavesOutTheLastBytes)
{
    TxPackage package;
    package.appendSection(QByteArray::fromHex("010204"));
    struct Case {
        int excluded;
        int fcs;
    };
    const Case cases[] = {{0, 0x07}, {1, 0x03}, {2, 0x01}, {3, 0}, {4, 0}, {INT_MAX, 0}, {-1, 0x07}, {INT_MIN, 0x07}};
    for (const Case& c : cases)
        EXPECT_EQ(TxPackage::calculateFCS(&package, c.excluded), c.fcs) << "excluded " << c.excluded;
    EXPECT_EQ(TxPackage::calculateFCS(nullptr, 0), 0);
    TxPackage empty;
    EXPECT_EQ(TxPackage::calculateFCS(&empty, 0), 0);
}

TEST(TxPackage, SectionNumbersOutsideTheTable)
{
    TxPackage package;
    package.appendByte(0xAA);
    package.appendWord(0xBBCC);
    for (int section : {-1, 2, 3, INT_MIN, INT_MAX}) {
        EXPECT_FALSE(package.validSectionNumber(section)) << section;
        EXPECT_EQ(package.sectionStartIndex(section), -1) << section;
        EXPECT_EQ(package.sectionSize(section), 0) << section;
        EXPECT_TRUE(package.dataAt(section).isEmpty()) << section;
    }
    EXPECT_TRUE(package.validSectionNumber(0));
    EXPECT_TRUE(package.validSectionNumber(1));
}

TEST(TxPackage, VariableSizesResolveThroughTheirSections)
{
    struct Case {
        const char* name;
        QList<int> table;
        const char* bytes;
        int section;
        int size;
        int start;
        const char* data;
    };
    const Case cases[] = {
        {"size from section 1", {2, 4, -1}, "aabb03000000112233", 2, 3, 6, "112233"},
        {"start after a variable section", {2, 4, -1, 1}, "aabb0300000011223344", 3, 1, 9, "44"},
        {"chain of sizes", {4, 4, -1, -2}, "00000000" "05000000" "02000000ee" "1122", 3, 2, 13, "1122"},
        {"no such section", {4, -5, 1}, "0500000077", 1, 0, 4, ""},
        {"after an unknown reference", {4, -5, 1}, "0500000077", 2, 1, 4, "77"},
        {"most negative entry", {4, INT_MIN, 1}, "0500000077", 2, 1, 4, "77"},
        {"section of two bytes", {2, 2, -1}, "01000200aabb", 2, 0, 4, ""},
        {"section cut by the end of the bytes", {2, 4, -1}, "aabb0300", 2, 0, 6, ""},
        {"negative size value", {2, 4, -1, 1}, "aabbffffffff55", 3, 1, 6, "55"},
        {"size beyond the bytes", {2, 4, -1}, "aabb0a000000112233", 2, 10, 6, "112233"},
        {"largest size value", {2, 4, -1, 1}, "aabbffffff7f112233", 3, 1, INT_MAX, ""},
        {"size of itself", {4, -1}, "01000000ff", 1, 0, 4, ""},
        {"two sections sized by each other", {4, -2, -1}, "0400000004000000", 2, 0, 4, ""},
        {"forward reference", {-1, 4}, "02000000", 0, 0, 0, ""},
        // Section 4 needs section 2's start, so section 1's size, which needs section 4.
        {"cycle through another reference", {4, -4, 4, 4, -2}, "00000000" "05000000" "06000000" "1122334455", 4, 0,
         12, ""},
        {"beside a cycle", {4, 4, -2, -1}, "00000000" "03000000" "aabbcc", 3, 3, 8, "aabbcc"},
        // Section 2's size needs the start of section 4, which passes over section 2
        // itself (a cycle) and section 3 (not part of it).
        {"after a cycle inside a resolution", {4, 4, -4, -1, 4}, "00000000" "02000000" "aabb" "01020304", 3, 2, 8,
         "aabb"},
        {"end of that layout", {4, 4, -4, -1, 4}, "00000000" "02000000" "aabb" "01020304", 4, 4, 10, "01020304"},
    };
    for (const Case& c : cases) {
        const TxPackage package = packageWith(c.table, c.bytes);
        EXPECT_EQ(package.sectionSize(c.section), c.size) << c.name;
        EXPECT_EQ(package.sectionStartIndex(c.section), c.start) << c.name;
        EXPECT_EQ(hexOf(package.dataAt(c.section)), c.data) << c.name;
    }
}

TEST(TxPackage, AnySectionTableStaysInsideTheBytes)
{
    // Tables full of references in every direction, over bytes full of size values:
    // every answer must agree with the others and never reach past the bytes.
    std::uint32_t seed = 12345;
    const auto next = [&seed](std::uint32_t bound) {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) % bound;
    };
    int resolvedVariableSections = 0;
    for (int round = 0; round < 200; ++round) {
        const int sections = 1 + static_cast<int>(next(40));
        QList<int> table;
        for (int i = 0; i < sections; ++i)
            table.append(next(3) == 0 ? static_cast<int>(next(9)) : -static_cast<int>(next(i + 3)) - 1);
        QByteArray bytes;
        const int length = static_cast<int>(next(120));
        for (int i = 0; i < length; ++i)
            bytes.append(static_cast<char>(next(2) == 0 ? 0 : next(4) == 0 ? next(256) : next(6)));
        TxPackage package;
        package.setSectionSize(table);
        package.setData(bytes);
        for (int section = 0; section < sections; ++section) {
            const int start = package.sectionStartIndex(section);
            const int size = package.sectionSize(section);
            ASSERT_GE(start, 0);
            ASSERT_GE(size, 0);
            if (table.at(section) < 0 && size > 0)
                ++resolvedVariableSections;
            if (section + 1 < sections) {
                const long long end = static_cast<long long>(start) + size;
                ASSERT_EQ(package.sectionStartIndex(section + 1), std::min<long long>(end, INT_MAX))
                    << "round " << round;
            }
            ASSERT_EQ(package.dataAt(section), bytes.mid(start, size)) << "round " << round;
        }
    }
    EXPECT_GT(resolvedVariableSections, 100) << "the tables should resolve many variable sizes";

    QList<int> longChain;
    for (int i = 0; i < 5000; ++i)
        longChain.append(-(i + 1));
    TxPackage chained;
    chained.setSectionSize(longChain);
    chained.setData(QByteArray(64, '\x04'));
    EXPECT_EQ(chained.sectionSize(0), 0);
    EXPECT_EQ(chained.sectionStartIndex(4999), 0);
}

TEST(TxPackage, SetSectionSizeResizesToTheFixedEntries)
{
    struct Case {
        const char* name;
        const char* before;
        QList<int> table;
        bool accepted;
        const char* after;
    };
    const Case cases[] = {
        {"empty package grows with zeros", "", {2, 3}, true, "0000000000"},
        {"no sections", "0102", EmptyPackageSizeList(), true, ""},
        {"shrinks, keeping the head", "010203040506", {2, 1}, true, "010203"},
        {"grows, keeping the bytes", "0102", {2, 2}, true, "01020000"},
        {"variable entry adds nothing", "", {2, -1, 3}, true, "0000000000"},
        {"sum beyond a byte array", "0102", {INT_MAX, INT_MAX}, false, "0102"},
        {"single entry beyond a byte array", "0102", {INT_MAX}, false, "0102"},
        {"most negative entry", "0102", {INT_MIN}, true, ""},
    };
    for (const Case& c : cases) {
        TxPackage package;
        package.appendSection(QByteArray::fromHex(c.before));
        const QList<int> tableBefore = tableOf(package);
        EXPECT_EQ(package.setSectionSize(c.table), c.accepted) << c.name;
        EXPECT_EQ(hexOf(package.byteArrayData()), c.after) << c.name;
        EXPECT_EQ(package.numberOfSections(), c.accepted ? c.table.size() : tableBefore.size()) << c.name;
    }
}

TEST(TxPackage, SetDataReplacesOnlyTheBytes)
{
    TxPackage package;
    package.appendWord(0x0102);
    EXPECT_TRUE(package.setData(QByteArray::fromHex("aabbcc")));
    EXPECT_EQ(hexOf(package.byteArrayData()), "aabbcc");
    EXPECT_EQ(tableOf(package), QList<int>{2});

    const char raw[] = {'\x11', '\x00', '\x22'};
    EXPECT_TRUE(package.setData(raw, 3));
    EXPECT_EQ(hexOf(package.byteArrayData()), "110022");
    EXPECT_FALSE(package.setData(raw, -1));
    EXPECT_FALSE(package.setData(nullptr, 2));
    EXPECT_EQ(hexOf(package.byteArrayData()), "110022");
    EXPECT_TRUE(package.setData(nullptr, 0));
    EXPECT_EQ(package.totalSize(), 0);
    EXPECT_EQ(tableOf(package), QList<int>{2});

    package.setData(QByteArray::fromHex("0000"));
    package.data()[1] = '\x7f';
    EXPECT_EQ(hexOf(package.dataAt(0)), "007f");
}

TEST(TxPackage, ToStringShowsEveryByteThenTheText)
{
    struct Case {
        const char* bytes;
        const char* text;
    };
    const Case cases[] = {
        {"3a3031", "(0X3a 0X30 0X31 ) : :01"},
        {"", "() : "},
        {"000aff", "(0X0 0Xa 0Xff ) : "},
        {"410042", "(0X41 0X0 0X42 ) : A"},
    };
    for (const Case& c : cases) {
        TxPackage package;
        package.setData(QByteArray::fromHex(c.bytes));
        EXPECT_EQ(package.toString().toStdString(), c.text);
    }
}

TEST(TxPackage, ArrayToIntIsTheFirstByte)
{
    const TxPackage package;
    EXPECT_EQ(package.arrayToInt(QByteArray()), 0);
    EXPECT_EQ(package.arrayToInt(QByteArray::fromHex("ff01")), 255);
    EXPECT_EQ(package.arrayToInt(QByteArray::fromHex("07")), 7);
}
