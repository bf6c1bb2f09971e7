#pragma once

#include <stdexcept>
#include <string>

/// The message of the exception of a type that a call throws.
template <class Exception = std::invalid_argument, class Call>
std::string messageOf(Call call) {
    try {
        call();
    } catch (const Exception& error) {
        return error.what();
    }
    return "nothing thrown";
}
