# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

include(GenerateExportHeader)

# zqxml_add_library(name EXPORT_NAME name SOURCES source...) adds the library in the present folder as every library of
# this project is built: the alias zqxml::<EXPORT_NAME>, a header <name>_export.h, and none but the public names exported.
function(zqxml_add_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "EXPORT_NAME" "SOURCES")
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
    target_link_libraries(${name} PRIVATE $<BUILD_INTERFACE:zqxml_build>)
    generate_export_header(${name} EXPORT_FILE_NAME ${name}_export.h)
    if(NOT BUILD_SHARED_LIBS)
        string(TOUPPER ${name} prefix)
        target_compile_definitions(${name} PUBLIC ${prefix}_STATIC_DEFINE)
    endif()

    # Visibility alone would let instantiated standard templates through.
    if(BUILD_SHARED_LIBS AND UNIX AND NOT APPLE)
        target_link_options(${name} PRIVATE "LINKER:--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map")
        set_property(TARGET ${name} PROPERTY LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/exports.map")
    endif()
endfunction()
