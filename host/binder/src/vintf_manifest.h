// The AIDL instances that VINTF manifest fragments declare. On a device the service manager answers
// AServiceManager_isDeclared and AServiceManager_forEachDeclaredInstance from the device's
// manifest; on the host the runtime reads the manifest fragments of one folder instead: the
// folder that $TESSARO_VINTF_DIR names, else the project's own fragments.
#pragma once

#include <string>
#include <vector>

namespace host_binder {

// One declared instance: interface is the fully qualified interface name
// ("vendor.example.IFoo"), instance the instance name ("default").
struct DeclaredInstance {
    std::string interface;
    std::string instance;
};

// The AIDL instances that manifest text declares, in the order it declares them. Both forms of
// an AIDL <hal> are read: <fqname>IFoo/default</fqname> and <interface><name>IFoo</name>
// <instance>default</instance></interface>, under the <hal>'s <name> (the package). <hal>s of
// another format, comments and anything else are passed over; malformed text declares nothing
// beyond what stood before the fault, and the fault is logged with file_name.
std::vector<DeclaredInstance> parseManifest(const std::string& text, const std::string& file_name);

// Every instance that the manifest fragments (*.xml) of the manifest folder declare, the files
// read in name order. A missing folder declares nothing and is logged.
std::vector<DeclaredInstance> declaredInstances();

}  // namespace host_binder
