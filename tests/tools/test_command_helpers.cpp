#include <gtest/gtest.h>

#include "tools/command_helpers.h"

namespace {

struct SafeLengthCase {
    int dataType;
    int count;
    int expected;
};

} // namespace

TEST(CommandHelpers, SafeDataLengthFollowsTheDataType)
{
    const SafeLengthCase cases[] = {
        {Bit, 0, 0},       {Bit, 1, 1},     {Bit, 8, 1},       {Bit, 9, 2},
        {BitBlock, 16, 2}, {Byte, 7, 7},    {Block, 5, 5},     {Word, 3, 6},
        {DoubleWord, 3, 12}, {QuadWord, 3, 24}, {7, 10, 0},    {-1, 10, 0},
        {Word, -4, 0},
    };
    for (const SafeLengthCase& c : cases) {
        const CommunicatorCommand command(c.dataType, c.count, QStringLiteral("HR1"));
        EXPECT_EQ(GetSafeDataLen(command), c.expected) << "type " << c.dataType << " count " << c.count;
    }
}

TEST(CommandHelpers, ToSafeDataPadsOrCuts)
{
    const CommunicatorCommand threeWords(Word, 3, QStringLiteral("HR1"));
    EXPECT_EQ(ToSafeData(threeWords, QByteArray::fromHex("01020304")), QByteArray::fromHex("010203040000"));
    EXPECT_EQ(ToSafeData(threeWords, QByteArray::fromHex("0102030405060708090a")),
              QByteArray::fromHex("010203040506"));
    EXPECT_EQ(ToSafeData(threeWords, QByteArray::fromHex("010203040506")), QByteArray::fromHex("010203040506"));
}

TEST(CommandHelpers, PredicatesAndBitData)
{
    EXPECT_TRUE(isBitCommand(CommunicatorCommand(Bit, 1, {})));
    EXPECT_FALSE(isBitCommand(CommunicatorCommand(BitBlock, 1, {})));
    EXPECT_TRUE(isByteCommand(CommunicatorCommand(Byte, 1, {})));
    EXPECT_TRUE(isWordCommand(CommunicatorCommand(Word, 1, {})));
    EXPECT_TRUE(isDoubleWordCommand(CommunicatorCommand(DoubleWord, 1, {})));
    EXPECT_TRUE(isBlockCommand(CommunicatorCommand(Block, 1, {})));
    EXPECT_FALSE(isBlockCommand(CommunicatorCommand(Byte, 1, {})));
    EXPECT_TRUE(getBitData(QByteArray::fromHex("0300")));
    EXPECT_FALSE(getBitData(QByteArray::fromHex("02")));
    EXPECT_FALSE(getBitData(QByteArray()));
}
