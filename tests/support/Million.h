#pragma once

#include "support/BuildKind.h"

#include <cstdlib>

namespace vexa::test {

/// A million, or as many as VEXA_MILLIONS asks for; a hundredth of it in slow builds.
inline unsigned int readMillion() {
    const char* const wanted = std::getenv("VEXA_MILLIONS");
    const auto millions = wanted != nullptr ? static_cast<unsigned int>(std::strtoul(wanted, nullptr, 10)) : 1;
    return millions * (isSlowBuild ? 10000 : 1000000);
}

} // namespace vexa::test
