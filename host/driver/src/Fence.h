// Fences as descriptors: the driver's own are eventfds that poll readable once signalled; an
// input fence is any descriptor, waited on until it polls readable.
#pragma once

#include "UniqueDescriptor.h"

namespace dravik::reference {

// A new, unsignalled fence (close-on-exec, above the standard streams).
UniqueDescriptor createFence();
// Makes every holder's poll report the fence readable, for good.
void signalFence(int fence);

enum class FenceWait { kSignalled, kFailed, kCancelled };

// Waits until fence polls readable, reports an error or hang-up (kFailed), or cancel polls readable
// (kCancelled, which wins when both are ready).
FenceWait waitForFence(int fence, int cancel);

}  // namespace dravik::reference
