#pragma once

#include <cstddef>
#include <iterator>
#include <map>
#include <set>
#include <string>

namespace Tarq::Test {

/// The grammar, rule by rule and with no thought of speed: what the parser is held against.
///
/// First a scan ahead says what the next node is, then the node is read. Both remember the line breaks in the white
/// space that they skip, in the same place.
class Grammar {
public:
    using Files = std::map<std::string, std::string>;

    explicit Grammar(std::string text) : mText(std::move(text)) {}
    /// Of one of the files. All that are included have to be there.
    Grammar(const Files& files, const std::string& name, const Grammar* includer = nullptr)
        : mText(files.at(name) + '\0'), mFiles(&files), mName(name), mIncluder(includer) {}

    /// In the form of `outcomeOfDocument`.
    std::string read() {
        try {
            return readOrTell();
        } catch (const Told& told) {
            return told.text;
        }
    }

private:
    enum Node {
        INVALID = -4,
        END_TAG = -3,
        DECLARATION = -2,
        COMMENT = -1,
        EMPTY = 0,
        TEXT = 1,
        ELEMENTS = 2,
        INCLUDE = 3
    };
    struct Failure {
        std::size_t at;
        std::string message;
    };
    /// Line, row and message.
    struct Told {
        std::string text;
    };
    struct Tag {
        std::string name;
        std::string shown;
        std::map<std::string, std::string> attributes;
    };
    static constexpr std::size_t cNowhere = std::string::npos;
    static constexpr const char* cLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";

    [[noreturn]] static void fail(std::size_t at, std::string message) { throw Failure{at, std::move(message)}; }
    [[noreturn]] void failAtEnd() const { fail(mText.size(), "XMLParser: End of buffer reached."); }
    bool begins(std::size_t at, const char* piece) const {
        return mText.compare(at, std::string(piece).size(), piece) == 0;
    }
    static bool isOneOf(const std::string& set, char c) { return set.find(c) != cNowhere; }

    std::size_t skipWhite(std::size_t at) {
        for (; at < mText.size() && isOneOf(" \t\n\r", mText[at]); ++at) {
            if (mText[at] == '\n')
                mLineBreaks.insert(at);
        }
        if (at == mText.size())
            failAtEnd();
        return at;
    }

    /// Moves to the front of the node; behind it, if that is a comment or a declaration.
    Node classify(std::size_t& at) {
        at = skipWhite(at);
        if (mText[at] != '<')
            return INVALID;
        if (begins(at, "<?"))
            return skipTo("?>", at + 2, at) ? DECLARATION : INVALID;
        if (begins(at, "<!"))
            return begins(at, "<!--") && skipTo("-->", at + 4, at) ? COMMENT : INVALID;
        if (begins(at, "<xi:include "))
            return INCLUDE;
        if (begins(at, "</"))
            return END_TAG;
        const std::size_t greater = mText.find('>', at);
        if (greater == cNowhere)
            return INVALID;
        if (mText[greater - 1] == '/')
            return EMPTY;
        return mText[skipWhite(greater + 1)] == '<' ? ELEMENTS : TEXT;
    }
    bool skipTo(const std::string& closing, std::size_t from, std::size_t& at) const {
        const std::size_t found = from <= mText.size() ? mText.find(closing, from) : cNowhere;
        if (found == cNowhere)
            return false;
        at = found + closing.size();
        return true;
    }

    std::string readOrTell() {
        try {
            return readDocument();
        } catch (const Failure& failure) {
            const auto after = mLineBreaks.lower_bound(failure.at);
            const std::size_t last = after != mLineBreaks.begin() ? *std::prev(after) : 0;
            const auto line = 1 + std::distance(mLineBreaks.begin(), after);
            throw Told{std::to_string(line) + ":" + std::to_string(failure.at - last) + " " + failure.message};
        }
    }

    std::string readDocument() {
        std::size_t at = mText.find('<');
        Node node = INVALID;
        if (at == cNowhere)
            at = 0;
        else
            do
                node = classify(at);
            while (node == COMMENT || node == DECLARATION);
        if (node == INVALID || node == END_TAG)
            fail(at, "XMLParser: Invalid XML format. Found nodetype : " + std::to_string(node));
        if (node != ELEMENTS)
            fail(at, "XMLParser: First tag must be a root node");
        return readElements(at);
    }

    std::string readElements(std::size_t& at) {
        const Tag tag = readStartTag(at);
        std::string children;
        for (;;) {
            const Node node = classify(at);
            if (node == COMMENT || node == DECLARATION)
                continue;
            if (node == END_TAG) {
                readEndTag(at, tag.name);
                return tag.shown + "(" + children + ")";
            }
            children += (children.empty() ? "" : " ") + readChild(node, at);
        }
    }

