#pragma once

#include "tool/cli/debugger.h"
#include "tool/cli/words.h"
#include "tool/client/path.h"

/// The commands of a session, each with the words behind its name; and what they share. They throw `CommandFailure`.
namespace Tarq::Tool {

// Elements, and what they are and were.

void showTree(Debugger& debugger, Words& words);
void getValue(Debugger& debugger, Words& words);
void setValue(Debugger& debugger, Words& words);
void setWatch(Debugger& debugger, Words& words);
void showHistory(Debugger& debugger, Words& words);

// What is not about the module.

void callFunction(Debugger& debugger, Words& words);
void serveFile(Debugger& debugger, Words& words);
void withdrawFile(Debugger& debugger, Words& words);

// Holding, and letting go.

void setBreak(Debugger& debugger, Words& words);
void setCondition(Debugger& debugger, Words& words);
void makeStep(Debugger& debugger, Words& words);
void letGo(Debugger& debugger, Words& words);

/// "[ID:][NAME=]PATH"; without an id, it has this one.
ServedFile openServed(const std::string& text);
/// Takes a path that leads to an element of one of these kinds.
Found takePath(const Debugger& debugger, Words& words, std::initializer_list<ElementKind> kinds);
/// Takes "on" or "off".
bool takeSwitch(Words& words);
/// Fails when there are more words.
void expectEnd(const Words& words);
/// As it is printed.
std::string pathOf(const Debugger& debugger, const Found& found);

} // namespace Tarq::Tool
