#include "tool/cli/callactions.h"

#include "tool/cli/commandactions.h"
#include "tool/client/quoting.h"

#include <charconv>

namespace Tarq::Tool {

using namespace Common;

namespace {

constexpr std::string_view cBlanks = " \t";

Signature takeSignatureOf(std::string_view& text) {
    Signature signature;
    const std::string problem = takeSignature(text, signature);
    if (!problem.empty())
        throw CommandFailure(EXIT_USAGE, problem);
    return signature;
}

[[noreturn]] void failCount(const Signature& signature, const std::string& found) {
    if (!signature.hasArguments)
        throw CommandFailure(EXIT_USAGE,
                             "the types of the values are missing: " + quoteName(signature.name) + "(TYPE, ...)");
    const std::size_t count = signature.arguments.size();
    throw CommandFailure(EXIT_USAGE, textOfSignature(signature) + " takes " + std::to_string(count) +
                                         (count == 1 ? " value" : " values") + ", and not " + found);
}

bool isText(StreamIDs type) noexcept {
    return type == Network::Message::getStreamID<String>() || type == Network::Message::getStreamID<WString>();
}

/// A text needs no quotes where it is clear how far it goes: `bare` is so much of `text`.
void appendArgument(TypedCall& call, std::size_t index, std::string_view& text, std::string_view bare, bool isWhole) {
    const StreamIDs type = call.signature.arguments[index];
    Bytes item = noBytes();
    std::string problem;
    if (isText(type) && !text.starts_with('"')) {
        problem = parseValue(type, quote(bare), item);
        text.remove_prefix(bare.size());
    } else {
        problem = isWhole ? parseValue(type, text, item) : takeValue(type, text, item);
    }
    if (!problem.empty())
        throw CommandFailure(EXIT_USAGE, "value " + std::to_string(index + 1) + ": " + problem);
    for (const uint8 byte : item)
        call.request.arguments.push_back(byte);
}

void skipBlanks(std::string_view& text) {
    const std::size_t count = text.find_first_not_of(cBlanks);
    text.remove_prefix(count == text.npos ? text.size() : count);
}

/// A call without arguments as yet.
TypedCall begin(Signature signature) {
    TypedCall call{std::move(signature), {}};
    call.request.name = String(std::string_view(call.signature.name));
    return call;
}

} // namespace

TypedCall readCall(const std::string& signature, const std::vector<std::string>& values) {
    std::string_view text = signature;
    TypedCall call = begin(takeSignatureOf(text));
    if (!text.empty())
        throw CommandFailure(EXIT_USAGE, "something follows the signature: " + quote(text));
    if (values.size() != call.signature.arguments.size())
        failCount(call.signature, std::to_string(values.size()));
    for (std::size_t index = 0; index < values.size(); ++index) {
        std::string_view value = values[index];
        appendArgument(call, index, value, value, true);
    }
    return call;
}

TypedCall readCall(std::string_view line) {
    TypedCall call = begin(takeSignatureOf(line));
    const std::size_t count = call.signature.arguments.size();
    for (std::size_t index = 0; index < count; ++index) {
        skipBlanks(line);
        if (line.empty())
            failCount(call.signature, std::to_string(index));
        appendArgument(call, index, line, line.substr(0, line.find_first_of(cBlanks)), false);
        skipBlanks(line);
        if (line.starts_with(',') && index + 1 < count)
            line.remove_prefix(1);
    }
    skipBlanks(line);
    if (!line.empty())
        failCount(call.signature, "more: " + quote(line));
    return call;
}

void callFunction(Debugger& debugger, const TypedCall& call, double seconds) {
    const std::string name = quoteName(call.signature.name);
    const std::optional<CallReply> reply = debugger.call(call.request, seconds);
    if (!reply) {
        debugger.answer(
            "done", {{"command", "call"}, {"function", call.signature.name}, {"isOpen", true}},
            {name + " has not returned, and a thread is held; \"continue\" lets go, and \"wait answer\" waits"});
        return;
    }
    const Bytes& result = reply->result;
    const std::string problem = result.empty() ? "" : visitValue(result, [](const auto&) {});
    if (!problem.empty())
        throw CommandFailure(EXIT_LOST, "what " + name + " has returned cannot be read: " + problem);
    if (!call.signature.hasResult)
        return;
    const auto nameOf = [](bool isThere, StreamIDs type) { return isThere ? nameOfDatatype(type) : "nothing"; };
    const auto found = static_cast<StreamIDs>(result.empty() ? 0 : result.front());
    const std::optional<StreamIDs>& expected = call.signature.result;
    if (expected.has_value() == result.empty() || (expected && *expected != found))
        throw CommandFailure(EXIT_USAGE, name + " returns " + nameOf(!result.empty(), found) + ", and not " +
                                             nameOf(expected.has_value(), expected.value_or(found)));
}

double readSeconds(std::string_view text, double most) {
    double seconds = -1;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || !(seconds >= 0 && seconds <= most))
        throw CommandFailure(EXIT_USAGE,
                             "the time has to be from 0 to " + std::to_string(static_cast<int>(most)) + " seconds");
    return seconds;
}

void callFunction(Debugger& debugger, Words& words) {
    std::string_view line = words.takeRest();
    double seconds = debugger.getCallSeconds();
    Words options(line);
    if (options.take() == "--timeout") {
        seconds = readSeconds(options.take(), 3600);
        line = options.takeRest();
    }
    callFunction(debugger, readCall(line), seconds);
}

} // namespace Tarq::Tool
