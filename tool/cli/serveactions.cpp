#include "tool/cli/commandactions.h"
#include "tool/client/quoting.h"

#include <charconv>

namespace Tarq::Tool {

using namespace Common;

ServedFile openServed(const std::string& text, uint32 id) {
    ServedFile file;
    const std::string problem = file.open(text, id);
    if (!problem.empty())
        throw CommandFailure(EXIT_USAGE, printable(text) + ": " + problem);
    return file;
}

void serveFile(Debugger& debugger, Words& words) {
    const std::string_view word = words.take();
    if (word.empty())
        throw CommandFailure(EXIT_USAGE, "the file is missing");
    expectEnd(words);
    debugger.serve(openServed(unquote(word).value_or(std::string(word)), debugger.getFreeStreamID(1)));
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
