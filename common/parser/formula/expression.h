#pragma once

#include "common/container/vector.h"
#include "common/export.h"
#include "common/memory/allocatorptr.h"
#include "common/string.h"
#include "common/types.h"

#include <utility>

namespace Tarq::Common::Parser::XML {
struct XMLNode;
struct XMLNodeElements;
} // namespace Tarq::Common::Parser::XML

namespace Tarq::Common::Parser::Formula {

class FunctionEnvironment;
class MathValue;
class VariableResolver;
template <class T>
class TypedMathValue;

/// Which of a host's kinds of functions a node is. 0 in the library's own nodes.
using FunctionType = uint32;

/// Formulas: makes trees of values from elements of a document, and takes conditions apart.
///
///     Expression::ErrorMsg error;
///     MathValue* const formula = Expression::parse(element, &resolver, &environment, allocator, error);
///     if (!formula)
///         log(error.getText());
///
/// `docs/formulas.md` shows what the elements look like.
class TARQ_API Expression {
public:
    /// What `MathValue::getOperationType` says.
    enum Operation : uint32 {
        OPERATION_UNKNOWN = 0, ///< a typed operator that does not say which
        OPERATION_DIVISION = 5,
        OPERATION_MULTIPLICATION = 6,
        OPERATION_SUBSTRACTION = 10,
        OPERATION_ADDITION = 11,
        OPERATION_SMALLER = 20,
        OPERATION_SMALLER_EQUAL = 21,
        OPERATION_EQUAL = 22,
        OPERATION_GREATER_EQUAL = 23,
        OPERATION_GREATER = 24,
        OPERATION_UNEQUAL = 25,
        OPERATION_AND = 30,
        OPERATION_OR = 31,
        OPERATION_NONE = 100, ///< a constant, a variable, a call, a negation, or arithmetic of untyped values
    };

    /// Why a formula was refused.
    class TARQ_API ErrorMsg {
    public:
        bool existsError() const noexcept { return !mText.empty(); }
        const String& getText() const noexcept { return mText; }
        /// The element that was refused; null when that is not known. Good as long as the document is.
        const XML::XMLNode* getElement() const noexcept { return mElement; }
        /// Replaces what is held.
        void set(String text, const XML::XMLNode* element = nullptr) noexcept {
            mText = std::move(text);
            mElement = element;
        }

    private:
        String mText;
        const XML::XMLNode* mElement = nullptr;
    };

    /// How deep expressions nest at most, counted over all parses that a thread is inside of.
    static constexpr uint32 cMostNestedExpressions = 256;

    Expression() = delete;

    /// Makes the tree of a formula, on `allocator` (calls, with their arguments, on that of the environment); the
    /// caller deletes it. Null when it is refused: then `error` says why, or an assertion has said it, as it does for
    /// an attribute or a child element that is missing, and for a kind or an operator that is unknown. `error` is left
    /// as it is otherwise: take a fresh one for each formula.
    ///
    /// The value has the type that `getDatatypeID` of the tree says, which need not be the one of the element. A tree
    /// that is one variable is what the resolver has made: use `dynamic_cast` for a `TypedMathValue`.
    ///
    /// `resolver` and `environment` may be null for formulas without variables and without functions. Nothing of the
    /// document is kept, but the cursors of its elements move; the same element can be parsed again.
    /// Throws `OutOfMemoryException`, and what the resolver throws; then, and when it refuses, nothing is left behind.
    /// Threads: any, each with its own document, resolver and environment.
    static MathValue* parse(XML::XMLNodeElements* element, VariableResolver* resolver, FunctionEnvironment* environment,
                            const Memory::AllocatorPtr& allocator, ErrorMsg& error);
    /// The same; a refusal is an assertion that has the text of the error.
    static MathValue* parse(XML::XMLNodeElements* element, VariableResolver* resolver, FunctionEnvironment* environment,
                            const Memory::AllocatorPtr& allocator);

    // Conditions that are connected by "and". Each throws `OutOfMemoryException`; then nothing has changed.

    /// Takes `value` apart, and appends what its `AndMathValue`s connect, from left to right. The parts belong to the
    /// caller then, and `value` is gone. Asserts that there is a value; nothing happens otherwise.
    static void splitDisjunction(Container::Vector<TypedMathValue<bool>*>& parts, TypedMathValue<bool>* value);
    /// Connects the parts from left to right, by nodes on `allocator`. They belong to the result then, and `parts` is
    /// left as it is. Null for no part; a single one is the result itself. The result nests as
    /// deep as there are parts: some thousands are fine.
    static TypedMathValue<bool>* joinTests(Container::Vector<TypedMathValue<bool>*>& parts,
                                           const Memory::AllocatorPtr& allocator);
    /// Whether one of what `value` connects is of this type. Asserts that it is of type "Boolean"; false otherwise.
    static bool containsFunctionInDisjunction(FunctionType type, MathValue* value);
    /// Appends the parts of `value` for which `predicate` is true, which belong to the caller then. Returns the others,
    /// connected again, in the place of `value`; null when there are none. Asserts that there is a value; null
    /// otherwise.
    static MathValue* extractFromDisjunction(Container::Vector<MathValue*>& extracted, MathValue* value,
                                             bool (*predicate)(MathValue*));
};

} // namespace Tarq::Common::Parser::Formula
