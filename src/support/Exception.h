// Exception: how a component reports a failure to the boundary that logs it.
//
// Thrown by value, caught by non-const reference: on a const one toString() would be the type name
// that every VQObject answers, not the message.
#pragma once

#include <cstdint>
#include <string>

#include "support/VQObject.h"

namespace QLT_SPACE {

class Exception : public VQObject {
  public:
    Exception() = default;
    explicit Exception(std::string text) : message(std::move(text)) {}
    /// @param place       the unit that throws
    /// @param lineNumber  its source line
    Exception(std::string text, std::string place, int32_t lineNumber)
        : message(std::move(text)), location(std::move(place)), line(lineNumber) {}

    using VQObject::toString;
    virtual const std::string& getMessage() { return message; }
    /// @return the message; valid while the exception lives
    virtual const char* toString() { return message.c_str(); }
    /// @return location, ", line" and the line number, with no blank before the number
    virtual std::string getErrorLocation() { return location + ", line" + std::to_string(line); }

  protected:
    std::string message;
    std::string location;
    int32_t line = 0;
};

class OutOfMemoryException : public Exception {
  public:
    OutOfMemoryException() : Exception("Out of memory") {}
    OutOfMemoryException(std::string place, int32_t lineNumber)
        : Exception("Out of memory", std::move(place), lineNumber) {}
};

}  // namespace QLT_SPACE
