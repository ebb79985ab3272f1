#include "hostlogger/exchangepairing.h"
#include "tests/support/allocationcount.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

namespace keyreap {
namespace {

constexpr std::uint32_t thread = 0x24;
constexpr std::uint32_t otherThread = 0x34;

class ExchangePairingTest : public testing::Test {
protected:
    void Request(std::uint32_t id, std::string_view name, std::string_view fields = {}) {
        pairing.AddRequest({RequestLine::Kind::request, id, name, {}, fields});
    }
    std::optional<Exchange> Reply(std::uint32_t id, std::string_view name, std::string_view status = "0",
                                  std::string_view fields = {}) {
        return pairing.TakeReply({RequestLine::Kind::reply, id, name, status, fields});
    }

    ExchangePairing pairing;
};

TEST_F(ExchangePairingTest, AnExchangeHasWhatItsRequestAndItsReplySay) {
    Request(thread, "open_key", "name=A");
    pairing.AddRealPath("REGISTRY\\\\A");
    const auto exchange = Reply(thread, "open_key", "ACCESS_DENIED", "hkey=0004");
    ASSERT_TRUE(exchange);
    EXPECT_EQ(exchange->threadId, thread);
    EXPECT_EQ(exchange->name, "open_key");
    EXPECT_EQ(exchange->requestFields, "name=A");
    EXPECT_EQ(exchange->realPath, "REGISTRY\\\\A");
    EXPECT_EQ(exchange->replyFields, "hkey=0004");
    EXPECT_EQ(exchange->status, 0xC0000022U);
}

TEST_F(ExchangePairingTest, AReplyBelongsToTheRequestOfItsThread) {
    Request(thread, "delete_key", "hkey=0004");
    Request(otherThread, "delete_key", "hkey=0008");
    EXPECT_EQ(Reply(thread, "delete_key").value().requestFields, "hkey=0004");
    EXPECT_EQ(Reply(otherThread, "delete_key").value().requestFields, "hkey=0008");
}

TEST_F(ExchangePairingTest, AReplyWithoutARequestMakesNoExchange) {
    EXPECT_FALSE(Reply(thread, "delete_key"));
}

TEST_F(ExchangePairingTest, AReplyOfAnotherNameMakesNoExchange) {
    Request(thread, "delete_key");
    EXPECT_FALSE(Reply(thread, "open_key"));
    EXPECT_TRUE(Reply(thread, "delete_key"));
}

TEST_F(ExchangePairingTest, ARequestHasOneReply) {
    Request(thread, "delete_key");
    EXPECT_TRUE(Reply(thread, "delete_key"));
    EXPECT_FALSE(Reply(thread, "delete_key"));
}

TEST_F(ExchangePairingTest, AThreadWaitsForTheReplyToItsLastRequestOnly) {
    Request(thread, "delete_key", "hkey=0004");
    Request(thread, "delete_key", "hkey=0008");
    EXPECT_EQ(Reply(thread, "delete_key").value().requestFields, "hkey=0008");
    EXPECT_FALSE(Reply(thread, "delete_key"));
}

TEST_F(ExchangePairingTest, ASkippedRequestEndsTheWaitForAnEarlierOne) {
    Request(thread, "delete_key");
    pairing.SkipRequest(thread);
    EXPECT_FALSE(Reply(thread, "delete_key"));
}

TEST_F(ExchangePairingTest, ASkippedRequestTakesNoMemory) {
    const std::size_t before = LiveAllocationCount();
    pairing.SkipRequest(thread);
    EXPECT_EQ(LiveAllocationCount(), before);
}

TEST_F(ExchangePairingTest, ARealPathBelongsToTheRequestAheadOfIt) {
    Request(thread, "open_key");
    Request(otherThread, "open_key");
    pairing.AddRealPath("REGISTRY");
    EXPECT_EQ(Reply(thread, "open_key").value().realPath, "");
    EXPECT_EQ(Reply(otherThread, "open_key").value().realPath, "REGISTRY");
}

TEST_F(ExchangePairingTest, ARealPathAheadOfEveryRequestIsIgnored) {
    pairing.AddRealPath("REGISTRY");
    Request(thread, "open_key");
    EXPECT_EQ(Reply(thread, "open_key").value().realPath, "");
}

TEST_F(ExchangePairingTest, ARealPathIsNotKeptForTheNextRequest) {
    Request(thread, "open_key");
    pairing.AddRealPath("REGISTRY");
    Reply(thread, "open_key");
    Request(thread, "open_key");
    EXPECT_EQ(Reply(thread, "open_key").value().realPath, "");
}

TEST_F(ExchangePairingTest, ARequestEndsWithItsThread) {
    Request(thread, "delete_key");
    pairing.EndThread(thread);
    EXPECT_FALSE(Reply(thread, "delete_key"));
}

TEST_F(ExchangePairingTest, AnEndedThreadTakesNoMemory) {
    Request(thread, "delete_key", std::string(100, 'a'));
    pairing.EndThread(thread);
    const std::size_t before = LiveAllocationCount();
    Request(otherThread, "delete_key", std::string(100, 'a'));
    pairing.EndThread(otherThread);
    EXPECT_EQ(LiveAllocationCount(), before);
}

TEST_F(ExchangePairingTest, ALaterRequestReusesTheMemoryOfItsThread) {
    const std::string fields(100, 'a');
    Request(thread, "delete_key", fields);
    Reply(thread, "delete_key");
    const std::size_t before = AllocationCount();
    Request(thread, "open_key", fields);
    EXPECT_EQ(AllocationCount(), before);
}

} // namespace
} // namespace keyreap
