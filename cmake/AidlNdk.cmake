# aidl_ndk_library(): an NDK-backend interface library generated at build time from .aidl files by
# aidl_ndk_generator (host/aidl), shaped as the device's aidl_interface would build it.
#
#   aidl_ndk_library(
#       NAME <target>            target name and lib<target>.so
#       ROOT <dir>               import root holding the package folders
#       SOURCES <file>...        .aidl files relative to ROOT, at <package path>/<Name>.aidl
#       [VERSION <n>]            interface version the stubs answer (default 1)
#       [HASH_FILE <file>]       frozen hash, last non-empty line (default "notfrozen")
#       [IMPORTS <target>...])   other aidl_ndk_library targets: their ROOT is searched for
#                                imports and their library is linked publicly

if(NOT CMAKE_SCRIPT_MODE_FILE)
    include_guard(GLOBAL)
endif()

# Whether an .aidl file declares an interface (rather than a parcelable): the outputs differ and
# must be known when the build is configured. Comments are dropped first so they cannot mislead.
function(_aidl_ndk_declares_interface path name result)
    file(READ "${path}" text)
    string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" " " text "${text}")
    string(REGEX REPLACE "//[^\n]*" " " text "${text}")
    if(text MATCHES "(^|[^A-Za-z0-9_])interface[ \t\r\n]+${name}([^A-Za-z0-9_]|$)")
        set(${result} TRUE PARENT_SCOPE)
    else()
        set(${result} FALSE PARENT_SCOPE)
    endif()
endfunction()

# The hash a frozen version answers: the last non-empty line of its .hash file.
function(_aidl_ndk_read_hash name hash_file result)
    if(NOT EXISTS "${hash_file}")
        message(FATAL_ERROR "aidl_ndk_library(${name}): hash file ${hash_file} does not exist; "
                            "freeze the API version first or leave HASH_FILE out")
    endif()
    file(STRINGS "${hash_file}" lines)
    set(hash "")
    foreach(line IN LISTS lines)
        string(STRIP "${line}" line)
        if(NOT line STREQUAL "")
            set(hash "${line}")
        endif()
    endforeach()
    if(NOT hash MATCHES "^[A-Za-z0-9._-]+$")
        message(FATAL_ERROR "aidl_ndk_library(${name}): ${hash_file} holds no usable hash")
    endif()
    set(${result} "${hash}" PARENT_SCOPE)
endfunction()

