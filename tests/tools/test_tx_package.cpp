// Sectioned transmit packages: appends, check values, sections and their sizes.
#include <climits>
#include <gtest/gtest.h>
#include "tools/tx_package.h"
#include "tools_test_support.h"

namespace {
TxPackage packageOf(const char* bytes, const QList<int>& table = {})
{
    TxPackage package;
    package.setSectionSize(table);
    package.setData(hex(bytes));
    return package;
}
} // namespace

TEST(TxPackage, AppendsAndCheckValues)
{
    TxPackage package;
    EXPECT_TRUE(package.appendByte(0x01) && package.appendWord(0x1234) && package.appendDWord(0x12345678));
    EXPECT_EQ(hexOf(package.byteArrayData()), "01341278563412");
    EXPECT_EQ(package.sectionStartIndex(2), 3);
    EXPECT_EQ(hexOf(package.dataAt(1)), "3412");
    // e-acute has a Latin-1 byte, the euro sign has none.
    EXPECT_TRUE(package.appendString(QString()) && package.appendString(QString::fromUtf8("A\xC3\xA9\xE2\x82\xAC")));
    EXPECT_TRUE(package.appendSection(hex("c0ffee")) && package.appendByte2Ascii(10) && package.appendByte2Ascii(255));
    EXPECT_EQ(hexOf(package.byteArrayData().mid(7)), "41e93f" "c0ffee" "3041" "4646");
    EXPECT_TRUE(package.numberOfSections() == 8 && package.sectionSize(3) == 0 && package.sectionSize(4) == 3);
    EXPECT_EQ(package.sectionStartIndex(7), 15);
    EXPECT_EQ(package.arrayToInt(hex("ff01")), 255);
    package.clearAll();
    EXPECT_EQ(package.totalSize() + package.numberOfSections(), 0);
    EXPECT_EQ(packageOf("3a3031").toString().toStdString(), "(0X3a 0X30 0X31 ) : :01");
    EXPECT_EQ(packageOf("").toString().toStdString(), "() : ");
    EXPECT_EQ(packageOf("410042").toString().toStdString(), "(0X41 0X0 0X42 ) : A");
    const struct { const char* bytes; const char* lrcByte; const char* lrcAscii; const char* fcsAscii; } cases[] = {
        {"010203", "06", "06", "00"}, {"ffff", "fe", "FE", "00"}, {"", "00", "00", "00"},
        {"3a3031", "9b", "9B", "3B"}}; // a start character is part of the sums
    for (const auto& c : cases) {
        TxPackage lrcByte = packageOf(c.bytes), lrcAscii = packageOf(c.bytes), fcsAscii = packageOf(c.bytes);
        EXPECT_TRUE(lrcByte.appendLRCByte() && lrcAscii.appendLRCAscii() && fcsAscii.appendFCSAscii(12345));
        EXPECT_EQ(hexOf(lrcByte.byteArrayData().right(1)), c.lrcByte) << c.bytes;
        EXPECT_EQ(lrcAscii.byteArrayData().right(2).toStdString(), c.lrcAscii) << c.bytes;
        EXPECT_EQ(fcsAscii.byteArrayData().right(2).toStdString(), c.fcsAscii) << c.bytes;
    }
    TxPackage three = packageOf("010204");
    const struct { int excluded; int fcs; } excluded[] = {{0, 7}, {1, 3}, {3, 0}, {INT_MAX, 0}, {-1, 7}, {INT_MIN, 7}};
    for (const auto& c : excluded)
        EXPECT_EQ(TxPackage::calculateFCS(&three, c.excluded), c.fcs) << "excluded " << c.excluded;
    EXPECT_EQ(TxPackage::calculateFCS(nullptr, 0), 0);
}

TEST(TxPackage, SectionTables)
{
    // start -1: a section number that is not valid.
    const struct { const char* name; QList<int> table; const char* bytes; int section, size, start; const char* data; }
    cases[] = {
        {"section -1", {1, 2}, "aaccbb", -1, 0, -1, ""},  {"section past the table", {1, 2}, "aaccbb", 2, 0, -1, ""},
        {"INT_MIN", {1, 2}, "aaccbb", INT_MIN, 0, -1, ""}, {"INT_MAX", {1, 2}, "aaccbb", INT_MAX, 0, -1, ""},
        {"size from section 1", {2, 4, -1}, "aabb03000000112233", 2, 3, 6, "112233"},
        {"start after a variable section", {2, 4, -1, 1}, "aabb0300000011223344", 3, 1, 9, "44"},
        {"chain of sizes", {4, 4, -1, -2}, "00000000" "05000000" "02000000ee" "1122", 3, 2, 13, "1122"},
        {"no such section", {4, -5, 1}, "0500000077", 1, 0, 4, ""},
        {"section of two bytes", {2, 2, -1}, "01000200aabb", 2, 0, 4, ""},
        {"largest size value", {2, 4, -1, 1}, "aabbffffff7f112233", 3, 1, INT_MAX, ""},
        {"size of itself", {4, -1}, "01000000ff", 1, 0, 4, ""},
        {"two sections sized by each other", {4, -2, -1}, "0400000004000000", 2, 0, 4, ""},
        // Section 4 needs section 2's start, so section 1's size, which needs section 4.
        {"cycle through a start", {4, -4, 4, 4, -2}, "00000000" "05000000" "06000000" "1122334455", 4, 0, 12, ""},
    };
    for (const auto& c : cases) {
        const TxPackage package = packageOf(c.bytes, c.table);
        EXPECT_EQ(package.validSectionNumber(c.section), c.start >= 0) << c.name;
        EXPECT_EQ(package.sectionSize(c.section), c.size) << c.name;
        EXPECT_EQ(package.sectionStartIndex(c.section), c.start) << c.name;
        EXPECT_EQ(hexOf(package.dataAt(c.section)), c.data) << c.name;
    }
    const struct { const char* name; QList<int> table; bool accepted; int size, sections; } resizes[] = {
        {"2 and 3", {2, 3}, true, 5, 2}, {"no sections", EmptyPackageSizeList(), true, 0, 0},
        {"variable entry adds nothing", {2, -1, 3}, true, 5, 3}, {"sum too large", {INT_MAX, INT_MAX}, false, 2, 1}};
    for (const auto& c : resizes) {
        TxPackage package;
        package.appendWord(0x0102);
        EXPECT_EQ(package.setSectionSize(c.table), c.accepted) << c.name;
        EXPECT_EQ(package.totalSize(), c.size) << c.name;
        EXPECT_EQ(package.numberOfSections(), c.sections) << c.name;
    }
    TxPackage package = packageOf("", {2});
    EXPECT_TRUE(package.setData("\x11\x00\x22", 3) && !package.setData("x", -1) && !package.setData(nullptr, 2));
    EXPECT_EQ(hexOf(package.byteArrayData()), "110022");
    EXPECT_EQ(package.sectionSize(0), 2);
}
