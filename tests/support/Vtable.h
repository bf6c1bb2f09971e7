#pragma once

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace vexa::test {

/// Entry of a virtual function in its class's table, 0-based, where a destructor takes two entries: the layout of the
/// Itanium C++ ABI, in which a pointer to a virtual member function holds 1 + 8 * entry.
template <typename MemberFunction>
std::ptrdiff_t vtableEntry(MemberFunction function) {
    static_assert(std::is_member_function_pointer_v<MemberFunction>);
    std::ptrdiff_t representation[2];
    static_assert(sizeof representation == sizeof function);
    std::memcpy(representation, &function, sizeof representation);
    return representation[0] % 8 == 1 ? representation[0] / 8 : -1;
}

/// Calls the function in an entry of an object's table, without arguments and result. With the first of a
/// destructor's two entries this destroys the object without freeing it.
inline void callVtableEntry(void* object, std::ptrdiff_t entry) {
    using Function = void (*)(void*);
    const Function* table;
    std::memcpy(&table, object, sizeof table);
    table[entry](object);
}

} // namespace vexa::test
