#pragma once

#include "reference/ReferenceGraph.h"

namespace reference {

inline constexpr std::uint32_t restartIndex = 0xffffffffU;

/// The oriented triangles of a TRIANGLES, TRIANGLE_STRIP or TRIANGLE_FAN list (codes 4, 5, 6), three indices each.
/// Those with two equal corners are dropped. After a restart index the list starts over, with fresh parity.
Indices decode(int type, const Indices& indices);

/// The same triangles, each turned to the lowest of its three spellings, all sorted: equal for two lists exactly when
/// these hold the same oriented triangles, each as often.
Indices canonical(const Indices& triangles);

/// The triangles without those that have two equal corners.
Indices withoutCollapsed(const Indices& triangles);

} // namespace reference
