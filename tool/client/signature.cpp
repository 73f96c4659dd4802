#include "tool/client/signature.h"

#include "tool/client/quoting.h"
#include "tool/condition/nearestname.h"

#include "common/reflection/datatype/builtindatatypes.h"

#include <algorithm>

namespace Tarq::Tool {

using namespace Common;
using Network::Message::arrayOf;
using Network::Message::getStreamID;
using Reflection::Datatype::forEachElementType;

namespace {

struct TypeName {
    std::string name;
    StreamIDs type;
};

/// What an element type may be called, the name that hosts give it first.
const std::vector<TypeName>& allNames() {
    static const std::vector<TypeName> names = [] {
        std::vector<TypeName> made;
        forEachElementType([&made](const auto& element) {
            using T = typename std::remove_cvref_t<decltype(element)>::Native;
            const StreamIDs type = getStreamID<T>();
            made.push_back({element.name, type});
            if constexpr (std::is_same_v<T, bool>)
                made.push_back({"bool", type});
            else if constexpr (std::is_integral_v<T>)
                made.push_back({(std::is_signed_v<T> ? "int" : "uint") + std::to_string(8 * sizeof(T)), type});
            made.push_back({nameOfType(type), type});
            made.push_back({nameOfType(arrayOf(type)), arrayOf(type)});
        });
        made.push_back({"int", getStreamID<int32>()});
        return made;
    }();
    return names;
}

bool isSame(std::string_view a, std::string_view b) noexcept {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char left, char right) {
        return CharacterTraits<char>::toLower(left) == CharacterTraits<char>::toLower(right);
    });
}

bool isArray(StreamIDs type) {
    bool isContainer = false;
    visitType(type, [&]<class T>() { isContainer = Network::Message::StreamContainer<T>::value; });
    return isContainer;
}

bool namesContainer(std::string_view word) noexcept {
    return isSame(word, "Container") || isSame(word, "vector");
}

/// Takes a signature apart; the first thing that is wrong is kept.
class SignatureReader {
public:
    explicit SignatureReader(std::string_view text) : mLeft(text) {}

    bool read(Signature& signature) {
        if (!takeResultInFront(signature) || !takeName(signature.name))
            return false;
        if (accept("(")) {
            signature.hasArguments = true;
            if (!takeArguments(signature.arguments))
                return false;
        }
        return !accept("->") || takeResult(signature);
    }
    std::string_view getRest() {
        skipBlanks();
        return mLeft;
    }
    const std::string& getProblem() const noexcept { return mProblem; }

private:
    /// As C++ has it: a type, and then a name.
    bool takeResultInFront(Signature& signature) {
        const std::string_view before = mLeft;
        skipBlanks();
        if (!mLeft.starts_with('"') && takeResult(signature) && !peekWord().empty())
            return true;
        mLeft = before;
        mProblem.clear();
        signature.hasResult = false;
        signature.result.reset();
        return true;
    }
    bool takeName(std::string& name) {
        skipBlanks();
        const std::size_t length = lengthOfQuoted(mLeft);
        if (length != 0) {
            name = unquote(mLeft.substr(0, length)).value_or("");
            mLeft.remove_prefix(length);
        } else {
            name = mLeft.substr(0, mLeft.find_first_of(" \t(\""));
            mLeft.remove_prefix(name.size());
        }
        return !name.empty() || fail("the name of the function is missing");
    }
    bool takeArguments(std::vector<StreamIDs>& arguments) {
        if (accept(")"))
            return true;
        do {
            if (!takeType(arguments.emplace_back()))
                return false;
            takeWord(); // what the argument is called
        } while (accept(","));
        return accept(")") || fail("in the signature, a \")\" is missing");
    }
    bool takeResult(Signature& signature) {
        signature.hasResult = true;
        if (isSame(peekWord(), "void"))
            return !takeWord().empty();
        return takeType(signature.result.emplace());
    }
    bool takeType(StreamIDs& type) {
        if (peekWord() == "const")
            takeWord();
        std::string_view word = takeWord();
        if (word.starts_with("std::"))
            word.remove_prefix(5);
        const bool isAngled = mLeft.starts_with('<');
        bool isOfMany = namesContainer(word) && accept(isAngled ? "<" : "[");
        if (isOfMany) {
            if (!takeType(type))
                return false;
            if (!accept(isAngled ? ">" : "]"))
                return fail(std::string("in the signature, a \"") + (isAngled ? '>' : ']') + "\" is missing");
        } else {
            if (!findType(word, type))
                return false;
            isOfMany = accept("[]");
        }
        accept("&");
        if (!isOfMany)
            return true;
        if (isArray(type))
            return fail("there are no containers of containers");
        type = arrayOf(type);
        return true;
    }
    bool findType(std::string_view word, StreamIDs& type) {
        if (word.empty())
            return fail("in the signature, a type is missing");
        const std::vector<TypeName>& names = allNames();
        const auto found =
            std::find_if(names.begin(), names.end(), [&](const TypeName& known) { return isSame(known.name, word); });
        if (found != names.end()) {
            type = found->type;
            return true;
        }
        const auto nearest = std::min_element(names.begin(), names.end(), [&](const TypeName& a, const TypeName& b) {
            return distanceOf(word, a.name) < distanceOf(word, b.name);
        });
        return fail("there is no type " + quote(word) + "; did you mean " + nearest->name + '?');
    }

    std::string_view peekWord() {
        skipBlanks();
        std::size_t length = 0;
        while (length < mLeft.size() && (isPlain(mLeft[length]) || mLeft[length] == ':') && mLeft[length] != '-')
            ++length;
        return mLeft.substr(0, length);
    }
    std::string_view takeWord() {
        const std::string_view word = peekWord();
        mLeft.remove_prefix(word.size());
        return word;
    }
    void skipBlanks() {
        const std::size_t count = mLeft.find_first_not_of(" \t");
        mLeft.remove_prefix(count == mLeft.npos ? mLeft.size() : count);
    }
    bool accept(std::string_view mark) {
        skipBlanks();
        if (!mLeft.starts_with(mark))
            return false;
        mLeft.remove_prefix(mark.size());
        return true;
    }
    bool fail(const std::string& what) {
        mProblem = what;
        return false;
    }

    std::string_view mLeft;
    std::string mProblem;
};

} // namespace

std::string takeSignature(std::string_view& text, Signature& signature) {
    const std::size_t length = lengthOfQuoted(text);
    const std::optional<std::string> inside = unquote(text.substr(0, length));
    const bool isQuoted = inside && (length == text.size() || text[length] == ' ') && inside->find('(') != inside->npos;
    SignatureReader reader(isQuoted ? std::string_view(*inside) : text);
    if (!reader.read(signature))
        return reader.getProblem();
    if (isQuoted && !reader.getRest().empty())
        return "something follows the signature: " + quote(reader.getRest());
    text = isQuoted ? text.substr(length) : reader.getRest();
    return {};
}

std::string nameOfDatatype(StreamIDs type) {
    std::string name;
    forEachElementType([&](const auto& element) {
        const StreamIDs known = getStreamID<typename std::remove_cvref_t<decltype(element)>::Native>();
        if (type == known)
            name = element.name;
        else if (type == arrayOf(known))
            name = std::string("Container[") + element.name + ']';
    });
    return name.empty() ? nameOfType(type) : name;
}

std::string textOfSignature(const Signature& signature) {
    std::string text = quoteName(signature.name) + '(';
    for (const StreamIDs type : signature.arguments)
        text += (text.ends_with('(') ? "" : ", ") + nameOfDatatype(type);
    return text + ')';
}

} // namespace Tarq::Tool
