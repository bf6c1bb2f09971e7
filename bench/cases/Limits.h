#pragma once

#include "Measurement.h"
#include "Models.h"

#include <cstddef>

/// Lower bounds set by the memory: loops that do nothing but move the data that the work has to move. Times are divided
/// by `elements`.
namespace bench {

/// Copies the index list of a model; per triangle.
Contender copyOfIndices(const ModelPtr& model);

/// Multiplies floats in place.
Contender scaledInPlace(std::size_t floats, double elements);
/// Reads bytes.
Contender readThrough(std::size_t bytes, double elements);
/// Copies bytes into memory that has been written before.
Contender copied(std::size_t bytes, double elements);
/// Copies bytes into newly allocated memory.
Contender copiedToNewMemory(std::size_t bytes, double elements);

/// Returns the free memory of the process to the system, so that the next allocation gets fresh pages whatever ran
/// before.
void releaseFreeMemory();

} // namespace bench
