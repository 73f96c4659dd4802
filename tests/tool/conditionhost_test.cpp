#include "tool/condition/conditioncompiler.h"

#include "tests/parser/formula/formulatest.h"

#include <cmath>
#include <limits>
#include <random>

using namespace Tarq::Test;
using namespace Tarq::Tool;

namespace {

/// The variables of a host.
struct World {
    Memory::AllocatorPtr memory = Library::getTempAlloc();
    bool on = true;
    bool off = false;
    int8 tiny = -1;
    int32 count = -7;
    uint32 size = 9;
    int64 total = 1LL << 40;
    float speed = 1.5F;
    String name = "north";
    String empty;
    WString title = L"agent";
    Math::Vec2<float> at{3, 4};
    Math::Vec2<int32> tile{-8, 8};
    Math::Vec3<uint32> cell{1, 2, 0xFFFFFFFF};
    Math::Vec3<double> far{0.1, -2, 1e300};
    Container::Vector<bool> flags{memory, {true, false}};
    Container::Vector<uint8> bytes{memory, {0, 200, 255}};
    Container::Vector<int32> list{memory, {5, -6, 7}};
    Container::Vector<uint64> ids{memory, {1, 0xFFFFFFFFFFFFFFFF}};
    Container::Vector<double> weights{memory, {0.1, -1e-7}};
    Container::Vector<String> words{memory, {"a&b", "", "c;\"d"}};
    Container::Vector<String> nothing{memory};
    Container::Vector<Math::Vec2<float>> path{memory, {{1, 2}, {-0.5F, 1e10F}}};
    bool spaced = true;
};

/// Calls `visit` with the name of each variable and the variable.
void forEachVariable(World& world, auto visit) {
    visit("on", world.on), visit("off", world.off), visit("tiny", world.tiny), visit("count", world.count);
    visit("size", world.size), visit("total", world.total), visit("speed", world.speed), visit("name", world.name);
    visit("empty", world.empty), visit("title", world.title), visit("at", world.at), visit("tile", world.tile);
    visit("cell", world.cell), visit("far", world.far), visit("flags", world.flags), visit("bytes", world.bytes);
    visit("list", world.list), visit("ids", world.ids), visit("weights", world.weights), visit("words", world.words);
    visit("nothing", world.nothing), visit("path", world.path), visit(" a&b > c", world.spaced);
}

/// Finds a variable by the child "name", as the debugger's host does; its nodes give no address either.
class WorldResolver final : public VariableResolver {
public:
    WorldResolver(World& world, const Memory::AllocatorPtr& allocator) : mWorld(world), mAllocator(allocator) {}

    MathValue* getVariable(XMLNodeElements* element, Expression::ErrorMsg& error) override {
        const char* name = nullptr;
        REQUIRE(element->getNextText(name, "name"));
        MathValue* node = nullptr;
        forEachVariable(mWorld, [&]<class T>(std::string_view known, T& variable) {
            const auto offset = reinterpret_cast<char*>(&variable) - reinterpret_cast<char*>(&mWorld);
            if (known == name)
                node = new (mAllocator) HostVariable<T>(static_cast<uint32>(offset), 0);
        });
        if (!node)
            error.set("unknown variable: " + String(name));
        return node;
    }
    MathValue* getConstant(XMLNodeElements*, Expression::ErrorMsg&) override { return nullptr; }
    MathValue* getCustomMathValue(XMLNodeElements*, FunctionEnvironment*, Expression::ErrorMsg&) override {
        return nullptr;
    }

private:
    World& mWorld;
    const Memory::AllocatorPtr& mAllocator;
};

class ConditionHostTest : public FunctionTest {
public:
    ConditionHostTest() : mVariables(allocator()) {
        forEachVariable(mWorld, [this]<class T>(const char* name, T&) {
            mVariables.push_back({name, Network::Message::getStreamID<T>()});
        });
    }

    CompiledCondition compile(const std::string& text) {
        CompiledCondition condition;
        ConditionError error;
        compileCondition(text, mVariables, condition, error);
        REQUIRE(error.text == "");
        return condition;
    }

    /// What a host makes of the document, in its world.
    bool evaluate(const CompiledCondition& condition) {
        std::string document(condition.document.view());
        Parser::XML::XMLParser parser;
        XMLNodeElements* const root = parser.parseBuffer(document.data(), static_cast<uint32>(document.size()), false);
        WorldResolver resolver(mWorld, allocator());
        Expression::ErrorMsg error;
        const std::unique_ptr<MathValue> node(Expression::parse(root, &resolver, nullptr, allocator(), error));
        CHECK(error.getText() == "");
        auto* const test = dynamic_cast<TypedMathValue<bool>*>(node.get());
        REQUIRE(test != nullptr);
        TestAccessor accessor;
        accessor.setObject(&mWorld);
        return test->evaluate(&accessor);
    }

