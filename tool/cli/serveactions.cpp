#include "tool/cli/commandactions.h"
#include "tool/client/quoting.h"

#include <charconv>
#include <utility>

namespace Tarq::Tool {

using namespace Common;

ServedFile openServed(const std::string& text) {
    ServedFile file;
    const std::string problem = file.open(text);
    if (!problem.empty())
        throw CommandFailure(EXIT_USAGE, printable(text) + ": " + problem);
    return file;
}

void serveFile(Debugger& debugger, Words& words) {
    const std::string_view word = words.take();
    if (word.empty())
        throw CommandFailure(EXIT_USAGE, "the file is missing");
    expectEnd(words);
    ServedFile file = openServed(unquote(word).value_or(std::string(word)));
    if (!file.hasID())
        file.setID(debugger.getFreeStreamID());
    debugger.serve(std::move(file));
}

void withdrawFile(Debugger& debugger, Words& words) {
    const std::string_view word = words.take();
    expectEnd(words);
    uint32 id = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), id);
    if (word.empty() || result.ec != std::errc() || result.ptr != word.data() + word.size())
        throw CommandFailure(EXIT_USAGE, "the id of the stream is missing");
    debugger.withdraw(id);
    debugger.answer("done", {{"command", "unserve"}, {"id", id}},
                    {"stream " + std::to_string(id) + " is not served any more"});
}

} // namespace Tarq::Tool
