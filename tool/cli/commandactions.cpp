#include "tool/cli/commandactions.h"

namespace Tarq::Tool {

Found takePath(const Debugger& debugger, Words& words, std::initializer_list<ElementKind> kinds) {
    const std::string_view path = words.take();
    if (path.empty())
        throw CommandFailure(EXIT_USAGE, "the path is missing");
    debugger.requireModule();
    PathResult result = findPath(debugger.getModel(), path, kinds);
    if (const std::string* const problem = std::get_if<std::string>(&result))
        throw CommandFailure(EXIT_USAGE, *problem);
    return std::get<Found>(result);
}

bool takeSwitch(Words& words) {
    const std::string_view word = words.take();
    if (word != "on" && word != "off")
        throw CommandFailure(EXIT_USAGE, "on or off is missing");
    return word == "on";
}

void expectEnd(const Words& words) {
    if (!words.isEmpty())
        throw CommandFailure(EXIT_USAGE, "there are too many words");
}

std::string pathOf(const Debugger& debugger, const Found& found) {
    const ModuleModel& model = debugger.getModel();
    return found.kind == ELEMENT_VARIABLE ? model.pathOf(found.instanceID, found.id)
                                          : model.pathOf({found.kind, found.id});
}

} // namespace Tarq::Tool
