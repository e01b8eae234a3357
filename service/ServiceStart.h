#pragma once

// The entry points that the hosting process calls on its own thread.

// Creates the service and registers it as "<ITovanDravik descriptor>/default", lazily when
// "ro.vendor.qel_nn_lazyhal_support" is "1"; does nothing unless
// "ro.vendor.qel_nn_baseline_support" is "1". Call once per process.
extern "C" void TessaroDravikServerInitInternal();

// Logs when the service is disabled; otherwise does nothing (the service lives until the process
// ends). The result carries no meaning.
extern "C" int TessaroDravikServerDeinitInternal();
