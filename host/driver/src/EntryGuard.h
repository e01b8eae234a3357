// What every entry point does around its body: injected failures first, then the body, whose
// refusals (DriverError) and any other exception become the operation's failure value with errno
// set. Nothing is ever thrown across the C interface, and a success leaves errno as it was.
#pragma once

#include <cerrno>
#include <cstdint>
#include <new>
#include <system_error>
#include <utility>

#include "DriverError.h"
#include "FailureInjection.h"
#include "Operation.h"

namespace dravik::reference {

template <typename Result, typename Body>
Result guardEntry(Operation operation, Result failure_value, Body&& body) {
    const int caller_errno = errno;
    if (const int injected = injectedFailure(operation); injected != 0) {
        errno = injected;
        return failure_value;
    }
    try {
        Result result = std::forward<Body>(body)();
        errno = caller_errno;
        return result;
    } catch (const DriverError& error) {
        errno = error.errorNumber();
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
    } catch (const std::system_error& error) {
        errno = error.code().value() != 0 ? error.code().value() : EIO;
    } catch (...) {
        errno = EIO;
    }
    return failure_value;
}

// For the acting operations: 0 when the body returns, -1 when it throws.
template <typename Body>
int32_t guardAction(Operation operation, Body&& body) {
    return guardEntry<int32_t>(operation, -1, [&body]() -> int32_t {
        std::forward<Body>(body)();
        return 0;
    });
}

}  // namespace dravik::reference