    World mWorld;
    Container::Vector<ConditionVariable> mVariables;
};

/// A part of a condition, and what it comes to.
template <class T>
struct Made {
    std::string text;
    T value;
};

/// Makes conditions at random, over what a world has, and works them out in another way than a host does.
class ConditionMaker {
public:
    ConditionMaker(World& world, uint32 seed) : mWorld(world), mRandom(seed) {}

    /// One that has a type by itself, where `isTyped` says so.
    template <class T>
    Made<T> make(uint32 depth, bool isTyped) {
        if (depth == 0 || pick(6) == 0)
            return isTyped || pick(3) != 0 ? makeLeaf(T()) : makeLiteral(T());
        if constexpr (std::same_as<T, bool>) {
            return makeTruth(depth - 1);
        } else {
            const bool isLeftTyped = isTyped && pick(2) == 0;
            const Made<T> left = make<T>(depth - 1, isLeftTyped);
            if constexpr (std::same_as<T, int32>) {
                // A host takes the bits of the right one, which tells its own type.
                if (isLeftTyped && pick(4) == 0) {
                    const Made<uint32> right = makeLeaf(uint32());
                    return combine<T>(left, {right.text, static_cast<int32>(right.value)});
                }
            }
            return combine<T>(left, make<T>(depth - 1, isTyped && !isLeftTyped));
        }
    }

    uint32 pick(uint32 count) { return static_cast<uint32>(mRandom() % count); }

private:
    static std::string both(const std::string& left, const char* sign, const std::string& right) {
        return "(" + left + sign + right + ")";
    }

    template <class T>
    Made<T> combine(const Made<T>& left, const Made<T>& right) {
        static constexpr const char* cSigns[] = {"+", "-", " *", "/ "};
        const uint32 operation = std::same_as<T, std::string> ? 0 : pick(4);
        return {both(left.text, cSigns[operation], right.text), computed(operation, left.value, right.value)};
    }
    static std::string computed(uint32, const std::string& left, const std::string& right) { return left + right; }
    static float computed(uint32 operation, float left, float right) {
        const double a = static_cast<double>(left), b = static_cast<double>(right);
        return static_cast<float>(operation == 0 ? a + b : operation == 1 ? a - b : operation == 2 ? a * b : a / b);
    }
    template <std::integral T>
    static T computed(uint32 operation, T left, T right) {
        T result = 0;
        const bool isOpposite = operation == 3 && std::is_signed_v<T> && right == static_cast<T>(-1);
        if (operation == 0)
            static_cast<void>(__builtin_add_overflow(left, right, &result));
        else if (operation == 1 || isOpposite)
            static_cast<void>(__builtin_sub_overflow(isOpposite ? T() : left, isOpposite ? left : right, &result));
        else if (operation == 2)
            static_cast<void>(__builtin_mul_overflow(left, right, &result));
        else
            result = right == 0 ? T() : static_cast<T>(left / right);
        return result;
    }

    Made<bool> makeTruth(uint32 depth) {
        switch (pick(8)) {
        case 0:
            return compare<int32>(depth);
        case 1:
            return compare<uint32>(depth);
        case 2:
            return compare<int64>(depth);
        case 3:
            return compare<float>(depth);
        case 4:
            return compare<std::string>(depth);
        case 5:
            return compare<bool>(depth);
        case 6: {
            const Made<bool> operand = make<bool>(depth, true);
            return {"!" + operand.text, !operand.value};
        }
        default:
            const Made<bool> left = make<bool>(depth, false);
            const Made<bool> right = make<bool>(depth, false);
            return pick(2) == 0 ? Made<bool>{both(left.text, "&&", right.text), left.value && right.value}
                                : Made<bool>{both(left.text, "||", right.text), left.value || right.value};
        }
    }
    template <class T>
    Made<bool> compare(uint32 depth) {
        const bool isLeftTyped = pick(2) == 0;
        const auto [leftText, left] = make<T>(depth, isLeftTyped);
        const auto [rightText, right] = make<T>(depth, !isLeftTyped);
        const uint32 operation = pick(std::same_as<T, bool> || std::same_as<T, std::string> ? 2 : 6);
        const bool results[] = {left == right, left != right, left<right, left <= right, left> right, left >= right};
        static constexpr const char* cSigns[] = {"==", "!= ", "<", "<=", " >", ">="};
        return {both(leftText, cSigns[operation], rightText), results[operation]};
    }

