#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace fuzz {

/// Prints the difference and aborts, unless it is empty.
inline void failUnlessEmpty(const std::string& difference) {
    if (!difference.empty()) {
        std::fprintf(stderr, "%s\n", difference.c_str());
        std::abort();
    }
}

} // namespace fuzz
