# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Run by "ctest -V -S scripts/memcheck.cmake,BUILD": runs the unit tests in the folder BUILD under valgrind, but for those
# labelled slow.

cmake_minimum_required(VERSION 3.22)

get_filename_component(CTEST_SOURCE_DIRECTORY "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)
get_filename_component(CTEST_BINARY_DIRECTORY "${CTEST_SCRIPT_ARG}" ABSOLUTE BASE_DIR "${CTEST_SOURCE_DIRECTORY}")

set(CTEST_MEMORYCHECK_TYPE Valgrind)
find_program(CTEST_MEMORYCHECK_COMMAND valgrind REQUIRED)
string(JOIN " " CTEST_MEMORYCHECK_COMMAND_OPTIONS
    -q --leak-check=full --show-leak-kinds=definite,indirect --errors-for-leak-kinds=definite,indirect
    --error-exitcode=99 --num-callers=40)
set(CTEST_MEMORYCHECK_SUPPRESSIONS_FILE "${CTEST_SOURCE_DIRECTORY}/tests/valgrind.supp")

set(ENV{QT_ENABLE_REGEXP_JIT} 0) # valgrind cannot follow what regular expressions are compiled to
set(ENV{QTEST_FUNCTION_TIMEOUT} 3600000) # the limit that ctest sets for a test is enough

cmake_host_system_information(RESULT processors QUERY NUMBER_OF_LOGICAL_CORES)
set(logs "${CTEST_BINARY_DIRECTORY}/Testing/Temporary/MemoryChecker.*.log")
file(GLOB old "${logs}")
if(old)
    file(REMOVE ${old})
endif()
ctest_start(Experimental QUIET)
ctest_memcheck(INCLUDE ^tst_ EXCLUDE_LABEL ^slow$ PARALLEL_LEVEL ${processors} RETURN_VALUE failed DEFECT_COUNT defects)
if(failed OR defects)
    file(GLOB new "${logs}")
    foreach(log IN LISTS new)
        file(READ "${log}" text)
        message("${text}")
    endforeach()
    message(FATAL_ERROR "Tests failed under valgrind")
endif()
