#pragma once

#include <stdexcept>
#include <string>

/// The message of the std::invalid_argument that a call throws.
template <class Call>
std::string messageOf(Call call) {
    try {
        call();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "nothing thrown";
}