    std::string readChild(Node node, std::size_t& at) {
        if (node == ELEMENTS)
            return readElements(at);
        if (node == INVALID)
            fail(at, "XMLParser: Invalid tag found.");
        const Tag tag = readStartTag(at);
        if (node == INCLUDE)
            return readIncluded(tag, at);
        if (node == EMPTY)
            return tag.shown;
        const std::size_t begin = at;
        at = mText.find('<', at);
        if (at == cNowhere)
            failAtEnd();
        const std::size_t end = at;
        readEndTag(at, tag.name);
        return tag.shown + "\"" + asText(begin, end) + "\"";
    }

    std::string readIncluded(const Tag& tag, std::size_t at) const {
        if (!mFiles)
            fail(at, "XMLParser: We have no FileSystem defined, but there is an xi:include tag in the current xml "
                     "definition");
        const auto parse = tag.attributes.find("parse");
        if (parse != tag.attributes.end() && parse->second != "xml")
            fail(at, "XMLParser: We support currently only xi:include tags with attribute parse=\"xml\" or no parse "
                     "attribute.");
        const auto href = tag.attributes.find("href");
        if (href == tag.attributes.end())
            fail(at, "XMLParser: xi:include tag without href attribute found");
        for (const Grammar* each = this; each; each = each->mIncluder) {
            if (each->mName == href->second)
                fail(at, "XMLParser: The file '" + href->second + "' includes itself");
        }
        return Grammar(*mFiles, href->second, this).readOrTell();
    }

    /// As a C string has it.
    std::string asText(std::size_t begin, std::size_t end) const { return mText.substr(begin, end - begin).c_str(); }

    std::string readName(std::size_t& at) {
        const std::size_t begin = at;
        if (at < mText.size() && !isOneOf(cLetters, mText[at]))
            fail(at, "name has invalid first char '" + std::string(1, mText[at]) + "' , must be in '" + cLetters + "'");
        while (at < mText.size() && isOneOf(std::string(cLetters) + "0123456789.,-:", mText[at]))
            ++at;
        if (at == mText.size())
            fail(at, "XMLParser: Reached end of buffer during name read");
        return mText.substr(begin, at - begin);
    }

    Tag readStartTag(std::size_t& at) {
        ++at;
        Tag tag{readName(at), {}, {}};
        if (begins(at, "/>") || mText[at] == '>') {
            at += mText[at] == '>' ? 1 : 2;
        } else {
            if (!isOneOf(" \t\n\r", mText[at]))
                failAtCharacter(at, "XMLParser: Invalid character '", "' in name.");
            for (at = skipWhite(at); mText[at] != '>' && mText[at] != '/'; at = skipWhite(at))
                readAttribute(at, tag.attributes);
            if (mText[at] == '/' && ++at == mText.size())
                failAtEnd();
            expect('>', at, "XMLParser: Invalid character '", "' in starttag.");
        }
        tag.shown = tag.name;
        for (const auto& [name, value] : tag.attributes)
            tag.shown += (tag.shown == tag.name ? "[" : ",") + name + "=" + value;
        tag.shown += tag.attributes.empty() ? "" : "]";
        return tag;
    }

    void readAttribute(std::size_t& at, std::map<std::string, std::string>& attributes) {
        const std::string name = readName(at);
        at = skipWhite(at);
        expect('=', at, "XMLParser: Expected assign operator '=' but found '", "'");
        at = skipWhite(at);
        expect('"', at, "XMLParser: Expected envelop char '\"' , found '", "'");
        const std::size_t begin = at;
        at = mText.find('"', at);
        if (at == cNowhere)
            failAtEnd();
        attributes[name] = asText(begin, at++);
    }

    void readEndTag(std::size_t& at, const std::string& expected) {
        if (++at == mText.size())
            failAtEnd();
        expect('/', at, "XMLParser: Expected '/' but found '", "'");
        const std::string name = readName(at);
        at = skipWhite(at);
        expect('>', at, "XMLParser: Invalid character '", "' in starttag.");
        if (name != expected)
            fail(at, "XMLParser: Name in starttag and endtag are not equal");
    }

    void expect(char c, std::size_t& at, const std::string& before, const std::string& after) const {
        if (mText[at] != c)
            failAtCharacter(at, before, after);
        ++at;
    }
    [[noreturn]] void failAtCharacter(std::size_t at, const std::string& before, const std::string& after) const {
        fail(at, before + mText[at] + after);
    }

    std::string mText;
    const Files* mFiles = nullptr;
    std::string mName;
    const Grammar* mIncluder = nullptr;
    std::set<std::size_t> mLineBreaks;
};

} // namespace Tarq::Test
