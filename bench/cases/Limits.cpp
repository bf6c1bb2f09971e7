#include "cases/Limits.h"

#include "cases/Cases.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <numeric>

namespace bench {

namespace {

using Bytes = std::vector<unsigned char>;

Contender limit(const char* name, double elements) {
    Contender contender;
    contender.name = name;
    contender.role = Role::Limit;
    contender.elements = elements;
    contender.prepare = [] {};
    return contender;
}

} // namespace

Contender copyOfIndices(const ModelPtr& model) {
    const auto copy = std::make_shared<std::vector<unsigned int>>(model->triangles.size());
    Contender contender = limit(names::copied, static_cast<double>(model->triangleCount()));
    contender.run = [model, copy] {
        std::memcpy(copy->data(), model->triangles.data(), copy->size() * sizeof(unsigned int));
    };
    return contender;
}

Contender scaledInPlace(std::size_t floats, double elements) {
    const auto values = std::make_shared<std::vector<float>>(floats, 1.0F);
    Contender contender = limit(names::scaled, elements);
    contender.run = [values] {
        for (float& value : *values) {
            value *= 0.999F;
        }
    };
    return contender;
}

Contender readThrough(std::size_t bytes, double elements) {
    const auto words = std::make_shared<std::vector<std::uint64_t>>(bytes / sizeof(std::uint64_t), 1);
    Contender contender = limit(names::read, elements);
    contender.run = [words] {
        benchmark::DoNotOptimize(std::accumulate(words->begin(), words->end(), std::uint64_t{0}));
    };
    return contender;
}

Contender copied(std::size_t bytes, double elements) {
    const auto source = std::make_shared<const Bytes>(bytes, 1);
    const auto target = std::make_shared<Bytes>(bytes);
    Contender contender = limit(names::copied, elements);
    contender.run = [source, target] { std::memcpy(target->data(), source->data(), source->size()); };
    return contender;
}

void releaseFreeMemory() {
    malloc_trim(0);
}

Contender copiedToNewMemory(std::size_t bytes, double elements) {
    const auto source = std::make_shared<const Bytes>(bytes, 1);
    const auto target = std::make_shared<std::unique_ptr<unsigned char[]>>();
    Contender contender = limit(names::copied, elements);
    contender.prepare = [target] {
        target->reset();
        releaseFreeMemory();
    };
    contender.run = [source, target] {
        *target = std::make_unique_for_overwrite<unsigned char[]>(source->size());
        std::memcpy(target->get(), source->data(), source->size());
    };
    return contender;
}

} // namespace bench
