// The fake's state behind FakeDriver.h, shared by the 37 definitions.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>

#include "FakeDriver.h"

namespace fake_driver {

// Records the call and decides its answer: a programmed result (setting errno when one was
// given), else default_answer(). Thread-safe; default_answer runs without the fake's lock.
int64_t answerCall(const char* function, std::initializer_list<int64_t> arguments,
                   const std::function<int64_t()>& default_answer, const char* text = nullptr);

// A fresh distinct handle value.
int64_t nextHandle();
// What the last queryInfo kind 1 answered.
int64_t lastMetadataSize();
void noteMetadataSize(int64_t size);

template <typename Pointer>
int64_t numberOf(Pointer* pointer) {
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(pointer));
}

}  // namespace fake_driver
