# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

include(GenerateExportHeader)

# Compiles a library that is installed with the settings of zqxml_build. It is not linked: a static library would hand its
# name on to the users of the build tree.
function(zqxml_build_as_ours target)
    target_compile_options(${target} PRIVATE $<TARGET_PROPERTY:zqxml_build,INTERFACE_COMPILE_OPTIONS>)
    target_compile_definitions(${target} PRIVATE $<TARGET_PROPERTY:zqxml_build,INTERFACE_COMPILE_DEFINITIONS>)
endfunction()

# zqxml_add_library(name EXPORT_NAME name DESCRIPTION text [USES library...] [QT module...] [PACKAGES package...]
# [PC_PACKAGES package...] SOURCES source...) adds the library in the present folder as every library of this project is
# built and, by Install.cmake, packaged: the alias zqxml::<EXPORT_NAME>, a header <name>_export.h, and none but the public
# names exported. Its users get what it uses: other libraries of ours, and modules of Qt. Users of a static one look for the
# packages that its code links, which are named as CMake and as pkg-config know them.
function(zqxml_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "EXPORT_NAME;DESCRIPTION" "USES;QT;PACKAGES;PC_PACKAGES;SOURCES")
    add_library(${name} ${arg_SOURCES})
    add_library(zqxml::${arg_EXPORT_NAME} ALIAS ${name})
    set_target_properties(${name} PROPERTIES
        AUTOMOC ON
        EXPORT_NAME ${arg_EXPORT_NAME}
        OUTPUT_NAME ${name}${ZQXML_NAME_SUFFIX}
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
        CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_compile_features(${name} PUBLIC cxx_std_17)
    target_include_directories(${name} PUBLIC
        "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR};${PROJECT_BINARY_DIR}>"
        "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zqxml${ZQXML_NAME_SUFFIX}>")
    zqxml_build_as_ours(${name})
    list(TRANSFORM arg_QT PREPEND Qt${ZQXML_QT_MAJOR}:: OUTPUT_VARIABLE qt_targets)
    target_link_libraries(${name} PUBLIC ${arg_USES} ${qt_targets})
    generate_export_header(${name} EXPORT_FILE_NAME ${name}_export.h)
    target_sources(${name} PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/${name}_export.h")
    if(NOT BUILD_SHARED_LIBS)
        string(TOUPPER ${name} prefix)
        target_compile_definitions(${name} PUBLIC ${prefix}_STATIC_DEFINE)
    endif()

    # Visibility alone would let instantiated standard templates through.
    if(BUILD_SHARED_LIBS AND UNIX AND NOT APPLE)
        target_link_options(${name} PRIVATE "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map")
        set_property(TARGET ${name} PROPERTY LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/exports.map")
    endif()

    set_property(GLOBAL APPEND PROPERTY ZQXML_LIBRARIES ${name})
    set_target_properties(${name} PROPERTIES
        ZQXML_DESCRIPTION "${arg_DESCRIPTION}" ZQXML_USES "${arg_USES}" ZQXML_QT "${arg_QT}"
        ZQXML_PACKAGES "${arg_PACKAGES}" ZQXML_PC_PACKAGES "${arg_PC_PACKAGES}")
endfunction()
