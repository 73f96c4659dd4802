#include "tool/client/path.h"

#include "tool/client/quoting.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace Tarq::Tool {

using namespace Common;

namespace {

/// One name of a path.
struct Segment {
    char separator = '\0'; ///< in front of it: '/', '.', '@', or none for the first one
    std::optional<std::string> name;
    std::optional<uint32> id;
    std::string text; ///< as it was written

    bool fits(uint32 number) const noexcept { return !id || *id == number; }
};

/// Takes a path apart.
class PathReader {
public:
    explicit PathReader(std::string_view path) : mPath(path), mLeft(path) {}

    /// What is wrong with the path; empty when nothing is.
    std::string read(std::vector<Segment>& segments) {
        do {
            Segment& segment = segments.emplace_back();
            const std::string_view before = mLeft;
            if (!mLeft.empty() && segments.size() > 1) {
                segment.separator = mLeft.front();
                mLeft.remove_prefix(1);
            }
            if (!readName(segment) || !readID(segment))
                return mProblem;
            const std::size_t offset = segment.separator == '\0' ? 0 : 1;
            segment.text = before.substr(offset, before.size() - mLeft.size() - offset);
        } while (!mLeft.empty());
        return {};
    }

private:
    bool readName(Segment& segment) {
        if (mLeft.starts_with('"')) {
            const std::size_t length = lengthOfQuoted(mLeft);
            segment.name = unquote(mLeft.substr(0, length));
            mLeft.remove_prefix(length);
            return segment.name || fail("a name in quotes is wrong");
        }
        const auto* const end = std::find_if_not(mLeft.begin(), mLeft.end(), &isPlain);
        if (end != mLeft.begin())
            segment.name = std::string(mLeft.begin(), end);
        else if (!mLeft.starts_with('#'))
            return fail("a name is missing");
        mLeft.remove_prefix(static_cast<std::size_t>(end - mLeft.begin()));
        return true;
    }
    bool readID(Segment& segment) {
        if (mLeft.starts_with('#')) {
            uint32 id = 0;
            const char* const end = mLeft.data() + mLeft.size();
            const auto result = std::from_chars(mLeft.data() + 1, end, id);
            if (result.ec != std::errc())
                return fail("no number follows the #");
            segment.id = id;
            mLeft.remove_prefix(static_cast<std::size_t>(result.ptr - mLeft.data()));
        }
        constexpr std::string_view cSeparators = "/.@";
        return mLeft.empty() || cSeparators.find(mLeft.front()) != cSeparators.npos ||
               fail("a name with such a character stands in quotes");
    }
    bool fail(const char* what) {
        mProblem = "the path " + quote(mPath) + " is wrong: " + what + " (column " +
                   std::to_string(mPath.size() - mLeft.size() + 1) + ')';
        return false;
    }

    std::string_view mPath;
    std::string_view mLeft;
    std::string mProblem;
};

/// Names in a text for a person, but not thousands.
std::string listOf(const std::vector<std::string>& names, const char* separator) {
    constexpr std::size_t cMost = 8;
    std::string text;
    for (std::size_t at = 0; at < std::min(names.size(), cMost); ++at)
        text += (at == 0 ? "" : separator) + names[at];
    if (names.size() > cMost)
        text += " and " + std::to_string(names.size() - cMost) + " more";
    return text;
}

/// Goes along a path, to all that it may mean.
class PathWalker {
public:
    explicit PathWalker(const ModuleModel& model) : mModel(model) {}

    /// What is wrong; empty when there is something.
    std::string go(const Segment& segment) {
        mNext.clear();
        mNames.clear();
        if (segment.separator == '\0')
            look(ELEMENT_GROUP, mModel.getTop(), cNoID, segment);
        for (const Found& place : mPlaces)
            goFrom(place, segment);
        const std::string where = mPath.empty() ? "the module" : mPath;
        mPath += (segment.separator == '\0' ? "" : std::string(1, segment.separator)) + segment.text;
        mPlaces.swap(mNext);
        if (!mPlaces.empty())
            return {};
        return "there is no " + kindOf(segment) + segment.text + " in " + where +
               (mNames.empty() ? std::string() : "; there is: " + listOf(mNames, ", "));
    }