    Made<bool> makeLeaf(bool) { return pick(2) == 0 ? Made<bool>{"on", mWorld.on} : Made<bool>{"off", mWorld.off}; }
    Made<int32> makeLeaf(int32) {
        const uint32 index = pick(4);
        if (index < mWorld.list.size())
            return {"list.GetElement(" + std::to_string(index) + ")", mWorld.list[index]};
        return {"count", mWorld.count};
    }
    Made<uint32> makeLeaf(uint32) {
        switch (pick(3)) {
        case 0:
            return {"(name+\"xy\").GetLength()", mWorld.name.length() + 2};
        case 1:
            return {"list.Size()", mWorld.list.size()};
        default:
            return {"size", mWorld.size};
        }
    }
    Made<int64> makeLeaf(int64) { return {"total", mWorld.total}; }
    Made<float> makeLeaf(float) {
        return pick(2) == 0 ? Made<float>{"speed", mWorld.speed} : Made<float>{"at.GetComponent(1)", mWorld.at.mY};
    }
    Made<std::string> makeLeaf(const std::string&) { return {"name", std::string(mWorld.name.view())}; }

    Made<bool> makeLiteral(bool) { return pick(2) == 0 ? Made<bool>{"true", true} : Made<bool>{"false", false}; }
    template <std::integral T>
    Made<T> makeLiteral(T) {
        static constexpr T cSpecial[] = {
            0, 1, 2, static_cast<T>(-1), std::numeric_limits<T>::max(), std::numeric_limits<T>::min()};
        const T number = cSpecial[pick(6)];
        return {std::to_string(number), number};
    }
    Made<float> makeLiteral(float) {
        static constexpr const char* cTexts[] = {"0", "1", "-2", "0.1", "-1e-30", "0x10", "16777217.", "3.4e38"};
        static constexpr float cNumbers[] = {0, 1, -2, 0.1F, -1e-30F, 16, 16777216, 3.4e38F};
        const uint32 index = pick(8);
        return {cTexts[index], cNumbers[index]};
    }
    Made<std::string> makeLiteral(const std::string&) {
        static constexpr const char* cTexts[] = {"\"\"", "\"x\"", "\" a\\\"&amp;\"", "\"\\n]]>/>\\\\\"",
                                                 "\"\\xC3\\xA4-->\""};
        static constexpr const char* cValues[] = {"", "x", " a\"&amp;", "\n]]>/>\\", "\xC3\xA4-->"};
        const uint32 index = pick(5);
        return {cTexts[index], cValues[index]};
    }

    World& mWorld;
    std::mt19937 mRandom;
};

} // namespace

