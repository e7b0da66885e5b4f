# SPDX-License-Identifier: MIT
# The headers of Qt and the standard library that most sources include, compiled once for all targets: that halves
# the time of a build from scratch. A compiler cache does better without, and other systems build without, so that a
# missing #include is noticed.
if(CMAKE_CXX_COMPILER_LAUNCHER OR NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
    set(TASKMILL_PRECOMPILED_HEADERS_DEFAULT OFF)
else()
    set(TASKMILL_PRECOMPILED_HEADERS_DEFAULT ON)
endif()
option(TASKMILL_PRECOMPILED_HEADERS "Compile common headers once" ${TASKMILL_PRECOMPILED_HEADERS_DEFAULT})

set(TASKMILL_CORE_HEADERS
    <QByteArray> <QDateTime> <QDir> <QFile> <QFileInfo> <QHash> <QList> <QObject> <QPointer> <QString> <QStringList>
    <QTimer> <algorithm> <array> <functional> <memory> <optional> <string> <vector>)
set(TASKMILL_WIDGET_HEADERS
    <QApplication> <QComboBox> <QDialog> <QHBoxLayout> <QHeaderView> <QLabel> <QLineEdit> <QMenu> <QPainter>
    <QPushButton> <QTableView> <QTabWidget> <QWidget>)

# A target that compiles nothing but those headers.
function(taskmill_add_headers name)
    cmake_parse_arguments(ARG "" "" "HEADERS;LINK" ${ARGN})
    file(WRITE ${PROJECT_BINARY_DIR}/empty.cpp "")
    add_library(${name} OBJECT ${PROJECT_BINARY_DIR}/empty.cpp)
    target_link_libraries(${name} PRIVATE taskmill_options ${ARG_LINK})
    target_precompile_headers(${name} PRIVATE ${ARG_HEADERS})
    set_target_properties(${name} PROPERTIES AUTOMOC OFF AUTORCC OFF)
endfunction()
if(TASKMILL_PRECOMPILED_HEADERS)
    taskmill_add_headers(taskmill_core_headers HEADERS ${TASKMILL_CORE_HEADERS} LINK Qt6::Core)
    taskmill_add_headers(taskmill_widget_headers
        HEADERS ${TASKMILL_CORE_HEADERS} ${TASKMILL_WIDGET_HEADERS} LINK Qt6::Widgets)
endif()

# Adds to the list `found` what the target links, directly or not. What it links has to be defined before it.
function(taskmill_find_linked target found)
    set(all ${${found}})
    foreach(property LINK_LIBRARIES INTERFACE_LINK_LIBRARIES)
        get_target_property(linked ${target} ${property})
        foreach(name ${linked})
            if(TARGET ${name} AND NOT name IN_LIST all)
                list(APPEND all ${name})
                taskmill_find_linked(${name} all)
            endif()
        endforeach()
    endforeach()
    set(${found} ${all} PARENT_SCOPE)
endfunction()

# To be called when all is known that the target links.
function(taskmill_use_precompiled_headers target)
    if(NOT TASKMILL_PRECOMPILED_HEADERS)
        return()
    endif()
    set(linked "")
    taskmill_find_linked(${target} linked)
    if(Qt6::Widgets IN_LIST linked)
        target_precompile_headers(${target} REUSE_FROM taskmill_widget_headers)
    elseif(Qt6::Core IN_LIST linked)
        target_precompile_headers(${target} REUSE_FROM taskmill_core_headers)
    endif()
endfunction()