# The build step, run as "cmake -DAIDL_NDK_NAME=... -DAIDL_NDK_HASH_FILE=... -P AidlNdk.cmake --
# <generator> <arguments>...": the hash is read when the code is generated, so a hash file that
# changes or appears after configuration is still the one used.
if(CMAKE_SCRIPT_MODE_FILE AND DEFINED AIDL_NDK_NAME)
    set(command "")
    set(after_separator FALSE)
    math(EXPR last_argument "${CMAKE_ARGC} - 1")
    foreach(index RANGE ${last_argument})
        if(after_separator)
            list(APPEND command "${CMAKE_ARGV${index}}")
        elseif(CMAKE_ARGV${index} STREQUAL "--")
            set(after_separator TRUE)
        endif()
    endforeach()
    set(hash "notfrozen")
    if(NOT AIDL_NDK_HASH_FILE STREQUAL "")
        _aidl_ndk_read_hash("${AIDL_NDK_NAME}" "${AIDL_NDK_HASH_FILE}" hash)
    endif()
    execute_process(COMMAND ${command} --hash "${hash}" RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        # The generator has printed what is wrong, as <file>:<line>: <reason>.
        message(FATAL_ERROR "aidl_ndk_library(${AIDL_NDK_NAME}): code generation failed")
    endif()
    return()
endif()

function(aidl_ndk_library)
    cmake_parse_arguments(PARSE_ARGV 0 AIDL "" "NAME;ROOT;VERSION;HASH_FILE" "SOURCES;IMPORTS")
    if(AIDL_UNPARSED_ARGUMENTS)
        message(FATAL_ERROR "aidl_ndk_library: unexpected arguments ${AIDL_UNPARSED_ARGUMENTS}")
    endif()
    foreach(required NAME ROOT SOURCES)
        if(NOT AIDL_${required})
            message(FATAL_ERROR "aidl_ndk_library(${AIDL_NAME}): ${required} is required")
        endif()
    endforeach()
    set(name "${AIDL_NAME}")

    if(NOT DEFINED AIDL_VERSION)
        set(AIDL_VERSION 1)
    endif()
    if(NOT AIDL_VERSION MATCHES "^[1-9][0-9]*$")
        message(FATAL_ERROR "aidl_ndk_library(${name}): VERSION must be a positive integer")
    endif()

    set(hash_file "")
    set(hash_dependency "")
    if(AIDL_HASH_FILE)
        get_filename_component(hash_file "${AIDL_HASH_FILE}" ABSOLUTE)
        if(EXISTS "${hash_file}")
            set(hash_dependency "${hash_file}")
        else()
            message(WARNING "aidl_ndk_library(${name}): ${hash_file} does not exist yet; "
                            "${name} will not build until the API version is frozen")
        endif()
    endif()

    get_filename_component(root "${AIDL_ROOT}" ABSOLUTE)
    set(import_arguments -I "${root}")
    set(imported_sources "")
    foreach(import IN LISTS AIDL_IMPORTS)
        if(NOT TARGET "${import}")
            message(FATAL_ERROR "aidl_ndk_library(${name}): import ${import} is not a target "
                                "(define it before ${name})")
        endif()
        get_target_property(import_root "${import}" AIDL_NDK_ROOT)
        if(NOT import_root)
            message(FATAL_ERROR "aidl_ndk_library(${name}): ${import} was not made by "
                                "aidl_ndk_library")
        endif()
        get_target_property(import_sources "${import}" AIDL_NDK_SOURCES)
        list(APPEND import_arguments -I "${import_root}")
        list(APPEND imported_sources ${import_sources})
    endforeach()

    set(output_directory "${CMAKE_CURRENT_BINARY_DIR}/aidl_ndk/${name}")
    set(aidl_files "")
    set(generated_sources "")
    set(generated_headers "")
    foreach(source IN LISTS AIDL_SOURCES)
        if(IS_ABSOLUTE "${source}")
            message(FATAL_ERROR "aidl_ndk_library(${name}): ${source} must be relative to ROOT")
        endif()
        set(path "${root}/${source}")
        if(NOT EXISTS "${path}")
            message(FATAL_ERROR "aidl_ndk_library(${name}): ${path} does not exist")
        endif()
        # Reconfigure when a file changes, in case it turns from parcelable into interface.
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${path}")
        get_filename_component(package_path "${source}" DIRECTORY)
        get_filename_component(type_name "${source}" NAME_WE)
        list(APPEND aidl_files "${path}")
        list(APPEND generated_sources "${output_directory}/src/${package_path}/${type_name}.cpp")
        set(header_directory "${output_directory}/include/aidl/${package_path}")
        list(APPEND generated_headers "${header_directory}/${type_name}.h")
        _aidl_ndk_declares_interface("${path}" "${type_name}" is_interface)
        if(is_interface)
            string(REGEX REPLACE "^I" "" base_name "${type_name}")
            list(APPEND generated_headers "${header_directory}/Bn${base_name}.h"
                                          "${header_directory}/Bp${base_name}.h")
        endif()
    endforeach()

    add_custom_command(
        OUTPUT ${generated_sources} ${generated_headers}
        COMMAND "${CMAKE_COMMAND}" "-DAIDL_NDK_NAME=${name}" "-DAIDL_NDK_HASH_FILE=${hash_file}"
                -P "${CMAKE_CURRENT_FUNCTION_LIST_FILE}" --
                "$<TARGET_FILE:aidl_ndk_generator>" --out "${output_directory}"
                --version "${AIDL_VERSION}" ${import_arguments} ${aidl_files}
        DEPENDS aidl_ndk_generator ${aidl_files} ${imported_sources} ${hash_dependency}
        COMMENT "Generating NDK C++ for ${name}"
        VERBATIM)

    add_library(${name} SHARED ${generated_sources} ${generated_headers})
    file(MAKE_DIRECTORY "${output_directory}/include")
    target_include_directories(${name} PUBLIC "${output_directory}/include")
    target_link_libraries(${name} PUBLIC binder_ndk ${AIDL_IMPORTS})
    # Generated code is kept free of warnings but not held to -Werror.
    target_compile_options(${name} PRIVATE -Wall -Wextra)
    set_target_properties(${name} PROPERTIES
        AIDL_NDK_ROOT "${root}"
        AIDL_NDK_SOURCES "${aidl_files}")
endfunction()
