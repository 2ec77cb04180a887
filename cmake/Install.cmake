# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# What is installed, in the components runtime, development, tools, standin and standin_development.

include(CMakePackageConfigHelpers)

set(zqxml_includedir "${CMAKE_INSTALL_INCLUDEDIR}/zqxml${ZQXML_NAME_SUFFIX}")
set(zqxml_cmakedir "${CMAKE_INSTALL_LIBDIR}/cmake/zqxml${ZQXML_NAME_SUFFIX}")

# An installed tree finds its own libraries wherever it is moved to; a packager sets CMAKE_SKIP_INSTALL_RPATH.
function(zqxml_set_install_rpath directory)
    file(RELATIVE_PATH path "${CMAKE_INSTALL_FULL_${directory}}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    string(REGEX REPLACE "/$" "" path "$ORIGIN/${path}")
    set_property(TARGET ${ARGN} PROPERTY INSTALL_RPATH "${path}" ${CMAKE_INSTALL_RPATH})
endfunction()

# zqxml_install_headers(target component) installs the public headers among the target's sources.
function(zqxml_install_headers target component)
    get_target_property(directory ${target} SOURCE_DIR)
    get_target_property(headers ${target} SOURCES)
    list(FILTER headers INCLUDE REGEX "\\.h$")
    list(FILTER headers EXCLUDE REGEX "_p\\.h$")
    list(TRANSFORM headers PREPEND "${directory}/" REGEX "^[^/]")
    get_filename_component(folder "${directory}" NAME)
    install(FILES ${headers} DESTINATION "${zqxml_includedir}/${folder}" COMPONENT ${component})
endfunction()

zqxml_set_install_rpath(LIBDIR zqxml)
install(TARGETS zqxml EXPORT zqxml
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
zqxml_install_headers(zqxml development)
install(FILES "${PROJECT_BINARY_DIR}/zqxml/zqxml_export.h" "${PROJECT_BINARY_DIR}/zqxml/zqxml_version.h"
    DESTINATION "${zqxml_includedir}/zqxml" COMPONENT development)
install(FILES recordlib/zqapp.h recordlib/zqlib.h DESTINATION "${zqxml_includedir}/recordlib" COMPONENT development)
install(EXPORT zqxml NAMESPACE zqxml:: FILE zqxmlTargets.cmake
    DESTINATION "${zqxml_cmakedir}" COMPONENT development)

zqxml_set_install_rpath(LIBDIR zqxmlkit)
install(TARGETS zqxmlkit EXPORT zqxmlkit
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT runtime
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT development)
zqxml_install_headers(zqxmlkit development)
install(FILES "${PROJECT_BINARY_DIR}/zqxmlkit/zqxmlkit_export.h"
    DESTINATION "${zqxml_includedir}/zqxmlkit" COMPONENT development)
install(EXPORT zqxmlkit NAMESPACE zqxml:: FILE zqxmlkitTargets.cmake
    DESTINATION "${zqxml_cmakedir}" COMPONENT development)

# A shared library brings the record library along, but the linker has to find it. Who links the static one links the
# record library too, and what that needs.
set(ZQXML_PC_REQUIRES ${zqxml_qt_components})
list(TRANSFORM ZQXML_PC_REQUIRES PREPEND Qt${ZQXML_QT_MAJOR})
set(ZQXML_PC_STANDIN_REQUIRES Qt${ZQXML_QT_MAJOR}Core)
set(ZQXML_CONFIG_QT_COMPONENTS ${zqxml_qt_components})
if(ZQXML_ZQAPP_LIBRARY)
    foreach(name zqapp ZQlib)
        get_target_property(location ${name} IMPORTED_LOCATION)
        string(APPEND ZQXML_CONFIG_RECORD_LIBRARY "
if(NOT TARGET ${name})
    add_library(${name} SHARED IMPORTED)
    set_property(TARGET ${name} PROPERTY IMPORTED_LOCATION \"${location}\")
endif()
")
    endforeach()
endif()
if(NOT BUILD_SHARED_LIBS)
    set(ZQXML_PC_CFLAGS -DZQXML_STATIC_DEFINE)
    if(ZQXML_ZQAPP_LIBRARY)
        set(ZQXML_PC_LIBS "${ZQXML_ZQAPP_LIBRARY} ${ZQXML_ZQLIB_LIBRARY}")
    else()
        list(APPEND ZQXML_CONFIG_QT_COMPONENTS Sql)
        list(APPEND ZQXML_PC_REQUIRES zqxml-standin${ZQXML_NAME_SUFFIX})
        list(APPEND ZQXML_PC_STANDIN_REQUIRES Qt${ZQXML_QT_MAJOR}Sql)
    endif()
endif()
list(JOIN ZQXML_PC_REQUIRES " " ZQXML_PC_REQUIRES)
list(JOIN ZQXML_PC_STANDIN_REQUIRES " " ZQXML_PC_STANDIN_REQUIRES)
list(JOIN ZQXML_CONFIG_QT_COMPONENTS " " ZQXML_CONFIG_QT_COMPONENTS)

set(config "${PROJECT_BINARY_DIR}/cmake/zqxml${ZQXML_NAME_SUFFIX}Config")
configure_package_config_file(cmake/zqxmlConfig.cmake.in "${config}.cmake" INSTALL_DESTINATION "${zqxml_cmakedir}")
write_basic_package_version_file("${config}Version.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${config}.cmake" "${config}Version.cmake" DESTINATION "${zqxml_cmakedir}" COMPONENT development)
configure_file(cmake/zqxml.pc.in "${PROJECT_BINARY_DIR}/cmake/zqxml${ZQXML_NAME_SUFFIX}.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/cmake/zqxml${ZQXML_NAME_SUFFIX}.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

# On purpose the stand-in's libraries have no version in their names: the application's own can take their place.
if(NOT ZQXML_ZQAPP_LIBRARY)
    zqxml_set_install_rpath(LIBDIR zqapp ZQlib)
    install(TARGETS zqapp ZQlib EXPORT zqxml_standin
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT standin
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT standin
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT standin_development)
    zqxml_install_headers(ZQlib standin_development)
    zqxml_install_headers(zqapp standin_development)
    install(EXPORT zqxml_standin NAMESPACE zqxml:: FILE zqxmlStandinTargets.cmake
        DESTINATION "${zqxml_cmakedir}" COMPONENT standin_development)
    configure_file(cmake/zqxml-standin.pc.in "${PROJECT_BINARY_DIR}/cmake/zqxml-standin${ZQXML_NAME_SUFFIX}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/cmake/zqxml-standin${ZQXML_NAME_SUFFIX}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT standin_development)
endif()

if(TARGET zqxml-query)
    zqxml_set_install_rpath(BINDIR zqxml-query zqxml-store)
    set(zqxml_tools zqxml-query zqxml-store)
    set(zqxml_other_tools zqxml-store zqxml-query)
    install(TARGETS ${zqxml_tools} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
    foreach(tool other IN ZIP_LISTS zqxml_tools zqxml_other_tools)
        set(command ${tool}${ZQXML_NAME_SUFFIX})
        set(other ${other}${ZQXML_NAME_SUFFIX})
        configure_file(docs/man/${tool}.1.in "${PROJECT_BINARY_DIR}/docs/${command}.1" @ONLY)
        install(FILES "${PROJECT_BINARY_DIR}/docs/${command}.1"
            DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
        configure_file(completion/${tool}.bash.in "${PROJECT_BINARY_DIR}/completion/${command}" @ONLY)
        install(FILES "${PROJECT_BINARY_DIR}/completion/${command}"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tools)
    endforeach()
endif()
