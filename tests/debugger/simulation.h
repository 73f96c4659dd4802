#pragma once

#include "tests/debugger/servertest.h"
#include "tests/network/handlers.h"

#include "common/library.h"

#include <cstdlib>
#include <deque>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <utility>

/// What the simulations of a host and its tools have in common.
///
/// A simulation does what its seed says. `TARQ_SIMULATION_SEEDS` in the environment is the number of seeds, and
/// `TARQ_SIMULATION_FIRST_SEED` the first of them: for longer runs, and to repeat the one that has failed.
namespace Tarq::Test {

using Debugger::ClientKey;
using Debugger::Server;

struct SimulationSeeds {
    explicit SimulationSeeds(uint64 countByDefault)
        : count(read("TARQ_SIMULATION_SEEDS", countByDefault)), first(read("TARQ_SIMULATION_FIRST_SEED", 1)) {}

    uint64 count;
    uint64 first;

private:
    static uint64 read(const char* variable, uint64 byDefault) {
        const char* const text = std::getenv(variable);
        return text ? std::strtoull(text, nullptr, 10) : byDefault;
    }
};

/// The same numbers for the same seed, on every machine.
class Random {
public:
    explicit Random(uint64 seed) : mEngine(seed) {}

    uint32 below(std::size_t limit) { return static_cast<uint32>(mEngine() % limit); }
    bool oneIn(uint32 times) { return below(times) == 0; }

private:
    std::mt19937_64 mEngine;
};

/// The first thing that is found wrong. Threads: any.
class Fault {
public:
    void note(const std::string& text) {
        const std::scoped_lock inside(mMutex);
        if (mText.empty())
            mText = text;
    }
    void check(bool holds, const std::string& text) {
        if (!holds)
            note(text);
    }
    std::string get() const {
        const std::scoped_lock inside(mMutex);
        return mText;
    }

private:
    mutable std::mutex mMutex;
    std::string mText;
};

/// The messages beside the identity; each has a text.
enum SimulatedMessage : uint32 {
    ECHO = 1000, ///< answered at once
    ECHO_REPLY,
    QUESTION, ///< answered by the host when it finds the time
    ANSWER,
    REMARK, ///< never answered; its handler is not there from the start
    NEWS,   ///< from the host, unasked
};

inline std::string textMessageOf(uint32 type, const std::string& text) {
    return messageOf([&](MessageBuilder& builder) {
        builder.write(type);
        builder.write(text.c_str());
    });
}
inline std::unique_ptr<IO::Stream> textStreamOf(uint32 type, const std::string& text) {
    std::unique_ptr<IO::Stream> stream(new (Library::getTempAlloc()) MemoryStream("text", 256));
    MessageBuilder builder(stream.get(), true);
    builder.write(type);
    builder.write(text.c_str());
    return stream;
}

/// 0 when it has none.
inline uint32 typeOf(const std::string& message) {
    uint32 type = 0;
    for (std::size_t at = 1; at < 5 && message.size() >= 5; ++at)
        type = type << 8 | static_cast<unsigned char>(message[at]);
    return type;
}

/// Queues the message for whoever `to` names; it is gone otherwise.
template <class To>
bool sendTo(const To& to, uint32 type, const std::string& text) {
    std::unique_ptr<IO::Stream> stream = textStreamOf(type, text);
    const bool isSent = Server::getInstance()->sendMessage(to, stream.get());
    if (isSent)
        static_cast<void>(stream.release());
    return isSent;
}

/// What the host has still to answer, the oldest first. Threads: any.
class Questions {
public:
    struct Question {
        ClientKey asker;
        std::string text;
    };

    void add(Question question) {
        const std::scoped_lock inside(mMutex);
        mQuestions.push_back(std::move(question));
    }
    std::optional<Question> take() {
        const std::scoped_lock inside(mMutex);
        if (mQuestions.empty())
            return std::nullopt;
        Question oldest = std::move(mQuestions.front());
        mQuestions.pop_front();
        return oldest;
    }

private:
    std::mutex mMutex;
    std::deque<Question> mQuestions;
};

/// Does with every message of its type, and whose it is, what the simulation says.
class TextHandler final : public Network::Message::MessageHandler {
public:
    using Handle = std::function<void(uint32 connectionID, const std::string& text)>;
    TextHandler(uint32 type, Handle handle) : MessageHandler(type), mHandle(std::move(handle)) {}

