#include "tests/parser/formula/formulatest.h"

#include "common/parser/formula/operatormathvalue.h"

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <tuple>

using namespace Tarq::Test;

namespace {

/// Three variables of each type.
using Fields = std::tuple<std::array<bool, 3>, std::array<int32, 3>, std::array<uint32, 3>, std::array<int64, 3>,
                          std::array<float, 3>>;

template <class T>
T& fieldOf(Fields& fields, uint32 index) {
    return std::get<std::array<T, 3>>(fields)[index];
}

/// In one of two classes, which operators read in different ways.
template <class T>
TypedMathValue<T>* makeVariable(Fields& fields, bool isField, uint32 index, const Memory::AllocatorPtr& allocator) {
    const auto offset =
        static_cast<uint32>(reinterpret_cast<char*>(&fieldOf<T>(fields, index)) - reinterpret_cast<char*>(&fields));
    if (isField)
        return new (allocator) FieldMathValue<T>(offset, index);
    return new (allocator) HostVariable<T>(offset, index);
}

/// Some numbers at which something changes.
template <class T>
constexpr T cSpecial[] = {0, 1, 2, static_cast<T>(-1), std::numeric_limits<T>::max(), std::numeric_limits<T>::min()};
using Floats = std::numeric_limits<float>;
template <>
constexpr float cSpecial<float>[] = {0,
                                     -0.0F,
                                     1,
                                     -1,
                                     0.1F,
                                     16777216,
                                     Floats::max(),
                                     Floats::lowest(),
                                     Floats::min(),
                                     Floats::denorm_min(),
                                     Floats::infinity(),
                                     Floats::quiet_NaN()};

/// Operators by number.
constexpr const char* cNames[] = {"add",          "sub",     "mul",   "div",     "smaller", "smallerequal",
                                  "greaterequal", "greater", "equal", "unequal", "and",     "or"};
constexpr uint32 cFirstComparison = 4, cFirstOfTruths = 8;

/// What an operator is to compute, worked out in another way: in numbers with more digits, or by the compiler's own
/// checked operations.
template <class T>
T computed(uint32 operation, T left, T right) {
    T result = 0;
    if constexpr (std::same_as<T, float>) {
        const double a = static_cast<double>(left), b = static_cast<double>(right);
        result = static_cast<float>(operation == 0 ? a + b : operation == 1 ? a - b : operation == 2 ? a * b : a / b);
    } else if (operation == 0) {
        static_cast<void>(__builtin_add_overflow(left, right, &result));
    } else if (operation == 1 || (right == static_cast<T>(-1) && std::is_signed_v<T> && operation == 3)) {
        static_cast<void>(__builtin_sub_overflow(operation == 1 ? left : 0, operation == 1 ? right : left, &result));
    } else if (operation == 2) {
        static_cast<void>(__builtin_mul_overflow(left, right, &result));
    } else if (right != 0) {
        result = left / right;
    }
    return result;
}
template <class T>
bool compared(uint32 operation, T left, T right) {
    const bool isSmaller = left < right, isGreater = right < left, isEqual = left == right;
    const bool areBoth = left != T{} && right != T{}, isEither = left != T{} || right != T{};
    const bool results[] = {
        isSmaller, isSmaller || isEqual, isGreater || isEqual, isGreater, isEqual, !isEqual, areBoth, isEither};
    return results[operation - cFirstComparison];
}

template <class T>
bool isSame(T a, T b) {
    if constexpr (std::is_floating_point_v<T>)
        return std::isnan(a) ? std::isnan(b) : a == b && std::signbit(a) == std::signbit(b);
    else
        return a == b;
}

/// A formula that has grown, its values for two sets of fields, and what is known of it.
template <class T>
struct Grown {
    std::unique_ptr<TypedMathValue<T>> node;
    std::array<T, 2> values{};
    bool isConstant = false;
    bool isOperator = false;   ///< is computed by `merge` where it is constant
    bool equalsItself = false; ///< has no constant that is no number
    Body body;                 ///< where bodies are written
};

class Grower {
public:
    Grower(std::array<Fields, 2>& fields, const Memory::AllocatorPtr& allocator)
        : mFields(fields), mAllocator(allocator) {
        for (Fields& each : mFields)
            std::apply([&](auto&... arrays) { (fill(arrays), ...); }, each);
    }

    /// At most `depth` operators inside of each other.
    template <class T>
    Grown<T> grow(uint32 depth) {
        using namespace Operations;
        if (depth == 0 || upTo(5) == 0)
            return growLeaf<T>();
        if constexpr (std::same_as<T, bool>)
            return growCondition(depth - 1);
        else
            return connect<T, T, 0, Addition, Substraction, Multiplication, Division>(depth - 1);
    }

