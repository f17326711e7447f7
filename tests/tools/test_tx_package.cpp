// Sectioned transmit packages: appends, check values, sections and their sizes.
#include <climits>
#include <utility>
#include <gtest/gtest.h>

#include "tools/tx_package.h"
#include "tools_test_support.h"

namespace {

QList<int> tableOf(const TxPackage& package)
{
    QList<int> table;
    for (int i = 0; i < package.numberOfSections(); ++i)
        table.append(package.sectionSize(i));
    return table;
}

} // namespace

TEST(TxPackage, AppendsAddOneSectionEach)
{
    TxPackage package;
    EXPECT_TRUE(package.appendByte(0x01) && package.appendWord(0x1234) && package.appendDWord(0x12345678));
    EXPECT_EQ(hexOf(package.byteArrayData()), "01341278563412");
    EXPECT_EQ(tableOf(package), (QList<int>{1, 2, 4}));
    EXPECT_EQ(package.sectionStartIndex(2), 3);
    EXPECT_EQ(hexOf(package.dataAt(1)), "3412");

    // e-acute has a Latin-1 byte, the euro sign has none.
    EXPECT_TRUE(package.appendString(QString()) && package.appendString(QString::fromUtf8("A\xC3\xA9\xE2\x82\xAC")));
    EXPECT_TRUE(package.appendSection(hex("c0ffee")));
    EXPECT_TRUE(package.appendByte2Ascii(0x0A) && package.appendByte2Ascii(0xFF) && package.appendByte2Ascii(0x5C));
    EXPECT_EQ(tableOf(package), (QList<int>{1, 2, 4, 0, 3, 3, 2, 2, 2}));
    EXPECT_EQ(hexOf(package.byteArrayData().mid(7)), "41e93f" "c0ffee" "3041" "4646" "3543");
    EXPECT_EQ(package.sectionStartIndex(5), 10);
    EXPECT_EQ(package.arrayToInt(hex("ff01")), 255);

    package.clearAll();
    EXPECT_EQ(package.totalSize(), 0);
    EXPECT_EQ(package.numberOfSections(), 0);
}

TEST(TxPackage, CheckValuesCoverEveryByteSoFar)
{
    const struct {
        const char* bytes;
        const char* lrcByte;
        const char* lrcAscii;
        const char* fcsAscii;
    } cases[] = {
        {"010203", "06", "06", "00"}, {"ffff", "fe", "FE", "00"}, {"", "00", "00", "00"},
        {"3a3031", "9b", "9B", "3B"}, // a start character is part of the sums
    };
    for (const auto& c : cases) {
        TxPackage lrcByte, lrcAscii, fcsAscii;
        for (TxPackage* package : {&lrcByte, &lrcAscii, &fcsAscii})
            package->setData(hex(c.bytes));
        EXPECT_TRUE(lrcByte.appendLRCByte() && lrcAscii.appendLRCAscii() && fcsAscii.appendFCSAscii(12345));
        const int start = hex(c.bytes).size();
        EXPECT_EQ(hexOf(lrcByte.byteArrayData().mid(start)), c.lrcByte) << c.bytes;
        EXPECT_EQ(lrcAscii.byteArrayData().mid(start).toStdString(), c.lrcAscii) << c.bytes;
        EXPECT_EQ(fcsAscii.byteArrayData().mid(start).toStdString(), c.fcsAscii) << c.bytes;
    }
    TxPackage package;
    package.appendSection(hex("010204"));
    for (const auto& c : std::initializer_list<std::pair<int, int>>{{0, 7}, {1, 3}, {3, 0}, {INT_MAX, 0}, {-1, 7}, {INT_MIN, 7}})
        EXPECT_EQ(TxPackage::calculateFCS(&package, c.first), c.second) << "excluded " << c.first;
    EXPECT_EQ(TxPackage::calculateFCS(nullptr, 0), 0);
}

TEST(TxPackage, SectionNumbersOutsideTheTable)
{
    TxPackage package;
    package.appendByte(0xAA);
    package.appendWord(0xBBCC);
    for (int section : {-1, 2, INT_MIN, INT_MAX}) {
        EXPECT_FALSE(package.validSectionNumber(section)) << section;
        EXPECT_EQ(package.sectionStartIndex(section), -1) << section;
        EXPECT_EQ(package.sectionSize(section), 0) << section;
        EXPECT_TRUE(package.dataAt(section).isEmpty()) << section;
    }
}

