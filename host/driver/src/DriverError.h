// The one way a refusal travels inside the driver: thrown as a DriverError carrying the errno that
// the entry point then leaves for its caller. Throwing keeps every check a single line.
#pragma once

#include <cerrno>
#include <exception>

namespace dravik::reference {

class DriverError : public std::exception {
  public:
    explicit DriverError(int error_number) : error_number_(error_number) {}

    int errorNumber() const { return error_number_; }
    const char* what() const noexcept override { return "dravik reference driver refusal"; }

  private:
    int error_number_;
};

[[noreturn]] inline void failWith(int error_number) {
    throw DriverError(error_number);
}

// For a system call that just failed: its errno is the refusal.
[[noreturn]] inline void failWithSystemError() {
    throw DriverError(errno != 0 ? errno : EIO);
}

inline void require(bool condition, int error_number) {
    if (!condition) failWith(error_number);
}

}  // namespace dravik::reference