    bool mWritesBodies = false;

private:
    uint32 upTo(uint32 most) { return static_cast<uint32>(mRandom() % (most + 1)); }
    template <class T>
    T random() {
        if constexpr (std::same_as<T, bool>)
            return upTo(1) != 0;
        else if (upTo(1) != 0)
            return cSpecial<T>[upTo(std::size(cSpecial<T>) - 1)];
        else if constexpr (std::same_as<T, float>)
            return static_cast<float>(static_cast<int32>(mRandom())) / 1024;
        else
            return static_cast<T>(uint64{mRandom()} << (sizeof(T) - 4) * upTo(8));
    }
    template <class T>
    void fill(std::array<T, 3>& fields) {
        for (T& field : fields)
            field = random<T>();
    }

    template <class T>
    Grown<T> growLeaf() {
        Grown<T> leaf;
        const std::string type = mWritesBodies ? Datatype::TypedDatatype<T>::getInstance()->getName().c_str() : "";
        leaf.isConstant = upTo(1) != 0;
        if (leaf.isConstant) {
            // Both zeros are equal constants, although they have not the same inverse.
            const T drawn = random<T>(), value = drawn == 0 ? T{0} : drawn;
            leaf.values = {value, value};
            leaf.equalsItself = value == value;
            leaf.node.reset(new (mAllocator) AtomicMathValue<T>(value));
            leaf.body = mWritesBodies ? lit(type, shownValue(value)) : "";
        } else {
            const uint32 index = upTo(2), isField = upTo(1);
            leaf.values = {fieldOf<T>(mFields[0], index), fieldOf<T>(mFields[1], index)};
            leaf.equalsItself = true;
            leaf.node.reset(makeVariable<T>(mFields[0], isField != 0, index, mAllocator));
            leaf.body = mWritesBodies ? var(type, std::to_string(isField) + std::to_string(index)) : "";
        }
        return leaf;
    }

    /// One of the operators, of which the first has the number `First`, with operands of type T.
    template <class R, class T, uint32 First, class... Operators>
    Grown<R> connect(uint32 depth) {
        const uint32 operation = First + upTo(sizeof...(Operators) - 1);
        Grown<T> left = grow<T>(depth), right = grow<T>(depth);
        Grown<R> whole;
        uint32 number = First;
        const auto make = [&]<class Operator>(std::type_identity<Operator>) {
            if (number++ == operation)
                whole.node.reset(new (mAllocator)
                                     BinaryMathValue<Operator, T, T>(left.node.release(), right.node.release()));
        };
        (make(std::type_identity<Operators>()), ...);
        for (const std::size_t at : {0U, 1U}) {
            if constexpr (First < cFirstComparison)
                whole.values[at] = computed(operation, left.values[at], right.values[at]);
            else
                whole.values[at] = compared(operation, left.values[at], right.values[at]);
        }
        whole.isOperator = true;
        whole.isConstant = left.isConstant && right.isConstant;
        whole.equalsItself = left.equalsItself && right.equalsItself;
        whole.body = mWritesBodies ? op(cNames[operation], left.body, right.body) : "";
        return whole;
    }
    template <class T>
    Grown<bool> compare(uint32 depth) {
        using namespace Operations;
        return connect<bool, T, cFirstComparison, Smaller, SmallerEqual, GreaterEqual, Greater, Equal, Unequal>(depth);
    }
    Grown<bool> growCondition(uint32 depth) {
        using namespace Operations;
        switch (upTo(7)) {
        case 0:
            return compare<int32>(depth);
        case 1:
            return compare<uint32>(depth);
        case 2:
            return compare<int64>(depth);
        case 3:
            return compare<float>(depth);
        case 4:
            return negate(grow<bool>(depth));
        default:
            return connect<bool, bool, cFirstOfTruths, Equal, Unequal, And, Or>(depth);
        }
    }
    Grown<bool> negate(Grown<bool> operand) {
        operand.node.reset(new (mAllocator) NegatedMathValue(operand.node.release()));
        operand.values = {!operand.values[0], !operand.values[1]};
        operand.isOperator = false;
        operand.body = mWritesBodies ? negated(operand.body) : "";
        return operand;
    }

    std::array<Fields, 2>& mFields;
    const Memory::AllocatorPtr& mAllocator;
    std::mt19937 mRandom;
};

/// Finds the variables by the names that the formulas give them.
class FieldsResolver final : public VariableResolver {
public:
    FieldsResolver(Fields& fields, const Memory::AllocatorPtr& allocator) : mFields(fields), mAllocator(allocator) {}