TEST(TxPackage, VariableSizesResolveThroughTheirSections)
{
    const struct {
        const char* name;
        QList<int> table;
        const char* bytes;
        int section;
        int size;
        int start;
        const char* data;
    } cases[] = {
        {"size from section 1", {2, 4, -1}, "aabb03000000112233", 2, 3, 6, "112233"},
        {"start after a variable section", {2, 4, -1, 1}, "aabb0300000011223344", 3, 1, 9, "44"},
        {"chain of sizes", {4, 4, -1, -2}, "00000000" "05000000" "02000000ee" "1122", 3, 2, 13, "1122"},
        {"no such section", {4, -5, 1}, "0500000077", 1, 0, 4, ""},
        {"section of two bytes", {2, 2, -1}, "01000200aabb", 2, 0, 4, ""},
        {"size beyond the bytes", {2, 4, -1}, "aabb0a000000112233", 2, 10, 6, "112233"},
        {"largest size value", {2, 4, -1, 1}, "aabbffffff7f112233", 3, 1, INT_MAX, ""},
        {"size of itself", {4, -1}, "01000000ff", 1, 0, 4, ""},
        {"two sections sized by each other", {4, -2, -1}, "0400000004000000", 2, 0, 4, ""},
        // Section 4 needs section 2's start, so section 1's size, which needs section 4.
        {"cycle through a start", {4, -4, 4, 4, -2}, "00000000" "05000000" "06000000" "1122334455", 4, 0, 12, ""},
    };
    for (const auto& c : cases) {
        TxPackage package;
        package.setSectionSize(c.table);
        package.setData(hex(c.bytes));
        EXPECT_EQ(package.sectionSize(c.section), c.size) << c.name;
        EXPECT_EQ(package.sectionStartIndex(c.section), c.start) << c.name;
        EXPECT_EQ(hexOf(package.dataAt(c.section)), c.data) << c.name;
    }
    QList<int> longChain; // deep enough to overflow a resolution that recurses
    for (int i = 0; i < 5000; ++i)
        longChain.append(-(i + 1));
    TxPackage chained;
    chained.setSectionSize(longChain);
    chained.setData(QByteArray(64, '\x04'));
    EXPECT_EQ(chained.sectionStartIndex(4999), 0);
}

TEST(TxPackage, SetSectionSizeAndSetData)
{
    const struct {
        const char* name;
        const char* before;
        QList<int> table;
        bool accepted;
        int size;
    } cases[] = {
        {"2 and 3", "", {2, 3}, true, 5},
        {"no sections", "0102", EmptyPackageSizeList(), true, 0},
        {"variable entry adds nothing", "", {2, -1, 3}, true, 5},
        {"sum beyond a byte array", "0102", {INT_MAX, INT_MAX}, false, 2},
    };
    for (const auto& c : cases) {
        TxPackage package;
        package.appendSection(hex(c.before));
        EXPECT_EQ(package.setSectionSize(c.table), c.accepted) << c.name;
        EXPECT_EQ(package.totalSize(), c.size) << c.name;
        EXPECT_EQ(package.numberOfSections(), c.accepted ? c.table.size() : 1) << c.name;
    }
    TxPackage package;
    package.appendWord(0x0102);
    const char bytes[] = {'\x11', '\x00', '\x22'};
    EXPECT_TRUE(package.setData(bytes, 3));
    EXPECT_FALSE(package.setData(bytes, -1));
    EXPECT_FALSE(package.setData(nullptr, 2));
    EXPECT_EQ(hexOf(package.byteArrayData()), "110022");
    EXPECT_EQ(tableOf(package), QList<int>{2});
}

TEST(TxPackage, ToStringShowsEveryByteThenTheText)
{
    const struct {
        const char* bytes;
        const char* text;
    } cases[] = {{"3a3031", "(0X3a 0X30 0X31 ) : :01"}, {"", "() : "}, {"410042", "(0X41 0X0 0X42 ) : A"}};
    for (const auto& c : cases) {
        TxPackage package;
        package.setData(hex(c.bytes));
        EXPECT_EQ(package.toString().toStdString(), c.text);
    }
}
