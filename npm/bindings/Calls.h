#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <vector>

/// Functions of the module that JavaScript calls. All arrays are in the module's memory: JavaScript copies its own there
/// and copies results out.
#define VEXA_CALL extern "C" __attribute__((used, visibility("default")))

namespace vexa::wasm {

/// Arrays that JavaScript reads after a call.
class Results {
public:
    void clear() { arrays_.clear(); }

    template <typename T>
    void add(std::span<const T> values) {
        std::vector<unsigned char>& bytes = arrays_.emplace_back(values.size_bytes());
        if (!bytes.empty()) {
            std::memcpy(bytes.data(), values.data(), bytes.size());
        }
    }
    template <typename T>
    void add(const std::vector<T>& values) {
        add(std::span<const T>(values));
    }
    void add(std::string_view text) { add(std::span<const char>(text)); }

    [[nodiscard]] const std::vector<unsigned char>& operator[](std::size_t i) const { return arrays_.at(i); }

private:
    std::vector<std::vector<unsigned char>> arrays_;
};

Results& results();

/// Keeps the message of the exception that is being handled, for JavaScript.
void keepError() noexcept;

/// Runs a function that adds results.
///
/// \return false if it throws
template <typename Function>
bool guarded(const Function& function) {
    results().clear();
    try {
        function(results());
        return true;
    } catch (...) {
        keepError();
        return false;
    }
}

/// Tells JavaScript how far a search is, from 0 to 1, and returns whether it goes on.
bool goesOn(double fraction);

} // namespace vexa::wasm
