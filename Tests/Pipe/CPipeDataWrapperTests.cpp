#include "CPipeDataWrapper.h"

#include "LinkFixture.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// A record in a block of exactly its table length, so that one byte read past it is noticed.
std::vector<char> ExactRecord(uint32_t code)
{
    std::vector<char> bytes(CPipeDataWrapper::GetCommandDataLen(code));
    memcpy(bytes.data(), &code, sizeof(code));
    for (size_t i = sizeof(code); i < bytes.size(); ++i)
        bytes[i] = static_cast<char>('a' + i % 26);
    return bytes;
}

const CCommandDataWrapper<char> *AsRecord(const std::vector<char> &bytes)
{
    return reinterpret_cast<const CCommandDataWrapper<char> *>(bytes.data());
}

TEST(CPipeDataWrapperTest, GetCommandDataLenOf0And13Is0AndOf12Is13)
{
    EXPECT_EQ(CPipeDataWrapper::GetCommandDataLen(0), 0u);
    EXPECT_EQ(CPipeDataWrapper::GetCommandDataLen(13), 0u);
    EXPECT_EQ(CPipeDataWrapper::GetCommandDataLen(12), 13u);
}

TEST(CPipeDataWrapperTest, EveryCodeFrom1To12HasARecordThatFitsAMessage)
{
    for (uint32_t code = 1; code <= 12; ++code) {
        EXPECT_GE(CPipeDataWrapper::GetCommandDataLen(code), 12u) << code;
        EXPECT_LE(CPipeDataWrapper::GetCommandDataLen(code), 508u) << code;
    }
}

TEST(CPipeDataWrapperTest, CodesOfTheWholeRangeThatAreNotInTheTableHaveNoLength)
{
    for (uint32_t code : {14u, 255u, 256u + 12u, 0x0c000000u, 0x80000000u, 0xffffffffu})
        EXPECT_EQ(CPipeDataWrapper::GetCommandDataLen(code), 0u) << code;
}

TEST(CPipeDataWrapperTest, ANewEnvelopeHasNoCommandAndAnEmptyMessage)
{
    const CPipeDataWrapper envelope;
    EXPECT_EQ(envelope.getCommandDataWrapper(), nullptr);
    EXPECT_EQ(std::string(envelope.getMessage(), 513), std::string(513, '\0'));
}

TEST(CPipeDataWrapperTest, AnEnvelopeOfACode12RecordHasItsBytesAndThen500Zeros)
{
    CPipeDataWrapper envelope;
    ASSERT_TRUE(envelope.InitializeWithCmdDataWrapper(&kExplorerQuitNotice));
    const std::string expected("\x0c\0\0\0\0\0\0\0\x0d\0\0\0\0", 13);
    EXPECT_EQ(std::string(envelope.getMessage(), 513), expected + std::string(500, '\0'));
}

TEST(CPipeDataWrapperTest, TheCommandIsACopyOfTheRecord)
{
    CCommandDataWrapper<char> record = {CMD_EXPLORER_QUIT, 1, 2, 3};
    CPipeDataWrapper envelope;
    ASSERT_TRUE(envelope.InitializeWithCmdDataWrapper(&record));
    record.payload = 9;
    const CCommandDataWrapper<char> *copy = envelope.getCommandDataWrapper();
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, &record);
    EXPECT_EQ(copy->command, CMD_EXPLORER_QUIT);
    EXPECT_EQ(copy->reserved, 1u);
    EXPECT_EQ(copy->length, 2u);
    EXPECT_EQ(copy->payload, 3);
}

TEST(CPipeDataWrapperTest, ARecordIsCopiedExactlyAsLongAsTheTableSaysInBothDirections)
{
    for (uint32_t code = 1; code <= 12; ++code) {
        const std::vector<char> record = ExactRecord(code);
        CPipeDataWrapper sent, received;
        ASSERT_TRUE(sent.InitializeWithCmdDataWrapper(AsRecord(record)));
        EXPECT_EQ(memcmp(sent.getMessage(), record.data(), record.size()), 0);
        EXPECT_EQ(memcmp(sent.getCommandDataWrapper(), record.data(), record.size()), 0);
        ASSERT_TRUE(received.InitializeWithPipeMessage(record.data()));
        EXPECT_EQ(memcmp(received.getCommandDataWrapper(), record.data(), record.size()), 0);
    }
}

