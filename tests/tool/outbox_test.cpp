#include "tool/client/outbox.h"

#include "tests/tool/scriptedhost.h"

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

constexpr MessageID cFirst = replyTo(MessageID::MESSAGE_GET_VARIABLE);
constexpr MessageID cOther = replyTo(MessageID::MESSAGE_SET_WATCH);

struct OutboxTest : LibraryTest {
    Frame frameOfSize(uint32 numBytes) { return Frame(allocator(), numBytes); }
    Frame frameWith(const std::string& bytes) { return Frame(allocator(), bytes.begin(), bytes.end()); }
    Ticket ask(uint32 numBytes, MessageID reply, const std::string& identification = std::string()) {
        return outbox.addRequest(frameOfSize(numBytes), reply, frameWith(identification));
    }
    Ticket answer(MessageID id, const std::string& fields = std::string()) {
        MemoryStream stream("answer", 7);
        stream.write("type", 4);
        stream.write(fields.data(), fields.size());
        stream.seek(4, MemoryStream::SORIGIN_BEGIN);
        const Ticket ticket = outbox.answer(static_cast<uint32>(id), stream);
        CHECK(stream.getPosition() == 4);
        return ticket;
    }
    void take(uint32 numBytes) {
        CHECK(outbox.getNext().size() == numBytes);
        outbox.take(numBytes, 7);
    }

    Outbox outbox{100};
};

} // namespace

TEST_CASE_FIXTURE(OutboxTest, "requests wait until those before them are answered") {
    CHECK(outbox.getNext().empty());
    CHECK(ask(60, cFirst) == 1);
    CHECK(ask(40, cOther) == 2);
    ask(30, cFirst);
    ask(500, cFirst);
    CHECK(outbox.getNext().size() == 60);
    outbox.take(7, 7);
    take(53);
    take(40);
    CHECK(outbox.getUnanswered() == 100);
    CHECK(outbox.getNext().empty());
    CHECK(answer(MessageID::MESSAGE_GET_VARIABLE) == cNoTicket);
    CHECK(outbox.getNext().empty());
    CHECK(answer(cOther) == 2);
    CHECK(outbox.getUnanswered() == 60);
    take(30);
    CHECK(answer(cFirst) == 1);
    CHECK(outbox.getUnanswered() == 30);
    CHECK(answer(cFirst) == 3);
    // What is longer than all that may be under way travels alone, to its end.
    CHECK(outbox.getNext().size() == 500);
    outbox.take(499, 7);
    take(1);
    outbox.addSilent(frameOfSize(1));
    CHECK(outbox.getNext().empty());
    CHECK(outbox.getOldestTime() == 7);
    CHECK(outbox.giveUpOldest().reply == static_cast<uint32>(cFirst));
    CHECK(outbox.getUnanswered() == 0);
    CHECK_FALSE(outbox.isWaiting());
    take(1);
}

TEST_CASE_FIXTURE(OutboxTest, "an answer belongs to the oldest request that it repeats the fields of") {
    ask(10, cFirst, "ab");
    ask(10, cFirst, "abc");
    ask(10, cFirst, "x");
    for (int count = 0; count < 3; ++count)
        take(10);
    CHECK(answer(cFirst, "") == cNoTicket);
    CHECK(answer(cFirst, "x") == 3);
    CHECK(answer(cFirst, "abc") == 1);
    CHECK(outbox.giveUpOldest().ticket == 2);
    CHECK_FALSE(outbox.isWaiting());
    ask(10, cFirst, "abd");
    take(10);
    // A late answer is not taken for that of another request.
    CHECK(answer(cFirst, "abc") == 2);
    CHECK(answer(cFirst, "abc") == cNoTicket);
    CHECK(outbox.isWaiting());
    CHECK(answer(cFirst, "abd") == 4);
    CHECK(outbox.getUnanswered() == 0);
}

TEST_CASE_FIXTURE(OutboxTest, "an answer is that of a request that waits before that of one that was given up") {
    ask(10, cFirst, "ab");
    ask(10, cOther, "x");
    take(10);
    take(10);
    CHECK(outbox.giveUpOldest().ticket == 1);
    CHECK(outbox.giveUpOldest().ticket == 2);
    ask(10, cFirst, "ab");
    take(10);
    CHECK(answer(cFirst, "ab") == 3);
    CHECK_FALSE(outbox.isWaiting());
    // The host is past both of the others.
    CHECK(answer(cFirst, "ab") == cNoTicket);
    CHECK(answer(cOther, "x") == cNoTicket);
}

TEST_CASE_FIXTURE(OutboxTest, "what is not answered counts until a later answer has come") {
    outbox.addSilent(frameOfSize(20));
    CHECK_FALSE(outbox.needsRequest(30));
    CHECK(outbox.needsRequest(31));
    outbox.addSilent(frameOfSize(30));
    const Ticket sign = ask(10, cFirst);
    CHECK_FALSE(outbox.needsRequest(99));
    outbox.addSilent(frameOfSize(40));
    outbox.addSilent(frameOfSize(1));
    CHECK(outbox.countSilent() == 4);
    for (const uint32 numBytes : {20u, 30u, 10u, 40u})
        take(numBytes);
    CHECK(outbox.countSilent() == 1);
    CHECK(outbox.getUnanswered() == 100);
    CHECK(outbox.getNext().empty());
    CHECK(answer(cFirst) == sign);
    CHECK(outbox.getUnanswered() == 40);
    take(1);
    // Nothing that is under way is answered, so a request does not wait for it.
    ask(60, cFirst);
    take(60);
    outbox.giveUpOldest();
    CHECK(outbox.getUnanswered() == 0);
}
