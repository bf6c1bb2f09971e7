#include "Calls.h"

#include <cstdlib>
#include <exception>
#include <new>
#include <string>

extern "C" __attribute__((import_module("vexamesh"), import_name("onProgress"))) int onProgress(double fraction);

namespace vexa::wasm {

namespace {

/// Of the last call that failed; short enough never to need memory.
char lastError[512];

void keep(const char* text) {
    std::strncpy(lastError, text, sizeof lastError - 1);
}

} // namespace

Results& results() {
    static Results all;
    return all;
}

void keepError() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        keep("not enough memory");
    } catch (const std::exception& error) {
        keep(error.what());
    } catch (...) {
        keep("unknown error");
    }
}

bool goesOn(double fraction) {
    return onProgress(fraction) != 0;
}

VEXA_CALL const char* vexaError() {
    return lastError;
}

VEXA_CALL void* vexaAllocate(std::size_t size) {
    return std::malloc(size);
}

VEXA_CALL void vexaFree(void* memory) {
    std::free(memory);
}

VEXA_CALL const unsigned char* vexaResult(std::size_t i) {
    return results()[i].data();
}

VEXA_CALL std::size_t vexaResultSize(std::size_t i) {
    return results()[i].size();
}

VEXA_CALL void vexaClear() {
    results().clear();
}

} // namespace vexa::wasm
