#pragma once

// Every message of the service goes to the platform log under one tag. The macros call
// __android_log_print directly so that the device's log tooling (and a test) sees each line.

#include <android/log.h>

#include "service/DebugConfig.h"

#define DRAVIK_LOG_TAG "tessaro_server"

// Failures: always printed.
#define DRAVIK_LOGE(...) __android_log_print(ANDROID_LOG_ERROR, DRAVIK_LOG_TAG, __VA_ARGS__)
// Warnings: always printed.
#define DRAVIK_LOGW(...) __android_log_print(ANDROID_LOG_WARN, DRAVIK_LOG_TAG, __VA_ARGS__)
// The run-with-type gate's lines: always printed.
#define DRAVIK_LOGD(...) __android_log_print(ANDROID_LOG_DEBUG, DRAVIK_LOG_TAG, __VA_ARGS__)
// Per-call success and trace lines: only with debug logging on.
#define DRAVIK_LOGI(...)                                                        \
    do {                                                                        \
        if (DEBUG_LOG_DRAVIK == 1) {                                            \
            __android_log_print(ANDROID_LOG_INFO, DRAVIK_LOG_TAG, __VA_ARGS__); \
        }                                                                       \
    } while (0)
// INFO lines that are printed whatever the debug switch says.
#define DRAVIK_LOGI_ALWAYS(...) __android_log_print(ANDROID_LOG_INFO, DRAVIK_LOG_TAG, __VA_ARGS__)
