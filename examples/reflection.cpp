// tarq-reflection [call...]: values that know their type, and functions that data can call.
//
// Registers a type of its own and three functions, calls them as the calls on the command line say, "name argument
// argument" each, stores the world that comes of it, shows what is stored, and reads it back into a second world.
// Without a call on the command line, it makes some of its own.
//
// Ends with 0, with 1 when a call could not be made, and with 2 when the second world is not like the first.

#include "reflection/world.h"
#include "support/calls.h"
#include "support/colour.h"
#include "support/consolelistener.h"

#include "common/interface.h"
#include "common/memory/memorystream.h"
#include "common/reflection/function/functionbinding.h"
#include "common/reflection/reflectioninterface.h"
#include "common/serialize/binaryserializestorage.h"

#include <algorithm>
#include <cstdio>
#include <span>
#include <string>

using namespace Tarq::Common;
using namespace Tarq::Common::Reflection;
using Platform::Endian;
using Serialize::BinarySerializeStorage;

namespace {

constexpr const char* cCalls[] = {
    "spawn ann (0,0,0) #ff8000",
    "spawn bob (1.5,2,0) #0080ff",
    "spawn \"little joe\" (3,0,-1) #20c020",
    "follow bob ann",
    "follow ann \"little joe\"",
    "follow \"little joe\" bob",
    "blend #ff8000 #0080ff 0.25",
    // And what goes wrong.
    "spwan eve (0,0,0) #000000",
    "spawn eve (0,0,0)",
    "spawn eve (0,0) #000000",
    "blend #ff8000 blue 0.25",
    "blend #ff8000 #0080ff half",
};

/// A free function. `share` is how much of the second there is, from 0 to 1.
Colour blend(const Colour& first, const Colour& second, float share) {
    const auto mix = [share](uint8 a, uint8 b) {
        return static_cast<uint8>(
            std::clamp(static_cast<float>(a) + share * (static_cast<float>(b) - static_cast<float>(a)), 0.0F, 255.0F));
    };
    return {mix(first.red, second.red), mix(first.green, second.green), mix(first.blue, second.blue)};
}

/// Returns how many calls could not be made.
int makeCalls(const Function::FunctionRegistrar& registrar, std::span<const char* const> texts) {
    int failures = 0;
    for (const char* const text : texts) {
        try {
            const std::string result = calls::call(registrar, text);
            std::printf("%s%s%s\n", text, result.empty() ? "" : " = ", result.c_str());
        } catch (const CallError& error) {
            ++failures;
            std::printf("%s\n  error: %s\n", text, error.what());
        }
    }
    return failures;
}

/// Prints the next class of a storage and all that is in it, whoever has written it.
void show(BinarySerializeStorage& storage) {
    int depth = 0;
    do {
        const char* name;
        if (storage.peekItemType() == BinarySerializeStorage::ITEMTYPE_CLASS_ENTER) {
            const char* typeName;
            const char* secondTypeName;
            uint32 value;
            storage.readClassEnter(name, typeName, secondTypeName, value);
            std::printf("%*s%s: %s\n", 2 * depth++, "", name, typeName);
            continue;
        }
        uint32 type;
        storage.skipItem(name, type);
        if (type == BinarySerializeStorage::ITEMTYPE_CLASS_EXIT)
            --depth;
        else
            std::printf("%*s%s: %s\n", 2 * depth, "", name, BinarySerializeStorage::getItemTypeName(type));
    } while (depth > 0);
}

/// Stores the world, and reads it into another one; returns whether the two are alike.
bool storeAndRead(const World& world) {
    Memory::MemoryStream stream("world", 4096);
    BinarySerializeStorage output(BinarySerializeStorage::SMODE_OUTPUT, Endian::getSystemEncoding());
    output.open(&stream);
    world.write(output);
    output.close();
    std::printf("\n%llu bytes hold\n", static_cast<unsigned long long>(stream.getLength()));

    stream.seek(0, IO::Stream::SORIGIN_BEGIN);
    BinarySerializeStorage input(BinarySerializeStorage::SMODE_INPUT, Endian::getSystemEncoding());
    if (!input.open(&stream))
        return false;
    const auto begin = input.getPosition();
    show(input);

    input.setPosition(begin);
    World copy;
    copy.read(input);
    const auto isLike = [](const World::Agent& a, const World::Agent& b) {
        return a.name == b.name && a.position == b.position && a.colour == b.colour && !a.leader == !b.leader &&
               (!a.leader || a.leader->name == b.leader->name);
    };
    const World::Agents& agents = world.getAgents();
    const World::Agents& copies = copy.getAgents();
    std::printf("\nread back:\n");
    for (const World::Agent& agent : copies)
        std::printf("  %s follows %s\n", agent.name.c_str(), agent.leader ? agent.leader->name.c_str() : "nobody");
    return std::equal(agents.begin(), agents.end(), copies.begin(), copies.end(), isLike);
}

int run(int argc, char** argv) {
    const Datatype::DatatypeManagerPtr& manager = ReflectionInterface::getDatatypeManager();
    manager->registerNFDatatype<Colour>("Colour", Colour(), &parseColour);
    manager->finishInitialization();

    World world;
    Function::FunctionRegistrar registrar(Library::getTempAlloc());
    registrar.registerFunction("spawn", &World::spawn, &world);
    registrar.registerFunction("follow", &World::follow, &world);
    registrar.registerFunction("blend", &blend);

    const int failures =
        argc > 1 ? makeCalls(registrar, std::span(argv + 1, argv + argc)) : makeCalls(registrar, cCalls);
    if (!storeAndRead(world)) {
        std::printf("the world that was read is not the one that was stored\n");
        return 2;
    }
    return argc > 1 && failures != 0 ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    Interface::initLibrary(nullptr);
    ReflectionInterface::init(Datatype::DatatypeManagerPtr(new (Library::getTempAlloc()) Datatype::DatatypeManager));
    int result = 2;
    try {
        const ConsoleListener listener;
        result = run(argc, argv);
    } catch (Exceptions::Exception* exception) {
        Exceptions::Holder(exception)->showException(Exceptions::Exception::CALLSTACK_ALL);
    }
    ReflectionInterface::close();
    Interface::closeLibrary();
    return result;
}
