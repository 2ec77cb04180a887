# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# What is installed, in the components runtime, development, tools, standin, standin_development and documentation. The
# build tree can be used as if it were installed: zqxml_DIR may name it.

include(CMakePackageConfigHelpers)

set(zqxml_includedir "${CMAKE_INSTALL_INCLUDEDIR}/zqxml${ZQXML_NAME_SUFFIX}")
set(zqxml_cmakedir "${CMAKE_INSTALL_LIBDIR}/cmake/zqxml${ZQXML_NAME_SUFFIX}")

# An installed tree finds its own libraries wherever it is moved to, and the application's record library where it was; a
# packager sets CMAKE_SKIP_INSTALL_RPATH.
function(zqxml_set_install_rpath directory)
    file(RELATIVE_PATH path "${CMAKE_INSTALL_FULL_${directory}}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    string(REGEX REPLACE "/$" "" path "$ORIGIN/${path}")
    set(folders "")
    foreach(library IN LISTS ZQXML_ZQAPP_LIBRARY ZQXML_ZQLIB_LIBRARY)
        get_filename_component(folder "${library}" DIRECTORY)
        list(APPEND folders "${folder}")
    endforeach()
    list(REMOVE_DUPLICATES folders)
    set_property(TARGET ${ARGN} PROPERTY INSTALL_RPATH "${path}" ${folders} ${CMAKE_INSTALL_RPATH})
endfunction()

# zqxml_install_headers(target component) installs the public headers among the target's sources.
function(zqxml_install_headers target component)
    get_target_property(directory ${target} SOURCE_DIR)
    get_target_property(headers ${target} SOURCES)
    list(FILTER headers INCLUDE REGEX "\\.h$")
    list(FILTER headers EXCLUDE REGEX "_p\\.h$")
    list(TRANSFORM headers PREPEND "${directory}/" REGEX "^[^/]")
    get_filename_component(folder "${directory}" NAME)
    install(FILES ${headers}
        DESTINATION "${zqxml_includedir}/${folder}" COMPONENT ${component})
endfunction()

# zqxml_install(name runtime development target...) installs targets with their public headers, and says where they are in
# a file <name>Targets.cmake of the CMake package, in the build tree too.
function(zqxml_install name runtime development)
    zqxml_set_install_rpath(LIBDIR ${ARGN})
    install(TARGETS ${ARGN} EXPORT ${name}
        RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${runtime}
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${runtime} NAMELINK_COMPONENT ${development}
        ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${development})
    foreach(target IN LISTS ARGN)
        zqxml_install_headers(${target} ${development})
    endforeach()
    install(EXPORT ${name} NAMESPACE zqxml:: FILE ${name}Targets.cmake
        DESTINATION "${zqxml_cmakedir}" COMPONENT ${development})
    export(EXPORT ${name} NAMESPACE zqxml:: FILE "${PROJECT_BINARY_DIR}/${name}Targets.cmake")
endfunction()

# zqxml_install_pc(name component DESCRIPTION text REQUIRES package... LIBS flag... CFLAGS flag...) installs a file for
# pkg-config. It finds its prefix from where it lies, so that an installed tree can be moved.
file(RELATIVE_PATH ZQXML_PC_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" ZQXML_PC_PREFIX "${ZQXML_PC_PREFIX}")
file(RELATIVE_PATH ZQXML_PC_LIBDIR "${CMAKE_INSTALL_PREFIX}" "${CMAKE_INSTALL_FULL_LIBDIR}")
file(RELATIVE_PATH ZQXML_PC_INCLUDEDIR "${CMAKE_INSTALL_PREFIX}"
    "${CMAKE_INSTALL_FULL_INCLUDEDIR}/zqxml${ZQXML_NAME_SUFFIX}")
function(zqxml_install_pc name component)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "DESCRIPTION" "REQUIRES;LIBS;CFLAGS")
    set(ZQXML_PC_NAME ${name}${ZQXML_NAME_SUFFIX})
    set(ZQXML_PC_DESCRIPTION "${arg_DESCRIPTION}")
    list(JOIN arg_REQUIRES " " ZQXML_PC_REQUIRES)
    string(REPLACE " " "\\ " arg_LIBS "${arg_LIBS}")
    list(JOIN arg_LIBS " " ZQXML_PC_LIBS)
    list(JOIN arg_CFLAGS " " ZQXML_PC_CFLAGS)
    configure_file(cmake/library.pc.in "${PROJECT_BINARY_DIR}/cmake/${ZQXML_PC_NAME}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/cmake/${ZQXML_PC_NAME}.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT ${component})
endfunction()

# A shared library brings the record library along, but the linker has to find it. Who links the static one links the
# record library too, and what that needs.
set(qt Qt${ZQXML_QT_MAJOR})
set(ZQXML_CONFIG_QT "")
set(ZQXML_CONFIG_COMPONENTS "")
set(ZQXML_CONFIG_NEEDS "")
set(ZQXML_CONFIG_PACKAGES "")
set(ZQXML_CONFIG_RECORD_LIBRARY "")
set(static_requires "")
set(static_libs "")
if(ZQXML_ZQAPP_LIBRARY)
    foreach(name zqapp ZQlib)
        get_target_property(location ${name} IMPORTED_LOCATION)
        string(APPEND ZQXML_CONFIG_RECORD_LIBRARY "
if(NOT TARGET ${name})
    if(NOT EXISTS \"${location}\")
        zqxml_not_found(\"The record library is not there: ${location}. \"
            \"Put it there, or add the imported target ${name} before you look for zqxml.\")
    endif()
    add_library(${name} SHARED IMPORTED)
    set_property(TARGET ${name} PROPERTY IMPORTED_LOCATION \"${location}\")
endif()
")
    endforeach()
    if(NOT BUILD_SHARED_LIBS)
        set(static_libs "${ZQXML_ZQAPP_LIBRARY}" "${ZQXML_ZQLIB_LIBRARY}")
    endif()
else()
    # On purpose the stand-in's libraries have no version in their names: the application's own can take their place.
    list(APPEND ZQXML_CONFIG_COMPONENTS standin)
    set(requires ${qt}Core)
    if(NOT BUILD_SHARED_LIBS)
        list(APPEND requires ${qt}Sql sqlite3)
        list(APPEND ZQXML_CONFIG_QT Sql)
        list(APPEND ZQXML_CONFIG_PACKAGES SQLite3)
        set(static_requires zqxml-standin${ZQXML_NAME_SUFFIX})
    endif()
    zqxml_install(zqxmlstandin standin standin_development zqapp ZQlib)
    zqxml_install_pc(zqxml-standin standin_development
        DESCRIPTION "Stand-in for the record library that zqxml calls"
        REQUIRES ${requires}
        LIBS -lzqapp${ZQXML_NAME_SUFFIX} -lZQlib${ZQXML_NAME_SUFFIX})
endif()

get_property(libraries GLOBAL PROPERTY ZQXML_LIBRARIES)
foreach(library IN LISTS libraries)
    zqxml_install(${library} runtime development ${library})

    get_target_property(component ${library} EXPORT_NAME)
    get_target_property(description ${library} ZQXML_DESCRIPTION)
    get_target_property(uses ${library} ZQXML_USES)
    get_target_property(modules ${library} ZQXML_QT)
    set(packages "")
    set(pc_packages "")
    if(NOT BUILD_SHARED_LIBS)
        get_target_property(packages ${library} ZQXML_PACKAGES)
        get_target_property(pc_packages ${library} ZQXML_PC_PACKAGES)
    endif()
    if(component STREQUAL "zqxml")
        list(APPEND ZQXML_CONFIG_QT ${modules})
    else()
        list(APPEND ZQXML_CONFIG_COMPONENTS ${component})
        list(TRANSFORM uses REPLACE "^zqxml" "" OUTPUT_VARIABLE components)
        string(APPEND ZQXML_CONFIG_NEEDS
            "set(zqxml_${component}_uses ${components})\n"
            "set(zqxml_${component}_qt ${modules})\n"
            "set(zqxml_${component}_packages ${packages})\n")
    endif()

    list(TRANSFORM uses APPEND "${ZQXML_NAME_SUFFIX}")
    list(TRANSFORM modules PREPEND ${qt})
    set(cflags "")
    if(NOT BUILD_SHARED_LIBS)
        string(TOUPPER "-D${library}_STATIC_DEFINE" cflags)
    endif()
    zqxml_install_pc(${library} development DESCRIPTION "${description}"
        REQUIRES ${uses} ${modules} ${pc_packages} ${static_requires}
        LIBS -l${library}${ZQXML_NAME_SUFFIX} ${static_libs}
        CFLAGS ${cflags})
endforeach()
install(FILES recordlib/zqapp.h recordlib/zqlib.h DESTINATION "${zqxml_includedir}/recordlib" COMPONENT development)

list(JOIN ZQXML_CONFIG_QT " " ZQXML_CONFIG_QT)
list(JOIN ZQXML_CONFIG_COMPONENTS " " ZQXML_CONFIG_COMPONENTS)
set(config "${PROJECT_BINARY_DIR}/zqxml${ZQXML_NAME_SUFFIX}Config")
configure_package_config_file(cmake/zqxmlConfig.cmake.in "${config}.cmake" INSTALL_DESTINATION "${zqxml_cmakedir}")
write_basic_package_version_file("${config}Version.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${config}.cmake" "${config}Version.cmake" DESTINATION "${zqxml_cmakedir}" COMPONENT development)

if(TARGET zqxml-query)
    include(cmake/Completion.cmake)
    set(zqxml_tools zqxml-query zqxml-store zqxml-packet zqxml-trace)
    if(TARGET zqxml-serve)
        list(APPEND zqxml_tools zqxml-serve)
    endif()
    if(TARGET zqxml-desk)
        list(APPEND zqxml_tools zqxml-desk)
        set(command zqxml-desk${ZQXML_NAME_SUFFIX})
        configure_file(desk/zqxml-desk.desktop.in "${PROJECT_BINARY_DIR}/desk/${command}.desktop" @ONLY)
        install(FILES "${PROJECT_BINARY_DIR}/desk/${command}.desktop"
            DESTINATION "${CMAKE_INSTALL_DATADIR}/applications" COMPONENT tools)
        install(FILES desk/zqxml-desk.svg
            DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps" RENAME ${command}.svg COMPONENT tools)
    endif()
    zqxml_set_install_rpath(BINDIR ${zqxml_tools})
    install(TARGETS ${zqxml_tools} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tools)
    foreach(tool IN LISTS zqxml_tools)
        set(command ${tool}${ZQXML_NAME_SUFFIX})
        configure_file(docs/man/${tool}.1.in "${PROJECT_BINARY_DIR}/docs/${command}.1" @ONLY)
        install(FILES "${PROJECT_BINARY_DIR}/docs/${command}.1"
            DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tools)
        zqxml_add_completion(${tool} ${command})
    endforeach()
endif()
