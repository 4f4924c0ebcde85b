#pragma once
// The one error type of the front: what went wrong and where (file and path to the value).

#include <stdexcept>
#include <string>

namespace unitops {

class InputError : public std::runtime_error {
public:
    InputError(const std::string& where, const std::string& what) : std::runtime_error(where + ": " + what) {}
};

}  // namespace unitops
