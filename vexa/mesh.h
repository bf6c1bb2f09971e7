#pragma once

#include "vexa/mesh/Types.h" // IWYU pragma: export
