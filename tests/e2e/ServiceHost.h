#pragma once

// The service hosted in the test process itself, as the hosting daemon hosts it, on the reference
// driver: client processes reach it through a private service directory, and the test sees from
// inside what the service and the driver hold.

#include <memory>
#include <string>

#include "ClientProcess.h"

namespace e2e {

// The service's dump and the driver's live objects as text, the same again once everything that
// clients made since is gone.
std::string holdings();

// A test client (TestClient.cpp) that has announced itself and registered its callback, so that
// its death releases its sessions.
std::unique_ptr<ClientProcess> startClient();

}  // namespace e2e
