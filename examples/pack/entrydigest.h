#pragma once

#include "support/errorreport.h"

#include "common/library.h"
#include "common/string.h"
#ifdef TARQ_EXAMPLES_WITH_CRYPTO
#include "common/crypto/md5builder.h"
#endif

#include <cstdio>
#include <string>

/// Digests of entries, as md5sum checks them.
namespace entrydigest {

using namespace Tarq::Common;

/// The digest of what comes piece by piece, where the library has any.
class Digest {
public:
#ifdef TARQ_EXAMPLES_WITH_CRYPTO
    static constexpr bool cIsThere = true;
    void add(const void* bytes, uint32 count) {
        mBuilder.add(bytes, count);
    }
    String toString() {
        return mBuilder.computeSum().toString();
    }

private:
    Crypto::MD5Builder mBuilder{Library::getTempAlloc()};
#else
    static constexpr bool cIsThere = false;
    void add(const void*, uint32) {}
    String toString() {
        return {};
    }
#endif
};

/// As md5sum writes it: some characters of a name are escaped, and a backslash in front of the line says so.
inline void print(const String& digest, const std::string& name) {
    std::string escaped;
    for (const char c : name) {
        if (c == '\\' || c == '\n' || c == '\r')
            escaped += '\\';
        escaped += c == '\n' ? 'n' : c == '\r' ? 'r' : c;
    }
    errorreport::progress.clear();
    std::printf("%s%s  %s\n", escaped.size() == name.size() ? "" : "\\", digest.c_str(), escaped.c_str());
}

} // namespace entrydigest