    PathResult choose(std::initializer_list<ElementKind> kinds) const {
        for (const ElementKind kind : kinds) {
            std::vector<Found> fitting;
            std::copy_if(mPlaces.begin(), mPlaces.end(), std::back_inserter(fitting),
                         [kind](const Found& place) { return place.kind == kind; });
            if (fitting.size() == 1)
                return fitting.front();
            if (!fitting.empty())
                return mPath + " can be " + listOf(pathsOf(fitting), " or ");
        }
        std::vector<std::string> wanted;
        wanted.reserve(kinds.size());
        for (const ElementKind kind : kinds)
            wanted.push_back(std::string("a") + (kind == ELEMENT_INSTANCE ? "n " : " ") + nameOfKind(kind));
        const ElementKind kind = mPlaces.front().kind;
        return mPath + " is a" + (kind == ELEMENT_INSTANCE ? "n " : " ") + nameOfKind(kind) + ", and not " +
               listOf(wanted, " or ");
    }

private:
    static std::string kindOf(const Segment& segment) {
        return segment.separator == '.' ? "variable " : segment.separator == '@' ? "breakpoint " : "";
    }

    void goFrom(const Found& place, const Segment& segment) {
        if (segment.separator == '/' && place.kind == ELEMENT_GROUP) {
            look(ELEMENT_GROUP, mModel.findGroup(place.id)->groups, cNoID, segment);
            look(ELEMENT_TYPE, mModel.findGroup(place.id)->types, cNoID, segment);
        } else if (segment.separator == '/' && place.kind == ELEMENT_TYPE) {
            look(ELEMENT_INSTANCE, mModel.findType(place.id)->instances, cNoID, segment);
        } else if (segment.separator == '.' && place.kind == ELEMENT_INSTANCE) {
            const ModuleModel::Type* const type = mModel.findType(mModel.findInstance(place.id)->typeID);
            look(ELEMENT_VARIABLE, type->variables, place.id, segment);
        } else if (segment.separator == '@' && place.kind == ELEMENT_TYPE) {
            look(ELEMENT_BREAKPOINT, mModel.findType(place.id)->breakpoints, cNoID, segment);
        }
    }
    void look(ElementKind kind, const ModuleModel::Names& names, uint32 instanceID, const Segment& segment) {
        const auto take = [&](const ModuleModel::IDs& ids) {
            for (const uint32 id : ids) {
                if (segment.fits(id))
                    mNext.push_back({kind, id, instanceID});
            }
        };
        if (segment.name) {
            const auto found = names.find(*segment.name);
            if (found != names.end())
                take(found->second);
        }
        for (const auto& [name, ids] : names) {
            if (!segment.name)
                take(ids);
            mNames.push_back(quoteName(name));
        }
    }
    std::vector<std::string> pathsOf(const std::vector<Found>& places) const {
        std::vector<std::string> paths;
        paths.reserve(places.size());
        for (const Found& place : places)
            paths.push_back(place.kind == ELEMENT_VARIABLE ? mModel.pathOf(place.instanceID, place.id)
                                                           : mModel.pathOf({place.kind, place.id}));
        return paths;
    }

    const ModuleModel& mModel;
    std::string mPath;
    std::vector<Found> mPlaces;
    std::vector<Found> mNext;
    std::vector<std::string> mNames; ///< of what there was to choose from
};

} // namespace

PathResult findPath(const ModuleModel& model, std::string_view path, std::initializer_list<ElementKind> kinds) {
    std::vector<Segment> segments;
    std::string problem = PathReader(path).read(segments);
    PathWalker walker(model);
    for (const Segment& segment : segments) {
        if (problem.empty())
            problem = walker.go(segment);
    }
    if (!problem.empty())
        return problem;
    return walker.choose(kinds);
}

std::variant<uint32, std::string> findBreakpointType(const ModuleModel& model, std::string_view name) {
    std::vector<Segment> segments;
    std::string problem = PathReader(name).read(segments);
    if (!problem.empty())
        return problem;
    std::vector<std::string> known;
    for (const auto& [typeName, ids] : model.getBreakpointTypes()) {
        for (const uint32 id : ids) {
            if (segments.size() == 1 && segments[0].fits(id) && (!segments[0].name || *segments[0].name == typeName))
                return id;
            known.push_back(quoteName(typeName));
        }
    }
    return "there is no breakpoint type " + std::string(name) +
           (known.empty() ? std::string() : "; there is: " + listOf(known, ", "));
}

} // namespace Tarq::Tool
