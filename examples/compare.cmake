# SPDX-FileCopyrightText: 2026 The zqxml developers
# SPDX-License-Identifier: MIT

# Runs PROGRAM, stores what it prints in ACTUAL, and fails when that is not the content of EXPECTED.

execute_process(COMMAND "${PROGRAM}" OUTPUT_FILE "${ACTUAL}" RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} ended with: ${status}")
endif()

execute_process(COMMAND "${CMAKE_COMMAND}" -E compare_files "${EXPECTED}" "${ACTUAL}"
    RESULT_VARIABLE different OUTPUT_QUIET ERROR_QUIET)
if(different)
    execute_process(COMMAND diff -u "${EXPECTED}" "${ACTUAL}")
    message(FATAL_ERROR "The output is not the one in ${EXPECTED}")
endif()
