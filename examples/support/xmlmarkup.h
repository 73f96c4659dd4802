#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What a document has in it that its tree does not show.
namespace xmlmarkup {

using std::string_view;

struct Markup {
    std::string declaration;                 ///< "<?xml ...?>"; empty when there is none
    std::vector<std::size_t> includes;       ///< where the elements begin
    std::vector<std::size_t> openIncludes;   ///< those that are no empty elements, which parsers overlook
    std::vector<std::size_t> nearlyIncludes; ///< the same for those that parsers take for nothing special
    bool hasComments = false;                ///< or instructions
    std::size_t stray = string_view::npos;   ///< where something stands in front of the markup
    std::size_t rest = string_view::npos;    ///< where something stands behind the root, that is no comment
};

inline constexpr string_view cInclude = "<xi:include";
inline constexpr string_view cBlanks = " \t\r\n";

/// Returns the end of the tag that begins at `at`, and adds to `depth` what it opens. Like in the parser, the first ">"
/// tells whether an element is empty, and a space is what makes an include.
inline std::size_t scanTag(string_view text, std::size_t at, Markup& markup, std::int64_t& depth) {
    const string_view tag = text.substr(at);
    const std::size_t greater = tag.find('>');
    const bool isEmpty = greater != tag.npos && tag[greater - 1] == '/';
    const char behind = tag.starts_with(cInclude) && tag.size() > cInclude.size() ? tag[cInclude.size()] : '>';
    if (behind == ' ') {
        markup.includes.push_back(at);
        if (!isEmpty)
            markup.openIncludes.push_back(at);
    } else if (tag.starts_with("</")) {
        --depth;
    } else if (!isEmpty) {
        ++depth;
    }
    if (behind != ' ' && cBlanks.find(behind) != cBlanks.npos)
        markup.nearlyIncludes.push_back(at);
    bool isInValue = false;
    for (; at < text.size() && (isInValue || text[at] != '>'); ++at)
        isInValue ^= text[at] == '"';
    return at < text.size() ? at + 1 : at;
}

/// Follows a document as far as it is right.
inline Markup scan(string_view text) {
    Markup markup;
    constexpr string_view cByteOrderMark = "\xEF\xBB\xBF";
    const std::size_t stray =
        text.find_first_not_of(cBlanks, text.starts_with(cByteOrderMark) ? cByteOrderMark.size() : 0);
    if (stray < text.find('<'))
        markup.stray = stray;
    std::int64_t depth = 0;
    bool isBehindRoot = false;
    for (std::size_t at = text.find('<'); at < text.size();) {
        const string_view rest = text.substr(at);
        const bool isComment = rest.starts_with("<!--");
        if (isComment || rest.starts_with("<?")) {
            const std::size_t close = rest.find(isComment ? "-->" : "?>", isComment ? 4 : 2);
            const string_view whole = rest.substr(0, close == rest.npos ? close : close + (isComment ? 3 : 2));
            if (whole.starts_with("<?xml ") && markup.declaration.empty() && !markup.hasComments && depth == 0)
                markup.declaration = whole;
            else
                markup.hasComments = true;
            at += whole.size();
        } else if (isBehindRoot) {
            markup.rest = at;
            break;
        } else {
            at = scanTag(text, at, markup, depth);
            isBehindRoot = depth <= 0;
        }
        at = isBehindRoot ? text.find_first_not_of(cBlanks, at) : text.find('<', at);
    }
    return markup;
}

} // namespace xmlmarkup
