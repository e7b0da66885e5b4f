# SPDX-License-Identifier: MIT
# What every target of the tree is compiled with.
add_library(taskmill_options INTERFACE)
target_compile_definitions(taskmill_options INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    QT_NO_FOREACH
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
target_include_directories(taskmill_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
if(MSVC)
    target_compile_options(taskmill_options INTERFACE /W4 /WX /utf-8 /permissive-)
    # Its headers otherwise define "max" and call the standard library's functions deprecated.
    target_compile_definitions(taskmill_options INTERFACE NOMINMAX _CRT_SECURE_NO_WARNINGS)
else()
    target_compile_options(taskmill_options INTERFACE -Wall -Wextra -Wpedantic -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # At -O3 it takes "a" + std::string() for an overlapping copy: https://gcc.gnu.org/bugzilla/show_bug.cgi?id=105329
    target_compile_options(taskmill_options INTERFACE -Wno-restrict)
endif()
if(TASKMILL_LINE_TABLES AND NOT MSVC)
    target_compile_options(taskmill_options INTERFACE -g1)
endif()
if(TASKMILL_SANITIZE)
    # The check of dynamic types needs a free descriptor for each look, and fails in the tests that leave none.
    target_compile_options(taskmill_options INTERFACE
        -fsanitize=address,undefined -fno-sanitize=vptr -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(taskmill_options INTERFACE -fsanitize=address,undefined)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/PrecompiledHeaders.cmake)

# One library per folder of src/: taskmill_library(name SOURCES... LINK targets...)
function(taskmill_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC taskmill_options ${ARG_LINK})
    taskmill_use_precompiled_headers(${name})
endfunction()

function(taskmill_executable name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE taskmill_options ${ARG_LINK})
    taskmill_use_precompiled_headers(${name})
endfunction()

# What the file manager of Windows shows of a program; nothing on other systems.
function(taskmill_version_resource target description)
    if(WIN32)
        set(PROGRAM_FILE ${target}.exe)
        set(PROGRAM_DESCRIPTION ${description})
        string(REPLACE "." "," PROGRAM_VERSION_NUMBERS ${PROJECT_VERSION})
        configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/version.rc.in ${target}-version.rc @ONLY)
        target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}-version.rc)
    endif()
endfunction()
