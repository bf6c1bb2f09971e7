#include <vexa/mesh/detail/elements/LaneKernels.h>

#include "support/Floats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace vexa::test {

extern const mesh::detail::LaneKernels plainKernels; ///< defined in PlainKernels.cpp

} // namespace vexa::test

namespace {

using vexa::mesh::detail::LaneKernels;
using vexa::mesh::detail::sse2Kernels;

using Bytes = std::vector<unsigned char>;

/// Floats of every kind, in no order, at an address that is not aligned.
class UnalignedFloats {
public:
    explicit UnalignedFloats(unsigned long count) : bytes_(count * sizeof(float) + 1) {
        const std::vector<float> special = vexa::test::specialFloats();
        std::mt19937 random(static_cast<std::mt19937::result_type>(count));
        for (unsigned long i = 0; i < count; ++i) {
            const float plain = static_cast<float>(static_cast<int>(random() % 4001) - 2000) / 256.0F;
            const float value = random() % 4 == 0 ? special[random() % special.size()] : plain;
            std::memcpy(bytes_.data() + 1 + i * sizeof value, &value, sizeof value);
        }
    }
    [[nodiscard]] const void* data() const { return bytes_.data() + 1; }

private:
    Bytes bytes_;
};

/// The floats as text with all bits, where all NaNs are the same.
std::string describe(const std::vector<float>& floats) {
    std::string text;
    for (const float value : floats) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        text += (std::isnan(value) ? "NaN" : std::to_string(bits)) + " ";
    }
    return text;
}

constexpr unsigned long maxCount = 37;
constexpr unsigned long vectorSize = 3 * sizeof(float);

/// Every kernel's results for 0 to 36 elements, which is several registers of any width and every rest.
std::vector<std::string> results(const LaneKernels& kernels) {
    std::vector<std::string> texts;
    const std::vector<float> matrices[] = {
        {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1},
        {0.5F, 3, -2, 0.25F, 7, -1, 1e-3F, 1, 0, 2, 1e10F, -1, 4, 3, 2, 0.125F},
    };
    for (unsigned long count = 0; count < maxCount; ++count) {
        const UnalignedFloats vectors(3 * count);
        for (const std::vector<float>& matrix : matrices) {
            std::vector<float> target(3 * count, -1);
            kernels.transformPositions(vectors.data(), target.data(), count, matrix.data(), vectorSize);
            texts.push_back("positions " + describe(target));
            kernels.transformNormals(vectors.data(), target.data(), count, matrix.data(), vectorSize);
            texts.push_back("normals " + describe(target));
            kernels.transformDirections(vectors.data(), target.data(), count, matrix.data(), vectorSize);
            texts.push_back("directions " + describe(target));
            kernels.transformUnitDirections(vectors.data(), target.data(), count, matrix.data(), vectorSize);
            texts.push_back("unit directions " + describe(target));
            std::vector<float> min(3, 1e30F);
            std::vector<float> max(3, -1e30F);
            if (count != 0) {
                kernels.extendBounds(min.data(), max.data(), vectors.data(), count, matrix.data());
            }
            texts.push_back("bounds " + describe(min) + describe(max));
        }
        Bytes packed(2 * count);
        kernels.packNormals(vectors.data(), packed.data(), count);
        texts.push_back("packed " + std::string(reinterpret_cast<const char*>(packed.data()), packed.size()));
        std::vector<float> unpacked(3 * count);
        kernels.unpackNormals(packed.data(), unpacked.data(), count);
        texts.push_back("unpacked " + describe(unpacked));
        for (const auto& [octahedral, size] :
             {std::pair(kernels.octahedral8, 2UL), std::pair(kernels.octahedral12, 3UL),
              std::pair(kernels.octahedral16, 4UL)}) {
            Bytes codes(size * count);
            octahedral.encode(vectors.data(), codes.data(), count);
            texts.push_back("codes " + std::string(reinterpret_cast<const char*>(codes.data()), codes.size()));
            std::vector<float> decoded(3 * count);
            octahedral.decode(codes.data(), decoded.data(), count);
            texts.push_back("decoded " + describe(decoded));
        }
    }
    return texts;
}

/// Every place of one integer above the limit among others that are not, and none, for rows of some lengths.
template <typename Unsigned, typename Kernel>
std::string limits(const Kernel& kernel) {
    std::string text;
    for (const unsigned long count : {0UL, 1UL, 127UL, 128UL, 300UL, 20000UL}) {
        std::vector<Unsigned> integers(count, 200);
        text += kernel(integers.data(), count, Unsigned{200}) ? "1" : "0";
        for (unsigned long i = 0; i < count; i += count < 1000 ? 1 : 997) {
            integers[i] = 201;
            text += kernel(integers.data(), count, Unsigned{200}) ? "1" : "0";
            integers[i] = 200;
        }
        text += " ";
    }
    return text;
}

