#pragma once

#include "Measurement.h"
#include "Models.h"

#include <cstddef>

/// What the memory allows: loops that do nothing but move the data that the work has to move. `elements` is what a
/// run's time is divided by.
namespace bench {

/// The index list of a model copied, per triangle.
Contender copyOfIndices(const ModelPtr& model);

/// Floats multiplied where they are.
Contender scaledInPlace(std::size_t floats, double elements);
/// Bytes read.
Contender readThrough(std::size_t bytes, double elements);
/// Bytes copied to where others have been before.
Contender copied(std::size_t bytes, double elements);
/// Gives the free memory of the process back, so that what is allocated next is new to it, whatever ran before.
void renewMemory();

/// Bytes copied into newly allocated memory.
Contender copiedToNewMemory(std::size_t bytes, double elements);

} // namespace bench
