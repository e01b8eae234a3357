// How a fuzzer reports a fault of its own: a line in libFuzzer's log, then an abort, which
// libFuzzer records as a crash together with the input that caused it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tessaro_fuzz {

[[noreturn]] inline void finding(const std::string& what, const std::string& detail = "") {
    std::fprintf(stderr, "\n==== fuzzer finding: %s\n%s\n", what.c_str(), detail.c_str());
    std::abort();
}

}  // namespace tessaro_fuzz