TEST(CPipeDataWrapperTest, TheLengthFieldOfARecordIsNotBelieved)
{
    for (uint32_t lie : {0u, 12u, 509u, 0x7fffffffu, 0xffffffffu}) {
        const std::string body = RecordText(12, lie);
        const std::vector<char> exact(body.begin(), body.end());
        CPipeDataWrapper envelope;
        ASSERT_TRUE(envelope.InitializeWithPipeMessage(exact.data()));
        EXPECT_EQ(envelope.getCommandDataWrapper()->length, lie);
    }
}

TEST(CPipeDataWrapperTest, AnUnknownCodeForSendingLeavesTheMessageAndDropsTheCommand)
{
    CPipeDataWrapper envelope;
    ASSERT_TRUE(envelope.InitializeWithCmdDataWrapper(&kExplorerQuitNotice));
    const std::string before(envelope.getMessage(), 513);
    const std::string unknown = RecordText(13, 13);
    EXPECT_FALSE(envelope.InitializeWithCmdDataWrapper(
        reinterpret_cast<const CCommandDataWrapper<char> *>(unknown.data())));
    EXPECT_EQ(envelope.getCommandDataWrapper(), nullptr);
    EXPECT_EQ(std::string(envelope.getMessage(), 513), before);
}

TEST(CPipeDataWrapperTest, ABodyWhoseCodeIs0ReturnsFalseAndLeavesTheCommandNull)
{
    CPipeDataWrapper envelope;
    EXPECT_FALSE(envelope.InitializeWithPipeMessage(std::string(509, '\0').data()));
    EXPECT_EQ(envelope.getCommandDataWrapper(), nullptr);
}

TEST(CPipeDataWrapperTest, AnUnknownReceivedCodeDropsTheCommandHeldBefore)
{
    CPipeDataWrapper envelope;
    ASSERT_TRUE(envelope.InitializeWithPipeMessage(Padded(RecordText(12, 13)).data()));
    EXPECT_FALSE(envelope.InitializeWithPipeMessage(Padded(RecordText(13, 13)).data()));
    EXPECT_EQ(envelope.getCommandDataWrapper(), nullptr);
}

TEST(CPipeDataWrapperTest, AReceivedMessageDoesNotFillTheMessageText)
{
    CPipeDataWrapper envelope;
    ASSERT_TRUE(envelope.InitializeWithPipeMessage(Padded(RecordText(12, 13)).data()));
    EXPECT_EQ(std::string(envelope.getMessage(), 513), std::string(513, '\0'));
}

TEST(CPipeDataWrapperTest, AnEnvelopeMayBeFilledFromItsOwnRecord)
{
    CPipeDataWrapper envelope;
    ASSERT_TRUE(envelope.InitializeWithCmdDataWrapper(&kExplorerQuitNotice));
    ASSERT_TRUE(envelope.InitializeWithCmdDataWrapper(envelope.getCommandDataWrapper()));
    EXPECT_EQ(envelope.getCommandDataWrapper()->length, 13u);
}

TEST(CPipeDataWrapperTest, ASecondRecordLeavesNothingOfTheFirst)
{
    CPipeDataWrapper envelope;
    const CCommandDataWrapper<char> longer = {CMD_EXPLORER_QUIT, 0, 13, 'p'};
    ASSERT_TRUE(envelope.InitializeWithCmdDataWrapper(&longer));
    ASSERT_EQ(envelope.getMessage()[12], 'p');
    const CCommandDataWrapper<char> shorter = {static_cast<COMMAND_TYPE>(5), 0, 12, 'q'};
    ASSERT_TRUE(envelope.InitializeWithCmdDataWrapper(&shorter));
    for (size_t at = 12; at < 513; ++at)
        ASSERT_EQ(envelope.getMessage()[at], '\0') << at;
}

TEST(CPipeDataWrapperTest, DestroyingAnEnvelopeThatWasNeverInitialisedFreesNothing)
{
    const auto envelope = std::make_unique<CPipeDataWrapper>();
    EXPECT_EQ(envelope->getCommandDataWrapper(), nullptr);
}

TEST(CPipeDataWrapperDeathTest, ANullRecordStopsTheProcessInEveryBuild)
{
    CPipeDataWrapper envelope;
    EXPECT_EXIT(envelope.InitializeWithCmdDataWrapper(nullptr), testing::KilledBySignal(SIGABRT),
                "pData.*InitializeWithCmdDataWrapper.*Include/CPipeDataWrapper.*27");
}

TEST(CPipeDataWrapperDeathTest, ANullMessageStopsTheProcessInEveryBuild)
{
    CPipeDataWrapper envelope;
    EXPECT_EXIT(envelope.InitializeWithPipeMessage(nullptr), testing::KilledBySignal(SIGABRT),
                "message.*InitializeWithPipeMessage.*Include/CPipeDataWrapper.*116");
}

}  // namespace