TEST_CASE_FIXTURE(ConditionHostTest, "a host finds true what a condition says") {
    const char* const truths[] = {
        "on && !off && (off || on) && on != off && true && false == off",
        "1 + 2 * 3 - 4 / 2 - 1 == 4 && 2 - 1 - 1 == 0 && 8 / 4 / 2 == 1",
        "off && off || on && !(off && (off || on))",
        "count == -7 && count < -6 && count <= -7 && count > -8 && count >= -7 && count != 7",
        "count * 2 + 14 == 0 && count / 2 == -3 && 0 - count == 7",
        "size == 9 && size - 10 == 4294967295 && size < 0xFFFFFFFF && count < size",
        "size < count", // as an UnsignedInteger32
        "total == 1099511627776 && total * total == 0 && total > -9223372036854775808",
        "total - 9223372036854775807 == -9223370937343148031",
        "speed == 1.5 && speed / 3 == 0.5 && speed < 2 && speed * 1e38 > 1e38 && 16777217 + speed > 16777216",
        "name == \"north\" && name + \"\" != \"\" && \"x\" + name == \"xnorth\"",
        "empty == \"\" && empty.GetLength() == 0 && empty + \" a&amp;b > c/> \" == \" a&amp;b > c/> \"",
        "(empty + \" x\").GetLength() == 2 && (empty + \"\\xC3\\xA4\\r\\n\").GetLength() == 4",
        "title == \"agent\" && title + \"s\" != title && title.GetLength() == 5",
        "at == (3, 4) && at.GetLength() == 5 && at - (3, 0) == (0, 4.0) && at.GetDistance((3, 3.5)) == 0.5",
        "at.GetComponent(0) < at.GetComponent(1) && (at + at).GetComponent(1) == 8",
        "tile == (-8, 008) && tile != (8, 8) && tile.GetComponent(0) == -8",
        "cell == (1, 2, 4294967295) && cell - (1, 2, 4294967295) == (0, 0, 0) && cell.GetComponent(2) == 4294967295",
        "far == (0.1, -2, 1e300) && far != (0.1, -2, 1.0000000000000002e300)",
        "flags == {true, false} && flags.GetElement(0) && !flags.GetElement(1) && flags.Size() == 2",
        "bytes == {0, 200, 255} && bytes != {0, 200} && bytes.Size() * 2 == 6",
        "list == {5, -6, 7} && list.GetElement(count + 8) == -6 && list.GetElement(list.Size() - 1) == 7",
        "ids == {1, 18446744073709551615} && ids != {1, 9223372036854775807}",
        "weights == {0.1, -1e-7} && weights != {}",
        "words == {\"a&b\", \"\", \"c;\\\"d\"} && words.GetElement(2) == \"c;\\\"d\" && words.GetElement(1) == \"\"",
        "nothing == {} && nothing != {\"\"} && nothing != {\"\\\"\"} && nothing.Size() == 0",
        "path == {(1, 2), (-0.5, 1e10)} && path.GetElement(1).GetComponent(0) == -0.5",
        "` a&b > c` && `on`",
    };
    for (const char* const text : truths) {
        CAPTURE(text);
        CHECK(evaluate(compile(text)));
        CHECK_FALSE(evaluate(compile("!(" + std::string(text) + ")")));
    }
}

TEST_CASE_FIXTURE(ConditionHostTest, "a condition follows the values of a host") {
    const CompiledCondition condition = compile("speed > 3 && name == \"x\" || count - 1 < list.GetElement(0)");
    mWorld.count = 100;
    CHECK_FALSE(evaluate(condition));
    mWorld.speed = std::nextafter(3.0F, 4.0F);
    CHECK_FALSE(evaluate(condition));
    mWorld.name = "x";
    CHECK(evaluate(condition));
    mWorld.speed = 3;
    CHECK_FALSE(evaluate(condition));
    mWorld.list[0] = 100;
    CHECK(evaluate(condition));
}

TEST_CASE_FIXTURE(ConditionHostTest, "the deepest conditions are not too deep for a host") {
    std::string left = "on", right = "on", calls = "off";
    for (int level = 1; level < 256; ++level) {
        left += " == on";
        right = level == 1 ? "on == on" : "on == (" + right + ")";
        calls = "!" + calls;
    }
    for (const std::string& text : {left, right, calls}) {
        const CompiledCondition condition = compile(text);
        CHECK(condition.canonical == text);
        CHECK(evaluate(condition));
    }
}

TEST_CASE_FIXTURE(ConditionHostTest, "generated conditions come to the same on a host, in either form") {
    constexpr float cFloats[] = {0, -0.0F, 1, -1.5F, 1e30F, std::numeric_limits<float>::infinity()};
    uint32 numTrue = 0;
    for (uint32 seed = 0; seed < 3000; ++seed) {
        CAPTURE(seed);
        ConditionMaker maker(mWorld, seed);
        mWorld.on = maker.pick(2) != 0;
        mWorld.off = maker.pick(2) != 0;
        mWorld.count = static_cast<int32>(maker.pick(5)) - 2;
        mWorld.size = maker.pick(2) == 0 ? maker.pick(4) : 0xFFFFFFFF - maker.pick(4);
        mWorld.total = (static_cast<int64>(maker.pick(5)) - 2) << maker.pick(60);
        mWorld.speed = cFloats[maker.pick(6)];
        mWorld.at.mY = cFloats[maker.pick(6)];
        mWorld.name = maker.pick(2) == 0 ? "x" : "";
        const Made<bool> made = maker.make<bool>(1 + maker.pick(7), true);
        CAPTURE(made.text);
        const CompiledCondition condition = compile(made.text);
        CAPTURE(condition.canonical.c_str());
        CHECK(evaluate(condition) == made.value);
        const CompiledCondition again = compile(condition.canonical.c_str());
        CHECK(again.document == condition.document);
        CHECK(again.canonical == condition.canonical);
        numTrue += made.value ? 1 : 0;
    }
    CHECK((numTrue > 1000 && numTrue < 2000));
}