std::vector<std::string> limits(const LaneKernels& kernels) {
    return {limits<unsigned char>(kernels.areBytesUpTo), limits<unsigned short>(kernels.areShortsUpTo),
            limits<unsigned int>(kernels.areIntsUpTo)};
}

#ifdef __SSE2__ // else sse2Kernels are plain code themselves
TEST(LaneKernels, OfPlainCodeHaveTheResultsOfSse2) {
    EXPECT_EQ(results(vexa::test::plainKernels), results(sse2Kernels));
    EXPECT_EQ(limits(vexa::test::plainKernels), limits(sse2Kernels));
}
#endif

TEST(LaneKernels, WithoutAvx2FindAnyIntegerAboveALimit) {
    const std::string expected = "1 10 1" + std::string(127, '0') + " 1" + std::string(128, '0') + " 1" +
                                 std::string(300, '0') + " 1" + std::string(21, '0') + " ";
    for (const std::string& found : limits(sse2Kernels)) {
        EXPECT_EQ(found, expected);
    }
}

TEST(LaneKernels, WithoutAvx2DoNotDependOnThePlaceOfAnElement) {
    const UnalignedFloats vectors(3 * maxCount);
    const float matrix[16] = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 10, 0, 1, 1, 1, 2};
    std::vector<float> together(3 * maxCount);
    std::vector<float> single(3 * maxCount);
    sse2Kernels.transformPositions(vectors.data(), together.data(), maxCount, matrix, vectorSize);
    for (unsigned long i = 0; i < maxCount; ++i) {
        const auto* const source = static_cast<const unsigned char*>(vectors.data()) + i * 3 * sizeof(float);
        sse2Kernels.transformPositions(source, &single[3 * i], 1, matrix, vectorSize);
    }
    EXPECT_EQ(describe(together), describe(single));
}

/// The vectors that a kernel makes of some at distances of a stride; those between them must stay as they are.
std::vector<float> transformStrided(vexa::mesh::detail::TransformKernel kernel, const UnalignedFloats& vectors,
                                    unsigned long count, const float* matrix, unsigned long stride) {
    Bytes interleaved(count * stride, 7);
    const auto* const source = static_cast<const unsigned char*>(vectors.data());
    for (unsigned long i = 0; i < count; ++i) {
        std::memcpy(&interleaved[i * stride], source + i * vectorSize, vectorSize);
    }
    if (count != 0) {
        // Without the bytes after the last vector, so that a checker sees them touched.
        Bytes exact(interleaved.begin(), interleaved.end() - static_cast<std::ptrdiff_t>(stride - vectorSize));
        kernel(exact.data(), exact.data(), count, matrix, stride);
        std::copy(exact.begin(), exact.end(), interleaved.begin());
    }
    std::vector<float> result(3 * count);
    for (unsigned long i = 0; i < count; ++i) {
        std::memcpy(&result[3 * i], &interleaved[i * stride], vectorSize);
        for (unsigned long between = vectorSize; between < stride; ++between) {
            EXPECT_EQ(interleaved[i * stride + between], 7) << "after vector " << i;
        }
    }
    return result;
}

void expectStridesToMakeNoDifference(const LaneKernels& kernels) {
    const float matrix[16] = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 10, 0, 1, 1, 1, 2};
    for (const auto kernel : {kernels.transformPositions, kernels.transformNormals, kernels.transformDirections,
                              kernels.transformUnitDirections}) {
        for (unsigned long count = 0; count < maxCount; ++count) {
            const UnalignedFloats vectors(3 * count);
            const std::string packed = describe(transformStrided(kernel, vectors, count, matrix, vectorSize));
            for (const unsigned long stride : {13UL, 16UL, 24UL, 36UL}) {
                EXPECT_EQ(describe(transformStrided(kernel, vectors, count, matrix, stride)), packed) << stride;
            }
        }
    }
}

TEST(LaneKernels, WithoutAvx2HaveTheSameResultsAtAnyStride) {
    expectStridesToMakeNoDifference(sse2Kernels);
}

TEST(LaneKernels, OfPlainCodeHaveTheSameResultsAtAnyStride) {
    expectStridesToMakeNoDifference(vexa::test::plainKernels);
}

#ifdef VEXA_AVX2
using vexa::mesh::detail::avx2Kernels;

class LaneKernelsOfAvx2 : public testing::Test {
protected:
    void SetUp() override {
        if (__builtin_cpu_supports("avx2") == 0) {
            GTEST_SKIP() << "this processor does not support AVX2";
        }
    }
};

TEST_F(LaneKernelsOfAvx2, HaveTheResultsOfSse2ToTheBit) {
    EXPECT_EQ(results(avx2Kernels), results(sse2Kernels));
}

TEST_F(LaneKernelsOfAvx2, HaveTheSameResultsAtAnyStride) {
    expectStridesToMakeNoDifference(avx2Kernels);
}

TEST_F(LaneKernelsOfAvx2, FindTheSameIntegersAboveALimit) {
    EXPECT_EQ(limits(avx2Kernels), limits(sse2Kernels));
}
#endif

} // namespace