    bool handleMessage(MessageReader* reader, uint32 connectionID) override {
        String text;
        if (!reader->read(text) || !reader->isFinished())
            return false;
        mHandle(connectionID, text.c_str());
        return true;
    }

private:
    Handle mHandle;
};

/// Has the server take the handler for one type of messages.
inline bool registerTextHandler(uint32 type, TextHandler::Handle handle) {
    std::unique_ptr<TextHandler> handler(new (Library::getTempAlloc()) TextHandler(type, std::move(handle)));
    const bool isTaken = Server::getInstance()->registerMessageHandler(handler.get());
    if (isTaken)
        static_cast<void>(handler.release());
    return isTaken;
}

inline bool registerEchoesAndQuestions(Questions& questions) {
    const auto echo = [](uint32 connectionID, const std::string& text) { sendTo(connectionID, ECHO_REPLY, text); };
    const auto keep = [&questions](uint32 connectionID, const std::string& text) {
        ClientKey asker;
        Server::getInstance()->getClientKey(asker, connectionID);
        questions.add({asker, text});
    };
    return registerTextHandler(ECHO, echo) && registerTextHandler(QUESTION, keep);
}

/// Makes messages of the bytes of a connection.
class PacketReader {
public:
    void add(const std::string& bytes) { mBytes += bytes; }
    /// The next message, once it is complete.
    std::optional<std::string> take() {
        if (mBytes.size() < 4)
            return std::nullopt;
        std::size_t length = 0;
        for (std::size_t at = 0; at < 4; ++at)
            length = length << 8 | static_cast<unsigned char>(mBytes[at]);
        if (mBytes.size() - 4 < length)
            return std::nullopt;
        std::string message = mBytes.substr(4, length);
        mBytes.erase(0, 4 + length);
        return message;
    }

private:
    std::string mBytes;
};

/// What a tool says on one connection, and what it may hear there: each reply once, in the order of the requests, byte
/// by byte what it is to be, and nothing that is meant for others.
class Conversation {
public:
    explicit Conversation(std::string name) : mName(std::move(name)) {}

    const std::string& getName() const { return mName; }

    std::string identify(uint32 version) {
        const std::string refusal = "Client ( PCName: " + mName +
                                    ", user: ada, protocolVersion: " + std::to_string(version) +
                                    " ) used wrong protocolNumber. Server used (2)";
        mReplies.push_back(version == 2 ? identityReplyOf(0, "") : identityReplyOf(1, refusal));
        return identityOf(mName.c_str(), "ada", version);
    }
    std::string request(SimulatedMessage type, std::size_t size) {
        const std::string text = mName + " asks #" + std::to_string(++mLastRequest) + ": " + std::string(size, 'x');
        if (type == ECHO)
            mReplies.push_back(textMessageOf(ECHO_REPLY, text));
        if (type == QUESTION)
            mAnswers.push_back(textMessageOf(ANSWER, text));
        return textMessageOf(type, text);
    }

    void hear(const std::string& message, Fault& fault) {
        if (typeOf(message) == NEWS)
            return mNews.push_back(message);
        std::deque<std::string>& expected = typeOf(message) == ANSWER ? mAnswers : mReplies;
        if (expected.empty() || expected.front() != message)
            return fault.note(mName + " hears " + hexOf(message) + " instead of " +
                              (expected.empty() ? "nothing" : hexOf(expected.front())));
        expected.pop_front();
    }
    bool isAnswered() const { return mReplies.empty() && mAnswers.empty(); }
    std::size_t countReplies() const { return mReplies.size() + mAnswers.size(); }
    /// The messages that came unasked.
    const std::deque<std::string>& getNews() const { return mNews; }

private:
    std::string mName;
    int mLastRequest = 0;
    std::deque<std::string> mReplies; ///< that are to come
    std::deque<std::string> mAnswers; ///< likewise; in an order of their own
    std::deque<std::string> mNews;
};

/// What the host has sent to each of the tools unasked. Threads: any.
class News {
public:
    /// Sends the next ones to whoever `to` names. `name` is that of the tool; false when it does not get them.
    template <class To>
    bool send(const To& to, const std::string& name) {
        const Server::DataLock nobodyComesOrGoes(Server::getInstance()->getDataMutex());
        const std::scoped_lock inside(mMutex);
        const std::string text = name + " hears #" + std::to_string(++mLast);
        const bool isSent = sendTo(to, NEWS, text);
        if (isSent)
            mSent[name].push_back(textMessageOf(NEWS, text));
        return isSent;
    }
    /// Whether this is what has come of it, as far as it has come; all of it when the connection is still up.
    void check(const Conversation& conversation, bool isUp, Fault& fault) const {
        const std::scoped_lock inside(mMutex);
        const auto found = mSent.find(conversation.getName());
        const std::deque<std::string> none;
        const std::deque<std::string>& sent = found == mSent.end() ? none : found->second;
        const std::deque<std::string>& heard = conversation.getNews();
        const bool isPart = heard.size() <= sent.size() && std::equal(heard.begin(), heard.end(), sent.begin());
        fault.check(isPart && (!isUp || heard.size() == sent.size()),
                    conversation.getName() + " has heard " + std::to_string(heard.size()) + " of " +
                        std::to_string(sent.size()) + " news, or others");
    }

private:
    mutable std::mutex mMutex;
    int mLast = 0;
    std::map<std::string, std::deque<std::string>> mSent;
};

} // namespace Tarq::Test