    MathValue* getVariable(XMLNodeElements* element, Expression::ErrorMsg&) override {
        MathValue* node = nullptr;
        const auto look = [&]<class T>(const std::array<T, 3>&) {
            const char* const name = element->getAttributeString("name");
            if (Datatype::TypedDatatype<T>::getInstance()->getName() == element->getAttributeString("datatype"))
                node = makeVariable<T>(mFields, name[0] == '1', static_cast<uint32>(name[1] - '0'), mAllocator);
        };
        std::apply([&](auto&... arrays) { (look(arrays), ...); }, mFields);
        return node;
    }
    MathValue* getConstant(XMLNodeElements*, Expression::ErrorMsg&) override { return nullptr; }
    MathValue* getCustomMathValue(XMLNodeElements*, FunctionEnvironment*, Expression::ErrorMsg&) override {
        return nullptr;
    }

private:
    Fields& mFields;
    const Memory::AllocatorPtr& mAllocator;
};

struct GeneratedTest : FormulaTest {
    std::array<Fields, 2> mFields{};
    FieldsResolver mFieldsResolver{mFields[0], mNodes};

    /// Whether the node has both values, and takes no memory for them.
    template <class T>
    bool hasValues(TypedMathValue<T>& node, const std::array<T, 2>& values) {
        const int64 taken = mNodeMemory->getTaken() + getMemory().getTaken();
        bool isRight = true;
        for (const std::size_t at : {0U, 1U}) {
            mAccessor.setObject(&mFields[at]);
            T value{};
            node.getValue(value, &mAccessor);
            isRight = isRight && isSame(node.evaluate(&mAccessor), values[at]) && isSame(value, values[at]);
        }
        return isRight && mNodeMemory->getTaken() + getMemory().getTaken() == taken;
    }

    /// The law that the formula breaks; null when it is none.
    template <class T>
    const char* findBrokenLaw(Grown<T>& grown, Grown<T>& previous) {
        if (!hasValues(*grown.node, grown.values))
            return "its values";
        if (grown.node->isConstant() != grown.isConstant)
            return "whether it is constant";
        Node copy(grown.node->clone());
        if (grown.node->isEqual(copy.get()) != grown.equalsItself ||
            copy->isEqual(grown.node.get()) != grown.equalsItself)
            return "a copy is equal";
        if (previous.node) {
            const bool areEqual = grown.node->isEqual(previous.node.get());
            if (previous.node->isEqual(grown.node.get()) != areEqual)
                return "what is equal is so the other way round";
            if (areEqual && !hasValues(*previous.node, grown.values))
                return "what is equal has the same values";
        }
        Node merged(copy->merge());
        if ((merged != nullptr) != (grown.isConstant && grown.isOperator))
            return "what is constant is merged";
        if (merged)
            copy = std::move(merged);
        if (!hasValues(static_cast<TypedMathValue<T>&>(*copy), grown.values))
            return "its values when it is merged";
        const int64 taken = mNodeMemory->getTaken();
        if (copy->merge() || mNodeMemory->getTaken() != taken)
            return "it is merged at once";
        return nullptr;
    }

    template <class T>
    void checkParsed(Grown<T>& grown) {
        const Document document(grown.body);
        Expression::ErrorMsg error;
        const Node node(Expression::parse(document.get(), &mFieldsResolver, nullptr, mNodes, error));
        REQUIRE(node);
        CHECK(node->isEqual(grown.node.get()) == grown.equalsItself);
        REQUIRE(dynamic_cast<TypedMathValue<T>*>(node.get()) != nullptr);
        CHECK(hasValues(static_cast<TypedMathValue<T>&>(*node), grown.values));
    }
};

} // namespace

TEST_CASE_TEMPLATE("formulas have the values of plain C++, and keep the laws of copies and merging", T, bool, int32,
                   uint32, int64, float) {
    GeneratedTest test;
    Grower grower(test.mFields, test.mNodes);
    Grown<T> previous{};
    for (int count = 0; count < 100000; ++count) {
        grower.mWritesBodies = count % 100 == 0;
        Grown<T> grown = grower.template grow<T>(1 + count % 3);
        const char* const brokenLaw = test.findBrokenLaw(grown, previous);
        CAPTURE(count);
        REQUIRE(brokenLaw == nullptr);
        if (grower.mWritesBodies)
            test.checkParsed(grown);
        previous = std::move(grown);
    }
}
