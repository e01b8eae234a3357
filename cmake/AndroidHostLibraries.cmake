# The platform's liblog and libcutils as Debian ships them for a host.
set(ANDROID_HOST_LIBRARY_DIR /usr/lib/x86_64-linux-gnu/android)
set(ANDROID_HOST_INCLUDE_DIR /usr/include/android)

find_library(ANDROID_LIBLOG log PATHS ${ANDROID_HOST_LIBRARY_DIR} NO_DEFAULT_PATH REQUIRED)
find_library(ANDROID_LIBCUTILS cutils PATHS ${ANDROID_HOST_LIBRARY_DIR} NO_DEFAULT_PATH REQUIRED)

add_library(android::log SHARED IMPORTED GLOBAL)
set_target_properties(android::log PROPERTIES
    IMPORTED_LOCATION ${ANDROID_LIBLOG}
    INTERFACE_INCLUDE_DIRECTORIES ${ANDROID_HOST_INCLUDE_DIR})

# Trace calls must be real calls into libcutils, so tests can observe them.
add_library(android::cutils SHARED IMPORTED GLOBAL)
set_target_properties(android::cutils PROPERTIES
    IMPORTED_LOCATION ${ANDROID_LIBCUTILS}
    INTERFACE_INCLUDE_DIRECTORIES ${ANDROID_HOST_INCLUDE_DIR}
    INTERFACE_COMPILE_DEFINITIONS ATRACE_SHMEM=1
    INTERFACE_LINK_LIBRARIES android::log)

# Debian keeps these libraries outside the loader's default path.
list(APPEND CMAKE_BUILD_RPATH ${ANDROID_HOST_LIBRARY_DIR})
list(APPEND CMAKE_INSTALL_RPATH ${ANDROID_HOST_LIBRARY_DIR})
